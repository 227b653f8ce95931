// Bitmap adjustment: the documented examples and the edges the random cross-checks do not reach.
#include "image/adjust.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace {

// Colours as 0xRRGGBB, so pictures compare as plain vectors.
constexpr uint32_t W = 0xFFFFFF, B = 0x000000, G = 0x808080;

// A picture, row-major.
struct Grid {
    int cx, cy;
    std::vector<uint32_t> px;

    Grid(int w, int h, uint32_t fill = W) : cx(w), cy(h), px((size_t)w * h, fill) {}
    // Columns x0 ... x1 - 1, rows y0 ... y1 - 1.
    Grid& fill(int x0, int y0, int x1, int y1, uint32_t c)
    {
        for (int y = std::max(y0, 0); y < std::min(y1, cy); ++y)
            for (int x = std::max(x0, 0); x < std::min(x1, cx); ++x)
                px[y * cx + x] = c;
        return *this;
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

// Bands across the picture (the column pass), and down it (the row pass); rf 4: boundaries at 4, 8, ...
TEST(Adjust, ShortRunsMoveToTheSideWhereMostOfThemLie)
{
    const uint32_t cases[][6] = {
        // outside, band, the band's rows (columns) before (y0 ... y1 - 1) and after
        {W, B, 6, 9, 5, 8},     // 2 of 3 in the first cell: back by 1
        {W, B, 7, 10, 8, 11},   // 1 of 3: forward by 1
        {B, G, 7, 9, 7, 9},     // grey between black stays
    };
    for (const auto& c : cases) {
        EXPECT_EQ(adjusted(Grid(17, 22, c[0]).fill(0, c[2], 17, c[3], c[1]), 4),
                  Grid(17, 22, c[0]).fill(0, c[4], 17, c[5], c[1]))
            << "band at " << c[2];
        EXPECT_EQ(adjusted(Grid(22, 17, c[0]).fill(c[2], 0, c[3], 17, c[1]), 4),
                  Grid(22, 17, c[0]).fill(c[4], 0, c[5], 17, c[1]))
            << "band at " << c[2] << " (rows)";
    }
    adjustBitMap(nullptr, 6);  // no surface: nothing to adjust
}

}  // namespace
