// Banding: the plug-in steps the bands itself and never calls the driver's
// own banding. After GDI has drawn a band, every cell of it becomes a dot
// value in the page of dot values (pEmbossPage); after the last band the
// page goes out at once, once per copy, or into the page store.
//
// Portrait bands step down the page; landscape bands step along the surface's
// x axis, which runs along the paper's length, and are turned onto the page's
// portrait grid as they are converted.
#include "job/job.h"

#include "config/config.h"
#include "device/xpdv.h"
#include "diag/diag.h"
#include "image/adjust.h"
#include "image/image.h"
#include "output/stream.h"
#include "page/geometry.h"
#include "page/textpage.h"

#include <cstdint>
#include <cstring>

namespace {

// The job's public devmode, or null.
const DEVMODEW* publicDevmode(SURFOBJ* pso) { return reinterpret_cast<PDEVOBJ>(pso->dhpdev)->pPublicDM; }

// The public devmode's copies; one when there is no devmode.
INT copiesOf(SURFOBJ* pso)
{
    const DEVMODEW* dm = publicDevmode(pso);
    return dm ? dm->dmCopies : 1;
}

// A finished page of dot values goes out: kept for the document end when the
// job is double-sided or collates several copies, else written once per copy.
void finishPage(SURFOBJ* pso, XPDV* pdv)
{
    INT copies = copiesOf(pso);
    const Config* config = pdv->pConfig;
    if (!pdv->pEmbossPage || !config) {
        LogMessage("OEMNextBand(): no page of dots, nothing written\n");
    } else if ((config->Collate && copies > 1) || config->Interpoint) {
        StorePageToBuffer(pso, pdv->pEmbossPage);
    } else {
        for (INT i = 0; i < copies; ++i)
            WritePrinterBuffer(pso, pdv->pEmbossPage, nullptr, 2, TRUE);
    }
    LogMessage(" releasing pages\n");
    TextPage_delete(pdv->pEmbossPage);
    pdv->pEmbossPage = nullptr;
}

// The band's cells as it is read from the surface, a cell row at a time: a
// row of the page in portrait, a column of it in landscape.
struct BandCells {
    DWORD rows, across;
};
BandCells bandCells(const XPDV* pdv, INT width, INT height)
{
    return pdv->bLandscape ? BandCells{(DWORD)width, (DWORD)height} : BandCells{(DWORD)height, (DWORD)width};
}

// WriteBandToPage, with the colours of the surface's whole cells taken
// already where cells says so: the same colours getCellColours gives.
void writeBand(SURFOBJ* pso, TextPage* pPage, INT yOffset, INT width, INT height, INT type, const CellColours* cells)
{
    XPDV* pdv = XPDV_fromSurface(pso);
    LogMessage("WriteBandToPage(pso:%p, pPage:%p, yOffset:%d, width:%d, height:%d type:%d)\n", pso, pPage, yOffset,
               width, height, type);
    LogMessage("\tpTextPage:0x%X\n", px_low32(pdv ? pdv->pTextPage : nullptr));
    // Without a page, markers or settings the band is skipped, not written through null.
    if (!pdv || !pPage || !pdv->pTextPage || !pdv->pConfig)
        return;
    DWORD f = (DWORD)getResolutionFactor(pso);
    const TextPage* markers = pdv->pTextPage;
    if (cells && !cells->taken)
        cells = nullptr;
    Config* config = pdv->pConfig;
    ToneTable tone;
    ToneTable_init(&tone, config);
    bool landscape = pdv->bLandscape != 0;
    bool turnedRight = config->LandscapeMode != 0;
    if (width <= 0 || height <= 0)
        return;
    const auto [rows, across] = bandCells(pdv, width, height);
    PixelColor colours[kCellsAtOnce];
    for (DWORD row = 0; row < rows; ++row) {
        for (DWORD first = 0; first < across; first += kCellsAtOnce) {
            DWORD count = across - first < kCellsAtOnce ? across - first : kCellsAtOnce;
            DWORD taken = 0;  // of the cells' colours, from the grid
            if (cells && row < cells->down && first < cells->across) {
                taken = cells->across - first < count ? cells->across - first : count;
                memcpy(colours, cells->colours + (size_t)row * cells->across + first, taken * sizeof(PixelColor));
            }
            if (taken < count)
                getCellColours(pso, markers, (first + taken) * f, row * f, f, count - taken, colours + taken);
            for (DWORD n = 0; n < count; ++n) {
                DWORD i = landscape ? row : first + n, j = landscape ? first + n : row;
                DWORD tx = i, ty = (DWORD)yOffset + j;
                INT dot = ToneTable_dotHeight(&tone, tx, ty, &colours[n]);
                if (landscape && turnedRight)
                    tx = pPage->width - 1 - i;
                else if (landscape)
                    ty = pPage->height - 1 - ((DWORD)yOffset + j);
                TextPage_setPixel(pPage, tx, ty, (BYTE)dot);
            }
        }
    }
}

}  // namespace

BOOL APIENTRY OEMStartBanding(SURFOBJ* pso, POINTL* pptl)
{
    XPDV* pdv = XPDV_fromSurface(pso);
    if (!pdv || !pptl)
        return FALSE;
    INT cx = pso->sizlBitmap.cx, cy = pso->sizlBitmap.cy;
    LogMessage("OEMStartBanding() size: (%d, %d)\n", cx, cy);
    INT rf = getResolutionFactor(pso);
    pdv->rf = rf;
    pdv->bandIncrementX = pdv->bLandscape ? (cx / rf) * rf : 0;
    pdv->bandIncrementY = pdv->bLandscape ? 0 : (cy / rf) * rf;
    pdv->bandPosition = {0, 0};
    LogMessage("  allocating pages\n");
    TextPage_delete(pdv->pEmbossPage);  // a page whose bands never finished
    pdv->pEmbossPage = TextPage_new((DWORD)pdv->embossPageWidth, (DWORD)pdv->embossPageHeight, TEXTPAGE_TYPE_ZERO);
    LogMessage("  embossPage: [%d x %d], band: [%d x %d] \n", pdv->embossPageWidth, pdv->embossPageHeight, cx, cy);
    *pptl = {0, 0};
    LogMessage("OEMStartBanding() pptl: (%d, %d)\n", pptl->x, pptl->y);
    return TRUE;
}

BOOL APIENTRY OEMNextBand(SURFOBJ* pso, POINTL* pptl)
{
    XPDV* pdv = XPDV_fromSurface(pso);
    if (!pdv || !pptl)
        return FALSE;
    LogMessage("OEMNextBand() size: (%d, %d) \n", pso->sizlBitmap.cx, pso->sizlBitmap.cy);
    INT rf = getResolutionFactor(pso);
    // A band narrower than one cell would never advance: it ends the page.
    bool complete;
    if (pdv->bLandscape) {
        LogMessage("OEMNextBand() landscape, pptl: (%d, %d) \n", pptl->x, pptl->y);
        LogMessage("bandIncrementX: %d, gdiPaperWidth: %d\n", pdv->bandIncrementX, pdv->gdiPaperWidth);
        INT length = pdv->bandIncrementX;
        if (pdv->bandPosition.x + length > pdv->gdiPaperHeight)
            length = pdv->gdiPaperHeight - pdv->bandPosition.x;
        convertBand(pso, rf, pdv->bandPosition.x / rf, pdv->gdiPaperWidth / rf, length / rf);
        pdv->bandPosition.x += pdv->bandIncrementX;
        complete = pdv->bandPosition.x >= pdv->gdiPaperHeight || pdv->bandIncrementX <= 0;
        if (!complete)
            *pptl = {pdv->bandPosition.x, 0};
    } else {
        INT length = pdv->bandIncrementY;
        if (pdv->bandPosition.y + length > pdv->gdiPaperHeight)
            length = pdv->gdiPaperHeight - pdv->bandPosition.y;
        LogMessage("OEMNextBand(): bandWidth=%u, bandHeight=%u\n", pdv->gdiPaperWidth, length);
        convertBand(pso, rf, pdv->bandPosition.y / rf, pdv->gdiPaperWidth / rf, length / rf);
        pdv->bandPosition.y += pdv->bandIncrementY;
        pdv->bandPosition.x += pdv->bandIncrementX;
        complete = pdv->bandPosition.y >= pdv->gdiPaperHeight || pdv->bandIncrementY <= 0;
        if (!complete)
            *pptl = {0, pdv->bandPosition.y};
    }
    if (complete)
        *pptl = {-1, -1};
    EraseSurface(pso);
    TextPage_clear(pdv->pTextPage);
    if (complete)
        finishPage(pso, pdv);
    LogMessage("           pptl: (%d, %d)\n", pptl->x, pptl->y);
    LogMessage("   bandPosition: [%d, %d]\n", pdv->bandPosition.x, pdv->bandPosition.y);
    return TRUE;
}

void WriteBandToPage(SURFOBJ* pso, TextPage* pPage, INT yOffset, INT width, INT height, INT type)
{
    writeBand(pso, pPage, yOffset, width, height, type, nullptr);
}

// The colours are taken during the adjustment only for the cells writeBand
// then reads (the same factor, the same markers, no more rows or columns),
// because sampling paints a cell's ink white. Without memory for them the
// band is converted all the same, reading the cells from the surface.
void convertBand(SURFOBJ* pso, INT rf, INT yOffset, INT width, INT height)
{
    XPDV* pdv = XPDV_fromSurface(pso);
    CellColours cells = {};
    bool read = pdv && pdv->pEmbossPage && pdv->pTextPage && pdv->pConfig && width > 0 && height > 0 && rf >= 1 &&
                resolutionFactorOf(publicDevmode(pso)) == rf && pso->sizlBitmap.cx > 0 && pso->sizlBitmap.cy > 0;
    if (read) {
        const auto [rows, across] = bandCells(pdv, width, height);
        DWORD wholeAcross = (DWORD)pso->sizlBitmap.cx / (DWORD)rf, wholeDown = (DWORD)pso->sizlBitmap.cy / (DWORD)rf;
        cells.markers = pdv->pTextPage;
        cells.rf = (DWORD)rf;
        cells.across = across < wholeAcross ? across : wholeAcross;
        cells.down = rows < wholeDown ? rows : wholeDown;
        uint64_t bytes = (uint64_t)cells.across * cells.down * sizeof(PixelColor);
        if (bytes > 0 && bytes <= UINT32_MAX)
            cells.colours = static_cast<PixelColor*>(mymalloc((DWORD)bytes));
    }
    adjustBitMapSampling(pso, rf, cells.colours ? &cells : nullptr);
    writeBand(pso, pdv ? pdv->pEmbossPage : nullptr, yOffset, width, height, 2, &cells);
    if (cells.colours)
        myfree(cells.colours);
}
