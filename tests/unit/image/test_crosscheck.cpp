// The fast image work against the straightforward versions, byte for byte,
// on thousands of random surfaces.
#include "reference.h"

#include "image/adjust.h"

#include <gtest/gtest.h>

namespace {

using imagetest::RandomSurfaces;
using imagetest::Surface;

// A copy of a surface over its own bytes, at the same place in them (or none).
struct Copy {
    std::vector<BYTE> bits;
    SURFOBJ so;
    explicit Copy(const Surface& s) : bits(s.bits), so(s.so)
    {
        if (s.so.pvScan0)
            so.pvScan0 = bits.data() + (static_cast<const BYTE*>(s.so.pvScan0) - s.bits.data());
    }
};

TEST(CrossCheck, BitmapAdjustmentMatchesThePixelByPixelRules)
{
    RandomSurfaces random(14);
    for (int round = 0; round < 6000; ++round) {
        int rf = random.below(14) - 1;
        Surface s = random.make(rf);
        Copy expected(s);
        reference::adjustBitMap(&expected.so, rf);
        adjustBitMap(&s.so, rf);
        ASSERT_EQ(s.bits, expected.bits) << "round " << round << ", rf " << rf << ", format " << s.so.iBitmapFormat
                                         << ", " << s.so.sizlBitmap.cx << " x " << s.so.sizlBitmap.cy;
    }
}

// Every cell of a grid over the surface (cells past its edges included), in
// page order, so that the ink each cell removes is gone for the next; every
// weighting, surfaces without bits too.
TEST(CrossCheck, AreaSamplingMatchesThePixelByPixelSums)
{
    RandomSurfaces random(41);
    const DWORD intensities[] = {0, 1, 2, 3, 4, 5, 6, 1000, 0xFFFFFFFF};
    for (int round = 0; round < 4000; ++round) {
        DWORD factor = (DWORD)random.below(17) + 1;
        Surface s = random.make((int)factor);
        if (random.below(20) == 0)
            s.so.pvScan0 = nullptr;
        Copy expected(s);
        imagetest::Device device(intensities[random.below(9)], &s.so);
        expected.so.dhpdev = s.so.dhpdev;
        DWORD cx = (DWORD)s.so.sizlBitmap.cx, cy = (DWORD)s.so.sizlBitmap.cy;
        for (DWORD y = 0; y < cy + factor; y += factor)
            for (DWORD x = 0; x < cx + factor; x += factor) {
                PixelColor got, want;
                reference::getAreaColor(&expected.so, x, y, x + factor, y + factor, &want, factor);
                getAreaColor(&s.so, x, y, x + factor, y + factor, &got, factor);
                ASSERT_EQ(got, want) << "round " << round << ", cell at " << x << ", " << y << ", factor " << factor;
            }
        ASSERT_EQ(s.bits, expected.bits) << "round " << round;
    }
}

// The table against getDotHeight cell by cell, over settings in and far out
// of range, inverted or not, every dither value, and positions across the
// dither matrix.
TEST(CrossCheck, ToneTableMatchesGetDotHeight)
{
    RandomSurfaces random(7);
    const INT extremes[] = {-100000, -101, -100, -1, 0, 1, 6, 99, 100, 101, 100000};
    for (int round = 0; round < 3000; ++round) {
        imagetest::ToneConfig config;
        config->Brightness = random.below(3) ? random.below(241) - 120 : extremes[random.below(11)];
        config->Contrast = random.below(3) ? random.below(241) - 120 : extremes[random.below(11)];
        config->InvertColor = random.below(3);
        config->dithering = random.below(5);
        config->colorPattern = random.below(2) ? 0 : 2;
        Config* settings = random.below(20) ? config.get() : nullptr;
        ToneTable table;
        ToneTable_init(&table, settings);
        for (int cell = 0; cell < 64; ++cell) {
            PixelColor c = random.colour();
            DWORD x = (DWORD)random.below(1000), y = (DWORD)random.below(1000);
            ASSERT_EQ(ToneTable_dotHeight(&table, x, y, &c), getDotHeight(settings, x, y, &c))
                << "round " << round << ", colour " << c << ", brightness " << config->Brightness << ", contrast "
                << config->Contrast;
        }
    }
}

}  // namespace
