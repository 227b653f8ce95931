// WritePrinterBuffer: a page whose cells already hold dot values, encoded into
// a block that is kept until the end of the document; and the page header as
// both encoders build it from the device's Config.
#include "output/stream.h"

#include "config/config.h"
#include "diag/diag.h"
#include "device/xpdv.h"
#include "page/textpage.h"

#include <cstring>

#define STORED_PAGE_OUTPUT_VERSION 3  // stored pages always use the row encoding

void buildDeviceHeader(SURFOBJ* pso, const Config* config, const char* caller, BYTE* header, DWORD width,
                       DWORD height, BOOL compressed)
{
    DWORD mediaCode = 0, minForce = 1, maxForce = 0;
    DWORD paperSource = getPaperSource(pso);
    GetMediaType(config, &mediaCode, &minForce, &maxForce);
    LogMessage("%s(): mediaType=%u, minCustPForce=%u, maxCustPForce=%u\n", caller, config->mediaType,
               config->minCustPForce, config->maxCustPForce);
    buildPageHeader(header, width, height, compressed, paperSource, mediaCode, getDotHeightCode(config->dotHeight),
                    config->perforation, minForce, maxForce, IsPumexProfessional(config));
}

namespace {

// The working buffers of one call, released however the call ends.
struct StoredPageBuffers {
    BYTE* block = nullptr;
    BYTE* row = nullptr;
    BYTE* encoded = nullptr;
    ~StoredPageBuffers()
    {
        if (encoded)
            myfree(encoded);
        if (row)
            myfree(row);
        if (block)
            myfree(block);
    }
};

// Row y of the page as the encoder reads it: the page's cells, and 255 for
// the padding column of an odd width and for every cell of a page without data.
void fillRow(BYTE* row, DWORD W, const TextPage* page, DWORD y)
{
    const BYTE* image = page ? page->m_Image : nullptr;
    DWORD w = page ? page->width : 0;
    if (!image) {
        memset(row, DOT_OUTSIDE, W);
        return;
    }
    memcpy(row, image + (size_t)y * w, w);
    if (W > w)
        memset(row + w, DOT_OUTSIDE, W - w);
}

}  // namespace

DWORD WritePrinterBuffer(SURFOBJ* pso, const TextPage* page, BYTE** ppBuffer, DWORD type, BOOL writeNow)
{
    LogMessage("WritePrinterBuffer(page: %p, type: %d, ppBuffer:%p)\n", page, type, ppBuffer);
    if (ppBuffer)
        *ppBuffer = nullptr;
    XPDV* pdv = XPDV_fromSurface(pso);
    const Config* config = pdv ? pdv->pConfig : nullptr;
    if (!config) {
        LogMessage("WritePrinterBuffer(): no configuration\n");
        return 0;
    }

    DWORD w = page ? page->width : 0;
    DWORD W = page ? (DWORD)((((ULONGLONG)w + 1) / 2) * 2) : 0;
    DWORD H = page ? page->height : 0;

    // The working block is sized from the page: no encoded row is longer than
    // 2 x W bytes, so 16 + H x 2 x W bytes always hold the page, and a page of
    // any size is either stored whole or, when that much memory cannot be had,
    // not at all. (A fixed block could be overrun by a large page.)
    ULONGLONG bound = PAGE_HEADER_BYTES + (ULONGLONG)H * 2 * W;
    if (bound > 0xFFFFFFFFull) {
        LogMessage("WritePrinterBuffer(): page of %u x %u cells is too large to store\n", W, H);
        return 0;
    }
    StoredPageBuffers b;
    b.block = static_cast<BYTE*>(mymalloc((DWORD)bound));
    if (!b.block)
        return 0;

    // The body is always in the row encoding, so the header says so: the
    // format byte describes the rows that follow it.
    buildDeviceHeader(pso, config, "WritePrinterBuffer", b.block, W, H, TRUE);
    LogMessage(" psize: [%ld x %ld]\n", W, H);

    b.row = static_cast<BYTE*>(mymalloc(W + 10));
    b.encoded = static_cast<BYTE*>(mymalloc(2 * W));
    if (!b.row || !b.encoded)
        return 0;

    DWORD size = PAGE_HEADER_BYTES;
    for (DWORD y = 0; y < H; ++y) {
        fillRow(b.row, W, page, y);
        DWORD length = encodeRow(b.row, W, b.encoded);
        memcpy(b.block + size, b.encoded, length);
        size += length;
    }

    LogMessage("WritePrinterBuffer bytecount=%ld\n", size);
    setPageByteCount(b.block, size);
    DWORD sum = (DWORD)(pageChecksum(b.block) - 3) & 0xFFFF;
    DWORD check = pageChecksum(b.block);
    LogMessage("\tfirst 14 bytes add up to %d (0x%X)\n", sum, sum);
    LogMessage("\toutput version is: %d\n", STORED_PAGE_OUTPUT_VERSION);
    LogMessage("\tcheck sum is %d (0x%X)\n", check, check);

    if (ppBuffer) {
        BYTE* copy = static_cast<BYTE*>(mymalloc(size));
        if (!copy)
            return 0;
        memcpy(copy, b.block, size);
        *ppBuffer = copy;
    }
    if (writeNow) {
        LogMessage("WriteSpoolBuffer\n");
        writeToOutputSink(reinterpret_cast<PDEVOBJ>(pso->dhpdev), b.block, size);
    }
    LogMessage(" WritePrinterBuffer() ->done\n");
    return size;
}
