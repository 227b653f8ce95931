// The bitmap adjustment read literally, kept as the reference the fast passes
// must match byte for byte: the surface as a grid of colours, each rule
// applied pixel by pixel, and the pixels that changed written back.
#include "reference.h"

#include <algorithm>
#include <climits>
#include <cstdint>
#include <vector>

namespace reference {

namespace {

// Colours as 0xRRGGBB.
constexpr uint32_t kWhite = 0xFFFFFF;

uint32_t pack(const PixelColor& c) { return (uint32_t)c.red << 16 | c.green << 8 | c.blue; }
PixelColor unpack(uint32_t v) { return PixelColor{(BYTE)(v >> 16), (BYTE)(v >> 8), (BYTE)v}; }
int brightness(uint32_t v) { return (v >> 16) + (v >> 8 & 0xFF) + (v & 0xFF); }

// A picture, row-major. Off the picture reads white and takes no writes.
struct Grid {
    int cx, cy;
    std::vector<uint32_t> px;

    Grid(int w, int h) : cx(w), cy(h), px((size_t)w * h, kWhite) {}
    uint32_t get(int x, int y) const { return x >= 0 && y >= 0 && x < cx && y < cy ? px[(size_t)y * cx + x] : kWhite; }
    // Columns x0 ... x1 - 1, rows y0 ... y1 - 1.
    Grid& fill(int x0, int y0, int x1, int y1, uint32_t c)
    {
        for (int y = std::max(y0, 0); y < std::min(y1, cy); ++y)
            for (int x = std::max(x0, 0); x < std::min(x1, cx); ++x)
                px[(size_t)y * cx + x] = c;
        return *this;
    }
    Grid transposed() const
    {
        Grid t(cy, cx);
        for (int y = 0; y < cy; ++y)
            for (int x = 0; x < cx; ++x)
                t.px[(size_t)x * cy + y] = px[(size_t)y * cx + x];
        return t;
    }
};

// Each 2 x 2 cell window in turn, seeing the picture as the windows before it
// left it: the box around a mark of at most rf + 1 pixels each way, clear of
// the window's border, moves to the side of each cell boundary it straddles
// that holds more of it, forward on a tie; first across, then the box where
// it now is, up or down.
void snap(Grid& g, int rf)
{
    for (int top = 0; top + 2 * rf <= g.cy / rf * rf; top += rf)
        for (int left = 0; left + 2 * rf <= g.cx / rf * rf; left += rf) {
            int x0 = INT_MAX, x1 = -1, y0 = INT_MAX, y1 = -1;
            for (int y = top; y < top + 2 * rf; ++y)
                for (int x = left; x < left + 2 * rf; ++x)
                    if (g.get(x, y) != kWhite) {
                        x0 = std::min(x0, x);
                        x1 = std::max(x1, x);
                        y0 = std::min(y0, y);
                        y1 = std::max(y1, y);
                    }
            bool clear = x0 > left && y0 > top && x1 < left + 2 * rf - 1 && y1 < top + 2 * rf - 1;
            if (x1 < 0 || x1 - x0 > rf || y1 - y0 > rf || !clear)
                continue;
            auto distance = [&](int lo, int hi, int start) {
                int inFirst = start + rf - lo, inSecond = hi - (start + rf) + 1;
                return lo / rf == hi / rf ? 0 : inSecond < inFirst ? -inSecond : inFirst;
            };
            // The box, whatever it holds, white where it leaves.
            auto move = [&](int dx, int dy) {
                std::vector<uint32_t> lifted;
                for (int y = y0; y <= y1; ++y)
                    for (int x = x0; x <= x1; ++x)
                        lifted.push_back(g.get(x, y));
                g.fill(x0, y0, x1 + 1, y1 + 1, kWhite);
                size_t i = 0;
                for (int y = y0; y <= y1; ++y)
                    for (int x = x0; x <= x1; ++x)
                        g.fill(x + dx, y + dy, x + dx + 1, y + dy + 1, lifted[i++]);
                x0 += dx;
                x1 += dx;
                y0 += dy;
                y1 += dy;
            };
            move(distance(x0, x1, left), 0);
            move(0, distance(y0, y1, top));
        }
}

// The runs of column x from the top: a run of at most rf pixels across a cell
// boundary moves forward by its pixels in the first cell (at most half of it)
// onto a lighter run before, else back by the rest onto a lighter run after;
// the scan goes on where it ends, with the colour that ended it.
void shiftColumn(Grid& g, int x, int rf)
{
    uint32_t colour = g.get(x, 0), previous = colour, next = colour;
    for (int start = 0; start < g.cy; previous = colour, colour = next) {
        int end = start, inFirst = 0;  // end: one past the run
        for (; end < g.cy && g.get(x, end) == colour; ++end)
            inFirst += end / rf == start / rf;
        next = end < g.cy ? g.get(x, end) : next;
        int length = end - start, over = length - inFirst;
        bool straddles = length <= rf && start / rf != (end - 1) / rf;
        if (straddles && inFirst <= length / 2 && brightness(colour) < brightness(previous)) {
            g.fill(x, start, x + 1, start + inFirst, previous).fill(x, end, x + 1, end + inFirst, colour);
            start = std::min(end + inFirst, g.cy);
        } else if (straddles && inFirst > length / 2 && brightness(colour) < brightness(next)) {
            g.fill(x, start - over, x + 1, start, colour).fill(x, end - over, x + 1, end, next);
            start = end - over;
        } else {
            start = end;
        }
    }
}

}  // namespace

// Snapping, then every column, then every row. A resolution factor below 1
// describes no cell grid, and a surface without bits has nothing to move.
void adjustBitMap(SURFOBJ* pso, INT rf)
{
    if (!pso || !pso->pvScan0 || rf < 1)
        return;
    int cx = std::max<LONG>(pso->sizlBitmap.cx, 0), cy = std::max<LONG>(pso->sizlBitmap.cy, 0);
    Grid g(cx, cy);
    for (int y = 0; y < cy; ++y)
        for (int x = 0; x < cx; ++x) {
            PixelColor c;
            getSurfacePixel(pso, (DWORD)x, (DWORD)y, &c, (DWORD)cy);
            g.px[(size_t)y * cx + x] = pack(c);
        }
    const Grid before = g;
    snap(g, rf);
    for (int x = 0; x < g.cx; ++x)
        shiftColumn(g, x, rf);
    g = g.transposed();
    for (int y = 0; y < g.cx; ++y)
        shiftColumn(g, y, rf);
    g = g.transposed();
    for (int y = 0; y < cy; ++y)
        for (int x = 0; x < cx; ++x)
            if (g.get(x, y) != before.get(x, y)) {
                PixelColor c = unpack(g.get(x, y));
                setSurfacePixel(pso, x, y, &c);
            }
}

}  // namespace reference
