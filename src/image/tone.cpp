// Tone mapping: the dot value of one cell from its colour.
//
// A darker cell gets a taller dot, after the user's contrast, brightness and
// inversion; an ordered dither can spread the levels between two heights, and
// colour patterns can give saturated colours a texture of their own.
#include "image.h"

#include "config/config.h"
#include "image/pattern.h"

#include <cstdint>

// Twice the 4 x 4 Bayer index matrix plus one, indexed [x mod 4][y mod 4].
const BYTE ditherMatrix[4][4] = {
    {1, 17, 5, 21},
    {25, 9, 29, 13},
    {7, 23, 3, 19},
    {31, 15, 27, 11},
};

namespace {

// Lightness steps of the straight quantisation: seven heights over 0 .. 254.
const INT kLevelStep = 36;

inline bool isBrailleColor(const PixelColor* c)
{
    return c->red == BRAILLE_RED && c->green == BRAILLE_GREEN && c->blue == BRAILLE_BLUE;
}

// The pattern's answer for this cell, or -1 when patterns leave the cell to
// tone mapping (none selected, none for this colour, or not saturated enough).
INT patternDotHeight(Config* config, DWORD x, DWORD y, const PixelColor* color)
{
    switch (config->colorPattern) {
    case 1: {
        ColorPatternSet* set = Config_getCustomPattern(config);
        return set ? ColorPatternSet_getColorDotHeight(set, color->red, color->green, color->blue, x, y) : -1;
    }
    case 3:
    case 4: {
        ColorPatternSet* set = config->colorPattern == 3 ? Config_getPattern3(config) : Config_getPattern4(config);
        return ColorPatternSet_getHueDotHeight(set, color, x, y, config->saturationThreshold);
    }
    default:
        return -1;
    }
}

// Ordered dither: within each band of 32 lightness levels, r / 2 of the 16
// cells of every 4 x 4 block get the next taller dot.
INT ditherLightness(INT lightness, DWORD x, DWORD y)
{
    INT darkness = 255 - lightness;
    INT band = darkness / 32;
    INT rest = darkness % 32;
    return rest > ditherMatrix[x % 4][y % 4] && band < DOT_TALLEST ? band + 1 : band;
}

// The cell's lightness after contrast, brightness and inversion. Settings from
// printer data come without range checks, so the arithmetic is 64-bit: no
// stored value can overflow it, and within 32-bit range the results are the
// same.
INT lightnessOfGrey(INT grey, const Config* config)
{
    if (grey >= 255)
        return 255;  // white paper stays blank whatever the settings
    if (!config)
        return grey;  // neutral settings: the grey level itself
    int64_t contrast = config->Contrast;
    int64_t slope = contrast >= 0 ? 7 * contrast + 100 : contrast + 100;
    int64_t stretched = slope * (128 - grey) / 100;
    int64_t brightness = 255 * (int64_t)config->Brightness / 100;
    int64_t darkness = 127 + stretched + brightness;
    int64_t lightness = config->InvertColor == 1 ? darkness : 255 - darkness;
    return lightness < 0 ? 0 : lightness > 255 ? 255 : (INT)lightness;
}

}  // namespace

INT getGreyLevel(const PixelColor* color) { return (2 * color->red + 4 * color->green + color->blue) / 7; }

INT quantiseLightness(INT lightness)
{
    if (lightness >= 255)
        return DOT_NONE;
    INT level = (254 - lightness) / kLevelStep + 1;
    return level < DOT_TALLEST ? level : DOT_TALLEST;
}

INT getLightness(const PixelColor* color, const Config* config) { return lightnessOfGrey(getGreyLevel(color), config); }

void ToneTable_init(ToneTable* table, Config* config)
{
    table->config = config;
    table->patterned = config && (config->colorPattern == 1 || config->colorPattern == 3 || config->colorPattern == 4);
    table->dithered = config && config->dithering != 0;
    for (INT grey = 0; grey < 256; ++grey)
        table->lightness[grey] = (BYTE)lightnessOfGrey(grey, config);
}

INT ToneTable_dotHeight(const ToneTable* table, DWORD x, DWORD y, const PixelColor* color)
{
    if (table->patterned || isBrailleColor(color))
        return getDotHeight(table->config, x, y, color);
    INT lightness = table->lightness[getGreyLevel(color)];
    return table->dithered ? ditherLightness(lightness, x, y) : quantiseLightness(lightness);
}

// The dot value of the cell in column x, row y. Without a configuration the
// cell is quantised straight from its grey level.
INT getDotHeight(Config* config, DWORD x, DWORD y, const PixelColor* color)
{
    if (isBrailleColor(color))
        return DOT_BRAILLE;
    if (config) {
        INT patterned = patternDotHeight(config, x, y, color);
        if (patterned >= 0)
            return patterned;
    }
    INT lightness = getLightness(color, config);
    if (config && config->dithering != 0)
        return ditherLightness(lightness, x, y);
    return quantiseLightness(lightness);
}

// Hue in 256ths of the circle from red, saturation 0 .. 255, value the grey level.
HsvColor rgbToHsv(const PixelColor* color)
{
    INT r = color->red, g = color->green, b = color->blue;
    INT hi = r > g ? (r > b ? r : b) : (g > b ? g : b);
    INT lo = r < g ? (r < b ? r : b) : (g < b ? g : b);
    HsvColor hsv = {0, 0, (BYTE)getGreyLevel(color)};
    INT saturation = hi == 0 ? 0 : MulDiv(255, hi - lo, hi);
    hsv.saturation = (BYTE)saturation;
    if (saturation == 0)
        return hsv;
    INT delta = hi - lo;
    INT rc = MulDiv(255, hi - r, delta);
    INT gc = MulDiv(255, hi - g, delta);
    INT bc = MulDiv(255, hi - b, delta);
    INT h;
    if (r == hi)
        h = bc - gc;  // red first: red = green = max takes this form
    else if (g == hi)
        h = rc - bc + 510;
    else
        h = gc - rc + 1020;
    // Between magenta and red the hue is negative; its low byte wraps to 214 .. 255.
    hsv.hue = (BYTE)(h / 6);
    return hsv;
}
