// Tone mapping: MulDiv, lightness, quantisation, the ordered dither, hue.
#include "image_fixture.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <random>

#ifndef _WIN32
#include "px/winmath.h"
#endif

using namespace imagetest;

namespace {

PixelColor grey(int v) { return PixelColor{(BYTE)v, (BYTE)v, (BYTE)v}; }

TEST(MulDiv, RoundsHalvesAwayFromZero)
{
    struct Case {
        INT a, b, c, expected;
    } cases[] = {
        {255, 1, 2, 128}, {255, 59, 255, 59}, {1, 1, 3, 0},    {2, 1, 3, 1},     {-3, 1, 2, -2},
        {3, -1, 2, -2},   {-7, 1, -2, 4},     {5, 5, 10, 3},   {-5, 5, 10, -3},  {INT_MAX, 2, 2, INT_MAX},
        {5, 1, 0, -1},    {INT_MAX, 2, 1, -1}, {INT_MIN, 1, -1, -1}, {65536, 65536, 1, -1},
    };
    for (const Case& c : cases)
        EXPECT_EQ(MulDiv(c.a, c.b, c.c), c.expected) << c.a << " x " << c.b << " / " << c.c;
}

TEST(Lightness, Examples)
{
    struct Case {
        const char* name;
        INT brightness, contrast;
        BOOL invert;
        PixelColor colour;
        INT expected;
    } cases[] = {
        {"defaults, light grey", 6, 5, 0, grey(200), 210},
        {"defaults, black", 6, 5, 0, kBlack, 0},
        {"defaults, grey level 254", 6, 5, 0, grey(254), 255},
        {"white inverted", 6, 5, 1, kWhite, 255},
        {"white, extreme settings", -100, 100, 1, kWhite, 255},
        {"black inverted, neutral", 0, 0, 1, kBlack, 255},
        {"light grey inverted, neutral", 0, 0, 1, grey(220), 35},
        {"inversion needs exactly 1", 0, 0, 2, grey(220), 220},
        {"contrast -100, black", 0, -100, 0, kBlack, 128},
        {"contrast -100, any colour", 0, -100, 0, {200, 10, 30}, 128},
        {"contrast -100, brightness 40", 40, -100, 0, kBlack, 26},
        {"neutral: the grey level", 0, 0, 0, {100, 150, 200}, 142},
        {"contrast 100 clamps dark", 0, 100, 0, grey(100), 0},
        {"contrast 100 clamps light", 0, 100, 0, grey(160), 255},
        {"positive brightness darkens", 20, 0, 0, grey(128), 77},
        {"huge contrast from printer data", 0, INT_MAX, 0, grey(100), 0},
        {"huge brightness from printer data", INT_MIN, 0, 0, grey(100), 255},
    };
    for (const Case& c : cases) {
        ToneConfig config;
        config->Brightness = c.brightness;
        config->Contrast = c.contrast;
        config->InvertColor = c.invert;
        EXPECT_EQ(getLightness(&c.colour, config.get()), c.expected) << c.name;
    }
}

TEST(DotHeight, StraightQuantisationBoundaries)
{
    const std::pair<INT, INT> cases[] = {{255, 0}, {254, 1}, {219, 1}, {218, 2}, {183, 2}, {182, 3}, {147, 3},
                                         {146, 4}, {111, 4}, {110, 5}, {75, 5},  {74, 6},  {39, 6},  {38, 7}, {0, 7}};
    ToneConfig neutral;
    neutral->Brightness = neutral->Contrast = 0;
    for (const auto& c : cases) {
        PixelColor colour = grey(c.first);  // a grey's lightness is its level here
        EXPECT_EQ(getDotHeight(neutral.get(), 0, 0, &colour), c.second) << "lightness " << c.first;
    }
    PixelColor c = grey(150);
    EXPECT_EQ(getDotHeight(nullptr, 0, 0, &c), 3) << "no configuration: the grey level straight";
}

TEST(DotHeight, BrailleAndWhiteWhateverTheSettings)
{
    const PixelColor braille = {0, 0, 1};
    for (INT pattern : {0, 1, 3, 4})
        for (INT dithering : {0, 1})
            for (INT brightness : {-100, 100}) {
                ToneConfig config;
                config->colorPattern = pattern, config->dithering = dithering;
                config->Brightness = brightness, config->Contrast = -brightness, config->InvertColor = 1;
                config->customPattern = ColorPatternSet_load(WSTR(""));  // empty sets: nothing loads
                config->pattern3 = ColorPatternSet_load(WSTR(""));
                config->pattern4 = ColorPatternSet_load(WSTR(""));
                for (DWORD x = 0; x < 4; ++x) {
                    EXPECT_EQ(getDotHeight(config.get(), x, 2 * x, &braille), 15);
                    EXPECT_EQ(getDotHeight(config.get(), x, 2 * x, &kWhite), 0);
                }
            }
}

// The dot values of one 4 x 4 block, [x][y] flattened.
std::vector<INT> ditheredBlock(INT lightness, INT dithering = 1)
{
    ToneConfig config;
    config->Brightness = config->Contrast = 0;
    config->dithering = dithering;
    PixelColor c = grey(lightness);
    std::vector<INT> out;
    for (DWORD x = 0; x < 4; ++x)
        for (DWORD y = 0; y < 4; ++y)
            out.push_back(getDotHeight(config.get(), x, y, &c));
    return out;
}

TEST(Dither, Examples)
{
    EXPECT_EQ(ditheredBlock(127), std::vector<INT>(16, 4)) << "d 128: rest 0";
    EXPECT_EQ(ditheredBlock(255), std::vector<INT>(16, 0));
    EXPECT_EQ(ditheredBlock(254), std::vector<INT>(16, 0));
    EXPECT_EQ(ditheredBlock(0), std::vector<INT>(16, 7));
    // Lightness 111: d 144, band 4, rest 16: the taller dot where the threshold is below 16.
    std::vector<INT> block = ditheredBlock(111), expected;
    for (DWORD x = 0; x < 4; ++x)
        for (DWORD y = 0; y < 4; ++y)
            expected.push_back(ditherMatrix[x][y] < 16 ? 5 : 4);
    EXPECT_EQ(block, expected);
    EXPECT_EQ(std::count(block.begin(), block.end(), 5), 8);
    EXPECT_EQ(ditherMatrix[1][0], 25) << "indexed by x first";
}

// In each band of 32 levels, rest / 2 of a block's 16 cells get the taller
// dot; every dithering setting is the same ordered dither.
TEST(Dither, EveryLevelSpreadsOverTwoHeights)
{
    for (INT v = 0; v <= 255; ++v) {
        INT d = 255 - v, band = d / 32;
        std::vector<INT> block = ditheredBlock(v);
        EXPECT_EQ(std::count(block.begin(), block.end(), band) + std::count(block.begin(), block.end(), band + 1), 16);
        EXPECT_EQ(std::count(block.begin(), block.end(), band + 1), band < 7 ? d % 32 / 2 : 0) << v;
        for (INT dithering : {2, 3, 4, -1})
            ASSERT_EQ(ditheredBlock(v, dithering), block) << "dithering " << dithering;
    }
}

TEST(Hsv, Examples)
{
    struct Case {
        PixelColor colour;
        INT hue, saturation, value;
    } cases[] = {
        {{255, 0, 0}, 0, 255, 72},      {{255, 255, 0}, 42, 255, 218}, {{0, 255, 0}, 85, 255, 145},
        {{0, 255, 255}, 127, 255, 182}, {{0, 0, 255}, 170, 255, 36},   {{255, 0, 255}, 214, 255, 109},
        {{128, 128, 128}, 0, 0, 128},   {{0, 0, 0}, 0, 0, 0},          {{255, 196, 196}, 0, 59, 212},
        {{255, 195, 195}, 0, 60, 212},  {{255, 0, 1}, 0, 255, 73},     {{255, 0, 60}, 246, 255, 81},
    };
    for (const Case& c : cases) {
        HsvColor hsv = rgbToHsv(&c.colour);
        EXPECT_EQ((std::vector<INT>{hsv.hue, hsv.saturation, hsv.value}),
                  (std::vector<INT>{c.hue, c.saturation, c.value}))
            << c.colour;
    }
}

// The dot value from the definitions, in floating point, with the
// quantisation table and the dither thresholds; patterns off.
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
    const INT lowestOfLevel[] = {255, 219, 183, 147, 111, 75, 39, 0};
    INT level = 0;
    while (lightness < lowestOfLevel[level])
        ++level;
    return level;
}

TEST(DotHeightCrossCheck, MatchesTheDefinitions)
{
    std::mt19937 rng(424242);
    for (int i = 0; i < 200000; ++i) {
        ToneConfig config;
        config->Brightness = (INT)(rng() % 201) - 100;
        config->Contrast = (INT)(rng() % 201) - 100;
        config->InvertColor = rng() % 3 == 0;
        config->dithering = rng() % 2 ? (INT)(rng() % 5) : 0;
        PixelColor c = rng() % 8 ? PixelColor{(BYTE)rng(), (BYTE)rng(), (BYTE)rng()} : grey(rng() % 256);
        DWORD x = rng(), y = rng();
        ASSERT_EQ(getDotHeight(config.get(), x, y, &c), slowDotHeight(config.config, x, y, c))
            << c << " at " << x << ", " << y << ": brightness " << config->Brightness << ", contrast "
            << config->Contrast << ", invert " << config->InvertColor << ", dithering " << config->dithering;
    }
}

}  // namespace
