// Bitmap adjustment: the documented examples, which also hold the pixel-by-pixel
// reference the cross-checks compare the fast adjustment with.
#include "reference.h"

#include "image/adjust.h"

namespace {

using imagetest::kBlack;
using imagetest::kWhite;
using imagetest::RandomSurfaces;
using imagetest::Surface;

// A cx x cy picture of one colour with a block of another at columns x0 ... x1 - 1, rows y0 ... y1 - 1.
Surface picture(LONG cx, LONG cy, const PixelColor& paper, const PixelColor& block, LONG x0, LONG y0, LONG x1, LONG y1)
{
    Surface s(cx, cy, BMF_24BPP);
    RandomSurfaces::fill(s, 0, 0, cx, cy, paper);
    RandomSurfaces::fill(s, x0, y0, x1 - x0, y1 - y0, block);
    return s;
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
    for (const auto& c : cases) {
        Surface s = picture(40, 40, kWhite, kBlack, c[1], c[2], c[3], c[4]);
        adjustBraille(&s.so, c[0]);
        EXPECT_EQ(s.bits, picture(40, 40, kWhite, kBlack, c[5], c[6], c[7], c[8]).bits)
            << "rf " << c[0] << ", mark at " << c[1] << ", " << c[2];
    }
}

// Bands across the picture (the column pass), and down it (the row pass); rf 4: boundaries at 4, 8, ...
TEST(Adjust, ShortRunsMoveToTheSideWhereMostOfThemLie)
{
    const PixelColor grey = {128, 128, 128};
    const struct {
        PixelColor outside, band;
        LONG from, to, movedFrom, movedTo;  // the band's rows (columns) before and after
    } cases[] = {
        {kWhite, kBlack, 6, 9, 5, 8},   // 2 of 3 in the first cell: back by 1
        {kWhite, kBlack, 7, 10, 8, 11}, // 1 of 3: forward by 1
        {kBlack, grey, 7, 9, 7, 9},     // grey between black stays
    };
    for (const auto& c : cases) {
        Surface across = picture(17, 22, c.outside, c.band, 0, c.from, 17, c.to);
        Surface down = picture(22, 17, c.outside, c.band, c.from, 0, c.to, 17);
        adjustBitMap(&across.so, 4);
        adjustBitMap(&down.so, 4);
        EXPECT_EQ(across.bits, picture(17, 22, c.outside, c.band, 0, c.movedFrom, 17, c.movedTo).bits) << c.from;
        EXPECT_EQ(down.bits, picture(22, 17, c.outside, c.band, c.movedFrom, 0, c.movedTo, 17).bits) << c.from;
    }
}

}  // namespace
