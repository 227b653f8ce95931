// The straightforward bitmap adjustment, pixel by pixel through the surface
// access functions, kept as the reference the fast passes must match byte
// for byte.
#include "reference.h"

#include "image/adjust.h"

#include <cstdint>

namespace reference {


namespace {

const PixelColor kWhite = {255, 255, 255};

bool sameColour(const PixelColor& a, const PixelColor& b)
{
    return a.red == b.red && a.green == b.green && a.blue == b.blue;
}

bool marked(const PixelColor& c) { return c.red != 255 || c.green != 255 || c.blue != 255; }

int brightness(const PixelColor& c) { return c.red + c.green + c.blue; }

// The surface's width and height; a negative size is an empty surface.
DWORD widthOf(const SURFOBJ* pso) { return pso->sizlBitmap.cx > 0 ? (DWORD)pso->sizlBitmap.cx : 0; }
DWORD heightOf(const SURFOBJ* pso) { return pso->sizlBitmap.cy > 0 ? (DWORD)pso->sizlBitmap.cy : 0; }

// Pixel access in signed coordinates, for the snapping moves, which may push
// part of a mark past an edge: a pixel off the surface reads white and takes
// no writes.
PixelColor readPixel(SURFOBJ* pso, int64_t x, int64_t y)
{
    PixelColor c = kWhite;
    if (x >= 0 && x < (int64_t)widthOf(pso) && y >= 0)
        getSurfacePixel(pso, (DWORD)x, y > UINT32_MAX ? UINT32_MAX : (DWORD)y, &c, heightOf(pso));
    return c;
}

void writePixel(SURFOBJ* pso, int64_t x, int64_t y, const PixelColor& c)
{
    if (x >= 0 && x <= INT32_MAX && y >= 0 && y <= INT32_MAX)
        setSurfacePixel(pso, (LONG)x, (LONG)y, &c);
}

// The marked pixels of one snapping window, as a box (inclusive bounds).
struct Box {
    int64_t minX, maxX, minY, maxY;
};

// Moves the box d pixels along one axis (x, or y when vertical), copying from
// the end it moves towards so that no pixel is overwritten before it is read;
// the lines of the box it leaves become white.
void moveBox(SURFOBJ* pso, Box& box, int64_t d, bool vertical)
{
    int64_t& lo = vertical ? box.minY : box.minX;
    int64_t& hi = vertical ? box.maxY : box.maxX;
    const int64_t acrossLo = vertical ? box.minX : box.minY, acrossHi = vertical ? box.maxX : box.maxY;
    auto read = [&](int64_t along, int64_t across) {
        return vertical ? readPixel(pso, across, along) : readPixel(pso, along, across);
    };
    auto write = [&](int64_t along, int64_t across, const PixelColor& c) {
        if (vertical)
            writePixel(pso, across, along, c);
        else
            writePixel(pso, along, across, c);
    };
    int64_t first = d > 0 ? hi : lo, step = d > 0 ? -1 : 1;
    for (int64_t a = first; a >= lo && a <= hi; a += step)
        for (int64_t c = acrossLo; c <= acrossHi; ++c)
            write(a + d, c, read(a, c));
    int64_t clearFrom = d > 0 ? lo : hi + d + 1, clearTo = d > 0 ? lo + d - 1 : hi;
    for (int64_t a = clearFrom < lo ? lo : clearFrom; a <= clearTo && a <= hi; ++a)
        for (int64_t c = acrossLo; c <= acrossHi; ++c)
            write(a, c, kWhite);
    lo += d;
    hi += d;
}

// How far a box that straddles the cell boundary at lo + rf moves: towards
// the side holding more of it, forward on a tie. Negative is back.
int64_t snapDistance(int64_t lo, int64_t hi, int64_t cellStart, int64_t rf)
{
    int64_t a = cellStart + rf - lo;      // its pixels in the first cell
    int64_t b = hi - (cellStart + rf) + 1;  // its pixels in the second
    return b < a ? -b : a;
}

// Snaps the one small mark in the 2 x 2 cell window at (left, top), if the
// window holds one that keeps clear of the window's border.
void snapWindow(SURFOBJ* pso, int64_t left, int64_t top, int64_t rf)
{
    int64_t right = left + 2 * rf, bottom = top + 2 * rf;  // exclusive
    Box box = {right, left - 1, bottom, top - 1};
    for (int64_t y = top; y < bottom; ++y) {
        for (int64_t x = left; x < right; ++x) {
            if (!marked(readPixel(pso, x, y)))
                continue;
            box.minX = x < box.minX ? x : box.minX;
            box.maxX = x > box.maxX ? x : box.maxX;
            box.minY = y < box.minY ? y : box.minY;
            box.maxY = y > box.maxY ? y : box.maxY;
        }
    }
    if (box.maxX < box.minX)
        return;  // nothing marked
    if (box.maxX - box.minX > rf || box.maxY - box.minY > rf)
        return;  // too large to be one dot
    if (box.minX <= left || box.minY <= top || box.maxX >= right - 1 || box.maxY >= bottom - 1)
        return;  // touches the window's border: part of something larger, or another window's business
    if (box.minX / rf != box.maxX / rf)
        moveBox(pso, box, snapDistance(box.minX, box.maxX, left, rf), false);
    if (box.minY / rf != box.maxY / rf)
        moveBox(pso, box, snapDistance(box.minY, box.maxY, top, rf), true);
}

// A column or a row of the surface as one line of pixels.
struct Column {
    SURFOBJ* pso;
    DWORD x;
    PixelColor get(DWORD y) const
    {
        PixelColor c;
        getSurfacePixel(pso, x, y, &c, heightOf(pso));
        return c;
    }
    void set(DWORD y, const PixelColor& c) const { writePixel(pso, x, y, c); }
};

struct Row {
    SURFOBJ* pso;
    DWORD y;
    PixelColor get(DWORD x) const { return readPixel(pso, x, y); }
    void set(DWORD x, const PixelColor& c) const { writePixel(pso, x, y, c); }
};

template <typename Line>
DWORD shiftRun(const Line& line, const PixelRun& run, DWORD lineLength, DWORD rf)
{
    if (run.start / rf == run.end / rf)
        return run.end + 1;  // within one cell (an empty run may also land here)
    if (run.inFirst <= run.length / 2) {
        // Forward by inFirst, to start at the next cell boundary, unless that
        // would advance a lighter run over a darker one.
        if (brightness(run.colour) >= brightness(run.previous))
            return run.end + 1;
        for (DWORD i = 0; i < run.inFirst; ++i)
            line.set(run.start + i, run.previous);
        for (DWORD i = 1; i <= run.inFirst && (uint64_t)run.end + i < lineLength; ++i)
            line.set(run.end + i, run.colour);
        uint64_t resume = (uint64_t)run.end + run.inFirst + 1;
        return resume < lineLength ? (DWORD)resume : lineLength;
    }
    // Back by the pixels over the boundary, to end where its first cell ends.
    DWORD over = run.length - run.inFirst;
    if (brightness(run.colour) >= brightness(run.next))
        return run.end + 1;
    for (DWORD i = 1; i <= over; ++i)
        line.set(run.start - i, run.colour);
    for (DWORD i = 0; i < over; ++i)
        line.set(run.end - i, run.next);
    return run.end - over + 1;  // the repainted pixels begin the following run
}

// Follows the runs of one line from its start, shifting every run of at
// most rf pixels that straddles a cell boundary.
template <typename Line>
void shiftLine(const Line& line, DWORD lineLength, DWORD rf)
{
    if (lineLength == 0)
        return;
    PixelRun run;
    run.colour = line.get(0);
    run.previous = run.next = run.colour;
    DWORD start = 0;
    while (start < lineLength) {
        run.start = start;
        run.inFirst = 0;
        DWORD cell = start / rf, pos = start;
        for (; pos < lineLength; ++pos) {
            PixelColor c = line.get(pos);
            if (!sameColour(c, run.colour)) {
                run.next = c;
                break;
            }
            run.inFirst += pos / rf == cell;
        }
        run.end = pos - 1;
        run.length = pos - start;
        start = run.length > rf ? run.end + 1 : shiftRun(line, run, lineLength, rf);
        run.previous = run.colour;
        run.colour = run.next;
    }
}

}  // namespace

// A resolution factor below 1 describes no cell grid; there is nothing to
// snap to, and the surface is left as it is.
void adjustBraille(SURFOBJ* pso, INT rf)
{
    if (!pso || rf < 1)
        return;
    DWORD cellsX = widthOf(pso) / (DWORD)rf, cellsY = heightOf(pso) / (DWORD)rf;
    if (cellsX < 2 || cellsY < 2)
        return;
    // Each window sees the surface as the windows before it left it.
    for (DWORD i = 0; i + 1 < cellsY; ++i)
        for (DWORD j = 0; j + 1 < cellsX; ++j)
            snapWindow(pso, (int64_t)j * rf, (int64_t)i * rf, rf);
}

void adjustBitMap(SURFOBJ* pso, INT rf)
{
    if (!pso || !pso->pvScan0)
        return;
    reference::adjustBraille(pso, rf);
    DWORD cx = widthOf(pso), cy = heightOf(pso);
    if (rf >= 1)
        for (DWORD x = 0; x < cx; ++x)
            shiftLine(Column{pso, x}, cy, (DWORD)rf);
    if (rf >= 1)
        for (DWORD y = 0; y < cy; ++y)
            shiftLine(Row{pso, y}, cx, (DWORD)rf);
}

}  // namespace reference
