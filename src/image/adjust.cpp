// Bitmap adjustment and shifting.
//
// The surface is edited in place. The passes work on scan lines: a window of
// the snapping pass skips cells known to hold no mark and stops reading at the
// first pixel that rules its mark out; the column pass sweeps down the
// surface a scan line at a time, following only the columns that may hold a
// run to shift, with the row pass a few lines behind it; and on a 24-bpp
// surface the snapping runs just ahead of both, so the surface is read from
// memory once. When their working memory cannot be had, the same rules run
// pixel by pixel through the surface access functions, with no allocation.
// A run can only shift where it straddles a cell boundary, which needs the
// pixels either side of the boundary to be the same colour: most of the
// speed comes from passing, at one comparison, what cannot shift.
//
// Cells are aligned to multiples of rf from the surface's pixel 0; bands
// start at multiples of rf on the page, so band cells and page cells
// coincide. Colours compare as exact triples; a colour's brightness is red +
// green + blue; a pixel is marked when it is not white.
#include "image/adjust.h"

#include "diag/diag.h"
#include "image/scanline.h"

#include <cstdint>
#include <cstring>

namespace {

const PixelColor kWhite = {255, 255, 255};

// The log lines that open the passes.
const char* const kWidthLine = "\twidth = %d, height = %d\n";
const char* const kColumnPassLine = "\t\n==================Shifting along y-direction... ===================\n";
const char* const kRowPassLine = "\t\n=================Shifting along x-direction...=====================\n";

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

// Moves a mark found small and alone in the window at (left, top) into one
// cell column, then into one cell row.
void snapBox(SURFOBJ* pso, Box& box, int64_t left, int64_t top, int64_t rf)
{
    if (box.minX / rf != box.maxX / rf)
        moveBox(pso, box, snapDistance(box.minX, box.maxX, left, rf), false);
    if (box.minY / rf != box.maxY / rf)
        moveBox(pso, box, snapDistance(box.minY, box.maxY, top, rf), true);
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
    snapBox(pso, box, left, top, rf);
}

// The first pixel of a line from `from` on (up to `to`) that differs from
// the pixel before it, one pixel at a time.
template <typename Line>
DWORD runEndOf(const Line& line, DWORD from, DWORD to)
{
    while (from < to && sameColour(line.get(from), line.get(from - 1)))
        ++from;
    return from;
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
    // The first pixel from `from` on (up to `to`) that differs from the pixel before it.
    DWORD runEnd(DWORD from, DWORD to) const { return runEndOf(*this, from, to); }
};

struct Row {
    SURFOBJ* pso;
    DWORD y;
    PixelColor get(DWORD x) const { return readPixel(pso, x, y); }
    void set(DWORD x, const PixelColor& c) const { writePixel(pso, x, y, c); }
    // The first pixel from `from` on (up to `to`) that differs from the pixel before it.
    DWORD runEnd(DWORD from, DWORD to) const { return runEndOf(*this, from, to); }
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

// The scan of one line's runs, which can stop after any pixel and resume
// later: the column pass advances every column together, one scan line at a
// time. Each run of at most rf pixels that straddles a cell boundary is
// shifted as it ends.
template <typename Line>
struct RunScan {
    PixelRun run;
    DWORD pos;         // the next pixel to compare with the run's colour
    uint64_t cellEnd;  // the first pixel past the cell of the run's first pixel

    // The run's pixels start .. pos - 1 in its first cell: counted when it
    // ends, so that a pixel of the run's colour costs one comparison.

    void begin(const Line& line, DWORD rf)
    {
        run.colour = line.get(0);
        run.previous = run.next = run.colour;
        cellEnd = rf;
        startRun(0, rf);
    }
    void startRun(DWORD start, DWORD rf)
    {
        run.start = start;
        // A run starts at or after the one before it, mostly in the same cell
        // or the next: a division only for a jump.
        if (start >= cellEnd)
            cellEnd = start < cellEnd + rf ? cellEnd + rf : ((uint64_t)start / rf + 1) * rf;
        pos = start;
    }
    bool done(DWORD lineLength) const { return run.start >= lineLength; }
    // Scans on through pixel limit, or to the line's end when limit is lineLength.
    void advance(const Line& line, DWORD lineLength, DWORD limit, DWORD rf)
    {
        while (pos <= limit && !done(lineLength)) {
            if (pos < lineLength) {
                PixelColor c = line.get(pos);
                if (sameColour(c, run.colour)) {
                    pos = line.runEnd(pos + 1, limit < lineLength ? limit + 1 : lineLength);
                    continue;
                }
                run.next = c;
            }
            // The run ends before pos (at the edge, next stays the run's own colour).
            run.end = pos - 1;
            run.length = pos - run.start;
            run.inFirst = (DWORD)((pos < cellEnd ? pos : cellEnd) - run.start);
            // A run that ends within its first cell, empty or not, or one
            // longer than a cell stays; the scan goes on at pos.
            DWORD resume = pos <= cellEnd || run.length > rf ? pos : shiftRun(line, run, lineLength, rf);
            run.previous = run.colour;
            run.colour = run.next;
            startRun(resume, rf);
        }
    }
};

// Follows the runs of one line from its start to its end.
template <typename Line>
void shiftLine(const Line& line, DWORD lineLength, DWORD rf)
{
    if (lineLength == 0)
        return;
    RunScan<Line> scan;
    scan.begin(line, rf);
    scan.advance(line, lineLength, lineLength, rf);
}

// ---- The passes on scan lines ----

// Surfaces the fast passes handle; any other format takes no writes, so no
// pass can change it.
bool writable(const SURFOBJ* pso) { return pso->iBitmapFormat == BMF_24BPP || pso->iBitmapFormat == BMF_1BPP; }

// Column x of the surface, read and written in place on its scan lines.
struct SurfaceColumn {
    SURFOBJ* pso;
    DWORD x;
    PixelColor get(DWORD y) const { return scanPixel(scanLine(pso, y), x, pso->iBitmapFormat); }
    void set(DWORD y, const PixelColor& c) const { putScanPixel(scanLine(pso, y), x, pso->iBitmapFormat, c); }
    // The sweep gives a column one pixel per scan line.
    DWORD runEnd(DWORD from, DWORD) const { return from; }
};

// Columns per stretch of the column pass's sweep: 96 bytes of a 24-bpp scan line.
const DWORD kStretch = 32;

// Columns the 24-bpp sweep compares at once: three vectors of a scan line.
// Its masks over such a group hold a bit for each column, at bit 3 i for
// the group's column i, where a mask over the group's bytes has the
// column's first byte.
const DWORD kGroup = 16;
const uint64_t kEveryColumn = 0x249249249249ull;
static_assert(kStretch % kGroup == 0, "a stretch is whole groups");

// The bits of a group's first n columns (n <= kGroup).
inline uint64_t groupColumns(DWORD n) { return n >= kGroup ? kEveryColumn : kEveryColumn & ((1ull << 3 * n) - 1); }

// What is known of a scan line (ColumnScans::plainLines).
const BYTE kPlain = 1;       // swept, and of one colour
const BYTE kWhiteAhead = 2;  // not yet swept, and all white

// A 24-bpp pixel as one number, 0x00BBGGRR, and back.
inline uint32_t pixel24(const BYTE* line, DWORD x)
{
    const BYTE* p = line + (size_t)x * 3;
    return (uint32_t)p[0] | (uint32_t)p[1] << 8 | (uint32_t)p[2] << 16;
}

inline void putPixel24(BYTE* line, DWORD x, uint32_t c)
{
    BYTE* p = line + (size_t)x * 3;
    p[0] = (BYTE)c;
    p[1] = (BYTE)(c >> 8);
    p[2] = (BYTE)(c >> 16);
}

// The ink colour, in either byte order.
inline bool isInk24(uint32_t c) { return c == 0x070605 || c == 0x050607; }

inline uint32_t brightness24(uint32_t c) { return (c & 0xFF) + (c >> 8 & 0xFF) + (c >> 16); }

// A column or a row of a 24-bpp surface: pixel i lies step bytes after pixel i - 1.
struct Line24 {
    BYTE* first;
    ptrdiff_t step;
    uint32_t get(DWORD i) const { return pixel24(first + (ptrdiff_t)i * step, 0); }
    void put(DWORD i, uint32_t c) const { putPixel24(first + (ptrdiff_t)i * step, 0, c); }
};

// shiftRun with colours as numbers, for a run start .. pos - 1 of at most rf
// pixels that straddles the cell boundary at cellEnd; returns where the scan
// continues.
DWORD shiftRun24(const Line24& line, DWORD start, DWORD pos, uint64_t cellEnd, uint32_t colour, uint32_t previous,
                 uint32_t next, DWORD n)
{
    DWORD end = pos - 1, length = pos - start, inFirst = (DWORD)(cellEnd - start);
    if (inFirst <= length / 2) {
        if (brightness24(colour) >= brightness24(previous))
            return pos;
        for (DWORD i = 0; i < inFirst; ++i)
            line.put(start + i, previous);
        for (DWORD i = 1; i <= inFirst && (uint64_t)end + i < n; ++i)
            line.put(end + i, colour);
        uint64_t after = (uint64_t)end + inFirst + 1;
        return after < n ? (DWORD)after : n;
    }
    if (brightness24(colour) >= brightness24(next))
        return pos;
    DWORD over = length - inFirst;
    for (DWORD i = 1; i <= over; ++i)
        line.put(start - i, colour);
    for (DWORD i = 0; i < over; ++i)
        line.put(end - i, next);
    return end - over + 1;
}

// RunScan over a 24-bpp column, with colours as numbers: the same scan,
// resumable at any scan line, for the column sweep.
struct ColumnScan24 {
    uint32_t colour, previous;
    DWORD start;
    DWORD pos;
    uint64_t cellEnd;

    void begin(const Line24& column, DWORD rf)
    {
        colour = previous = column.get(0);
        start = pos = 0;
        cellEnd = rf;
    }
    // The run that reaches the bottom edge of the column (n pixels) ends
    // there, with no pixel after it: its own colour stands for the next.
    void endAtEdge(const Line24& column, DWORD n, DWORD rf, BYTE& shifted)
    {
        if (start < n && n > cellEnd && n - start <= rf) {
            shiftRun24(column, start, n, cellEnd, colour, previous, colour, n);
            shifted = 1;
        }
    }
    // The sweep's step through pixel y of the column (of n pixels), when the
    // scan waits at y and the pixel there, already read, is c, not
    // the run's colour: the run ends, shifted if it must be, and c begins
    // the next. The pixels a shift back repaints before y are of c too, so
    // the scan is done with y either way. yCellEnd is the first pixel past
    // y's cell, which the sweep knows for the whole scan line: a run that
    // begins at y needs no division.
    void endAt(const Line24& column, DWORD y, uint64_t yCellEnd, uint32_t c, DWORD n, DWORD rf, BYTE& shifted)
    {
        DWORD resume = y;
        if (y > cellEnd && y - start <= rf) {
            resume = shiftRun24(column, start, y, cellEnd, colour, previous, c, n);
            shifted = 1;
        }
        previous = colour;
        colour = c;
        pos = resume > y ? resume : y + 1;  // ahead after a shift forward
        if (resume == y)
            cellEnd = yCellEnd;
        else if (resume >= cellEnd)
            cellEnd = resume < cellEnd + rf ? cellEnd + rf : ((uint64_t)resume / rf + 1) * rf;
        start = resume;
    }
};

// What the sweep keeps from one scan line to the next besides its scans.
struct SweepFlags {
    BYTE shifted;          // a column's run may have shifted during the scan line
    BYTE runColoursPlain;  // runColours was of one colour when last looked at
    BYTE runColoursKnown;  // and has not changed since
};

// The working memory of the column pass: a run scan per column, the colours
// of the columns' runs as one scan line in the surface's format, and which
// columns the sweep follows: at 24 bpp those that may hold a run to shift
// in the cell row the sweep is in (a mask per group of columns in
// followBits), else those that may hold one anywhere (followed, and
// stretchFollowed for the stretches that hold one). At 24 bpp the sweep
// also notes the scan lines it found to be of one colour (kPlain in
// plainLines, one byte each), which the row pass then passes without
// reading, unless a column's shift repainted them afterwards; and whether
// runColours is known to be of one colour. Lines below the sweep found all
// white, and not repainted since, are kWhiteAhead.
struct ColumnScans {
    RunScan<SurfaceColumn>* scans;
    ColumnScan24* scans24;  // the same memory, for 24-bpp surfaces
    uint64_t* followBits;
    BYTE* runColours;
    BYTE* followed;
    BYTE* stretchFollowed;  // 1 where a stretch holds a followed column (below 24 bpp)
    BYTE* plainLines;
    SweepFlags* flags;
    static uint64_t bytes(DWORD cx, DWORD cy)
    {
        return (uint64_t)cx * (sizeof(RunScan<SurfaceColumn>) + 4) + ((uint64_t)cx / kGroup + 1) * sizeof(uint64_t) +
               cx / kStretch + 1 + (uint64_t)cy + sizeof(SweepFlags);
    }
    explicit ColumnScans(void* memory, DWORD cx, DWORD cy)
        : scans(static_cast<RunScan<SurfaceColumn>*>(memory)), scans24(static_cast<ColumnScan24*>(memory)),
          followBits(reinterpret_cast<uint64_t*>(scans + cx)),
          runColours(reinterpret_cast<BYTE*>(followBits + cx / kGroup + 1)), followed(runColours + (size_t)cx * 3),
          stretchFollowed(followed + cx), plainLines(stretchFollowed + cx / kStretch + 1),
          flags(reinterpret_cast<SweepFlags*>(plainLines + cy))
    {
    }
    // Whether the 24-bpp sweep follows column x.
    bool follows(DWORD x) const { return followBits[x / kGroup] >> 3 * (x % kGroup) & 1; }
    // Whether it follows any column of x0 .. x1 - 1, and every one (x0 at
    // the start of a group).
    bool followsAny(DWORD x0, DWORD x1) const
    {
        uint64_t any = 0;
        for (DWORD x = x0; x < x1; x += kGroup)
            any |= followBits[x / kGroup];
        return any != 0;
    }
    bool followsEvery(DWORD x0, DWORD x1) const
    {
        for (DWORD x = x0; x < x1; x += kGroup)
            if (followBits[x / kGroup] != groupColumns(x1 - x < kGroup ? x1 - x : kGroup))
                return false;
        return true;
    }
};

static_assert(sizeof(ColumnScan24) <= sizeof(RunScan<SurfaceColumn>), "both scans fit the same memory");
static_assert(sizeof(RunScan<SurfaceColumn>) % alignof(uint64_t) == 0, "the masks after the scans are aligned");

// Column x of a 24-bpp surface.
inline Line24 column24(SURFOBJ* pso, DWORD x)
{
    return Line24{static_cast<BYTE*>(pso->pvScan0) + (size_t)x * 3, pso->lDelta};
}

// Whether pixels x - 1 and x of a scan line are the same colour.
inline bool sameAsBefore(const BYTE* line, DWORD x, ULONG format)
{
    return sameColour(scanPixel(line, x - 1, format), scanPixel(line, x, format));
}

// A run is shifted only when it holds both pixels around a cell boundary, so
// a line whose pixels differ across every boundary keeps all its runs. Photographs
// are mostly such lines; paper and shapes are not, and go through the scan.
bool rowMayShift(const BYTE* line, DWORD cx, DWORD rf, ULONG format)
{
    for (DWORD b = rf; b < cx; b += rf)
        if (sameAsBefore(line, b, format))
            return true;
    return false;
}

// Bytes of a scan line that hold pixels x0 .. x1 - 1 (whole bytes at 1 bpp).
inline size_t byteOffset(DWORD x, ULONG format) { return format == BMF_24BPP ? (size_t)x * 3 : x / 8; }

// Whether pixels x0 .. x1 - 1 of two scan lines are byte for byte the same.
bool sameStretch(const BYTE* a, const BYTE* b, DWORD x0, DWORD x1, ULONG format)
{
    size_t from = byteOffset(x0, format), to = byteOffset(x1 - 1, format) + (format == BMF_24BPP ? 3 : 1);
    return sameBytes(a + from, b + from, to - from);
}

// The same for every column at once, from the pairs of scan lines around
// each cell boundary.
void findColumnsThatMayShift(SURFOBJ* pso, ColumnScans work, DWORD cx, DWORD cy, DWORD rf)
{
    ULONG format = pso->iBitmapFormat;
    memset(work.followed, 0, cx);
    for (DWORD b = rf; b < cy; b += rf) {
        const BYTE* above = scanLine(pso, b - 1);
        const BYTE* below = scanLine(pso, b);
        for (DWORD x0 = 0; x0 < cx; x0 += kStretch) {
            DWORD x1 = cx - x0 < kStretch ? cx : x0 + kStretch;
            // Paper and shapes go on across the boundary: a stretch at once.
            if (sameStretch(above, below, x0, x1, format)) {
                memset(work.followed + x0, 1, x1 - x0);
                continue;
            }
            for (DWORD x = x0; x < x1; ++x)
                work.followed[x] |= sameColour(scanPixel(above, x, format), scanPixel(below, x, format));
        }
    }
    memset(work.stretchFollowed, 0, cx / kStretch + 1);
    for (DWORD x = 0; x < cx; ++x)
        work.stretchFollowed[x / kStretch] |= work.followed[x];
}

// One scan line of the sweep over columns x0 .. x1 - 1; the colours of
// their runs afterwards go into runColours.
void sweepStretch(SURFOBJ* pso, ColumnScans work, DWORD x0, DWORD x1, DWORD y, DWORD cy, DWORD rf)
{
    const BYTE* line = scanLine(pso, y);
    ULONG format = pso->iBitmapFormat;
    for (DWORD x = x0; x < x1; ++x) {
        RunScan<SurfaceColumn>& scan = work.scans[x];
        if (!work.followed[x])
            continue;
        if (scan.pos <= y && !sameColour(scanPixel(line, x, format), scan.run.colour)) {
            scan.pos = y;
            scan.advance(SurfaceColumn{pso, x}, cy, y, rf);
            putScanPixel(work.runColours, x, format, scan.run.colour);
        }  // else ahead of the sweep, or one more pixel of the run
    }
}

// One followed column of the sweep at scan line y, whose pixel differs from
// its run's colour: unless its scan is ahead of the sweep, the run ends here.
inline void sweepColumn24(SURFOBJ* pso, ColumnScans work, const BYTE* line, DWORD x, DWORD y, uint64_t yCellEnd,
                          DWORD cy, DWORD rf)
{
    ColumnScan24& scan = work.scans24[x];
    if (scan.pos > y)
        return;  // ahead of the sweep
    uint32_t c = pixel24(line, x);
    if (c == scan.colour)
        scan.pos = y + 1;  // the run goes on
    else
        scan.endAt(column24(pso, x), y, yCellEnd, c, cy, rf, work.flags->shifted);
    putPixel24(work.runColours, x, scan.colour);
}

// Which of the kGroup columns from x are the same colour on scan lines a
// and b: a mask over the group.
inline uint64_t groupSame(const BYTE* a, const BYTE* b, DWORD x)
{
    size_t at = (size_t)x * 3;
    uint64_t same = 0;
    for (int i = 0; i < 3; ++i, at += 16)
        same |= (uint64_t)(wide::equalMask(a + at, b + at) & 0xFFFF) << (16 * i);
    // All of a column's three bytes: the first one's bit.
    return same & same >> 1 & same >> 2 & kEveryColumn;
}

// The same for the n columns from x, at any place in the line.
inline uint64_t columnsSame(const BYTE* a, const BYTE* b, DWORD x, DWORD n)
{
    if (n >= kGroup)
        return groupSame(a, b, x);
    uint64_t same = 0;
    for (DWORD i = 0; i < n; ++i)
        same |= (uint64_t)(pixel24(a, x + i) == pixel24(b, x + i)) << 3 * i;
    return same;
}

// A 24-bpp scan line of the sweep, sixteen columns at a time against the
// colours of the columns' runs: only the columns whose pixel differs are
// visited, and stretches without a followed column are passed.
void sweepLine24(SURFOBJ* pso, ColumnScans work, DWORD y, DWORD cx, DWORD cy, DWORD rf)
{
    const BYTE* line = scanLine(pso, y);
    size_t bytes = (size_t)cx * 3;
    auto runColoursPlain = [&]() {
        if (!work.flags->runColoursKnown) {
            work.flags->runColoursPlain = sameBytes(work.runColours, work.runColours + 3, bytes - 3);
            work.flags->runColoursKnown = 1;
        }
        return work.flags->runColoursPlain != 0;
    };
    // Paper under runs of paper: nothing to read.
    if (work.plainLines[y] == kWhiteAhead && runColoursPlain() && allWhite(work.runColours, 3)) {
        work.plainLines[y] = kPlain;
        return;
    }
    if (sameBytes(line, work.runColours, bytes)) {
        // Every column's run goes on. Paper and shapes: when all runs are
        // of one colour, so is this line.
        work.plainLines[y] = runColoursPlain() ? kPlain : 0;
        return;
    }
    work.plainLines[y] = 0;
    work.flags->runColoursKnown = 0;  // the colours of the runs are about to change
    const uint64_t yCellEnd = ((uint64_t)y / rf + 1) * rf;
    for (DWORD x0 = 0; x0 < cx; x0 += kStretch) {
        DWORD x1 = cx - x0 < kStretch ? cx : x0 + kStretch;
        // A stretch that continues every column's run (paper, mostly) is
        // passed by one comparison of its bytes.
        if (!work.followsAny(x0, x1) ||
            sameBytes(line + (size_t)x0 * 3, work.runColours + (size_t)x0 * 3, (size_t)(x1 - x0) * 3))
            continue;
        for (DWORD x = x0; x < x1; x += kGroup) {
            DWORD n = x1 - x < kGroup ? x1 - x : kGroup;
            // The mask holds no column past the surface's last.
            uint64_t columns = ~columnsSame(line, work.runColours, x, n) & work.followBits[x / kGroup];
            for (; columns; columns &= columns - 1)
                sweepColumn24(pso, work, line, x + (DWORD)__builtin_ctzll(columns) / 3, y, yCellEnd, cy, rf);
        }
    }
}

void shiftRows(SURFOBJ* pso, DWORD cx, DWORD y0, DWORD y1, DWORD rf, const BYTE* plainLines, DWORD& unchangedRow);

// After a column's shift at sweep line y, the lines it may have repainted
// behind the sweep are no longer known to be plain, nor those ahead of it to
// be white.
void forgetPlainLines(ColumnScans work, uint64_t y, DWORD cy, DWORD rf)
{
    if (!work.flags->shifted)
        return;
    work.flags->shifted = 0;
    uint64_t from = y + 1 > 2 * (uint64_t)rf ? y + 1 - 2 * (uint64_t)rf : 0;
    uint64_t to = y + rf < cy ? y + rf : cy;
    if (to > from)
        memset(work.plainLines + from, 0, (size_t)(to - from));
}

// The column pass as one sweep down the surface, with the row pass
// following it a little behind: every column's scan advances by one pixel
// per scan line, so the surface is read in memory order. A shift repaints
// its own column only, behind or ahead of the sweep, and the column's scan
// resumes where the shift says; a scan ahead of the sweep waits for it. A
// column's pixels from its scan's pos up to the sweep are known to be of its
// run's colour, so that pos moves only when a run ends. Where a stretch of a
// scan line holds exactly the colours of its columns' runs, every pixel
// continues its run (or waits): the stretch is passed by one comparison of
// bytes. Columns that cannot hold a run to shift are left out.
//
// A run straddles a cell boundary only where the column's pixels either side
// of it are the same colour, and a run that straddles one begins in the cell
// row above it and ends in the row below. At 24 bpp the sweep therefore
// follows a column through a cell row only when the boundary at the top of
// the row joins the column's pixels. Through any other row nothing in the
// column shifts before the scan has passed the boundary below, and from the
// row's top on the scan finds the column's own runs, with the colour of the
// run before each: a shift in the row above repaints nothing below it, and
// whatever the scan carries across the top, a run that begins there and
// reaches the boundary below is longer than a cell and stays. So a column
// is taken up at the top of a row whose boundary joins its pixels, in the
// run that holds the pixel above, found by looking back up the row before.
// One the sweep already follows goes on through a row whose boundary below
// joins its pixels, the scan it has being as good as one taken up there
// and cheaper. Paper, shapes and smooth pictures join most boundaries;
// grain, few.
//
// The sweep can stop after any scan line and go on later, so that the
// snapping pass can run ahead of it down the same surface.
struct ColumnSweep {
    SURFOBJ* pso;
    ColumnScans work;
    DWORD cx, cy, rf;
    bool wideLines;
    bool started;
    DWORD next;           // the next scan line to sweep
    CellColours* cells;   // cell rows to sample behind the row pass, if any
    DWORD sampled;        // cell rows sampled
    DWORD unchangedRow;   // of the row pass (shiftRows)

    ColumnSweep(SURFOBJ* surface, ColumnScans memory, DWORD width, DWORD height, DWORD factor,
                CellColours* colours = nullptr)
        : pso(surface), work(memory), cx(width), cy(height), rf(factor),
          wideLines(surface->iBitmapFormat == BMF_24BPP && (size_t)width * 3 >= 16), started(false), next(0),
          cells(colours), sampled(0), unchangedRow(0)
    {
    }

    // Once the row pass is done with scan lines up to done - 1, nothing
    // changes them any more: the cell rows they complete are sampled. A cell
    // row on lines the sweep found plain, all of one colour, is paper or the
    // inside of a shape, and its pixels are not read again.
    void sample(DWORD done)
    {
        if (!cells)
            return;
        for (; sampled < cells->down && ((uint64_t)sampled + 1) * rf <= done; ++sampled) {
            PixelColor* row = cells->colours + (size_t)sampled * cells->across;
            DWORD top = sampled * rf;
            uint32_t c = pixel24(scanLine(pso, top), 0);
            bool plain = wideLines && !isInk24(c);
            for (DWORD y = top; y < top + rf && plain; ++y)
                plain = work.plainLines[y] == kPlain && pixel24(scanLine(pso, y), 0) == c;
            PixelColor colour = {(BYTE)c, (BYTE)(c >> 8), (BYTE)(c >> 16)};
            if (!plain)
                unchangedRow = 0;  // sampling paints its ink white: not the line the row pass left
            for (DWORD first = 0; first < cells->across; first += kCellsAtOnce) {
                DWORD count = cells->across - first < kCellsAtOnce ? cells->across - first : kCellsAtOnce;
                if (plain)
                    getPlainCellColours(cells->markers, first * rf, top, rf, count, &colour, row + first);
                else
                    getCellColours(pso, cells->markers, first * rf, top, rf, count, row + first);
            }
        }
    }

    // A shift repaints at most 2 rf - 1 pixels behind the end of its run, so
    // once the sweep has passed scan line y the column pass is done with
    // line y - 2 rf: the row pass takes it then, while it is still in cache.
    uint64_t lag() const { return 2 * (uint64_t)rf; }

    // Which columns may shift anywhere, from the surface as it is now,
    // unless the sweep finds that a cell row at a time.
    void prepare()
    {
        if (!wideLines)
            findColumnsThatMayShift(pso, work, cx, cy, rf);
        memset(work.plainLines, 0, cy);
        *work.flags = SweepFlags{};
    }

    void begin()
    {
        ULONG format = pso->iBitmapFormat;
        if (wideLines) {
            // Every column from the top: the first row has no boundary above to take one up at.
            for (DWORD x = 0; x < cx; ++x)
                work.scans24[x].begin(column24(pso, x), rf);
            for (DWORD g = 0; g <= cx / kGroup; ++g)
                work.followBits[g] = g < cx / kGroup ? kEveryColumn : groupColumns(cx % kGroup);
            memcpy(work.runColours, scanLine(pso, 0), (size_t)cx * 3);
            started = true;
            return;
        }
        for (DWORD x = 0; x < cx; ++x) {
            work.scans[x].begin(SurfaceColumn{pso, x}, rf);
            putScanPixel(work.runColours, x, format, work.scans[x].run.colour);
        }
        started = true;
    }

    // At the top of the cell row from scan line top: which columns to follow
    // through it. A column followed through the row above goes on as it is
    // while either boundary of this row joins its pixels; any other is taken
    // up only where the boundary above joins them.
    void followRow(DWORD top)
    {
        if (top == 0)
            return;  // every column is followed from the top
        const BYTE* above = scanLine(pso, top - 1);
        const BYTE* first = scanLine(pso, top);
        DWORD bottom = top + rf;  // the boundary below the row
        const BYTE* last = bottom < cy ? scanLine(pso, bottom - 1) : nullptr;
        const BYTE* below = bottom < cy ? scanLine(pso, bottom) : nullptr;
        for (DWORD x0 = 0; x0 < cx; x0 += kStretch) {
            DWORD x1 = cx - x0 < kStretch ? cx : x0 + kStretch;
            size_t from = (size_t)x0 * 3, bytes = (size_t)(x1 - x0) * 3;
            // Paper and shapes join a whole stretch at once.
            bool allAbove = sameBytes(above + from, first + from, bytes);
            if ((allAbove || (below && sameBytes(last + from, below + from, bytes))) && work.followsEvery(x0, x1))
                continue;
            for (DWORD x = x0; x < x1; x += kGroup) {
                DWORD n = x1 - x < kGroup ? x1 - x : kGroup;
                uint64_t columns = groupColumns(n), was = work.followBits[x / kGroup];
                uint64_t follow = allAbove ? columns : columnsSame(above, first, x, n);
                for (uint64_t fresh = follow & ~was; fresh; fresh &= fresh - 1)
                    takeUpAcross(x + (DWORD)__builtin_ctzll(fresh) / 3, top);
                if ((was & ~follow) && below)
                    follow |= was & columnsSame(last, below, x, n);
                work.followBits[x / kGroup] = follow;
            }
        }
    }

    // The scan of column x taken up at scan line top, where the boundary
    // joins the column's pixels, so that the run there may straddle it. The
    // column was not followed through the row above: the scan is put where
    // following it through that row would have left it, in the run that
    // holds pixel top - 1.
    void takeUpAcross(DWORD x, DWORD top)
    {
        ColumnScan24& scan = work.scans24[x];
        Line24 column = column24(pso, x);
        DWORD rowTop = top - rf, start = top - 1;
        uint32_t colour = column.get(start);
        while (start > rowTop && column.get(start - 1) == colour)
            --start;
        scan.colour = colour;
        scan.previous = start > 0 ? column.get(start - 1) : colour;  // the surface's first run is its own previous
        scan.start = start;
        scan.pos = start + 1;
        scan.cellEnd = top;
        putPixel24(work.runColours, x, colour);
        work.flags->runColoursKnown = 0;
    }

    // Sweeps scan lines up to end - 1.
    void sweepTo(DWORD end)
    {
        end = end < cy ? end : cy;
        if (next >= end)
            return;
        if (!started)
            begin();
        ULONG format = pso->iBitmapFormat;
        for (; next < end; ++next) {
            DWORD y = next;
            if (wideLines) {
                if (y % rf == 0)
                    followRow(y);
                sweepLine24(pso, work, y, cx, cy, rf);
                forgetPlainLines(work, y, cy, rf);
            } else {
                const BYTE* line = scanLine(pso, y);
                for (DWORD x0 = 0; x0 < cx; x0 += kStretch) {
                    DWORD x1 = cx - x0 < kStretch ? cx : x0 + kStretch;
                    if (work.stretchFollowed[x0 / kStretch] && !sameStretch(line, work.runColours, x0, x1, format))
                        sweepStretch(pso, work, x0, x1, y, cy, rf);
                }
            }
            if (y >= lag()) {
                shiftRows(pso, cx, (DWORD)(y - lag()), (DWORD)(y - lag() + 1), rf, work.plainLines, unchangedRow);
                sample((DWORD)(y - lag() + 1));
            }
        }
    }

    // The rest of the surface; the runs that reach the bottom edge end there.
    void finish()
    {
        sweepTo(cy);  // cy > 0: the sweep has begun
        for (DWORD x = 0; x < cx; ++x) {
            if (wideLines) {
                if (work.follows(x))
                    work.scans24[x].endAtEdge(column24(pso, x), cy, rf, work.flags->shifted);
                continue;
            }
            if (!work.followed[x])
                continue;
            RunScan<SurfaceColumn>& scan = work.scans[x];
            scan.pos = scan.pos < cy ? cy : scan.pos;
            scan.advance(SurfaceColumn{pso, x}, cy, cy, rf);
        }
        forgetPlainLines(work, cy, cy, rf);
        shiftRows(pso, cx, cy > lag() ? (DWORD)(cy - lag()) : 0, cy, rf, work.plainLines, unchangedRow);
        sample(cy);
    }

    // A snap repainted scan lines y0 .. y1 - 1, below the sweep: what was
    // found of them no longer holds.
    void repainted(DWORD y0, DWORD y1)
    {
        y1 = y1 < cy ? y1 : cy;
        if (y1 > y0)
            memset(work.plainLines + y0, 0, y1 - y0);
    }

};

void shiftColumnsAndRows(SURFOBJ* pso, ColumnScans work, DWORD cx, DWORD cy, DWORD rf)
{
    if (cy == 0)
        return;
    ColumnSweep sweep(pso, work, cx, cy, rf);
    sweep.prepare();
    sweep.finish();
}

// A scan line as a line of pixels, read and written in place.
struct ScanLineRow {
    BYTE* line;
    ULONG format;
    PixelColor get(DWORD x) const { return scanPixel(line, x, format); }
    void set(DWORD x, const PixelColor& c) const { putScanPixel(line, x, format, c); }
    // At 24 bpp a word of bytes at a time, each against the byte one pixel
    // before it.
    DWORD runEnd(DWORD from, DWORD to) const
    {
        if (format != BMF_24BPP)
            return runEndOf(*this, from, to);
        return (DWORD)(runEndBytes24(line, (size_t)from * 3, (size_t)to * 3) / 3);
    }
};

// The first cell boundary from b on (a multiple of rf below n) whose pixels
// either side are the same colour, n when none: only a run holding such a
// pair can straddle a boundary.
uint64_t nextJoinedBoundary(const BYTE* line, uint64_t b, DWORD n, DWORD rf)
{
    for (; b < n; b += rf)
        if (pixel24(line, (DWORD)b - 1) == pixel24(line, (DWORD)b))
            return b;
    return n;
}

// shiftLine over a 24-bpp scan line, the same scan with colours as numbers.
// No run straddles a boundary whose pixels either side differ, so up to the
// next boundary whose pixels are the same (joined) nothing shifts, and the
// runs there are the line's own: the scan reaches the run that holds pixel
// joined - 1, which begins after the boundary before, with that run's colour
// and the colour of the pixel before it. It goes straight there. A grainy
// picture ends a run at almost every pixel, but joins few boundaries. A
// shift repaints no pixel of a boundary past the cell the scan then is in.
// False when no run came near a shift: the line is as it was.
bool shiftRow24(BYTE* line, DWORD n, DWORD rf)
{
    bool mayHaveShifted = false;
    uint32_t colour = pixel24(line, 0), previous = colour, next = colour;
    DWORD start = 0;
    uint64_t cellEnd = rf;  // the first pixel past the cell of the run's first pixel
    uint64_t joined = nextJoinedBoundary(line, cellEnd, n, rf);
    while (start < n) {
        if (cellEnd < joined) {
            if (joined >= n)
                return mayHaveShifted;  // no run from here on straddles a boundary
            DWORD p = (DWORD)joined - 1, low = (DWORD)joined - rf;
            while (p > low && pixel24(line, p - 1) == pixel24(line, p))
                --p;
            start = p;
            colour = next = pixel24(line, p);
            previous = pixel24(line, p - 1);
            cellEnd = joined;
        }
        DWORD pos = start;
        if (pixel24(line, pos) == colour)
            pos = (DWORD)(runEndBytes24(line, ((size_t)pos + 1) * 3, (size_t)n * 3) / 3);
        if (pos < n)
            next = pixel24(line, pos);  // at the edge next stays the run's own colour
        // A run that ends within its first cell, empty or not, or one longer
        // than a cell stays; any other straddles the boundary at cellEnd.
        DWORD resume = pos;
        if (pos > cellEnd && pos - start <= rf) {
            resume = shiftRun24(Line24{line, 3}, start, pos, cellEnd, colour, previous, next, n);
            mayHaveShifted = true;
        }
        previous = colour;
        colour = next;
        start = resume;
        if (start >= cellEnd)
            cellEnd = start < cellEnd + rf ? cellEnd + rf : ((uint64_t)start / rf + 1) * rf;
        if (joined < cellEnd)
            joined = nextJoinedBoundary(line, cellEnd, n, rf);
    }
    return mayHaveShifted;
}

// The row pass over scan lines y0 .. y1 - 1, one at a time. A plain line is
// one run, which stays: longer than a cell, or within the first. A 24-bpp
// line the same as the line above, which the pass left as it was, stays as
// it is too: the row pass reads nothing but the line. unchangedRow is y + 1
// when line y was left so and nothing has painted it since, 0 when no line
// is known to be.
void shiftRows(SURFOBJ* pso, DWORD cx, DWORD y0, DWORD y1, DWORD rf, const BYTE* plainLines, DWORD& unchangedRow)
{
    ULONG format = pso->iBitmapFormat;
    for (DWORD y = y0; y < y1; ++y) {
        BYTE* line = scanLine(pso, y);
        bool unchanged = true;
        if (plainLines[y] == kPlain) {
            // one run, which stays
        } else if (format == BMF_24BPP && cx > 0) {
            size_t bytes = (size_t)cx * 3;
            if (y == 0 || unchangedRow != y || !sameBytes(line, scanLine(pso, y - 1), bytes))
                unchanged = !shiftRow24(line, cx, rf);
        } else if (rowMayShift(line, cx, rf, format)) {
            shiftLine(ScanLineRow{line, format}, cx, rf);
            unchanged = false;
        }
        unchangedRow = unchanged ? y + 1 : 0;
    }
}

inline bool markedAt(const BYTE* line, DWORD x, ULONG format) { return marked(scanPixel(line, x, format)); }

// The first marked pixel of columns x0 .. x1 - 1 of a scan line, x1 when none.
DWORD firstMarked(const BYTE* line, DWORD x0, DWORD x1, ULONG format)
{
    if (format == BMF_24BPP) {
        // Paper is passed eight bytes at a time.
        const BYTE* p = line + (size_t)x0 * 3;
        size_t n = (size_t)(x1 - x0) * 3;
        if (allWhite(p, n))
            return x1;
        for (size_t i = 0; i < n; ++i)
            if (p[i] != 255)
                return x0 + (DWORD)(i / 3);
        return x1;
    }
    while (x0 < x1 && !markedAt(line, x0, format))
        ++x0;
    return x0;
}

// The last marked pixel of columns x0 .. x1 - 1, where x0 is known to be marked.
DWORD lastMarked(const BYTE* line, DWORD x0, DWORD x1, ULONG format)
{
    DWORD x = x1 - 1;
    while (x > x0 && !markedAt(line, x, format))
        --x;
    return x;
}

// Which cells hold a marked pixel, so that a window over four blank cells is
// passed without reading it. The moves of a snap refresh the cells around them.
struct MarkedCells {
    BYTE* flags;  // cellsX x cellsY, row by row
    DWORD cellsX, cellsY;

    bool any(DWORD i, DWORD j) const
    {
        const BYTE* f = flags + (size_t)i * cellsX + j;
        return f[0] | f[1] | f[cellsX] | f[cellsX + 1];
    }
    // Cell rows i0 .. i1 - 1, cell columns j0 .. j1 - 1, read again.
    void refresh(SURFOBJ* pso, DWORD i0, DWORD i1, DWORD j0, DWORD j1, DWORD rf)
    {
        for (DWORD i = i0; i < i1; ++i)
            for (DWORD j = j0; j < j1; ++j) {
                BYTE found = 0;
                for (DWORD y = i * rf; y < (i + 1) * rf && !found; ++y)
                    found = firstMarked(scanLine(pso, y), j * rf, (j + 1) * rf, pso->iBitmapFormat) < (j + 1) * rf;
                flags[(size_t)i * cellsX + j] = found;
            }
    }

    // Every cell read, a scan line at a time.
    void findAll(SURFOBJ* pso, DWORD rf)
    {
        if (pso->iBitmapFormat != BMF_24BPP) {
            refresh(pso, 0, cellsY, 0, cellsX, rf);
            return;
        }
        for (DWORD i = 0; i < cellsY; ++i)
            findRow24(pso, i, rf);
    }

    // The cells of cell row i of a 24-bpp surface, a scan line at a time: a
    // line of paper clears all its cells at one comparison, and a cell once
    // found marked is not read again. Lines white to their end (lineBytes)
    // are noted in whiteLines, when given.
    void findRow24(SURFOBJ* pso, DWORD i, DWORD rf, BYTE* whiteLines = nullptr, size_t lineBytes = 0)
    {
        BYTE* f = flags + (size_t)i * cellsX;
        memset(f, 0, cellsX);
        size_t cellBytes = (size_t)rf * 3;
        for (DWORD y = i * rf; y < (i + 1) * rf; ++y) {
            const BYTE* line = scanLine(pso, y);
            if (allWhite(line, cellBytes * cellsX)) {
                if (whiteLines && allWhite(line + cellBytes * cellsX, lineBytes - cellBytes * cellsX))
                    whiteLines[y] = kWhiteAhead;
                continue;
            }
            for (DWORD j = 0; j < cellsX; ++j)
                f[j] = f[j] || !allWhite(line + j * cellBytes, cellBytes);
        }
    }
};

// snapWindow on scan lines: the same mark found, but the reading stops as
// soon as a marked pixel shows the mark touches the window's border or has
// grown too large to be one dot. A column sweep following the snaps down the
// surface, if any, is told which lines a snap repainted.
void snapWindowFast(SURFOBJ* pso, MarkedCells& cells, DWORD i, DWORD j, DWORD rf, ColumnSweep* sweep)
{
    if (!cells.any(i, j))
        return;
    ULONG format = pso->iBitmapFormat;
    DWORD left = j * rf, top = i * rf, right = left + 2 * rf, bottom = top + 2 * rf;
    Box box = {right, (int64_t)left - 1, bottom, (int64_t)top - 1};
    for (DWORD y = top; y < bottom; ++y) {
        const BYTE* line = scanLine(pso, y);
        DWORD first = firstMarked(line, left, right, format);
        if (first == right)
            continue;
        if (y == top || y == bottom - 1 || first == left)
            return;
        DWORD last = lastMarked(line, first, right, format);
        if (last == right - 1)
            return;
        box.minX = first < box.minX ? first : box.minX;
        box.maxX = last > box.maxX ? last : box.maxX;
        box.minY = box.minY > y ? y : box.minY;
        box.maxY = y;
        if (box.maxX - box.minX > rf || box.maxY - box.minY > rf)
            return;
    }
    if (box.maxX < box.minX)
        return;
    snapBox(pso, box, left, top, rf);
    // The moves stay within one pixel of the window, so within the cells around it.
    if (sweep)
        sweep->repainted(top > 0 ? top - 1 : 0, bottom + 1);
    cells.refresh(pso, i > 0 ? i - 1 : 0, i + 3 < cells.cellsY ? i + 3 : cells.cellsY, j > 0 ? j - 1 : 0,
                  j + 3 < cells.cellsX ? j + 3 : cells.cellsX, rf);
}

// Working memory of the fast passes, from mymalloc; null when it is too large
// to ask for or cannot be had, and the caller takes the pixel-by-pixel path.
void* workMemory(uint64_t bytes) { return bytes == 0 || bytes > UINT32_MAX ? nullptr : mymalloc((DWORD)bytes); }

void snapAll(SURFOBJ* pso, DWORD cellsX, DWORD cellsY, DWORD rf)
{
    MarkedCells cells = {static_cast<BYTE*>(workMemory((uint64_t)cellsX * cellsY)), cellsX, cellsY};
    if (!cells.flags || !writable(pso)) {
        // Each window sees the surface as the windows before it left it.
        for (DWORD i = 0; i + 1 < cellsY; ++i)
            for (DWORD j = 0; j + 1 < cellsX; ++j)
                snapWindow(pso, (int64_t)j * rf, (int64_t)i * rf, rf);
    } else {
        cells.findAll(pso, rf);
        for (DWORD i = 0; i + 1 < cellsY; ++i)
            for (DWORD j = 0; j + 1 < cellsX; ++j)
                snapWindowFast(pso, cells, i, j, rf, nullptr);
    }
    if (cells.flags)
        myfree(cells.flags);
}

// Both run-shift passes, columns first, logging between them.
void shiftAll(SURFOBJ* pso, DWORD cx, DWORD cy, INT rf)
{
    void* memory = rf >= 1 && writable(pso) ? workMemory(ColumnScans::bytes(cx, cy)) : nullptr;
    LogMessage(kColumnPassLine);
    if (memory) {
        // Both passes in one sweep; the rows are only taken where the columns are done.
        LogMessage(kRowPassLine);
        shiftColumnsAndRows(pso, ColumnScans(memory, cx, cy), cx, cy, (DWORD)rf);
        myfree(memory);
        return;
    }
    if (rf >= 1)
        for (DWORD x = 0; x < cx; ++x)
            shiftLine(Column{pso, x}, cy, (DWORD)rf);
    LogMessage(kRowPassLine);
    if (rf >= 1)
        for (DWORD y = 0; y < cy; ++y)
            shiftLine(Row{pso, y}, cx, (DWORD)rf);
}

void logAdjustBraille(SURFOBJ* pso, INT rf) { LogMessage("adjustBraille(pso: 0x%X, rf: %d)\n", px_low32(pso), rf); }

// Snapping, the column pass and the row pass of a 24-bpp surface as one
// sweep down it, each pass a little behind the one before, so that the
// surface is read from memory once and the later passes find its lines in
// cache. Each does exactly what it does on its own: the snapping windows of
// cell row i read and write scan lines from i rf - 1 on, and the column sweep
// at line y reads no further than y + rf and writes no further than
// y + rf - 2, so once the windows of row i are done the sweep may take the
// lines above i rf. False, with nothing done, when the working memory cannot
// be had.
//
// With cells given, each cell row is sampled as soon as the row pass is done
// with its lines, and cells->taken set at the end.
bool adjustInOneSweep(SURFOBJ* pso, DWORD cx, DWORD cy, DWORD rf, CellColours* cells)
{
    DWORD cellsX = cx / rf, cellsY = cy / rf;
    MarkedCells marked = {static_cast<BYTE*>(workMemory((uint64_t)cellsX * cellsY)), cellsX, cellsY};
    void* memory = marked.flags ? workMemory(ColumnScans::bytes(cx, cy)) : nullptr;
    if (!memory) {
        if (marked.flags)
            myfree(marked.flags);
        return false;
    }
    logAdjustBraille(pso, (INT)rf);
    LogMessage(kWidthLine, pso->sizlBitmap.cx, pso->sizlBitmap.cy);
    LogMessage(kColumnPassLine);
    LogMessage(kRowPassLine);
    ColumnSweep sweep(pso, ColumnScans(memory, cx, cy), cx, cy, rf, cells);
    sweep.prepare();  // before any snap: the snaps tell the sweep what they repaint
    DWORD found = 0;  // cell rows whose marked cells are known
    for (DWORD i = 0; i + 1 < cellsY; ++i) {
        for (; found < i + 2; ++found)
            marked.findRow24(pso, found, rf, sweep.work.plainLines, (size_t)cx * 3);
        for (DWORD j = 0; j + 1 < cellsX; ++j)
            snapWindowFast(pso, marked, i, j, rf, &sweep);
        sweep.sweepTo(i * rf);
    }
    sweep.finish();
    if (cells)
        cells->taken = TRUE;
    myfree(memory);
    myfree(marked.flags);
    return true;
}

// Whether cells is a grid of colours for whole cells of a cx x cy surface.
bool sameGrid(const CellColours* cells, DWORD cx, DWORD cy, INT rf)
{
    return cells && cells->colours && rf >= 1 && cells->rf == (DWORD)rf && cells->across <= cx / (DWORD)rf &&
           cells->down <= cy / (DWORD)rf;
}

}  // namespace

DWORD shiftRunAlongColumn(SURFOBJ* pso, DWORD x, const PixelRun& run, DWORD lineLength, INT rf)
{
    return rf < 1 ? run.end + 1 : shiftRun(Column{pso, x}, run, lineLength, (DWORD)rf);
}

DWORD shiftRunAlongRow(SURFOBJ* pso, DWORD y, const PixelRun& run, DWORD lineLength, INT rf)
{
    return rf < 1 ? run.end + 1 : shiftRun(Row{pso, y}, run, lineLength, (DWORD)rf);
}

// A resolution factor below 1 describes no cell grid; there is nothing to
// snap to, and the surface is left as it is.
void adjustBraille(SURFOBJ* pso, INT rf)
{
    logAdjustBraille(pso, rf);
    if (!pso || rf < 1)
        return;
    DWORD cellsX = widthOf(pso) / (DWORD)rf, cellsY = heightOf(pso) / (DWORD)rf;
    if (cellsX < 2 || cellsY < 2)
        return;
    snapAll(pso, cellsX, cellsY, (DWORD)rf);
}

void adjustBitMap(SURFOBJ* pso, INT rf) { adjustBitMapSampling(pso, rf, nullptr); }

// The colours are taken only where the one sweep runs, and only when the
// caller's grid is the surface's.
void adjustBitMapSampling(SURFOBJ* pso, INT rf, CellColours* cells)
{
    LogMessage("adjustBitMap(pso: 0x%X, rf: %d)\n", px_low32(pso), rf);
    if (cells)
        cells->taken = FALSE;
    if (!pso || !pso->pvScan0)
        return;
    DWORD cx = widthOf(pso), cy = heightOf(pso);
    // The usual surface, in one sweep; anything else pass after pass.
    if (rf >= 1 && pso->iBitmapFormat == BMF_24BPP && (size_t)cx * 3 >= 16 && cx / (DWORD)rf >= 2 &&
        cy / (DWORD)rf >= 2 && adjustInOneSweep(pso, cx, cy, (DWORD)rf, sameGrid(cells, cx, cy, rf) ? cells : nullptr)) {
        LogMessage("End of adjustBitmap()\n");
        return;
    }
    adjustBraille(pso, rf);
    LogMessage(kWidthLine, pso->sizlBitmap.cx, pso->sizlBitmap.cy);
    shiftAll(pso, cx, cy, rf);
    LogMessage("End of adjustBitmap()\n");
}
