// Document start and page start.
//
// The first start of a document sets the device record up for it: paper
// geometry, the text-marker page, the configuration, the page store and,
// for a single-sided preview, the preview file. A start that follows a
// device-context reset only refreshes what the reset may have changed.
#include "job/job.h"

#include "config/config.h"
#include "device/xpdv.h"
#include "diag/diag.h"
#include "image/image.h"
#include "output/helpers.h"
#include "page/geometry.h"
#include "page/textpage.h"

namespace {

PDEVOBJ deviceOf(SURFOBJ* pso) { return reinterpret_cast<PDEVOBJ>(pso->dhpdev); }

// The driver's own start of document; FALSE when it listed none.
BOOL unidrvStartDoc(XPDV* pdv, SURFOBJ* pso, PWSTR pwszDocName, DWORD dwJobId)
{
    auto fn = XPDV_unidrv<PFN_DrvStartDoc>(pdv, ROW_StartDoc);
    return fn ? fn(pso, pwszDocName, dwJobId) : FALSE;
}

// The start that Unidrv makes after a device-context reset: the devmode may
// have changed, so the settings, the geometry and the text-marker page follow it.
BOOL startAfterReset(SURFOBJ* pso, XPDV* pdv)
{
    LogMessage("ResetDC(): OEMStartDoc() called from ResetDC()\n");
    if (pdv->pConfig)
        Config_updateFromDevMode(pdv->pConfig, deviceOf(pso)->pPublicDM);
    InitPaperSize(pso);
    LogMessage("ResetDC(): paper dimensions have changed\n");
    LogMessage("ResetDC(): freeing old text pages\n");
    TextPage_delete(pdv->pTextPage);
    pdv->pTextPage = nullptr;
    LogMessage("ResetDC(): freeing old full pages\n");
    TextPage_delete(pdv->pEmbossPage);
    pdv->pEmbossPage = nullptr;
    // Room below the surface for braille cells that reach past the band.
    INT width = pso->sizlBitmap.cx;
    INT height = pso->sizlBitmap.cy + 11 * pdv->rf;
    LogMessage("ResetDC(): creating new textpage of size [%d x %d]\n", width, height);
    pdv->pTextPage = TextPage_new((DWORD)width, (DWORD)height, TEXTPAGE_TYPE_ZERO);
    return unidrvStartDoc(pdv, pso, nullptr, 0);
}

// Opens the preview file of a single-sided preview; the pages go there as
// they are written. Without a file they go to the spooler.
void openPreviewFile(Config* config)
{
    config->hPreviewFile = INVALID_HANDLE_VALUE;
    if (!getTempFileName(config->previewFileName))
        return;
    config->hPreviewFile = CreateFileW(config->previewFileName, GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                                       OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
}

// Everything a document needs that lives until its end. FALSE when the
// configuration could not be made.
BOOL setUpDocument(SURFOBJ* pso, XPDV* pdv)
{
    pdv->PagCount = 0;
    pdv->pEmptyPage = nullptr;
    pdv->EmptyPageSize = 0;
    pdv->TextOnlyPage = 1;
    TextPage_delete(pdv->pTextPage);
    pdv->pTextPage = TextPage_new((DWORD)pso->sizlBitmap.cx, (DWORD)pso->sizlBitmap.cy, TEXTPAGE_TYPE_ZERO);
    LogMessage("Startdoc(): after TextPage_new(): 0x%X\n", px_low32(pdv->pTextPage));

    pdv->pConfig = Config_new(deviceOf(pso));
    if (!pdv->pConfig) {
        // A document that does not start never ends: nothing calls EndDoc to free the page.
        TextPage_delete(pdv->pTextPage);
        pdv->pTextPage = nullptr;
        return FALSE;
    }
    Config_readControlFlags(pdv->pConfig, pdv->szPrinterName);
    checkDPFont(pdv->pConfig);

    pdv->PageStoreCapacity = PAGE_STORE_SLOTS;
    pdv->pPageStore = static_cast<PageEntry*>(mymalloc(PAGE_STORE_SLOTS * sizeof(PageEntry)));
    if (!pdv->pPageStore)
        pdv->PageStoreCapacity = 0;  // every page of the document is then dropped
    if (!pdv->pConfig->Interpoint && pdv->pConfig->Preview)
        openPreviewFile(pdv->pConfig);
    return TRUE;
}

}  // namespace

BOOL APIENTRY OEMStartDoc(SURFOBJ* pso, PWSTR pwszDocName, DWORD dwJobId)
{
    XPDV* pdv = XPDV_fromSurface(pso);
    if (!pdv)
        return FALSE;
    if (!pwszDocName && dwJobId == 0)
        return startAfterReset(pso, pdv);

    PDEVOBJ pdevobj = deviceOf(pso);
    LogMessage("\nOEMStartDoc(0x%X, %S, %d)\n", px_low32(pso), pwszDocName ? pwszDocName : WSTR(""), dwJobId);
    LogMessage("OEMStartDoc(): gTotalBytesAlloc=%u\n", gTotalBytesAlloc);
    LogMessage("  pdevobj: %X, pDevMode: %X, lpXPDV: %X lpXPDV->pConfig: %X\n", px_low32(pdevobj),
               px_low32(pdevobj->pOEMDM), px_low32(pdv), px_low32(pdv->pConfig));
    px_wcscpy(pdv->pDocName, NAME_CHARS, pwszDocName ? pwszDocName : WSTR(""));
    LogMessage("  lpXPDV->pDocName: 0x%X\n", px_low32(pdv->pDocName));
    InitPaperSize(pso);
    if (!pdv->pConfig && !setUpDocument(pso, pdv))
        return FALSE;
    return unidrvStartDoc(pdv, pso, pwszDocName, dwJobId);
}

BOOL APIENTRY OEMStartPage(SURFOBJ* pso)
{
    XPDV* pdv = XPDV_fromSurface(pso);
    if (!pdv)
        return FALSE;
    PDEVOBJ pdevobj = deviceOf(pso);
    LogMessage("OEMStartPage(%X).\n", px_low32(pso));
    LogMessage("  pdevobj: %X, pDevMode: %X, lpXPDV: %X\n", px_low32(pdevobj), px_low32(pdevobj->pOEMDM),
               px_low32(pdv));
    pdv->bandPosition = {0, 0};
    const DEVMODEW* dm = pdevobj->pPublicDM;
    LogMessage("paper size: [%d x %d] (0.1 mm)\n", dm ? dm->dmPaperWidth : 0, dm ? dm->dmPaperLength : 0);
    EraseSurface(pso);
    TextPage_clear(pdv->pTextPage);
    pdv->TextOnlyPage = 1;
    auto fn = XPDV_unidrv<PFN_DrvStartPage>(pdv, ROW_StartPage);
    return fn ? fn(pso) : FALSE;
}
