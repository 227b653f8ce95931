// Surface pixel access and the weighted cell colour. Reading pixels of every
// format is compared with the fast scan-line reading in the cross-checks.
#include "image_fixture.h"

using namespace imagetest;

namespace {

// The documented pixels: 24-bpp bytes in the order red, green, blue; a 1-bpp bit set
// exactly when red and green are full; no bits read grey. Writes off the bitmap are
// dropped. (Reads off the bitmap are paper in the cross-checks' cells past the edges.)
TEST(Pixel, DocumentedPixelsWritesOffTheBitmapAndNoBits)
{
    Surface rgb(1, 1, BMF_24BPP);
    rgb.bits[0] = 10, rgb.bits[1] = 20, rgb.bits[2] = 30;
    EXPECT_EQ(rgb.get(0, 0), (PixelColor{10, 20, 30}));
    Surface bit(16, 1, BMF_1BPP);
    bit.set(13, 0, PixelColor{255, 255, 0});
    EXPECT_EQ(bit.bits[1], 0x04) << "blue not consulted";
    EXPECT_EQ(bit.get(13, 0), kWhite);
    bit.bits[1] = 0xFF, bit.set(13, 0, PixelColor{255, 254, 255});
    EXPECT_EQ(bit.bits[1], 0xFB) << "and the neighbours stay";

    Surface s(4, 3, BMF_24BPP);
    for (POINTL p : {POINTL{-1, 0}, POINTL{4, 0}, POINTL{0, -1}, POINTL{0, 3}, POINTL{INT32_MIN, 1}})
        s.set(p.x, p.y, kWhite);
    EXPECT_EQ(s.bits, std::vector<BYTE>(36, 0)) << "writes outside are dropped";
    s.so.pvScan0 = nullptr;
    s.set(0, 0, kWhite);
    EraseSurface(&s.so);
    EXPECT_EQ(s.get(2, 2), (PixelColor{127, 127, 127})) << "no bits: grey inside the height";
    EXPECT_EQ(s.get(2, 3), kWhite) << "and white below it";
}

// The documented thin line: a black row across a white 6 x 6 cell weighs ThinLineIntensity x 6 times as much.
TEST(SampleColor, ThinLineEqualBrightnessAndSinglePixels)
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
        for (LONG i = 0; i < 36; ++i)  // half red, half blue: equally bright, the bottom-right pixel taken
            s.set(i % 6, i / 6, i < 18 ? PixelColor{255, 0, 0} : PixelColor{0, 0, 255});
        getSampleColor(&s.so, 0, 0, 6, &got);
        EXPECT_EQ(got, (PixelColor{0, 0, 255}));
        s.set(1, 1, kInk);
        getSampleColor(&s.so, 1, 1, 1, &got);
        EXPECT_EQ(got, kInk) << "factor 1 reads the pixel as it is";
    }
}

}  // namespace
