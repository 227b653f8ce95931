// The GDI calls of text output, as the POSIX platform library exports them:
// the engine's text, font and brush objects and the few device-context calls
// that find a face's glyph indices. Their work is done by the text services a
// host registers (px/posix.h); without them each call fails with a last error.
#pragma once

#include "px/winddi.h"

// STROBJ flAccel
#define SO_FLAG_DEFAULT_PLACEMENT 0x00000001
#define SO_HORIZONTAL 0x00000002
#define SO_VERTICAL 0x00000004
#define SO_REVERSED 0x00000008
#define SO_ZERO_BEARINGS 0x00000010
#define SO_CHAR_INC_EQUAL_BM_BASE 0x00000020
#define SO_MAXEXT_EQUAL_BM_SIDE 0x00000040
#define SO_DO_NOT_SUBSTITUTE_DEVICE_FONT 0x00000080
#define SO_GLYPHINDEX_TEXTOUT 0x00000100

// FONTOBJ flFontType
#define FO_TYPE_RASTER 0x00000001
#define FO_TYPE_DEVICE 0x00000002
#define FO_TYPE_TRUETYPE 0x00000004
#define FO_SIM_BOLD 0x00002000
#define FO_SIM_ITALIC 0x00004000

#define GDI_ERROR 0xFFFFFFFFu

// The character ranges a font supports, as GetFontUnicodeRanges fills them.
struct WCRANGE {
    WCHAR wcLow;
    USHORT cGlyphs;
};
struct GLYPHSET {
    DWORD cbThis;
    DWORD flAccel;
    DWORD cGlyphsSupported;
    DWORD cRanges;
    WCRANGE ranges[1];
};
typedef GLYPHSET* LPGLYPHSET;

PX_API void STROBJ_vEnumStart(STROBJ* pstro);
PX_API BOOL STROBJ_bEnum(STROBJ* pstro, ULONG* pc, PGLYPHPOS* ppgpos);
PX_API PIFIMETRICS FONTOBJ_pifi(FONTOBJ* pfo);
PX_API ULONG FONTOBJ_cGetGlyphs(FONTOBJ* pfo, ULONG iMode, ULONG cGlyph, HGLYPH* phg, PVOID* ppvGlyph);
PX_API ULONG BRUSHOBJ_ulGetBrushColor(BRUSHOBJ* pbo);

PX_API HDC CreateDCW(LPCWSTR pwszDriver, LPCWSTR pwszDevice, LPCWSTR pszPort, const DEVMODEW* pdm);
PX_API HFONT CreateFontW(int cHeight, int cWidth, int cEscapement, int cOrientation, int cWeight, DWORD bItalic,
                         DWORD bUnderline, DWORD bStrikeOut, DWORD iCharSet, DWORD iOutPrecision,
                         DWORD iClipPrecision, DWORD iQuality, DWORD iPitchAndFamily, LPCWSTR pszFaceName);
PX_API HGDIOBJ SelectObject(HDC hdc, HGDIOBJ h);
PX_API DWORD GetFontUnicodeRanges(HDC hdc, LPGLYPHSET lpgs);
PX_API DWORD GetGlyphIndicesW(HDC hdc, LPCWSTR lpstr, int c, WORD* pgi, DWORD fl);
PX_API BOOL DeleteObject(HGDIOBJ ho);
PX_API BOOL DeleteDC(HDC hdc);
