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

}  // namespace
