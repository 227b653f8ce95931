// The device record, the hook table and the driver lifecycle.
//
// Every hooked call reaches its device record through the driver's device
// object (its pdevOEM). The record holds the whole rendering state of one
// device context: configuration, pages, band position, paper geometry and the
// page store.
#pragma once

#include "win32.h"

struct Config;
struct TextPage;

// Rows of the hook table. A row number is also the index into pfnUnidrv.
enum HookRow {
    ROW_RealizeBrush = 0,
    ROW_DitherColor,
    ROW_CopyBits,
    ROW_BitBlt,
    ROW_StretchBlt,
    ROW_StretchBltROP,
    ROW_PlgBlt,
    ROW_TransparentBlt,
    ROW_AlphaBlend,
    ROW_GradientFill,
    ROW_TextOut,
    ROW_StrokePath,
    ROW_FillPath,
    ROW_StrokeAndFillPath,
    ROW_Paint,
    ROW_LineTo,
    ROW_StartPage,
    ROW_SendPage,
    ROW_Escape,
    ROW_StartDoc,
    ROW_EndDoc,
    ROW_NextBand,
    ROW_StartBanding,
    ROW_QueryFont,
    ROW_QueryFontTree,
    ROW_QueryFontData,
    ROW_QueryAdvanceWidths,
    ROW_FontManagement,
    ROW_GetGlyphMode,
    HOOK_COUNT
};

// One slot of the page store: an encoded page kept for the end of the document.
struct PageEntry {
    BYTE* pData;
    DWORD cbData;
    DWORD bOwned;  // 1: the entry owns pData; 0: pData is the shared blank page
};

#define NAME_CHARS 260
#define PAGE_STORE_SLOTS 1000

struct XPDV {
    PFN pfnUnidrv[HOOK_COUNT];
    IPrintOemDriverUni* pUni;  // not owned
    WCHAR szPrinterName[NAME_CHARS];
    Config* pConfig;
    TextPage* pTextPage;
    TextPage* pEmbossPage;
    INT bandIncrementX;
    INT bandIncrementY;
    INT gdiPaperHeight;
    INT gdiPaperWidth;
    WORD PagCount;
    POINTL bandPosition;
    INT embossPageWidth;
    INT embossPageHeight;
    INT bLandscape;
    INT rf;
    WCHAR pDocName[NAME_CHARS];
    PageEntry* pPageStore;
    WORD PageStoreCapacity;
    BYTE* pEmptyPage;
    DWORD EmptyPageSize;
    INT TextOnlyPage;
};

// The hook table handed to the driver: HOOK_COUNT rows in row order.
extern const DRVFN gHookTable[HOOK_COUNT];

// The device record behind a surface or a device handle; null when there is none.
XPDV* XPDV_fromSurface(SURFOBJ* pso);
XPDV* XPDV_fromDevice(DHPDEV dhpdev);

// The driver's own function of a row, typed; null when the driver listed none.
template <typename Fn>
Fn XPDV_unidrv(const XPDV* pdv, HookRow row)
{
    return pdv ? reinterpret_cast<Fn>(reinterpret_cast<void (*)()>(pdv->pfnUnidrv[row])) : nullptr;
}

BOOL OEMEnableDriver(DWORD dwDriverVersion, DWORD cbSize, PDRVENABLEDATA pded);
void OEMDisableDriver();
PDEVOEM OEMEnablePDEV(PDEVOBJ pdevobj, PWSTR pPrinterName, DRVENABLEDATA* pded, IPrintOemDriverUni* pUni);
void OEMDisablePDEV(PDEVOBJ pdevobj);
BOOL OEMResetPDEV(PDEVOBJ pdevobjOld, PDEVOBJ pdevobjNew);

// The hooks, with the driver functions' own signatures.
BOOL APIENTRY OEMRealizeBrush(BRUSHOBJ*, SURFOBJ*, SURFOBJ*, SURFOBJ*, XLATEOBJ*, ULONG);
ULONG APIENTRY OEMDitherColor(DHPDEV, ULONG, ULONG, ULONG*);
BOOL APIENTRY OEMCopyBits(SURFOBJ*, SURFOBJ*, CLIPOBJ*, XLATEOBJ*, RECTL*, POINTL*);
BOOL APIENTRY OEMBitBlt(SURFOBJ*, SURFOBJ*, SURFOBJ*, CLIPOBJ*, XLATEOBJ*, RECTL*, POINTL*, POINTL*, BRUSHOBJ*,
                        POINTL*, ROP4);
BOOL APIENTRY OEMStretchBlt(SURFOBJ*, SURFOBJ*, SURFOBJ*, CLIPOBJ*, XLATEOBJ*, COLORADJUSTMENT*, POINTL*, RECTL*,
                            RECTL*, POINTL*, ULONG);
BOOL APIENTRY OEMStretchBltROP(SURFOBJ*, SURFOBJ*, SURFOBJ*, CLIPOBJ*, XLATEOBJ*, COLORADJUSTMENT*, POINTL*, RECTL*,
                               RECTL*, POINTL*, ULONG, BRUSHOBJ*, DWORD);
BOOL APIENTRY OEMPlgBlt(SURFOBJ*, SURFOBJ*, SURFOBJ*, CLIPOBJ*, XLATEOBJ*, COLORADJUSTMENT*, POINTL*, POINTFIX*,
                        RECTL*, POINTL*, ULONG);
BOOL APIENTRY OEMTransparentBlt(SURFOBJ*, SURFOBJ*, CLIPOBJ*, XLATEOBJ*, RECTL*, RECTL*, ULONG, ULONG);
BOOL APIENTRY OEMAlphaBlend(SURFOBJ*, SURFOBJ*, CLIPOBJ*, XLATEOBJ*, RECTL*, RECTL*, BLENDOBJ*);
BOOL APIENTRY OEMGradientFill(SURFOBJ*, CLIPOBJ*, XLATEOBJ*, TRIVERTEX*, ULONG, PVOID, ULONG, RECTL*, POINTL*,
                              ULONG);
BOOL APIENTRY OEMTextOut(SURFOBJ*, STROBJ*, FONTOBJ*, CLIPOBJ*, RECTL*, RECTL*, BRUSHOBJ*, BRUSHOBJ*, POINTL*, MIX);
BOOL APIENTRY OEMStrokePath(SURFOBJ*, PATHOBJ*, CLIPOBJ*, XFORMOBJ*, BRUSHOBJ*, POINTL*, LINEATTRS*, MIX);
BOOL APIENTRY OEMFillPath(SURFOBJ*, PATHOBJ*, CLIPOBJ*, BRUSHOBJ*, POINTL*, MIX, FLONG);
BOOL APIENTRY OEMStrokeAndFillPath(SURFOBJ*, PATHOBJ*, CLIPOBJ*, XFORMOBJ*, BRUSHOBJ*, LINEATTRS*, BRUSHOBJ*,
                                   POINTL*, MIX, FLONG);
BOOL APIENTRY OEMPaint(SURFOBJ*, CLIPOBJ*, BRUSHOBJ*, POINTL*, MIX);
BOOL APIENTRY OEMLineTo(SURFOBJ*, CLIPOBJ*, BRUSHOBJ*, LONG, LONG, LONG, LONG, RECTL*, MIX);
BOOL APIENTRY OEMStartPage(SURFOBJ*);
BOOL APIENTRY OEMSendPage(SURFOBJ*);
ULONG APIENTRY OEMEscape(SURFOBJ*, ULONG, ULONG, PVOID, ULONG, PVOID);
BOOL APIENTRY OEMStartDoc(SURFOBJ*, PWSTR, DWORD);
BOOL APIENTRY OEMEndDoc(SURFOBJ*, FLONG);
BOOL APIENTRY OEMNextBand(SURFOBJ*, POINTL*);
BOOL APIENTRY OEMStartBanding(SURFOBJ*, POINTL*);
PIFIMETRICS APIENTRY OEMQueryFont(DHPDEV, ULONG_PTR, ULONG, ULONG_PTR*);
PVOID APIENTRY OEMQueryFontTree(DHPDEV, ULONG_PTR, ULONG, ULONG, ULONG_PTR*);
LONG APIENTRY OEMQueryFontData(DHPDEV, FONTOBJ*, ULONG, HGLYPH, GLYPHDATA*, PVOID, ULONG);
BOOL APIENTRY OEMQueryAdvanceWidths(DHPDEV, FONTOBJ*, ULONG, HGLYPH*, PVOID, ULONG);
ULONG APIENTRY OEMFontManagement(SURFOBJ*, FONTOBJ*, ULONG, ULONG, PVOID, ULONG, PVOID);
ULONG APIENTRY OEMGetGlyphMode(DHPDEV, FONTOBJ*);
