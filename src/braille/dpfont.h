// Braille font files ("DP" files) and the fonts loaded from them.
#pragma once

#include "win32.h"

#include <cstdio>

#define DPFONT_NAME_CHARS 128

// One character's braille cell: rows of dot positions, two bits a position.
struct DPGlyph {
    INT width;        // dot positions per row
    INT height;       // rows
    INT bytesPerRow;  // (width + 3) / 4
    WORD code;        // UTF-16 code unit the glyph stands for
    BYTE* bits;       // bytesPerRow x height bytes, or null
};

struct DPFont {
    INT numGlyphs;
    INT maxHeight;
    INT maxWidth;
    WCHAR name[DPFONT_NAME_CHARS + 1];
    WCHAR* fileName;
    DPGlyph** glyphs;
    DPGlyph* missingGlyph;  // what lookups answer for a code the font lacks
};

// Loads a braille font file; null when the file cannot be opened, announces no
// glyphs, or memory runs out while it is read. A file without the "DP" mark
// gives a font without glyphs.
DPFont* DPFont_new(LPCWSTR path);
void DPFont_delete(DPFont* font);
// The placeholder glyph: 5 positions by 8 rows, code 0, no bitmap.
DPGlyph* DPGlyph_new();
// Fills a glyph from the next glyph record of the file. FALSE when its bitmap
// could not be allocated; the record is read past all the same.
BOOL DPGlyph_read(DPGlyph* glyph, FILE* file);
void DPGlyph_delete(DPGlyph* glyph);
// Whether the glyph has a dot at (row, position): the lower bit of the
// position's two-bit pair. FALSE outside the glyph or without a bitmap.
BOOL DPGlyph_hasDot(const DPGlyph* glyph, INT row, INT position);
// The next byte of the file, 0 to 255; 0 once nothing more can be read.
INT DPFont_readByte(FILE* file);
