// The GDI text calls: each one hands its arguments to the text services the
// host registered. With no table, or no entry for the call, it fails the way
// GDI reports a failure of that call and leaves ERROR_NOT_SUPPORTED as the
// last error, so a plug-in running without a host that draws text degrades
// instead of crashing.
#include "px/posix.h"

#include <atomic>

namespace {

std::atomic<const PxTextServices*> gServices{nullptr};

// The registered entry for a call, or null after setting the last error.
template <typename Fn>
Fn entry(Fn PxTextServices::*member)
{
    const PxTextServices* services = gServices.load();
    Fn fn = services ? services->*member : nullptr;
    if (!fn)
        SetLastError(ERROR_NOT_SUPPORTED);
    return fn;
}

}  // namespace

PX_API const PxTextServices* PxRegisterTextServices(const PxTextServices* services)
{
    return gServices.exchange(services);
}

PX_API void STROBJ_vEnumStart(STROBJ* pstro)
{
    if (auto fn = entry(&PxTextServices::strobjEnumStart))
        fn(pstro);
}

// Without services there is nothing to enumerate: no glyphs, no more batches.
PX_API BOOL STROBJ_bEnum(STROBJ* pstro, ULONG* pc, PGLYPHPOS* ppgpos)
{
    if (auto fn = entry(&PxTextServices::strobjEnum))
        return fn(pstro, pc, ppgpos);
    if (pc)
        *pc = 0;
    if (ppgpos)
        *ppgpos = nullptr;
    return FALSE;
}

PX_API PIFIMETRICS FONTOBJ_pifi(FONTOBJ* pfo)
{
    auto fn = entry(&PxTextServices::fontobjPifi);
    return fn ? fn(pfo) : nullptr;
}

PX_API ULONG FONTOBJ_cGetGlyphs(FONTOBJ* pfo, ULONG iMode, ULONG cGlyph, HGLYPH* phg, PVOID* ppvGlyph)
{
    if (auto fn = entry(&PxTextServices::fontobjGetGlyphs))
        return fn(pfo, iMode, cGlyph, phg, ppvGlyph);
    if (ppvGlyph)
        *ppvGlyph = nullptr;
    return 0;
}

// GDI answers -1 for a brush without a solid colour.
PX_API ULONG BRUSHOBJ_ulGetBrushColor(BRUSHOBJ* pbo)
{
    auto fn = entry(&PxTextServices::brushobjGetBrushColor);
    return fn ? fn(pbo) : 0xFFFFFFFFu;
}

PX_API HDC CreateDCW(LPCWSTR pwszDriver, LPCWSTR pwszDevice, LPCWSTR pszPort, const DEVMODEW* pdm)
{
    auto fn = entry(&PxTextServices::createDC);
    return fn ? fn(pwszDriver, pwszDevice, pszPort, pdm) : nullptr;
}

PX_API HFONT CreateFontW(int cHeight, int cWidth, int cEscapement, int cOrientation, int cWeight, DWORD bItalic,
                         DWORD bUnderline, DWORD bStrikeOut, DWORD iCharSet, DWORD iOutPrecision,
                         DWORD iClipPrecision, DWORD iQuality, DWORD iPitchAndFamily, LPCWSTR pszFaceName)
{
    auto fn = entry(&PxTextServices::createFont);
    return fn ? fn(cHeight, cWidth, cEscapement, cOrientation, cWeight, bItalic, bUnderline, bStrikeOut, iCharSet,
                   iOutPrecision, iClipPrecision, iQuality, iPitchAndFamily, pszFaceName)
              : nullptr;
}

PX_API HGDIOBJ SelectObject(HDC hdc, HGDIOBJ h)
{
    auto fn = entry(&PxTextServices::selectObject);
    return fn ? fn(hdc, h) : nullptr;
}

PX_API DWORD GetFontUnicodeRanges(HDC hdc, LPGLYPHSET lpgs)
{
    auto fn = entry(&PxTextServices::getFontUnicodeRanges);
    return fn ? fn(hdc, lpgs) : 0;
}

PX_API DWORD GetGlyphIndicesW(HDC hdc, LPCWSTR lpstr, int c, WORD* pgi, DWORD fl)
{
    auto fn = entry(&PxTextServices::getGlyphIndices);
    return fn ? fn(hdc, lpstr, c, pgi, fl) : GDI_ERROR;
}

PX_API BOOL DeleteObject(HGDIOBJ ho)
{
    auto fn = entry(&PxTextServices::deleteObject);
    return fn ? fn(ho) : FALSE;
}

PX_API BOOL DeleteDC(HDC hdc)
{
    auto fn = entry(&PxTextServices::deleteDC);
    return fn ? fn(hdc) : FALSE;
}
