// Document end: the kept pages are written in the order that double-sided
// printing, collation, copies and the odd/even choice ask for, to the
// spooler or to the front and back page files; the dialog program or the
// viewer is started; and everything the document held is released.
//
// Pages count from 1, so the odd pages are store entries 0, 2, 4 ... (the
// front sides) and the even pages entries 1, 3, 5 ... (the backs).
#include "job/job.h"

#include "config/config.h"
#include "device/xpdv.h"
#include "diag/diag.h"
#include "output/helpers.h"
#include "output/stream.h"
#include "page/textpage.h"

namespace {

// Which store entries a pass writes: the fronts start at 0, the backs at 1.
enum Side { FRONTS = 0, BACKS = 1 };

struct PageFile {
    WCHAR name[NAME_CHARS];
};

// Opens a new temporary page file as the place writes go (the Config's
// preview handle); on failure the handle stays invalid and writes to it fail.
void openPageFile(Config* config, PageFile* file)
{
    file->name[0] = 0;
    config->hPreviewFile = INVALID_HANDLE_VALUE;
    if (!getTempFileName(file->name))
        return;
    config->hPreviewFile = CreateFileW(file->name, GENERIC_WRITE, FILE_SHARE_READ, nullptr, OPEN_ALWAYS,
                                       FILE_ATTRIBUTE_NORMAL, nullptr);
}

void closePageFile(Config* config)
{
    if (config->hPreviewFile != INVALID_HANDLE_VALUE && config->hPreviewFile)
        CloseHandle(config->hPreviewFile);
    config->hPreviewFile = INVALID_HANDLE_VALUE;
}

// Writes one store entry to the spooler, or to the open page file.
void writeEntry(PDEVOBJ pdevobj, const PageEntry& entry, bool toSpooler, INT index, bool logFailure)
{
    if (toSpooler) {
        writeToSpooler(pdevobj, entry.pData, entry.cbData);
        return;
    }
    const Config* config = static_cast<XPDV*>(pdevobj->pdevOEM)->pConfig;
    DWORD written = 0;
    if (!WriteFile(config->hPreviewFile, entry.pData, entry.cbData, &written, nullptr) && logFailure)
        LogMessage("OEMEndDoc(): WriteFile() failed, error %u, page %d at 0x%p, %u bytes\n", GetLastError(), index,
                   entry.pData, entry.cbData);
}

// One side of a double-sided document. Collated: the side's pages in order,
// the whole run copies times. Uncollated: each page copies times in a row.
void writeSide(PDEVOBJ pdevobj, XPDV* pdv, Side side, INT copies, bool collate, bool toSpooler)
{
    const char* format = side == FRONTS ? "writing odd page %ld, copy: %ld\n" : "writing even page %ld, copy: %ld\n";
    if (collate) {
        for (INT c = 0; c < copies; ++c)
            for (INT i = side; i < pdv->PagCount; i += 2) {
                LogDetail(format, i, c);
                writeEntry(pdevobj, pdv->pPageStore[i], toSpooler, i, false);
            }
        return;
    }
    for (INT i = side; i < pdv->PagCount; i += 2)
        for (INT c = 0; c < copies; ++c)
            writeEntry(pdevobj, pdv->pPageStore[i], toSpooler, i, side == FRONTS);
}

// Fronts to one file, backs to another; with both sides wanted the dialog
// program tells the user how to emboss them, with one side the pages went to
// the spooler, or to the viewer when previewing.
void writeInterpoint(PDEVOBJ pdevobj, XPDV* pdv, INT copies)
{
    Config* config = pdv->pConfig;
    bool collate = config->Collate != 0;
    if (collate)
        LogMessage("printing Collate interpoint multiple pages, %d copies\n", copies);
    else
        LogMessage("printing interpoint multiple pages, no collate, %d copies\n", copies);
    PageFile front, back;
    openPageFile(config, &front);
    if (config->PrintOdd != 2)
        writeSide(pdevobj, pdv, FRONTS, copies, collate, config->PrintOdd == 1 && !config->Preview);
    closePageFile(config);
    openPageFile(config, &back);
    if (config->PrintOdd != 1)
        writeSide(pdevobj, pdv, BACKS, copies, collate, config->PrintOdd == 2 && !config->Preview);
    closePageFile(config);
    PageStore_release(pdv);
    if (config->PrintOdd <= 0)
        startPageFilesDialog(config, front.name, back.name);
    else if (config->Preview)
        envokeViewer(config->PreviewPrnPath, config->PrintOdd == 1 ? front.name : back.name, config);
}

// A double-sided document of one page has no back: the page alone, copies times.
void writeSinglePage(PDEVOBJ pdevobj, XPDV* pdv, INT copies)
{
    Config* config = pdv->pConfig;
    LogMessage("printing interpoint one page...\n");
    PageFile file;
    openPageFile(config, &file);
    for (INT c = 0; c < copies; ++c)
        writeEntry(pdevobj, pdv->pPageStore[0], !config->Preview, 0, false);
    closePageFile(config);
    if (config->Preview)
        envokeViewer(config->PreviewPrnPath, file.name, config);
    PageStore_release(pdv);
}

// Single-sided documents (and double-sided ones that kept no page): collated
// copies go out now; the preview file, which took the pages as they were
// written, goes to the viewer.
void writeSingleSided(PDEVOBJ pdevobj, XPDV* pdv, INT copies)
{
    Config* config = pdv->pConfig;
    if (!config->Interpoint && config->Collate)
        for (INT c = 0; c < copies; ++c)
            for (INT i = 0; i < pdv->PagCount; ++i)
                writeToOutputSink(pdevobj, pdv->pPageStore[i].pData, pdv->pPageStore[i].cbData);
    closePageFile(config);
    if (config->Preview)
        envokeViewer(config->PreviewPrnPath, config->previewFileName, config);
    PageStore_release(pdv);
}

// Writes the kept pages for the document's kind.
void writeStoredPages(PDEVOBJ pdevobj, XPDV* pdv)
{
    Config* config = pdv->pConfig;
    if (config->Interpoint && pdv->PagCount > 1 && pdv->PagCount % 2) {
        PageStore_append(pdv, pdv->pEmptyPage, pdv->EmptyPageSize, 0);
        LogMessage("EndDoc: interpoint, odd page numbers, inserting empty page: 0x%X... (%d bytes)\n",
                   px_low32(pdv->pEmptyPage), pdv->EmptyPageSize);
        LogMessage("EndDoc: lpXPDV->PagCount: %d\n", pdv->PagCount);
    }
    INT copies = pdevobj->pPublicDM ? pdevobj->pPublicDM->dmCopies : 1;
    if (config->Interpoint && pdv->PagCount > 1)
        writeInterpoint(pdevobj, pdv, copies);
    else if (config->Interpoint && pdv->PagCount == 1)
        writeSinglePage(pdevobj, pdv, copies);
    else
        writeSingleSided(pdevobj, pdv, copies);
}

}  // namespace

BOOL APIENTRY OEMEndDoc(SURFOBJ* pso, FLONG fl)
{
    XPDV* pdv = XPDV_fromSurface(pso);
    if (!pdv)
        return FALSE;
    PDEVOBJ pdevobj = reinterpret_cast<PDEVOBJ>(pso->dhpdev);
    LogMessage("OEMEndDoc(0x%X)\n", px_low32(pso));
    LogMessage("  pdevobj: %X, pDevMode: %X, lpXPDV: %X pConfig:%X\n", px_low32(pdevobj), px_low32(pdevobj->pOEMDM),
               px_low32(pdv), px_low32(pdv->pConfig));
    if (pdv->pConfig)
        writeStoredPages(pdevobj, pdv);
    else
        PageStore_release(pdv);
    Config_delete(pdv->pConfig);
    pdv->pConfig = nullptr;
    if (pdv->pTextPage) {
        LogMessage("deleting pTextpage...\n");
        TextPage_delete(pdv->pTextPage);
        pdv->pTextPage = nullptr;
    }
    // A page whose bands never finished (a cancelled page) goes with the document.
    TextPage_delete(pdv->pEmbossPage);
    pdv->pEmbossPage = nullptr;
    LogMessage("OEMEndDoc(): turning around to call Unidrv...\n");
    LogMessage("OEMEndDoc(): gTotalBytesAlloc=%u\n", gTotalBytesAlloc);
    auto fn = XPDV_unidrv<PFN_DrvEndDoc>(pdv, ROW_EndDoc);
    return fn ? fn(pso, fl) : FALSE;
}
