// The fast image work against the straightforward versions, byte for byte,
// on thousands of random surfaces.
#include "reference.h"

#include "image/adjust.h"

#include <gtest/gtest.h>

namespace {

using imagetest::RandomSurfaces;
using imagetest::Surface;

// A copy of a surface over its own bytes, at the same place in them.
struct Copy {
    std::vector<BYTE> bits;
    SURFOBJ so;
    explicit Copy(const Surface& s) : bits(s.bits), so(s.so)
    {
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

}  // namespace
