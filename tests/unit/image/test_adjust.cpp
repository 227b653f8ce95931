// Bitmap adjustment: the documented examples, and the rules read literally on random surfaces.
#include "image/adjust.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <random>

namespace {

// Colours as 0xRRGGBB, so pictures compare as plain vectors.
constexpr uint32_t W = 0xFFFFFF, B = 0x000000, G = 0x808080, R = 0xFF0000;

int brightness(uint32_t v) { return (v >> 16) + (v >> 8 & 0xFF) + (v & 0xFF); }

// A picture, row-major. Off the picture reads white and takes no writes.
struct Grid {
    int cx, cy;
    std::vector<uint32_t> px;

    Grid(int w, int h, uint32_t fill = W) : cx(w), cy(h), px((size_t)w * h, fill) {}
    uint32_t get(int x, int y) const { return x >= 0 && y >= 0 && x < cx && y < cy ? px[y * cx + x] : W; }
    // Columns x0 ... x1 - 1, rows y0 ... y1 - 1.
    Grid& fill(int x0, int y0, int x1, int y1, uint32_t c)
    {
        for (int y = std::max(y0, 0); y < std::min(y1, cy); ++y)
            for (int x = std::max(x0, 0); x < std::min(x1, cx); ++x)
                px[y * cx + x] = c;
        return *this;
    }
    Grid transposed() const
    {
        Grid t(cy, cx);
        for (int i = 0; i < cx * cy; ++i)
            t.px[i % cx * cy + i / cx] = px[i];
        return t;
    }
    bool operator==(const Grid& o) const { return cx == o.cx && px == o.px; }
};

// '.' white, '#' black, '+' other colours: readable failures.
void PrintTo(const Grid& g, std::ostream* os)
{
    for (int i = 0; i < g.cx * g.cy; ++i)
        *os << (i % g.cx ? "" : "\n") << (g.px[i] == W ? '.' : g.px[i] == B ? '#' : '+');
}

// The picture on a 24-bpp surface, adjusted and read back.
Grid adjusted(Grid g, INT rf, void (*adjust)(SURFOBJ*, INT) = adjustBitMap)
{
    std::vector<BYTE> bits;  // red, green, blue
    for (uint32_t v : g.px)
        bits.insert(bits.end(), {(BYTE)(v >> 16), (BYTE)(v >> 8), (BYTE)v});
    SURFOBJ so{};
    so.sizlBitmap = {g.cx, g.cy}, so.iBitmapFormat = BMF_24BPP, so.lDelta = 3 * g.cx, so.pvScan0 = bits.data();
    adjust(&so, rf);
    for (size_t i = 0; i < g.px.size(); ++i)
        g.px[i] = (uint32_t)bits[3 * i] << 16 | bits[3 * i + 1] << 8 | bits[3 * i + 2];
    return g;
}

TEST(Adjust, DocumentedSnaps)
{
    const int cases[][9] = {
        // rf, the mark (columns x0 ... x1 - 1, rows y0 ... y1 - 1), where it ends
        {6, 4, 9, 8, 13, 6, 8, 10, 12},   // 4 x 4: right by 2 (a tie), up by 1
        {6, 4, 9, 11, 16, 6, 12, 13, 19}, // 7 x 7: right by 2, down by 3
        {6, 4, 9, 12, 17, 4, 9, 12, 17},  // 8 x 8: too large
        {4, 3, 5, 12, 7, 3, 5, 12, 7},    // spanning three cells
        {4, 2, 2, 5, 5, 1, 1, 4, 4},      // 3 x 3 mostly in the first cells: left and up by 1
    };
    for (const auto& c : cases)
        EXPECT_EQ(adjusted(Grid(40, 40).fill(c[1], c[2], c[3], c[4], B), c[0], adjustBraille),
                  Grid(40, 40).fill(c[5], c[6], c[7], c[8], B))
            << "rf " << c[0] << ", mark at " << c[1] << ", " << c[2];
}

// Bands across the picture (the column pass), and transposed (the row pass); rf 4: boundaries at 4, 8, ...
TEST(Adjust, ShortRunsMoveToTheSideWhereMostOfThemLie)
{
    const uint32_t cases[][6] = {
        // outside, band, the band's rows before (y0 ... y1 - 1) and after
        {W, B, 6, 9, 5, 8},     // 2 of 3 in the first cell: back by 1
        {W, B, 7, 10, 8, 11},   // 1 of 3: forward by 1
        {W, B, 7, 9, 8, 10},    // 1 of 2, a tie: forward
        {W, B, 19, 22, 20, 22}, // forward at the bottom edge, cut there
        {B, G, 7, 9, 7, 9},     // grey between black stays
        {G, B, 7, 9, 8, 10},    // black between grey moves
    };
    for (const auto& c : cases) {
        Grid before = Grid(17, 22, c[0]).fill(0, c[2], 17, c[3], c[1]);
        Grid want = Grid(17, 22, c[0]).fill(0, c[4], 17, c[5], c[1]);
        EXPECT_EQ(adjusted(before, 4), want) << "band at " << c[2];
        EXPECT_EQ(adjusted(before.transposed(), 4), want.transposed()) << "band at " << c[2] << " (rows)";
    }
}

// Each 2 x 2 cell window in turn: the box around a mark of at most rf + 1 pixels each way, clear of
// the window's border, moves to the side of each cell boundary it straddles that holds more of it,
// forward on a tie; first across, then the box where it now is, up or down.
void slowSnap(Grid& g, int rf)
{
    for (int top = 0; top + 2 * rf <= g.cy / rf * rf; top += rf)
        for (int left = 0; left + 2 * rf <= g.cx / rf * rf; left += rf) {
            int x0 = INT_MAX, x1 = -1, y0 = INT_MAX, y1 = -1;
            for (int y = top; y < top + 2 * rf; ++y)
                for (int x = left; x < left + 2 * rf; ++x)
                    if (g.get(x, y) != W)
                        x0 = std::min(x0, x), x1 = std::max(x1, x), y0 = std::min(y0, y), y1 = std::max(y1, y);
            bool clear = x0 > left && y0 > top && x1 < left + 2 * rf - 1 && y1 < top + 2 * rf - 1;
            if (x1 < 0 || x1 - x0 > rf || y1 - y0 > rf || !clear)
                continue;
            auto distance = [&](int lo, int hi, int start) {
                int inFirst = start + rf - lo, inSecond = hi - (start + rf) + 1;
                return lo / rf == hi / rf ? 0 : inSecond < inFirst ? -inSecond : inFirst;
            };
            auto move = [&](int dx, int dy) {  // the box, whatever it holds, white where it leaves
                Grid lifted = g;
                g.fill(x0, y0, x1 + 1, y1 + 1, W);
                for (int y = y0; y <= y1; ++y)
                    for (int x = x0; x <= x1; ++x)
                        g.fill(x + dx, y + dy, x + dx + 1, y + dy + 1, lifted.get(x, y));
                x0 += dx, x1 += dx, y0 += dy, y1 += dy;
            };
            move(distance(x0, x1, left), 0);
            move(0, distance(y0, y1, top));
        }
}

// The runs of column x from the top: a run of at most rf pixels across a cell boundary moves forward by
// its pixels in the first cell (at most half of it) onto a lighter run before, else back by the rest onto
// a lighter run after; the scan goes on where it ends, with the colour that ended it.
void slowShiftColumn(Grid& g, int x, int rf)
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

// Snapping, then every column, then every row; nothing without a cell grid.
Grid slowAdjust(Grid g, int rf)
{
    if (rf < 1)
        return g;
    slowSnap(g, rf);
    for (int x = 0; x < g.cx; ++x)
        slowShiftColumn(g, x, rf);
    g = g.transposed();
    for (int y = 0; y < g.cx; ++y)
        slowShiftColumn(g, y, rf);
    return g.transposed();
}

// Small marks, strokes across the picture and single pixels on white.
TEST(Adjust, MatchesTheLiteralRulesOnRandomSurfaces)
{
    std::mt19937 rng(1957);
    const uint32_t palette[] = {B, G, R, 0x000001, 0xC8C8C8};
    for (int round = 0; round < 800; ++round) {
        Grid g((int)(rng() % 40) + 1, (int)(rng() % 40) + 1);
        for (int marks = (int)(rng() % 12); marks > 0; --marks) {
            int x = (int)(rng() % g.cx), y = (int)(rng() % g.cy), w = (int)(rng() % 9) + 1, h = (int)(rng() % 9) + 1;
            if (rng() % 4 == 0)
                (rng() % 2 ? w : h) = 40;
            g.fill(x, y, x + w, y + h, palette[round % 2 ? 0 : rng() % 5]);
        }
        for (int dots = (int)(rng() % 20); dots > 0; --dots)
            g.px[rng() % g.px.size()] = palette[round % 2 ? 0 : rng() % 5];
        int rf = (int)(rng() % 10) - 1;
        ASSERT_EQ(adjusted(g, rf), slowAdjust(g, rf))
            << "round " << round << ", rf " << rf << ", from" << ::testing::PrintToString(g);
    }
    adjustBitMap(nullptr, 6);  // no surface: nothing to adjust
}

}  // namespace
