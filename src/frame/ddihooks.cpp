// The hook table and the device record's lifecycle: enable, disable, reset.
#include "xpdv.h"

#include "diag/diag.h"

namespace {

// Function pointers of other signatures travel through the table as PFN; the
// detour through void(*)() says so to the compiler.
template <typename Fn>
PFN asPFN(Fn fn)
{
    return reinterpret_cast<PFN>(reinterpret_cast<void (*)()>(fn));
}

// Printer data that holds the log level.
const WCHAR kConfigKey[] = WSTR("Config");
const WCHAR kDebugLevelValue[] = WSTR("DebugLevel");

// Reads "Config"/"DebugLevel" into the process-wide log level; leaves it on failure.
void readDebugLevel(HANDLE hPrinter)
{
    DWORD level = 0, type = 0, needed = 0;
    if (GetPrinterDataExW(hPrinter, kConfigKey, kDebugLevelValue, &type, (LPBYTE)&level, sizeof level, &needed) ==
            ERROR_SUCCESS &&
        needed == sizeof level)
        gDebugLevel = level;
}

// The device name field holds 31 characters and its terminator: a longer
// printer name keeps its first 31 characters.
void setDeviceName(PDEVMODEW pdm, PCWSTR name)
{
    px_wcscpy(pdm->dmDeviceName, CCHDEVICENAME, name);
}

}  // namespace

const DRVFN gHookTable[HOOK_COUNT] = {
    {INDEX_DrvRealizeBrush, asPFN(OEMRealizeBrush)},
    {INDEX_DrvDitherColor, asPFN(OEMDitherColor)},
    {INDEX_DrvCopyBits, asPFN(OEMCopyBits)},
    {INDEX_DrvBitBlt, asPFN(OEMBitBlt)},
    {INDEX_DrvStretchBlt, asPFN(OEMStretchBlt)},
    {INDEX_DrvStretchBltROP, asPFN(OEMStretchBltROP)},
    {INDEX_DrvPlgBlt, asPFN(OEMPlgBlt)},
    {INDEX_DrvTransparentBlt, asPFN(OEMTransparentBlt)},
    {INDEX_DrvAlphaBlend, asPFN(OEMAlphaBlend)},
    {INDEX_DrvGradientFill, asPFN(OEMGradientFill)},
    {INDEX_DrvTextOut, asPFN(OEMTextOut)},
    {INDEX_DrvStrokePath, asPFN(OEMStrokePath)},
    {INDEX_DrvFillPath, asPFN(OEMFillPath)},
    {INDEX_DrvStrokeAndFillPath, asPFN(OEMStrokeAndFillPath)},
    {INDEX_DrvPaint, asPFN(OEMPaint)},
    {INDEX_DrvLineTo, asPFN(OEMLineTo)},
    {INDEX_DrvStartPage, asPFN(OEMStartPage)},
    {INDEX_DrvSendPage, asPFN(OEMSendPage)},
    {INDEX_DrvEscape, asPFN(OEMEscape)},
    {INDEX_DrvStartDoc, asPFN(OEMStartDoc)},
    {INDEX_DrvEndDoc, asPFN(OEMEndDoc)},
    {INDEX_DrvNextBand, asPFN(OEMNextBand)},
    {INDEX_DrvStartBanding, asPFN(OEMStartBanding)},
    {INDEX_DrvQueryFont, asPFN(OEMQueryFont)},
    {INDEX_DrvQueryFontTree, asPFN(OEMQueryFontTree)},
    {INDEX_DrvQueryFontData, asPFN(OEMQueryFontData)},
    {INDEX_DrvQueryAdvanceWidths, asPFN(OEMQueryAdvanceWidths)},
    {INDEX_DrvFontManagement, asPFN(OEMFontManagement)},
    {INDEX_DrvGetGlyphMode, asPFN(OEMGetGlyphMode)},
};

XPDV* XPDV_fromDevice(DHPDEV dhpdev)
{
    auto* pdevobj = reinterpret_cast<PDEVOBJ>(dhpdev);
    return pdevobj ? static_cast<XPDV*>(pdevobj->pdevOEM) : nullptr;
}

XPDV* XPDV_fromSurface(SURFOBJ* pso) { return pso ? XPDV_fromDevice(pso->dhpdev) : nullptr; }

// Hands the driver the hook table.
BOOL OEMEnableDriver(DWORD, DWORD, PDRVENABLEDATA pded)
{
    LogMessage("OEMEnableDriver() \n");
    if (!pded)
        return FALSE;
    pded->iDriverVersion = PRINTER_OEMINTF_VERSION;
    pded->c = HOOK_COUNT;
    pded->pdrvfn = const_cast<DRVFN*>(gHookTable);
    return TRUE;
}

void OEMDisableDriver() { LogMessage("OEMDisableDriver().\r\n"); }

// Creates the device record of a new device context and finds the driver's own
// function for every hooked row. Returns null when no record could be made.
PDEVOEM OEMEnablePDEV(PDEVOBJ pdevobj, PWSTR pPrinterName, DRVENABLEDATA* pded, IPrintOemDriverUni* pUni)
{
    if (pdevobj && pdevobj->pPublicDM) {
        LogMessage("  pdevobj->pPublicDM->dmDeviceName: '%ws'\n", pdevobj->pPublicDM->dmDeviceName);
        setDeviceName(pdevobj->pPublicDM, pPrinterName);
        LogMessage("  pdevobj->pPublicDM->dmDeviceName: '%ws'\n", pdevobj->pPublicDM->dmDeviceName);
    }
    if (pdevobj && pdevobj->hPrinter)
        readDebugLevel(pdevobj->hPrinter);
    LogMessage("OEMEnablePDEV() pdevobj: 0x%X '%ws'\n", px_low32(pdevobj), pPrinterName);

    auto* pdv = static_cast<XPDV*>(mymalloc(sizeof(XPDV)));
    if (!pdv)
        return nullptr;

    alignas(8) BYTE info[4096];
    DWORD needed = 0;
    if (pdevobj && GetPrinterW(pdevobj->hPrinter, 1, info, sizeof info, &needed) &&
        reinterpret_cast<PRINTER_INFO_1W*>(info)->pName)
        px_wcscpy(pdv->szPrinterName, NAME_CHARS, reinterpret_cast<PRINTER_INFO_1W*>(info)->pName);
    else
        px_wcscpy(pdv->szPrinterName, NAME_CHARS, pPrinterName);
    LogMessage("OEMEnablePDEV(): szPrinterName=%ws\n", pdv->szPrinterName);

    pdv->pPageStore = nullptr;
    pdv->pConfig = nullptr;
    pdv->pTextPage = nullptr;
    pdv->pEmbossPage = nullptr;
    pdv->PageStoreCapacity = 0;
    pdv->PagCount = 0;

    for (int row = 0; row < HOOK_COUNT; ++row) {
        pdv->pfnUnidrv[row] = nullptr;
        for (ULONG i = 0; pded && pded->pdrvfn && i < pded->c; ++i) {
            if (pded->pdrvfn[i].iFunc == gHookTable[row].iFunc) {
                pdv->pfnUnidrv[row] = pded->pdrvfn[i].pfn;
                break;
            }
        }
    }
    pdv->pUni = pUni;
    return pdv;
}

// Frees the record itself; what its pointers still own is the document end's business.
void OEMDisablePDEV(PDEVOBJ pdevobj)
{
    LogMessage("OEMDisablePDEV(0x%X) \n", px_low32(pdevobj));
    if (pdevobj && pdevobj->pdevOEM) {
        myfree(pdevobj->pdevOEM);
        pdevobj->pdevOEM = nullptr;
    }
}

// Moves the document state to the record of the new device context.
BOOL OEMResetPDEV(PDEVOBJ pdevobjOld, PDEVOBJ pdevobjNew)
{
    LogMessage("OEMResetPDEV(0x%X -> 0x%X)\n", px_low32(pdevobjOld), px_low32(pdevobjNew));
    XPDV* from = pdevobjOld ? static_cast<XPDV*>(pdevobjOld->pdevOEM) : nullptr;
    XPDV* to = pdevobjNew ? static_cast<XPDV*>(pdevobjNew->pdevOEM) : nullptr;
    LogMessage("  lpXPDV: %X -> %X\n", px_low32(from), px_low32(to));
    if (!from || !to)
        return FALSE;
    LogMessage("  lpXPDVold->pConfig: %X -> lpXPDVnew->pConfig:%X\n", px_low32(from->pConfig),
               px_low32(to->pConfig));
    to->pConfig = from->pConfig;
    to->pTextPage = from->pTextPage;
    to->pEmbossPage = from->pEmbossPage;
    to->bandIncrementX = from->bandIncrementX;
    to->bandIncrementY = from->bandIncrementY;
    to->gdiPaperHeight = from->gdiPaperHeight;
    to->gdiPaperWidth = from->gdiPaperWidth;
    to->PagCount = from->PagCount;
    to->bandPosition = from->bandPosition;
    to->embossPageWidth = from->embossPageWidth;
    to->embossPageHeight = from->embossPageHeight;
    to->bLandscape = from->bLandscape;
    to->rf = from->rf;
    to->pPageStore = from->pPageStore;
    to->PageStoreCapacity = from->PageStoreCapacity;
    to->pEmptyPage = from->pEmptyPage;
    to->EmptyPageSize = from->EmptyPageSize;
    to->TextOnlyPage = from->TextOnlyPage;
    px_wcscpy(to->pDocName, NAME_CHARS, from->pDocName);
    return TRUE;
}
