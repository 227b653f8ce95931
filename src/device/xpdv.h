// The device record and its lifecycle.
//
// Every hooked call reaches its device record through the driver's device
// object (its pdevOEM). The record holds the whole rendering state of one
// device context: configuration, pages, band position, paper geometry and the
// page store. Every room may include this header; it includes no room.
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

// The driver function index of every row, in row order: the hook table pairs
// these with the hooks, and a new device finds the driver's own functions by them.
inline constexpr ULONG kHookIndex[HOOK_COUNT] = {
    INDEX_DrvRealizeBrush,  INDEX_DrvDitherColor,       INDEX_DrvCopyBits,       INDEX_DrvBitBlt,
    INDEX_DrvStretchBlt,    INDEX_DrvStretchBltROP,     INDEX_DrvPlgBlt,         INDEX_DrvTransparentBlt,
    INDEX_DrvAlphaBlend,    INDEX_DrvGradientFill,      INDEX_DrvTextOut,        INDEX_DrvStrokePath,
    INDEX_DrvFillPath,      INDEX_DrvStrokeAndFillPath, INDEX_DrvPaint,          INDEX_DrvLineTo,
    INDEX_DrvStartPage,     INDEX_DrvSendPage,          INDEX_DrvEscape,         INDEX_DrvStartDoc,
    INDEX_DrvEndDoc,        INDEX_DrvNextBand,          INDEX_DrvStartBanding,   INDEX_DrvQueryFont,
    INDEX_DrvQueryFontTree, INDEX_DrvQueryFontData,     INDEX_DrvQueryAdvanceWidths, INDEX_DrvFontManagement,
    INDEX_DrvGetGlyphMode,
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

// The device record behind a surface or a device handle; null when there is none.
XPDV* XPDV_fromSurface(SURFOBJ* pso);
XPDV* XPDV_fromDevice(DHPDEV dhpdev);

// The driver's own function of a row, typed; null when the driver listed none.
template <typename Fn>
Fn XPDV_unidrv(const XPDV* pdv, HookRow row)
{
    return pdv ? reinterpret_cast<Fn>(reinterpret_cast<void (*)()>(pdv->pfnUnidrv[row])) : nullptr;
}

// Creates the record of a new device context, finding the driver's own
// function for every row in its function list; null when no record could be made.
PDEVOEM OEMEnablePDEV(PDEVOBJ pdevobj, PWSTR pPrinterName, DRVENABLEDATA* pded, IPrintOemDriverUni* pUni);
// Frees the record itself; what its pointers still own is the document end's business.
void OEMDisablePDEV(PDEVOBJ pdevobj);
// Moves the document state to the record of the new device context.
BOOL OEMResetPDEV(PDEVOBJ pdevobjOld, PDEVOBJ pdevobjNew);
