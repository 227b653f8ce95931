// From pixels to dots: reading and writing the rendered surface, the weighted
// colour of one embossing cell, and the mapping of a colour to a dot value.
//
// Unidrv renders at device resolution; the embosser works on cells of rf x rf
// device pixels. Every cell of every page passes through getSampleColor and
// getDotHeight, so both work on integers only, allocate nothing and format no
// log text.
#pragma once

#include "win32.h"

struct Config;
struct TextPage;

// One pixel or cell colour: red, green, blue. White is (255, 255, 255).
struct PixelColor {
    BYTE red;
    BYTE green;
    BYTE blue;
};

// Hue, saturation and value of a colour, one byte each. Hue counts 256ths of
// the colour circle from red; value is the grey level, not the largest component.
struct HsvColor {
    BYTE hue;
    BYTE saturation;
    BYTE value;
};

// Dot values of one cell.
#define DOT_NONE 0
#define DOT_TALLEST 7
#define DOT_BRAILLE 15

// The colour that stands for a braille dot of the text-marker page (marker 1).
#define BRAILLE_RED 0
#define BRAILLE_GREEN 0
#define BRAILLE_BLUE 1

// Surface access. 24-bpp pixels are three bytes, red, green, blue in memory
// order; a 1-bpp pixel is white when its bit is set. Any other format reads as
// 1 bpp and is never written.
//
// getSurfacePixel: the pixel at (x, y); white at or below row height (the
// caller passes the surface's height) and right of the bitmap, grey (127, 127,
// 127) on a surface without bits.
void getSurfacePixel(SURFOBJ* pso, DWORD x, DWORD y, PixelColor* color, DWORD height);
// Writes one pixel; positions outside the bitmap and surfaces without bits are
// left alone. A 1-bpp pixel is set exactly when red and green are both 255.
void setSurfacePixel(SURFOBJ* pso, LONG x, LONG y, const PixelColor* color);
// Paints every pixel of the bitmap white.
void EraseSurface(SURFOBJ* pso);

// The colour of the factor x factor cell whose top-left pixel is (x, y):
// factor 1 reads the pixel as it is; larger cells take getAreaColor.
void getSampleColor(SURFOBJ* pso, DWORD x, DWORD y, DWORD factor, PixelColor* color);
// getSampleColor of count cells side by side, the first at (x, y), into
// colours; a cell whose skip byte is set is not read and its colour not written.
void getSampleRow(SURFOBJ* pso, DWORD x, DWORD y, DWORD factor, DWORD count, const BYTE* skip, PixelColor* colours);
// The colours tone mapping sees for count cells of factor x factor pixels side
// by side, the first at (x, y) of the surface and of the text-marker page at
// the same resolution: the braille colour where the cell's largest marker is
// 1, (200, 200, 200) where it is 2, else getSampleColor. At most
// kCellsAtOnce cells; callers hold their colours on the stack.
const DWORD kCellsAtOnce = 256;
void getCellColours(SURFOBJ* pso, const TextPage* markers, DWORD x, DWORD y, DWORD factor, DWORD count,
                    PixelColor* colours);
// The same for cells known to lie inside the surface on scan lines that are
// all of one colour, not ink: their pixels are not read.
void getPlainCellColours(const TextPage* markers, DWORD x, DWORD y, DWORD factor, DWORD count,
                         const PixelColor* colour, PixelColor* colours);
// The weighted colour of columns x0 .. x1-1 and rows y0 .. y1-1, dark pixels
// weighing up to ThinLineIntensity x factor times as much as light ones. Ink
// pixels are painted white on the surface first. A cell reaching past the
// bitmap is white.
void getAreaColor(SURFOBJ* pso, DWORD x0, DWORD y0, DWORD x1, DWORD y1, PixelColor* color, DWORD factor);

// Tone mapping. The dot value of the cell in column x, row y of the embossed
// page: 15 for the braille colour, else from the colour patterns or the
// lightness, straight or through the ordered dither.
INT getDotHeight(Config* config, DWORD x, DWORD y, const PixelColor* color);
// The lightness 0 (darkest) .. 255 (paper white) after the user's contrast,
// brightness and inversion; white paper stays 255 whatever they say.
INT getLightness(const PixelColor* color, const Config* config);
// The grey level (2 red + 4 green + blue) / 7.
INT getGreyLevel(const PixelColor* color);
// The straight dot value of a lightness: 0 for 255, else 1 .. 7 in steps of 36.
INT quantiseLightness(INT lightness);
HsvColor rgbToHsv(const PixelColor* color);

// Tone mapping for the cells of one page or band: the settings turned once
// into the lightness of every grey level, so that a cell costs a lookup.
// Colour patterns look at more than the grey level; with one selected the
// cells go through getDotHeight.
struct ToneTable {
    Config* config;
    BOOL patterned;       // a colour pattern is selected
    BOOL dithered;        // the ordered dither, else straight quantisation
    BYTE lightness[256];  // getLightness of each grey level
};
void ToneTable_init(ToneTable* table, Config* config);
// getDotHeight of the table's configuration, for the cell in column x, row y.
INT ToneTable_dotHeight(const ToneTable* table, DWORD x, DWORD y, const PixelColor* color);

// Ordered-dither thresholds, indexed [x mod 4][y mod 4]: the odd numbers 1 .. 31.
extern const BYTE ditherMatrix[4][4];
