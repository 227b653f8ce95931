// The page store: encoded pages kept from their sending to the document end,
// which writes them in the order that double-sided printing, collation and
// the odd/even choice ask for.
//
// A page with graphics can be given a blank back: it then always lands on an
// even slot (a front side when printed double-sided) with a blank page after
// it. The blank page is encoded once per document and shared by every blank
// entry, which does not own it.
#include "job/job.h"

#include "config/config.h"
#include "device/xpdv.h"
#include "diag/diag.h"
#include "output/stream.h"
#include "page/textpage.h"

void PageStore_append(XPDV* pdv, BYTE* data, DWORD size, DWORD owned)
{
    PageEntry& entry = pdv->pPageStore[pdv->PagCount];
    entry.pData = data;
    entry.cbData = size;
    entry.bOwned = owned;
    ++pdv->PagCount;
}

BOOL PageStore_addPage(XPDV* pdv, BYTE* data, DWORD size, const char* aloneLog)
{
    if (!pdv->pPageStore || pdv->PagCount + PAGE_STORE_HEADROOM >= pdv->PageStoreCapacity) {
        myfree(data);
        return FALSE;
    }
    if (pdv->TextOnlyPage || !pdv->pConfig->InsertEmptyPage) {
        LogMessage("%s", aloneLog);
        PageStore_append(pdv, data, size, 1);
        return TRUE;
    }
    if (pdv->PagCount % 2) {
        LogMessage("Adding pages: empty-graphics-empty\n");
        PageStore_append(pdv, pdv->pEmptyPage, pdv->EmptyPageSize, 0);
    } else {
        LogMessage("Adding pages: graphics-empty\n");
    }
    PageStore_append(pdv, data, size, 1);
    PageStore_append(pdv, pdv->pEmptyPage, pdv->EmptyPageSize, 0);
    return TRUE;
}

void PageStore_release(XPDV* pdv)
{
    for (WORD i = 0; pdv->pPageStore && i < pdv->PagCount; ++i) {
        if (pdv->pPageStore[i].bOwned)
            myfree(pdv->pPageStore[i].pData);
    }
    myfree(pdv->pEmptyPage);
    pdv->pEmptyPage = nullptr;
    pdv->EmptyPageSize = 0;
    myfree(pdv->pPageStore);
    pdv->pPageStore = nullptr;
}

void StorePageToBuffer(SURFOBJ* pso, TextPage* pPage)
{
    XPDV* pdv = XPDV_fromSurface(pso);
    LogMessage("StorePageToBuffer(%p, *p, %p)\n", pso, pPage);
    if (!pdv || !pdv->pConfig)
        return;
    if (!pdv->pEmptyPage) {
        TextPage* blank = TextPage_new((DWORD)pdv->embossPageWidth, (DWORD)pdv->embossPageHeight, TEXTPAGE_TYPE_ZERO);
        pdv->EmptyPageSize = WritePrinterBuffer(pso, blank, &pdv->pEmptyPage, 2, FALSE);
        TextPage_delete(blank);
    }
    BYTE* buffer = nullptr;
    DWORD length = WritePrinterBuffer(pso, pPage, &buffer, 2, FALSE);
    PageStore_addPage(pdv, buffer, length, "TextOnlyPage || InsertEmptyPage\n");
}
