// Braille font files ("DP" files) and the fonts loaded from them.
//
// The file is read one byte at a time through the C runtime's buffered
// stream; every multi-byte number is big-endian. A file that ends early reads
// as zeros from there on, so a truncated font loads with empty glyphs rather
// than failing.
//
// Memory running out while the glyphs are read gives no font at all, as a
// missing file does: the caller leaves the face's slot empty and tries again
// at the next text run, and no glyph is ever filled through a failed
// allocation or left with a size but no bitmap.
#include "dpfont.h"

#include "diag/diag.h"

#include <cerrno>

namespace {

const BYTE kMagic1 = 0x44;  // "D"
const BYTE kMagic2 = 0x50;  // "P"

// The placeholder's size, and what a font with a rejected header reports.
const INT kPlaceholderWidth = 5;
const INT kPlaceholderHeight = 8;

DWORD readBig16(FILE* file)
{
    DWORD high = (DWORD)DPFont_readByte(file);
    return (high << 8) | (DWORD)DPFont_readByte(file);
}

DWORD readBig32(FILE* file)
{
    DWORD high = readBig16(file);
    return (high << 16) | readBig16(file);
}

void skipBytes(FILE* file, DWORD count)
{
    for (DWORD i = 0; i < count; ++i)
        DPFont_readByte(file);
}

// The name's bytes pair up, low byte first, into UTF-16 characters; an odd
// last byte is a character of its own. The record is zero-filled, so the
// name is terminated whatever its length.
void readName(DPFont* font, FILE* file)
{
    DWORD length = (DWORD)DPFont_readByte(file);
    for (DWORD i = 0; i < length; ++i) {
        WCHAR b = (WCHAR)DPFont_readByte(file);
        if (i % 2 == 0)
            font->name[i / 2] = b;
        else
            font->name[i / 2] = (WCHAR)(font->name[i / 2] | (b << 8));
    }
}

// Frees what DPFont_new holds before the glyphs exist, without the log line of
// DPFont_delete: a font that never loaded was never there.
void discardFont(DPFont* font)
{
    if (font->fileName)
        myfree(font->fileName);
    DPGlyph_delete(font->missingGlyph);
    myfree(font);
}

// Frees the glyphs read so far and the font, after memory ran out.
void discardLoadedFont(DPFont* font, INT glyphsRead)
{
    for (INT i = 0; i < glyphsRead; ++i)
        DPGlyph_delete(font->glyphs[i]);
    myfree(font->glyphs);
    discardFont(font);
}

}  // namespace

INT DPFont_readByte(FILE* file)
{
    BYTE b = 0;
    if (fread(&b, 1, 1, file) != 1)
        return 0;
    return b;
}

DPGlyph* DPGlyph_new()
{
    LogMessage("DPGlyph_new(): new glyph\n");
    auto* glyph = static_cast<DPGlyph*>(mymalloc(sizeof(DPGlyph)));
    if (!glyph)
        return nullptr;
    glyph->width = kPlaceholderWidth;
    glyph->height = kPlaceholderHeight;
    glyph->bytesPerRow = (kPlaceholderWidth + 3) / 4;
    glyph->code = 0;
    glyph->bits = nullptr;
    return glyph;
}

BOOL DPGlyph_read(DPGlyph* glyph, FILE* file)
{
    glyph->code = (WORD)readBig16(file);
    glyph->height = DPFont_readByte(file);
    glyph->width = DPFont_readByte(file);
    skipBytes(file, 3);
    glyph->bytesPerRow = (glyph->width + 3) / 4;
    glyph->bits = nullptr;
    const DWORD size = (DWORD)(glyph->bytesPerRow * glyph->height);
    if (size == 0)
        return TRUE;
    glyph->bits = static_cast<BYTE*>(mymalloc(size));
    if (!glyph->bits) {
        skipBytes(file, size);  // keep the stream at the next record
        return FALSE;
    }
    for (INT row = 0; row < glyph->height; ++row)
        for (INT i = 0; i < glyph->bytesPerRow; ++i)
            glyph->bits[row * glyph->bytesPerRow + i] = (BYTE)DPFont_readByte(file);
    return TRUE;
}

void DPGlyph_delete(DPGlyph* glyph)
{
    if (!glyph)
        return;
    if (glyph->bits)
        myfree(glyph->bits);
    myfree(glyph);
}

BOOL DPGlyph_hasDot(const DPGlyph* glyph, INT row, INT position)
{
    if (!glyph || !glyph->bits || row < 0 || row >= glyph->height || position < 0 || position >= glyph->width)
        return FALSE;
    // Four positions a byte, the leftmost in bits 7-6; bit 6, 4, 2 or 0 is the dot.
    BYTE b = glyph->bits[row * glyph->bytesPerRow + position / 4];
    return (b >> (6 - 2 * (position % 4))) & 1;
}

// Loads a braille font file.
DPFont* DPFont_new(LPCWSTR path)
{
    auto* font = static_cast<DPFont*>(mymalloc(sizeof(DPFont)));
    if (!font)
        return nullptr;
    font->missingGlyph = DPGlyph_new();
    if (!font->missingGlyph) {
        // Text output answers the placeholder for every code the font lacks.
        myfree(font);
        return nullptr;
    }
    font->numGlyphs = 0;
    font->maxHeight = kPlaceholderHeight;
    font->maxWidth = kPlaceholderWidth;
    font->fileName = mystrdup(path);
    LogMessage("DPFont_new(): font file: %ws\n", path);

    FILE* file = _wfopen(path, WSTR("rb"));
    if (!file) {
        int error = errno;
        LogMessage("\tcan't open file \"%ws\"\n", path);
        LogMessage("\terror: %d\n", error);
        discardFont(font);
        return nullptr;
    }
    LogMessage("file opened\n");
    BYTE magic1 = (BYTE)DPFont_readByte(file);
    BYTE magic2 = (BYTE)DPFont_readByte(file);
    if (magic1 != kMagic1 || magic2 != kMagic2) {
        LogMessage("wrong header in %ws \n", path);
        fclose(file);
        return font;
    }

    skipBytes(file, 4);
    LogMessage("file size: %d\n", (INT)readBig32(file));
    font->numGlyphs = (INT)readBig16(file);
    LogMessage("num glyphs: %d\n", font->numGlyphs);
    font->maxHeight = DPFont_readByte(file);
    LogMessage("maxHeight: %d\n", font->maxHeight);
    font->maxWidth = DPFont_readByte(file);
    LogMessage("maxWidth: %d\n", font->maxWidth);
    skipBytes(file, 2);
    readName(font, file);
    LogMessage("name: %ws\n", font->name);

    font->glyphs = static_cast<DPGlyph**>(mymalloc((DWORD)font->numGlyphs * sizeof(DPGlyph*)));
    if (!font->glyphs) {
        fclose(file);
        discardFont(font);
        return nullptr;
    }
    for (INT i = 0; i < font->numGlyphs; ++i) {
        DPGlyph* glyph = DPGlyph_new();
        if (!glyph || !DPGlyph_read(glyph, file)) {
            LogMessage("\tout of memory at glyph %d of %d\n", i, font->numGlyphs);
            DPGlyph_delete(glyph);
            fclose(file);
            discardLoadedFont(font, i);
            return nullptr;
        }
        font->glyphs[i] = glyph;
    }
    LogMessage("symbols read: %d\n", font->numGlyphs);
    fclose(file);
    return font;
}

// Frees a font and everything it owns.
void DPFont_delete(DPFont* font)
{
    if (!font)
        return;
    LogMessage("DPFont_delete(): deleting font %ws\n", font->fileName);
    DPGlyph_delete(font->missingGlyph);
    if (font->fileName)
        myfree(font->fileName);
    if (font->glyphs) {
        for (INT i = 0; i < font->numGlyphs; ++i)
            DPGlyph_delete(font->glyphs[i]);
        myfree(font->glyphs);
    }
    myfree(font);
}
