// Tone mapping: lightness, the ordered dither and the dot value.
#include "image_fixture.h"

#include <algorithm>
#include <cmath>
#include <random>

using namespace imagetest;

namespace {

PixelColor grey(int v) { return PixelColor{(BYTE)v, (BYTE)v, (BYTE)v}; }

TEST(DotHeight, Examples)
{
    ToneConfig config;
    PixelColor lightGrey = grey(200), midGrey = grey(150), c = grey(111);
    EXPECT_EQ(getLightness(&lightGrey, config.get()), 210) << "a new document's settings";
    EXPECT_EQ(getDotHeight(nullptr, 0, 0, &midGrey), 3) << "no configuration: the grey level straight";
    // Dithered lightness 111: darkness 144, band 4, rest 16: the taller dot where the threshold is below 16.
    config->Brightness = config->Contrast = 0, config->dithering = 1;
    const char* expected = "5454" "4545" "5454" "4545";  // [x][y]
    for (DWORD i = 0; i < 16; ++i)
        EXPECT_EQ(getDotHeight(config.get(), i / 4 + 8, i % 4, &c), expected[i] - '0') << i / 4 << ", " << i % 4;
}

// The dot value from the definitions, in floating point, with the quantisation table; patterns off.
INT slowDotHeight(const Config& config, DWORD x, DWORD y, const PixelColor& c)
{
    if (c.red == 0 && c.green == 0 && c.blue == 1)
        return 15;
    INT g = (2 * c.red + 4 * c.green + c.blue) / 7, lightness = 255;
    if (g < 255) {
        double slope = config.Contrast >= 0 ? 7.0 * config.Contrast + 100 : config.Contrast + 100.0;
        double v = 127 + std::trunc(slope * (128 - g) / 100) + std::trunc(255.0 * config.Brightness / 100);
        lightness = (INT)std::clamp(config.InvertColor == 1 ? v : 255 - v, 0.0, 255.0);
    }
    if (config.dithering != 0) {
        INT d = 255 - lightness;
        return d / 32 + (d % 32 > ditherMatrix[x % 4][y % 4] && d / 32 < 7 ? 1 : 0);
    }
    INT level = 0;  // a step for each level's lowest lightness it falls below
    for (INT lowest : {255, 219, 183, 147, 111, 75, 39})
        level += lightness < lowest;
    return level;
}

TEST(DotHeightCrossCheck, MatchesTheDefinitions)
{
    std::mt19937 rng(424242);
    for (int i = 0; i < 200000; ++i) {
        ToneConfig config;
        config->Brightness = rng() % 20 ? (INT)(rng() % 201) - 100 : (INT)rng();  // now and then far out of range
        config->Contrast = rng() % 20 ? (INT)(rng() % 201) - 100 : (INT)rng();
        config->InvertColor = rng() % 3;
        config->dithering = rng() % 2 ? (INT)(rng() % 5) - 1 : 0;
        PixelColor c = rng() % 8 ? PixelColor{(BYTE)rng(), (BYTE)rng(), (BYTE)rng()} : grey(rng() % 256);
        c = rng() % 64 ? c : PixelColor{0, 0, 1};  // now and then the braille colour
        DWORD x = rng(), y = rng();
        ASSERT_EQ(getDotHeight(config.get(), x, y, &c), slowDotHeight(config.config, x, y, c))
            << c << " at " << x << ", " << y << ": brightness " << config->Brightness << ", contrast "
            << config->Contrast << ", invert " << config->InvertColor << ", dithering " << config->dithering;
    }
}

}  // namespace
