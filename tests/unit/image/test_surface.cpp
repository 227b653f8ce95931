// Surface pixel access and the weighted cell colour. Reading pixels of every
// format is compared with the fast scan-line reading in the cross-checks.
#include "image_fixture.h"

using namespace imagetest;

namespace {

// A 1-bpp bit is set exactly when red and green are full; writes off the bitmap are
// dropped; erasing spares the scan-line padding; no bits read grey. (Reads off the
// bitmap are paper in the cross-checks' cells past the edges.)
TEST(Pixel, WritesPaddingAndNoBits)
{
    Surface bit(16, 1, BMF_1BPP);
    bit.set(13, 0, PixelColor{255, 255, 0});
    EXPECT_EQ(bit.bits[1], 0x04) << "blue not consulted";
    bit.bits[1] = 0xFF, bit.set(13, 0, PixelColor{255, 254, 255});
    EXPECT_EQ(bit.bits[1], 0xFB) << "and the neighbours stay";

    Surface s(4, 3, BMF_24BPP), mono(13, 2, BMF_1BPP, 1, true), rgb(1, 2, BMF_24BPP, 2);
    for (POINTL p : {POINTL{-1, 0}, POINTL{4, 0}, POINTL{0, -1}, POINTL{0, 3}, POINTL{INT32_MIN, 1}})
        s.set(p.x, p.y, kWhite);
    EXPECT_EQ(s.bits, std::vector<BYTE>(36, 0)) << "writes outside are dropped";
    EraseSurface(&mono.so);
    EraseSurface(&rgb.so);
    EXPECT_EQ(mono.bits, (std::vector<BYTE>{0xFF, 0xF8, 0, 0xFF, 0xF8, 0}));
    EXPECT_EQ(rgb.bits, (std::vector<BYTE>{0xFF, 0xFF, 0xFF, 0, 0, 0xFF, 0xFF, 0xFF, 0, 0}));
    s.so.pvScan0 = nullptr;
    s.set(0, 0, kWhite);
    EraseSurface(&s.so);
    EXPECT_EQ(s.get(2, 2), (PixelColor{127, 127, 127})) << "no bits: grey inside the height";
    EXPECT_EQ(s.get(2, 3), kWhite) << "and white below it";
}

// The documented thin line: a black row across a white 6 x 6 cell weighs ThinLineIntensity x 6 times as much.
TEST(SampleColor, ThinLineAndSinglePixels)
{
    for (auto c : {std::pair<LONG, BYTE>{1, 115}, {0, 212}, {-1, 115}}) {  // -1: no device record
        Surface s(6, 6, BMF_24BPP);
        for (LONG i = 0; i < 36; ++i)
            s.set(i % 6, i / 6, i / 6 == 2 ? kBlack : kWhite);
        Device device((DWORD)c.first, &s.so);
        if (c.first < 0)
            s.so.dhpdev = nullptr;
        PixelColor got;
        getSampleColor(&s.so, 0, 0, 6, &got);
        EXPECT_EQ(got, (PixelColor{c.second, c.second, c.second})) << "ThinLineIntensity " << c.first;
        s.set(1, 1, kInk);
        getSampleColor(&s.so, 1, 1, 1, &got);
        EXPECT_EQ(got, kInk) << "factor 1 reads the pixel as it is";
    }
}

}  // namespace
