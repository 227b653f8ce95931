// Text output: the hook GDI calls for every text run of a band. A run in a
// face of the braille font list becomes braille cells, emboss-colour text its
// character shapes, ink-colour text nothing; other text goes to the driver as
// graphics or is dropped, as the configuration says. Braille and shapes are
// written into the device's page buffer (pTextPage) as markers: 1 a dot, 2 the
// light-grey background of a simulated-italic cell.
#pragma once

#include "win32.h"

struct Config;
struct DPFont;
struct DPGlyph;
struct TextPage;
struct XPDV;

// The reserved text colours, as brush colour indices: 0x00BBGGRR.
#define EMBOSS_COLOR 0x080706u  // RGB(6,7,8): embossed even without a braille font
#define INK_COLOR 0x070605u     // RGB(5,6,7): never embossed

// Page buffer markers.
#define TEXT_MARK_DOT 1
#define TEXT_MARK_BACKGROUND 2

BOOL APIENTRY OEMTextOut(SURFOBJ*, STROBJ*, FONTOBJ*, CLIPOBJ*, RECTL*, RECTL*, BRUSHOBJ*, BRUSHOBJ*, POINTL*, MIX);

// Renders a run in a braille font into the device's page buffer.
void embossTexts(STROBJ* pstro, DPFont* dpFont, FONTOBJ* pfo, SURFOBJ* pso, BOOL simItalic, XPDV* pdv,
                 ULONG colour, Config* config);
// Sets one braille glyph's dots (and, simulated italic, its background) on
// the dot grid at or after device pixel (x, y).
void renderDPGlyph(SURFOBJ* pso, TextPage* page, INT x, INT y, const DPGlyph* glyph, BOOL simItalic, WCHAR code,
                   BOOL vertical);
// Stamps a 1-bpp glyph bitmap whose origin is at device pixel (x, y).
void renderGlyphBits(SURFOBJ* pso, TextPage* page, INT x, INT y, const GLYPHBITS* pgb);
// Logs the run's flAccel flags at the verbose level.
void debugSTROBJ(const STROBJ* pstro);
