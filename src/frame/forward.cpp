// Drawing and font hooks that hand the call to the driver's own function.
//
// Each notes on the device record that the page now holds graphics (where the
// table says so), logs, and returns the driver's result unchanged. A row the
// driver listed no function for answers without forwarding: failure for
// drawing calls, the neutral answer for queries.
#include "frame/hooks.h"

#include "diag/diag.h"

namespace {

// Marks the page behind a surface as holding graphics.
void markGraphics(SURFOBJ* pso)
{
    if (XPDV* pdv = XPDV_fromSurface(pso))
        pdv->TextOnlyPage = 0;
}

const char* clipKind(BYTE complexity)
{
    return complexity == DC_TRIVIAL ? "trivial" : complexity == DC_RECT ? "RECT" : "COMPLEX";
}

void logClip(void (*log)(const char*, ...), CLIPOBJ* pco)
{
    if (pco)
        log("   pco:     [%d, %d, %d, %d]: %s \r\n", pco->rclBounds.left, pco->rclBounds.top, pco->rclBounds.right,
            pco->rclBounds.bottom, clipKind(pco->iDComplexity));
    else
        log("   pco:     NULL \r\n");
}

void logSource(SURFOBJ* psoSrc)
{
    if (psoSrc)
        LogDetail("   psoSrc:  [%d X %d]\r\n", psoSrc->sizlBitmap.cx, psoSrc->sizlBitmap.cy);
    else
        LogDetail("   psoSrc:  NULL\r\n");
}

void logSourcePoint(POINTL* pptlSrc)
{
    if (pptlSrc)
        LogDetail("   pptlSrc:  [%d X %d]\r\n", pptlSrc->x, pptlSrc->y);
    else
        LogDetail("   pptlSrc: NULL\r\n");
}

void logRect(const char* name, RECTL* prcl)
{
    if (prcl)
        LogDetail("   %s:     [%d, %d, %d, %d] \r\n", name, prcl->left, prcl->top, prcl->right, prcl->bottom);
    else
        LogDetail("   %s: [NULL]\r\n", name);
}

}  // namespace

BOOL APIENTRY OEMRealizeBrush(BRUSHOBJ*, SURFOBJ*, SURFOBJ*, SURFOBJ*, XLATEOBJ*, ULONG)
{
    LogMessage("OEMRealizeBrush()\n");
    return TRUE;  // nothing to realise: brushes are read as solid colours
}

ULONG APIENTRY OEMDitherColor(DHPDEV dhpdev, ULONG iMode, ULONG rgb, ULONG* pul)
{
    LogMessage("OEMDitherColor() \n");
    auto fn = XPDV_unidrv<PFN_DrvDitherColor>(XPDV_fromDevice(dhpdev), ROW_DitherColor);
    return fn ? fn(dhpdev, iMode, rgb, pul) : DCR_SOLID;
}

BOOL APIENTRY OEMCopyBits(SURFOBJ* psoDest, SURFOBJ* psoSrc, CLIPOBJ* pco, XLATEOBJ* pxlo, RECTL* prclDest,
                          POINTL* pptlSrc)
{
    LogDetail("OEMCopyBits()\n");
    if (psoDest)
        LogDetail("   psoDest:  [%d X %d]\r\n", psoDest->sizlBitmap.cx, psoDest->sizlBitmap.cy);
    logSource(psoSrc);
    logClip(LogDetail, pco);
    LogDetail("   pxlo: %p\r\n", pxlo);
    logRect("prclDest", prclDest);
    logSourcePoint(pptlSrc);
    markGraphics(psoDest);
    auto fn = XPDV_unidrv<PFN_DrvCopyBits>(XPDV_fromSurface(psoDest), ROW_CopyBits);
    return fn ? fn(psoDest, psoSrc, pco, pxlo, prclDest, pptlSrc) : FALSE;
}

BOOL APIENTRY OEMBitBlt(SURFOBJ* psoTrg, SURFOBJ* psoSrc, SURFOBJ* psoMask, CLIPOBJ* pco, XLATEOBJ* pxlo,
                        RECTL* prclTrg, POINTL* pptlSrc, POINTL* pptlMask, BRUSHOBJ* pbo, POINTL* pptlBrush,
                        ROP4 rop4)
{
    LogDetail("OEMBitBlt() entry.\r\n");
    LogDetail("   rop4:  %X\r\n", rop4);
    if (psoTrg)
        LogDetail("   psoTrg:  [%d X %d]\r\n", psoTrg->sizlBitmap.cx, psoTrg->sizlBitmap.cy);
    logSource(psoSrc);
    if (psoMask)
        LogDetail("   psoMask: [%d X %d]\r\n", psoMask->sizlBitmap.cx, psoMask->sizlBitmap.cy);
    else
        LogDetail("   psoMask: [NULL]\r\n");
    logClip(LogDetail, pco);
    LogDetail("   pxlo: %p\r\n", pxlo);
    logRect("prclTrg", prclTrg);
    logSourcePoint(pptlSrc);
    markGraphics(psoTrg);
    auto fn = XPDV_unidrv<PFN_DrvBitBlt>(XPDV_fromSurface(psoTrg), ROW_BitBlt);
    BOOL result = fn ? fn(psoTrg, psoSrc, psoMask, pco, pxlo, prclTrg, pptlSrc, pptlMask, pbo, pptlBrush, rop4) : FALSE;
    LogDetail("\tresult of drvbitblt call is %d\n", result);
    if (!result)
        LogDetail("\tError calling drvbitblt: %d\n", GetLastError());
    return result;
}

BOOL APIENTRY OEMStretchBlt(SURFOBJ* psoDest, SURFOBJ* psoSrc, SURFOBJ* psoMask, CLIPOBJ* pco, XLATEOBJ* pxlo,
                            COLORADJUSTMENT* pca, POINTL* pptlHTOrg, RECTL* prclDest, RECTL* prclSrc,
                            POINTL* pptlMask, ULONG iMode)
{
    LogDetail("OEMStretchBlt()\n");
    markGraphics(psoDest);
    auto fn = XPDV_unidrv<PFN_DrvStretchBlt>(XPDV_fromSurface(psoDest), ROW_StretchBlt);
    return fn ? fn(psoDest, psoSrc, psoMask, pco, pxlo, pca, pptlHTOrg, prclDest, prclSrc, pptlMask, iMode) : FALSE;
}

BOOL APIENTRY OEMStretchBltROP(SURFOBJ* psoDest, SURFOBJ* psoSrc, SURFOBJ* psoMask, CLIPOBJ* pco, XLATEOBJ* pxlo,
                               COLORADJUSTMENT* pca, POINTL* pptlHTOrg, RECTL* prclDest, RECTL* prclSrc,
                               POINTL* pptlMask, ULONG iMode, BRUSHOBJ* pbo, DWORD rop4)
{
    LogDetail("OEMStretchBltROP()\n");
    markGraphics(psoDest);
    auto fn = XPDV_unidrv<PFN_DrvStretchBltROP>(XPDV_fromSurface(psoDest), ROW_StretchBltROP);
    return fn ? fn(psoDest, psoSrc, psoMask, pco, pxlo, pca, pptlHTOrg, prclDest, prclSrc, pptlMask, iMode, pbo,
                   rop4)
              : FALSE;
}

BOOL APIENTRY OEMPlgBlt(SURFOBJ* psoTrg, SURFOBJ* psoSrc, SURFOBJ* psoMsk, CLIPOBJ* pco, XLATEOBJ* pxlo,
                        COLORADJUSTMENT* pca, POINTL* pptlBrushOrg, POINTFIX* pptfx, RECTL* prcl, POINTL* pptl,
                        ULONG iMode)
{
    LogDetail("OEMPlgBlt() \n");
    markGraphics(psoTrg);
    auto fn = XPDV_unidrv<PFN_DrvPlgBlt>(XPDV_fromSurface(psoTrg), ROW_PlgBlt);
    return fn ? fn(psoTrg, psoSrc, psoMsk, pco, pxlo, pca, pptlBrushOrg, pptfx, prcl, pptl, iMode) : FALSE;
}

BOOL APIENTRY OEMTransparentBlt(SURFOBJ* psoDst, SURFOBJ* psoSrc, CLIPOBJ* pco, XLATEOBJ* pxlo, RECTL* prclDst,
                                RECTL* prclSrc, ULONG iTransColor, ULONG ulReserved)
{
    LogMessage("OEMTransparentBlt()\n");
    markGraphics(psoDst);
    auto fn = XPDV_unidrv<PFN_DrvTransparentBlt>(XPDV_fromSurface(psoDst), ROW_TransparentBlt);
    return fn ? fn(psoDst, psoSrc, pco, pxlo, prclDst, prclSrc, iTransColor, ulReserved) : FALSE;
}

BOOL APIENTRY OEMAlphaBlend(SURFOBJ* psoDest, SURFOBJ* psoSrc, CLIPOBJ* pco, XLATEOBJ* pxlo, RECTL* prclDest,
                            RECTL* prclSrc, BLENDOBJ* pBlendObj)
{
    LogDetail("OEMAlphaBlend() r\n");
    markGraphics(psoDest);
    auto fn = XPDV_unidrv<PFN_DrvAlphaBlend>(XPDV_fromSurface(psoDest), ROW_AlphaBlend);
    return fn ? fn(psoDest, psoSrc, pco, pxlo, prclDest, prclSrc, pBlendObj) : FALSE;
}

BOOL APIENTRY OEMGradientFill(SURFOBJ* psoDest, CLIPOBJ* pco, XLATEOBJ* pxlo, TRIVERTEX* pVertex, ULONG nVertex,
                              PVOID pMesh, ULONG nMesh, RECTL* prclExtents, POINTL* pptlDitherOrg, ULONG ulMode)
{
    LogMessage("OEMGradientFill()\n");
    markGraphics(psoDest);
    auto fn = XPDV_unidrv<PFN_DrvGradientFill>(XPDV_fromSurface(psoDest), ROW_GradientFill);
    return fn ? fn(psoDest, pco, pxlo, pVertex, nVertex, pMesh, nMesh, prclExtents, pptlDitherOrg, ulMode) : FALSE;
}

BOOL APIENTRY OEMStrokePath(SURFOBJ* pso, PATHOBJ* ppo, CLIPOBJ* pco, XFORMOBJ* pxo, BRUSHOBJ* pbo,
                            POINTL* pptlBrushOrg, LINEATTRS* plineattrs, MIX mix)
{
    LogMessage("OEMStokePath()\n");
    logClip(LogMessage, pco);
    if (pptlBrushOrg)
        LogMessage("   pptlBrushOrg:     [%d, %d]:\r\n", pptlBrushOrg->x, pptlBrushOrg->y);
    markGraphics(pso);
    auto fn = XPDV_unidrv<PFN_DrvStrokePath>(XPDV_fromSurface(pso), ROW_StrokePath);
    return fn ? fn(pso, ppo, pco, pxo, pbo, pptlBrushOrg, plineattrs, mix) : FALSE;
}

BOOL APIENTRY OEMFillPath(SURFOBJ* pso, PATHOBJ* ppo, CLIPOBJ* pco, BRUSHOBJ* pbo, POINTL* pptlBrushOrg, MIX mix,
                          FLONG flOptions)
{
    LogMessage("OEMFillPath() \n");
    markGraphics(pso);
    auto fn = XPDV_unidrv<PFN_DrvFillPath>(XPDV_fromSurface(pso), ROW_FillPath);
    return fn ? fn(pso, ppo, pco, pbo, pptlBrushOrg, mix, flOptions) : FALSE;
}

BOOL APIENTRY OEMStrokeAndFillPath(SURFOBJ* pso, PATHOBJ* ppo, CLIPOBJ* pco, XFORMOBJ* pxo, BRUSHOBJ* pboStroke,
                                   LINEATTRS* plineattrs, BRUSHOBJ* pboFill, POINTL* pptlBrushOrg, MIX mixFill,
                                   FLONG flOptions)
{
    LogMessage("OEMStrokeAndFillPath()\n");
    markGraphics(pso);
    auto fn = XPDV_unidrv<PFN_DrvStrokeAndFillPath>(XPDV_fromSurface(pso), ROW_StrokeAndFillPath);
    return fn ? fn(pso, ppo, pco, pxo, pboStroke, plineattrs, pboFill, pptlBrushOrg, mixFill, flOptions) : FALSE;
}

BOOL APIENTRY OEMPaint(SURFOBJ* pso, CLIPOBJ* pco, BRUSHOBJ* pbo, POINTL* pptlBrushOrg, MIX mix)
{
    LogMessage("OEMPaint()\n");
    markGraphics(pso);
    auto fn = XPDV_unidrv<PFN_DrvPaint>(XPDV_fromSurface(pso), ROW_Paint);
    return fn ? fn(pso, pco, pbo, pptlBrushOrg, mix) : FALSE;
}

BOOL APIENTRY OEMLineTo(SURFOBJ* pso, CLIPOBJ* pco, BRUSHOBJ* pbo, LONG x1, LONG y1, LONG x2, LONG y2,
                        RECTL* prclBounds, MIX mix)
{
    LogMessage("OEMLineTo()\n");
    markGraphics(pso);
    auto fn = XPDV_unidrv<PFN_DrvLineTo>(XPDV_fromSurface(pso), ROW_LineTo);
    return fn ? fn(pso, pco, pbo, x1, y1, x2, y2, prclBounds, mix) : FALSE;
}

ULONG APIENTRY OEMEscape(SURFOBJ* pso, ULONG iEsc, ULONG cjIn, PVOID pvIn, ULONG cjOut, PVOID pvOut)
{
    LogMessage("OEMEscape() \n");
    auto fn = XPDV_unidrv<PFN_DrvEscape>(XPDV_fromSurface(pso), ROW_Escape);
    return fn ? fn(pso, iEsc, cjIn, pvIn, cjOut, pvOut) : 0;  // 0: escape not supported
}

PIFIMETRICS APIENTRY OEMQueryFont(DHPDEV dhpdev, ULONG_PTR iFile, ULONG iFace, ULONG_PTR* pid)
{
    LogMessage("OEMQueryFont()\n");
    auto fn = XPDV_unidrv<PFN_DrvQueryFont>(XPDV_fromDevice(dhpdev), ROW_QueryFont);
    return fn ? fn(dhpdev, iFile, iFace, pid) : nullptr;
}

PVOID APIENTRY OEMQueryFontTree(DHPDEV dhpdev, ULONG_PTR iFile, ULONG iFace, ULONG iMode, ULONG_PTR* pid)
{
    LogMessage("OEMQueryFontTree(): iFile=0x%p, iFace=%u\n", (void*)iFile, iFace);
    LogMessage("OEMQueryFontTree(): iMode=%u\n", iMode);
    auto fn = XPDV_unidrv<PFN_DrvQueryFontTree>(XPDV_fromDevice(dhpdev), ROW_QueryFontTree);
    PVOID pdft = fn ? fn(dhpdev, iFile, iFace, iMode, pid) : nullptr;
    LogMessage("OEMQueryFontTree(): pdft=0x%p, pid=0x%p\n", pdft, pid ? (void*)*pid : nullptr);
    return pdft;
}

LONG APIENTRY OEMQueryFontData(DHPDEV dhpdev, FONTOBJ* pfo, ULONG iMode, HGLYPH hg, GLYPHDATA* pgd, PVOID pv,
                               ULONG cjSize)
{
    LogMessage("OEMQueryFontData()\n");
    auto fn = XPDV_unidrv<PFN_DrvQueryFontData>(XPDV_fromDevice(dhpdev), ROW_QueryFontData);
    return fn ? fn(dhpdev, pfo, iMode, hg, pgd, pv, cjSize) : (LONG)FD_ERROR;
}

BOOL APIENTRY OEMQueryAdvanceWidths(DHPDEV dhpdev, FONTOBJ* pfo, ULONG iMode, HGLYPH* phg, PVOID pvWidths,
                                    ULONG cGlyphs)
{
    LogMessage("OEMQueryAdvanceWidths() \n");
    auto fn = XPDV_unidrv<PFN_DrvQueryAdvanceWidths>(XPDV_fromDevice(dhpdev), ROW_QueryAdvanceWidths);
    return fn ? fn(dhpdev, pfo, iMode, phg, pvWidths, cGlyphs) : FALSE;
}

ULONG APIENTRY OEMFontManagement(SURFOBJ* pso, FONTOBJ* pfo, ULONG iMode, ULONG cjIn, PVOID pvIn, ULONG cjOut,
                                 PVOID pvOut)
{
    LogMessage("OEMFontManagement()\n");
    // Font management may come without a surface; the font object then has no device either.
    auto fn = XPDV_unidrv<PFN_DrvFontManagement>(XPDV_fromSurface(pso), ROW_FontManagement);
    return fn ? fn(pso, pfo, iMode, cjIn, pvIn, cjOut, pvOut) : 0;
}

ULONG APIENTRY OEMGetGlyphMode(DHPDEV dhpdev, FONTOBJ* pfo)
{
    auto fn = XPDV_unidrv<PFN_DrvGetGlyphMode>(XPDV_fromDevice(dhpdev), ROW_GetGlyphMode);
    return fn ? fn(dhpdev, pfo) : FO_GLYPHBITS;
}
