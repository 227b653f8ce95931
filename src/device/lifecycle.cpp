// The device record's lifecycle: enable, disable, reset.
#include "device/xpdv.h"

#include "diag/diag.h"

#include <cstring>

namespace {

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

XPDV* XPDV_fromDevice(DHPDEV dhpdev)
{
    auto* pdevobj = reinterpret_cast<PDEVOBJ>(dhpdev);
    return pdevobj ? static_cast<XPDV*>(pdevobj->pdevOEM) : nullptr;
}

XPDV* XPDV_fromSurface(SURFOBJ* pso) { return pso ? XPDV_fromDevice(pso->dhpdev) : nullptr; }

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
            if (pded->pdrvfn[i].iFunc == kHookIndex[row]) {
                pdv->pfnUnidrv[row] = pded->pdrvfn[i].pfn;
                break;
            }
        }
    }
    pdv->pUni = pUni;
    return pdv;
}

void OEMDisablePDEV(PDEVOBJ pdevobj)
{
    LogMessage("OEMDisablePDEV(0x%X) \n", px_low32(pdevobj));
    if (pdevobj && pdevobj->pdevOEM) {
        myfree(pdevobj->pdevOEM);
        pdevobj->pdevOEM = nullptr;
    }
}

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
    // The whole record moves, so a field added later moves with it; only what
    // belongs to the new device context itself stays: the driver's functions,
    // its helper interface and its printer name.
    XPDV own = *to;
    *to = *from;
    std::memcpy(to->pfnUnidrv, own.pfnUnidrv, sizeof to->pfnUnidrv);
    to->pUni = own.pUni;
    std::memcpy(to->szPrinterName, own.szPrinterName, sizeof to->szPrinterName);
    return TRUE;
}
