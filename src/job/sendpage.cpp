// Page send: a page that GDI rendered whole. Single-sided, uncollated jobs
// write it at once, as one embossed page or, magnified, as several tiles,
// each once per copy; double-sided or collated jobs encode it into the page
// store for the document end. The driver's own page send is never called:
// the plug-in sends every byte of the job itself.
#include "job/job.h"

#include "config/config.h"
#include "device/xpdv.h"
#include "diag/diag.h"
#include "image/adjust.h"
#include "image/image.h"
#include "output/stream.h"
#include "page/geometry.h"

namespace {

// Offset far beyond any page: a page rendered from there is blank.
const DWORD kBlankOffset = 10000;

struct ContentBox {
    INT left, top, right, bottom;
};

// The surface in the log, as the driver hands it over.
void logSurface(SURFOBJ* pso, INT copies)
{
    LogMessage("  dhsurf: %X ", px_low32(pso->dhsurf));
    LogMessage("  hsurf: %X", px_low32(pso->hsurf));
    LogMessage("  cjBits: %X", pso->cjBits);
    LogMessage("  pvBits: %d", px_low32(pso->pvBits));
    LogMessage("  pvScan0: %X", px_low32(pso->pvScan0));
    LogMessage("  lDelta: %d", pso->lDelta);
    LogMessage("  iUniq: %d\n", pso->iUniq);
    LogMessage("  PaperSource: %d", getPaperSource(pso));
    LogMessage("  Copies:      %d\n", copies);
    static const char* const kFormats[] = {
        nullptr,
        "1 bit per pixel",
        "4 bits per pixel",
        " 8 bits per pixel. ",
        " 16 bits per pixel. ",
        " 24 bits per pixel. ",
        " 32 bits per pixel. ",
        " 4 bits per pixel, run length encoded. ",
        " 8 bits per pixel, run length encoded. ",
        " JPEG compressed image.",
        " PNG compressed image.",
    };
    if (pso->iBitmapFormat >= 1 && pso->iBitmapFormat <= 10)
        LogMessage("%s", kFormats[pso->iBitmapFormat]);
    switch (pso->iType) {
    case STYPE_BITMAP: LogMessage("  iType: STYPE_BITMAP\n"); break;
    case STYPE_DEVICE: LogMessage("  iType: STYPE_DEVICE\n"); break;
    case STYPE_DEVBITMAP: LogMessage("  iType: STYPE_DEVBITMAP\n"); break;
    default: LogMessage("  iType: Unknown\n"); break;
    }
}

// The page's drawn part, its top-left corner rounded down to a whole dot:
// only a magnified page without white space asks for it.
ContentBox contentBox(SURFOBJ* pso, INT rf, const Config* config)
{
    INT cx = pso->sizlBitmap.cx, cy = pso->sizlBitmap.cy;
    ContentBox box = {0, 0, cx - 1, cy - 1};
    if (config->Magnification <= 1 || config->NoWhiteSpaceMagnification != 1)
        return box;
    INT minX = cx, minY = cy, maxX = 0, maxY = 0;
    for (INT y = 0; y < cy; ++y) {
        for (INT x = 0; x < cx; ++x) {
            PixelColor c;
            getSurfacePixel(pso, (DWORD)x, (DWORD)y, &c, (DWORD)cy);
            if (c.red == 255 && c.green == 255 && c.blue == 255)
                continue;
            minX = x < minX ? x : minX;
            maxX = x > maxX ? x : maxX;
            minY = y < minY ? y : minY;
            maxY = y > maxY ? y : maxY;
        }
    }
    if (minX > maxX || minY > maxY)
        return {0, 0, 0, 0};
    box.left = (minX / rf) * rf;
    box.top = (minY / rf) * rf;
    box.left = box.left > maxX ? maxX : box.left;
    box.top = box.top > maxY ? maxY : box.top;
    box.right = maxX;
    box.bottom = maxY;
    return box;
}

// Tiles along one axis: (tile - start - rf + end) / tile in unsigned
// arithmetic, at least one.
INT tileCount(INT tile, INT start, INT end, INT rf)
{
    if (tile <= 0)
        return 1;
    DWORD n = ((DWORD)tile - (DWORD)start - (DWORD)rf + (DWORD)end) / (DWORD)tile;
    return (INT)n < 1 ? 1 : (INT)n;
}

// Encodes the page at the given offsets into a new block; its length in *size.
// A page that encodes to nothing comes back without a block.
BYTE* encodePage(SURFOBJ* pso, DWORD offsetX, DWORD offsetY, BOOL landscape, DWORD* size)
{
    *size = WritePage(pso, offsetX, offsetY, landscape, nullptr, FALSE);
    BYTE* block = *size ? static_cast<BYTE*>(mymalloc(*size)) : nullptr;
    if (!block) {
        LogDetail("mymalloc(): oops, LPVOID=NULL\n");
        return nullptr;
    }
    WritePage(pso, offsetX, offsetY, landscape, block, FALSE);
    return block;
}

// One tile of the direct regime: written by the encoder itself, or encoded
// once and its block written copies times in a row.
void sendTile(SURFOBJ* pso, DWORD offsetX, DWORD offsetY, BOOL landscape, INT copies)
{
    if (copies <= 1) {
        WritePage(pso, offsetX, offsetY, landscape, nullptr, TRUE);
        return;
    }
    DWORD size = 0;
    BYTE* block = encodePage(pso, offsetX, offsetY, landscape, &size);
    if (!block)
        return;
    for (INT i = 0; i < copies; ++i)
        writeToOutputSink(reinterpret_cast<PDEVOBJ>(pso->dhpdev), block, size);
    myfree(block);
}

// Single-sided, uncollated: the page, magnified into tiles where asked.
void sendDirect(SURFOBJ* pso, const Config* config, INT rf, BOOL landscape, INT copies)
{
    INT M = config->Magnification < 1 ? 1 : config->Magnification;
    ContentBox box = contentBox(pso, rf, config);
    INT dotsAcross = pso->sizlBitmap.cx / rf, dotsDown = pso->sizlBitmap.cy / rf;
    // The dimension that becomes the embosser's row is an even number of dots.
    if (landscape)
        dotsDown = (dotsDown + 1) / 2 * 2;
    else
        dotsAcross = (dotsAcross + 1) / 2 * 2;
    INT spanX = dotsAcross * rf, spanY = dotsDown * rf;
    INT tileW = spanX / M, tileH = spanY / M;
    INT tilesX = tileCount(tileW, box.left, box.right, rf);
    INT tilesY = tileCount(tileH, box.top, box.bottom, rf);
    LogDetail("  TileX, TileY: [%ld   %ld]\n", tilesX, tilesY);
    if (!landscape) {
        // Column by column: top to bottom, then the next column to the right.
        for (INT i = 0; i < tilesX; ++i)
            for (INT j = 0; j < tilesY; ++j)
                sendTile(pso, (DWORD)(box.left + (i * spanX) / M), (DWORD)(box.top + (j * spanY) / M), landscape,
                         copies);
        return;
    }
    for (INT j = 0; j < tilesY; ++j) {
        INT offsetX = box.top + (j * spanY) / M;
        for (INT i = 0; i < tilesX; ++i) {
            INT c = config->LandscapeMode ? i : tilesX - 1 - i;
            INT offsetY = box.left + (c * spanX) / M;
            LogMessage("  OffsetX, OfsetY: [%ld   %ld], left: %ld, top: %ld \n", offsetX, offsetY, box.left, box.top);
            sendTile(pso, (DWORD)offsetX, (DWORD)offsetY, landscape, copies);
        }
    }
}

// Double-sided or collated: the page goes into the page store, shifted by a
// dot when it will be a back side.
void sendToStore(SURFOBJ* pso, XPDV* pdv, INT rf, BOOL landscape)
{
    if (!pdv->pEmptyPage)
        pdv->pEmptyPage = encodePage(pso, 0, kBlankOffset, landscape, &pdv->EmptyPageSize);
    INT shift = (pdv->PagCount % 2) ? rf : 0;
    DWORD offsetY = (DWORD)-shift;
    DWORD offsetX = pdv->pConfig->HorizontalShift ? (DWORD)-shift : 0;
    DWORD size = 0;
    BYTE* block = encodePage(pso, offsetX, offsetY, landscape, &size);
    PageStore_addPage(pdv, block, size, "adding text or graphics page\n");
}

}  // namespace

BOOL APIENTRY OEMSendPage(SURFOBJ* pso)
{
    XPDV* pdv = XPDV_fromSurface(pso);
    if (!pdv)
        return TRUE;
    PDEVOBJ pdevobj = reinterpret_cast<PDEVOBJ>(pso->dhpdev);
    LogMessage("OEMSendPage(%X)\n", px_low32(pso));
    LogMessage("  pdevobj: %X, pDevMode: %X, lpXPDV: %X\n", px_low32(pdevobj), px_low32(pdevobj->pOEMDM),
               px_low32(pdv));
    INT rf = getResolutionFactor(pso);
    adjustBitMap(pso, rf);
    const DEVMODEW* dm = pdevobj->pPublicDM;
    INT copies = dm ? dm->dmCopies : 1;
    logSurface(pso, copies);
    if (!pdv->pConfig)
        return TRUE;
    BOOL landscape = dm && dm->dmOrientation == DMORIENT_LANDSCAPE ? TRUE : FALSE;
    if (!pdv->pConfig->Interpoint && !pdv->pConfig->Collate)
        sendDirect(pso, pdv->pConfig, rf, landscape, copies);
    else
        sendToStore(pso, pdv, rf, landscape);
    return TRUE;
}
