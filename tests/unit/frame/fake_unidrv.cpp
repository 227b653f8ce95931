#include "fake_unidrv.h"

namespace fake {

Calls& calls()
{
    static Calls c;
    return c;
}

namespace {

template <typename Fn>
PFN asPFN(Fn fn)
{
    return reinterpret_cast<PFN>(reinterpret_cast<void (*)()>(fn));
}

BOOL record(int row, void* first)
{
    calls().rows.push_back(row);
    calls().firstArg = first;
    return calls().boolResult;
}

ULONG recordUlong(int row, void* first)
{
    record(row, first);
    return calls().ulongResult;
}

}  // namespace

std::vector<DRVFN> functionList(ULONG omitIndex)
{
    std::vector<DRVFN> list = {
        {INDEX_DrvRealizeBrush,
         asPFN(+[](BRUSHOBJ* a, SURFOBJ*, SURFOBJ*, SURFOBJ*, XLATEOBJ*, ULONG) { return record(ROW_RealizeBrush, a); })},
        {INDEX_DrvDitherColor,
         asPFN(+[](DHPDEV a, ULONG, ULONG, ULONG*) { return recordUlong(ROW_DitherColor, a); })},
        {INDEX_DrvCopyBits, asPFN(+[](SURFOBJ* a, SURFOBJ*, CLIPOBJ*, XLATEOBJ*, RECTL*, POINTL*) {
             return record(ROW_CopyBits, a);
         })},
        {INDEX_DrvBitBlt, asPFN(+[](SURFOBJ* a, SURFOBJ*, SURFOBJ*, CLIPOBJ*, XLATEOBJ*, RECTL*, POINTL*, POINTL*,
                                    BRUSHOBJ*, POINTL*, ROP4) { return record(ROW_BitBlt, a); })},
        {INDEX_DrvStretchBlt,
         asPFN(+[](SURFOBJ* a, SURFOBJ*, SURFOBJ*, CLIPOBJ*, XLATEOBJ*, COLORADJUSTMENT*, POINTL*, RECTL*, RECTL*,
                   POINTL*, ULONG) { return record(ROW_StretchBlt, a); })},
        {INDEX_DrvStretchBltROP,
         asPFN(+[](SURFOBJ* a, SURFOBJ*, SURFOBJ*, CLIPOBJ*, XLATEOBJ*, COLORADJUSTMENT*, POINTL*, RECTL*, RECTL*,
                   POINTL*, ULONG, BRUSHOBJ*, DWORD) { return record(ROW_StretchBltROP, a); })},
        {INDEX_DrvPlgBlt, asPFN(+[](SURFOBJ* a, SURFOBJ*, SURFOBJ*, CLIPOBJ*, XLATEOBJ*, COLORADJUSTMENT*, POINTL*,
                                    POINTFIX*, RECTL*, POINTL*, ULONG) { return record(ROW_PlgBlt, a); })},
        {INDEX_DrvTransparentBlt,
         asPFN(+[](SURFOBJ* a, SURFOBJ*, CLIPOBJ*, XLATEOBJ*, RECTL*, RECTL*, ULONG, ULONG) {
             return record(ROW_TransparentBlt, a);
         })},
        {INDEX_DrvAlphaBlend, asPFN(+[](SURFOBJ* a, SURFOBJ*, CLIPOBJ*, XLATEOBJ*, RECTL*, RECTL*, BLENDOBJ*) {
             return record(ROW_AlphaBlend, a);
         })},
        {INDEX_DrvGradientFill,
         asPFN(+[](SURFOBJ* a, CLIPOBJ*, XLATEOBJ*, TRIVERTEX*, ULONG, PVOID, ULONG, RECTL*, POINTL*, ULONG) {
             return record(ROW_GradientFill, a);
         })},
        {INDEX_DrvTextOut, asPFN(+[](SURFOBJ* a, STROBJ*, FONTOBJ*, CLIPOBJ*, RECTL*, RECTL*, BRUSHOBJ*, BRUSHOBJ*,
                                     POINTL*, MIX) { return record(ROW_TextOut, a); })},
        {INDEX_DrvStrokePath,
         asPFN(+[](SURFOBJ* a, PATHOBJ*, CLIPOBJ*, XFORMOBJ*, BRUSHOBJ*, POINTL*, LINEATTRS*, MIX) {
             return record(ROW_StrokePath, a);
         })},
        {INDEX_DrvFillPath, asPFN(+[](SURFOBJ* a, PATHOBJ*, CLIPOBJ*, BRUSHOBJ*, POINTL*, MIX, FLONG) {
             return record(ROW_FillPath, a);
         })},
        {INDEX_DrvStrokeAndFillPath,
         asPFN(+[](SURFOBJ* a, PATHOBJ*, CLIPOBJ*, XFORMOBJ*, BRUSHOBJ*, LINEATTRS*, BRUSHOBJ*, POINTL*, MIX,
                   FLONG) { return record(ROW_StrokeAndFillPath, a); })},
        {INDEX_DrvPaint,
         asPFN(+[](SURFOBJ* a, CLIPOBJ*, BRUSHOBJ*, POINTL*, MIX) { return record(ROW_Paint, a); })},
        {INDEX_DrvLineTo, asPFN(+[](SURFOBJ* a, CLIPOBJ*, BRUSHOBJ*, LONG, LONG, LONG, LONG, RECTL*, MIX) {
             return record(ROW_LineTo, a);
         })},
        {INDEX_DrvStartPage, asPFN(+[](SURFOBJ* a) { return record(ROW_StartPage, a); })},
        {INDEX_DrvSendPage, asPFN(+[](SURFOBJ* a) { return record(ROW_SendPage, a); })},
        {INDEX_DrvEscape, asPFN(+[](SURFOBJ* a, ULONG, ULONG, PVOID, ULONG, PVOID) {
             return recordUlong(ROW_Escape, a);
         })},
        {INDEX_DrvStartDoc, asPFN(+[](SURFOBJ* a, LPWSTR, DWORD) { return record(ROW_StartDoc, a); })},
        {INDEX_DrvEndDoc, asPFN(+[](SURFOBJ* a, FLONG) { return record(ROW_EndDoc, a); })},
        {INDEX_DrvNextBand, asPFN(+[](SURFOBJ* a, POINTL*) { return record(ROW_NextBand, a); })},
        {INDEX_DrvStartBanding, asPFN(+[](SURFOBJ* a, POINTL*) { return record(ROW_StartBanding, a); })},
        {INDEX_DrvQueryFont, asPFN(+[](DHPDEV a, ULONG_PTR, ULONG, ULONG_PTR*) {
             record(ROW_QueryFont, a);
             return (PIFIMETRICS)(ULONG_PTR)calls().ulongResult;
         })},
        {INDEX_DrvQueryFontTree, asPFN(+[](DHPDEV a, ULONG_PTR, ULONG, ULONG, ULONG_PTR* pid) {
             record(ROW_QueryFontTree, a);
             if (pid)
                 *pid = 0x77;
             return (PVOID)(ULONG_PTR)calls().ulongResult;
         })},
        {INDEX_DrvQueryFontData, asPFN(+[](DHPDEV a, FONTOBJ*, ULONG, HGLYPH, GLYPHDATA*, PVOID, ULONG) {
             return (LONG)recordUlong(ROW_QueryFontData, a);
         })},
        {INDEX_DrvQueryAdvanceWidths, asPFN(+[](DHPDEV a, FONTOBJ*, ULONG, HGLYPH*, PVOID, ULONG) {
             return record(ROW_QueryAdvanceWidths, a);
         })},
        {INDEX_DrvFontManagement, asPFN(+[](SURFOBJ* a, FONTOBJ*, ULONG, ULONG, PVOID, ULONG, PVOID) {
             return recordUlong(ROW_FontManagement, a);
         })},
        {INDEX_DrvGetGlyphMode, asPFN(+[](DHPDEV a, FONTOBJ*) { return recordUlong(ROW_GetGlyphMode, a); })},
    };
    std::vector<DRVFN> kept;
    for (const DRVFN& f : list)
        if (f.iFunc != omitIndex)
            kept.push_back(f);
    return kept;
}

HRESULT STDMETHODCALLTYPE DriverUni::QueryInterface(REFIID riid, void** ppv)
{
    if (IsEqualIID(riid, IID_IPrintOemDriverUni) || IsEqualIID(riid, IID_IUnknown)) {
        *ppv = static_cast<IPrintOemDriverUni*>(this);
        AddRef();
        return S_OK;
    }
    *ppv = nullptr;
    return E_NOINTERFACE;
}

HRESULT STDMETHODCALLTYPE DriverUni::DrvWriteSpoolBuf(PDEVOBJ, PVOID pBuffer, DWORD cbSize, DWORD* pdwResult)
{
    auto* p = static_cast<BYTE*>(pBuffer);
    spooled.insert(spooled.end(), p, p + cbSize);
    if (pdwResult)
        *pdwResult = cbSize;
    return S_OK;
}

}  // namespace fake
