#include "driver_functions.h"

#include "text_services.h"

#include "cairo_render.h"
#include "surface.h"

#include <cstring>

namespace host {

namespace {

Rgb colorOf(const BRUSHOBJ* pbo)
{
    ULONG c = pbo ? pbo->iSolidColor : 0;
    return {(uint8_t)c, (uint8_t)(c >> 8), (uint8_t)(c >> 16)};
}

// Records the first failure on the surface's device and answers FALSE.
BOOL refuse(HostDevice* device, const std::string& what)
{
    if (device && device->failure.empty())
        device->failure = what;
    return FALSE;
}
BOOL refuse(SURFOBJ* so, const std::string& what) { return refuse(so ? deviceOf(so) : nullptr, what); }

std::string hex(ULONG v)
{
    char text[16];
    std::snprintf(text, sizeof text, "0x%04X", (unsigned)v);
    return text;
}

double lineWidth(const LINEATTRS* la)
{
    if (!la || !(la->fl & kLineGeometric))
        return 1.0;
    float width;
    std::memcpy(&width, &la->elWidth.e, sizeof width);
    return width > 0 ? width : 1.0;
}

const std::vector<POINTL>* pointsOf(PATHOBJ* ppo) { return ppo ? &static_cast<HostPath*>(ppo)->points : nullptr; }

// ---- document, page and band calls ----

BOOL APIENTRY hostStartDoc(SURFOBJ*, LPWSTR, DWORD) { return TRUE; }
BOOL APIENTRY hostEndDoc(SURFOBJ*, FLONG) { return TRUE; }
BOOL APIENTRY hostSendPage(SURFOBJ*) { return TRUE; }

BOOL APIENTRY hostStartPage(SURFOBJ* so)
{
    eraseSurface(so);
    return TRUE;
}

// The band after origin, or (-1, -1) past the page's end.
POINTL bandAfter(const HostDevice& d, POINTL origin)
{
    if (d.landscape) {
        LONG x = origin.x + d.bandHeight;
        return x < d.page.cx ? POINTL{x, 0} : POINTL{-1, -1};
    }
    LONG y = origin.y + d.bandHeight;
    return y < d.page.cy ? POINTL{0, y} : POINTL{-1, -1};
}

BOOL APIENTRY hostStartBanding(SURFOBJ* so, POINTL* pptl)
{
    HostDevice* d = deviceOf(so);
    if (!d || !pptl || d->bandHeight <= 0)
        return refuse(d, "banding asked for on a device that draws whole pages");
    eraseSurface(so);
    d->nextBand = bandAfter(*d, {0, 0});
    *pptl = {0, 0};
    return TRUE;
}

BOOL APIENTRY hostNextBand(SURFOBJ* so, POINTL* pptl)
{
    HostDevice* d = deviceOf(so);
    if (!d || !pptl || d->bandHeight <= 0)
        return refuse(d, "a next band asked for on a device that draws whole pages");
    eraseSurface(so);
    *pptl = d->nextBand;
    if (pptl->x >= 0)
        d->nextBand = bandAfter(*d, *pptl);
    return TRUE;
}

// ---- drawing calls ----

BOOL blit(SURFOBJ* dst, SURFOBJ* src, CLIPOBJ* pco, RECTL* prcl, POINTL* pptlSrc, BRUSHOBJ* pbo, ROP4 rop4)
{
    if (!dst || !prcl)
        return refuse(dst, "a bit-block transfer without a target");
    RECTL clip = clipRect(dst, pco);
    switch (rop4) {
    case kRopPatCopy:
        if (pbo && pbo->iSolidColor == 0xFFFFFFFF)
            return refuse(dst, "pattern brushes are not supported");
        fillRect(dst, clip, *prcl, colorOf(pbo));
        return TRUE;
    case kRopBlackness:
    case kRopWhiteness:
        fillRect(dst, clip, *prcl, rop4 ? Rgb{255, 255, 255} : Rgb{0, 0, 0});
        return TRUE;
    case kRopSrcCopy:
        if (!src)
            return refuse(dst, "a source copy without a source surface");
        copyRect(dst, clip, *prcl, src, pptlSrc ? *pptlSrc : POINTL{0, 0});
        return TRUE;
    default:
        return refuse(dst, "raster operation " + hex(rop4) + " is not supported");
    }
}

BOOL APIENTRY hostBitBlt(SURFOBJ* dst, SURFOBJ* src, SURFOBJ* mask, CLIPOBJ* pco, XLATEOBJ*, RECTL* prcl,
                         POINTL* pptlSrc, POINTL*, BRUSHOBJ* pbo, POINTL*, ROP4 rop4)
{
    if (mask)
        return refuse(dst, "masked bit-block transfers are not supported");
    return blit(dst, src, pco, prcl, pptlSrc, pbo, rop4);
}

BOOL APIENTRY hostCopyBits(SURFOBJ* dst, SURFOBJ* src, CLIPOBJ* pco, XLATEOBJ*, RECTL* prcl, POINTL* pptlSrc)
{
    return blit(dst, src, pco, prcl, pptlSrc, nullptr, kRopSrcCopy);
}

BOOL stretch(SURFOBJ* dst, SURFOBJ* src, SURFOBJ* mask, CLIPOBJ* pco, RECTL* dstRect, RECTL* srcRect)
{
    if (!dst || !src || !dstRect || !srcRect)
        return refuse(dst, "a stretch without a source or a target");
    if (mask)
        return refuse(dst, "masked stretches are not supported");
    if (isEmpty(*dstRect) || isEmpty(*srcRect))
        return refuse(dst, "mirrored or empty stretches are not supported");
    stretchRect(dst, clipRect(dst, pco), *dstRect, src, *srcRect);
    return TRUE;
}

BOOL APIENTRY hostStretchBlt(SURFOBJ* dst, SURFOBJ* src, SURFOBJ* mask, CLIPOBJ* pco, XLATEOBJ*, COLORADJUSTMENT*,
                             POINTL*, RECTL* dstRect, RECTL* srcRect, POINTL*, ULONG)
{
    return stretch(dst, src, mask, pco, dstRect, srcRect);
}

BOOL APIENTRY hostStretchBltROP(SURFOBJ* dst, SURFOBJ* src, SURFOBJ* mask, CLIPOBJ* pco, XLATEOBJ*,
                                COLORADJUSTMENT*, POINTL*, RECTL* dstRect, RECTL* srcRect, POINTL*, ULONG,
                                BRUSHOBJ*, DWORD rop4)
{
    if (rop4 != kRopSrcCopy)
        return refuse(dst, "stretch with raster operation " + hex(rop4) + " is not supported");
    return stretch(dst, src, mask, pco, dstRect, srcRect);
}

BOOL APIENTRY hostStrokePath(SURFOBJ* so, PATHOBJ* ppo, CLIPOBJ* pco, XFORMOBJ*, BRUSHOBJ* pbo, POINTL*,
                             LINEATTRS* la, MIX)
{
    const std::vector<POINTL>* points = pointsOf(ppo);
    if (!so || !points)
        return refuse(so, "a path stroke without a surface or a path");
    strokePolyline(so, clipRect(so, pco), *points, lineWidth(la), colorOf(pbo));
    return TRUE;
}

BOOL APIENTRY hostFillPath(SURFOBJ* so, PATHOBJ* ppo, CLIPOBJ* pco, BRUSHOBJ* pbo, POINTL*, MIX, FLONG fl)
{
    const std::vector<POINTL>* points = pointsOf(ppo);
    if (!so || !points)
        return refuse(so, "a path fill without a surface or a path");
    fillPolygon(so, clipRect(so, pco), *points, (fl & kFillWinding) != 0, colorOf(pbo));
    return TRUE;
}

BOOL APIENTRY hostStrokeAndFillPath(SURFOBJ* so, PATHOBJ* ppo, CLIPOBJ* pco, XFORMOBJ* pxo, BRUSHOBJ* stroke,
                                    LINEATTRS* la, BRUSHOBJ* fill, POINTL* org, MIX mix, FLONG fl)
{
    return hostFillPath(so, ppo, pco, fill, org, mix, fl) && hostStrokePath(so, ppo, pco, pxo, stroke, org, la, mix);
}

BOOL APIENTRY hostPaint(SURFOBJ* so, CLIPOBJ* pco, BRUSHOBJ* pbo, POINTL*, MIX)
{
    if (!so)
        return refuse(so, "a paint without a surface");
    RECTL clip = clipRect(so, pco);
    fillRect(so, clip, clip, colorOf(pbo));
    return TRUE;
}

BOOL APIENTRY hostLineTo(SURFOBJ* so, CLIPOBJ* pco, BRUSHOBJ* pbo, LONG x1, LONG y1, LONG x2, LONG y2, RECTL*, MIX)
{
    if (!so)
        return refuse(so, "a line without a surface");
    strokePolyline(so, clipRect(so, pco), {{x1, y1}, {x2, y2}}, 1.0, colorOf(pbo));
    return TRUE;
}

BOOL APIENTRY hostTextOut(SURFOBJ* so, STROBJ* pstro, FONTOBJ* pfo, CLIPOBJ* pco, RECTL*, RECTL*, BRUSHOBJ* pbo,
                          BRUSHOBJ*, POINTL*, MIX)
{
    if (!drawTextRun(so, pstro, pfo, pco, colorOf(pbo)))
        return refuse(so, "text without a surface, a run or a font of the host's");
    return TRUE;
}

BOOL APIENTRY hostPlgBlt(SURFOBJ* so, SURFOBJ*, SURFOBJ*, CLIPOBJ*, XLATEOBJ*, COLORADJUSTMENT*, POINTL*, POINTFIX*,
                         RECTL*, POINTL*, ULONG)
{
    return refuse(so, "parallelogram transfers are not supported");
}

BOOL APIENTRY hostTransparentBlt(SURFOBJ* so, SURFOBJ*, CLIPOBJ*, XLATEOBJ*, RECTL*, RECTL*, ULONG, ULONG)
{
    return refuse(so, "transparent transfers are not supported");
}

BOOL APIENTRY hostAlphaBlend(SURFOBJ* so, SURFOBJ*, CLIPOBJ*, XLATEOBJ*, RECTL*, RECTL*, BLENDOBJ*)
{
    return refuse(so, "alpha blending is not supported");
}

BOOL APIENTRY hostGradientFill(SURFOBJ* so, CLIPOBJ*, XLATEOBJ*, TRIVERTEX*, ULONG, PVOID, ULONG, RECTL*, POINTL*,
                               ULONG)
{
    return refuse(so, "gradient fills are not supported");
}

// ---- brushes, escapes and fonts: a printer without device fonts ----

BOOL APIENTRY hostRealizeBrush(BRUSHOBJ*, SURFOBJ*, SURFOBJ*, SURFOBJ*, XLATEOBJ*, ULONG) { return TRUE; }
ULONG APIENTRY hostDitherColor(DHPDEV, ULONG, ULONG, ULONG*) { return DCR_SOLID; }
ULONG APIENTRY hostEscape(SURFOBJ*, ULONG, ULONG, PVOID, ULONG, PVOID) { return 0; }
PIFIMETRICS APIENTRY hostQueryFont(DHPDEV, ULONG_PTR, ULONG, ULONG_PTR*) { return nullptr; }
PVOID APIENTRY hostQueryFontTree(DHPDEV, ULONG_PTR, ULONG, ULONG, ULONG_PTR*) { return nullptr; }
LONG APIENTRY hostQueryFontData(DHPDEV, FONTOBJ*, ULONG, HGLYPH, GLYPHDATA*, PVOID, ULONG) { return (LONG)FD_ERROR; }
BOOL APIENTRY hostQueryAdvanceWidths(DHPDEV, FONTOBJ*, ULONG, HGLYPH*, PVOID, ULONG) { return FALSE; }
ULONG APIENTRY hostFontManagement(SURFOBJ*, FONTOBJ*, ULONG, ULONG, PVOID, ULONG, PVOID) { return 0; }
ULONG APIENTRY hostGetGlyphMode(DHPDEV, FONTOBJ*) { return FO_GLYPHBITS; }

template <typename Fn>
PFN asPFN(Fn fn)
{
    return reinterpret_cast<PFN>(reinterpret_cast<void (*)()>(fn));
}

#define HOST_FN(name) {INDEX_Drv##name, asPFN<PFN_Drv##name>(host##name)}

DRVFN gHostFunctions[] = {
    HOST_FN(RealizeBrush),  HOST_FN(DitherColor),  HOST_FN(CopyBits),        HOST_FN(BitBlt),
    HOST_FN(StretchBlt),    HOST_FN(StretchBltROP), HOST_FN(PlgBlt),         HOST_FN(TransparentBlt),
    HOST_FN(AlphaBlend),    HOST_FN(GradientFill), HOST_FN(TextOut),         HOST_FN(StrokePath),
    HOST_FN(FillPath),      HOST_FN(StrokeAndFillPath), HOST_FN(Paint),      HOST_FN(LineTo),
    HOST_FN(StartPage),     HOST_FN(SendPage),     HOST_FN(Escape),          HOST_FN(StartDoc),
    HOST_FN(EndDoc),        HOST_FN(NextBand),     HOST_FN(StartBanding),    HOST_FN(QueryFont),
    HOST_FN(QueryFontTree), HOST_FN(QueryFontData), HOST_FN(QueryAdvanceWidths), HOST_FN(FontManagement),
    HOST_FN(GetGlyphMode),
};

}  // namespace

HostDevice* deviceOf(DHPDEV dhpdev)
{
    return dhpdev ? static_cast<HostDevice*>(reinterpret_cast<DEVOBJ*>(dhpdev)) : nullptr;
}

HostDevice* deviceOf(SURFOBJ* so) { return so ? deviceOf(so->dhpdev) : nullptr; }

ULONG brushColor(uint8_t r, uint8_t g, uint8_t b) { return (ULONG)r | (ULONG)g << 8 | (ULONG)b << 16; }

const DRVENABLEDATA& hostDriverFunctions()
{
    static const DRVENABLEDATA data = {0x00030000, (ULONG)(sizeof gHostFunctions / sizeof gHostFunctions[0]),
                                       gHostFunctions};
    return data;
}

}  // namespace host
