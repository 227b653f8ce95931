// WritePage: one rendered page into the stream, cell by cell.
//
// Every cell reads the text-marker page and the surface over a square of
// device pixels, becomes a dot value, and lands in the row buffer; each
// finished row is emitted in the body form of the output version. The page is
// produced row by row, so memory use does not grow with its height.
#include "output/stream.h"

#include "config/config.h"
#include "diag/diag.h"
#include "device/xpdv.h"
#include "image/image.h"
#include "page/geometry.h"
#include "page/textpage.h"

#include <cstring>

namespace {

// The text markers that stand for colours: a braille dot, and the grey
// background of simulated italics.
#define MARKER_BRAILLE 1
#define MARKER_ITALIC 2
const PixelColor kBrailleColour = {BRAILLE_RED, BRAILLE_GREEN, BRAILLE_BLUE};
const PixelColor kItalicColour = {200, 200, 200};

// Where the cells of the page come from on the surface and the text page.
struct CellMapping {
    DWORD rf;       // device pixels per cell
    DWORD M;        // magnification, at least 1
    DWORD side;     // side of the sampled square: (M + rf - 1) / M
    DWORD W, H;     // page size in cells
    DWORD offsetX;  // the page's place on the surface
    DWORD offsetY;
    int orientation;  // 0 portrait, 1 landscape turned one way (LandscapeMode), 2 the other
};

// The surface point of cell (x, y); all divisions unsigned and truncating.
inline void sourcePoint(const CellMapping& m, DWORD x, DWORD y, DWORD* X, DWORD* Y)
{
    switch (m.orientation) {
    case 0:
        *X = (x * m.rf) / m.M + m.offsetX;
        *Y = (y * m.rf) / m.M + m.offsetY;
        break;
    case 1:
        *X = (y * m.rf) / m.M + m.offsetY;
        *Y = ((m.W - 1 - x) * m.rf) / m.M + m.offsetX;
        break;
    default:
        *X = ((m.H - 1 - y) * m.rf) / m.M + m.offsetY;
        *Y = (x * m.rf) / m.M + m.offsetX;
        break;
    }
}

// The dot value of one cell. No allocation and no log line: this runs for
// every cell of every page.
inline BYTE cellDot(SURFOBJ* pso, const ToneTable* tone, const TextPage* markers, const CellMapping& m, DWORD x, DWORD y)
{
    DWORD X, Y;
    sourcePoint(m, x, y, &X, &Y);
    PixelColor colour;
    BYTE k = TextPage_getMax(markers, X, Y, m.side, m.side);
    if (k == MARKER_BRAILLE)
        colour = kBrailleColour;
    else if (k == MARKER_ITALIC)
        colour = kItalicColour;
    else
        getSampleColor(pso, X, Y, m.side, &colour);
    return (BYTE)ToneTable_dotHeight(tone, x, y, &colour);
}

// The dot values of page row y. An upright page at magnification 1 has the
// row's cells side by side on the surface, and they are read together.
void rowDots(SURFOBJ* pso, const ToneTable* tone, const TextPage* markers, const CellMapping& m, DWORD y, BYTE* row)
{
    if (m.orientation != 0 || m.M != 1) {
        for (DWORD x = 0; x < m.W; ++x)
            row[x] = cellDot(pso, tone, markers, m, x, y);
        return;
    }
    PixelColor colours[kCellsAtOnce];
    for (DWORD first = 0; first < m.W; first += kCellsAtOnce) {
        DWORD count = m.W - first < kCellsAtOnce ? m.W - first : kCellsAtOnce;
        getCellColours(pso, markers, first * m.rf + m.offsetX, y * m.rf + m.offsetY, m.rf, count, colours);
        for (DWORD i = 0; i < count; ++i)
            row[first + i] = (BYTE)ToneTable_dotHeight(tone, first + i, y, &colours[i]);
    }
}

enum BodyKind { BODY_PACKED, BODY_ENCODED, BODY_PLAIN, BODY_NONE };

BodyKind bodyKindOf(const Config* config)
{
    if (config->outputVersion == 1)
        return BODY_PACKED;
    if (config->outputVersion == 2 || config->outputVersion == 3)
        return config->compressed ? BODY_ENCODED : BODY_PLAIN;
    return BODY_NONE;  // any other version: the page is its header alone
}

// The working buffers of one call, released however the call ends.
struct PageBuffers {
    BYTE* row = nullptr;
    BYTE* out = nullptr;
    ~PageBuffers()
    {
        if (out)
            myfree(out);
        if (row)
            myfree(row);
    }
};

// Sends and copies one emission; false when the page would pass 4 GB, which
// its 32-bit size cannot count.
bool emit(PDEVOBJ pdevobj, const BYTE* bytes, DWORD length, BYTE* outBlock, BOOL writeNow, DWORD* size)
{
    if (length == 0)
        return true;
    if (length > 0xFFFFFFFFu - *size)
        return false;
    if (writeNow)
        writeToOutputSink(pdevobj, bytes, length);
    if (outBlock)
        memcpy(outBlock + *size, bytes, length);
    *size += length;
    return true;
}

}  // namespace

DWORD WritePage(SURFOBJ* pso, DWORD offsetX, DWORD offsetY, BOOL landscape, BYTE* outBlock, BOOL writeNow)
{
    LogMessage("writePage(%d,%d, %d, 0x%d, %d)\n", offsetX, offsetY, landscape, px_low32(outBlock), writeNow);
    PDEVOBJ pdevobj = pso ? reinterpret_cast<PDEVOBJ>(pso->dhpdev) : nullptr;
    XPDV* pdv = XPDV_fromSurface(pso);
    Config* config = pdv ? pdv->pConfig : nullptr;
    LogMessage(" lpdv: 0x%p, lpXPDV: 0x%p, pConfig: 0x%p, pTextPage: 0x%p pUni: 0x%p\n", pdevobj, pdv, config,
               pdv ? pdv->pTextPage : nullptr, pdv ? pdv->pUni : nullptr);
    if (!config) {
        LogMessage("WritePage(): no configuration\n");
        return 0;
    }

    CellMapping m;
    INT rf = getResolutionFactor(pso);
    m.rf = rf >= 1 ? (DWORD)rf : FALLBACK_RF;  // a negative factor would make every division meaningless
    m.M = config->Magnification >= 1 ? (DWORD)config->Magnification : 1;
    m.side = (m.M + m.rf - 1) / m.M;
    m.offsetX = offsetX;
    m.offsetY = offsetY;
    m.orientation = !landscape ? 0 : config->LandscapeMode ? 1 : 2;

    DWORD cx = (DWORD)pso->sizlBitmap.cx, cy = (DWORD)pso->sizlBitmap.cy;
    DWORD ocx = landscape ? cy : cx, ocy = landscape ? cx : cy;
    m.W = ((ocx / m.rf) + 1) / 2 * 2;
    m.H = ocy / m.rf;

    BYTE header[PAGE_HEADER_BYTES];
    BodyKind body = bodyKindOf(config);
    buildDeviceHeader(pso, config, "WritePage", header, m.W, m.H, config->compressed);
    LogMessage("\tBitmap size:\t\t\t\t[%ld x %ld]\n", cx, cy);
    LogMessage("\tAfter orientation\tsize:\t[%ld x %ld]\n", ocx, ocy);
    LogMessage("\tPaper size:\t\t\t\t\t[%ld x %ld]\n", m.W, m.H);

    // The header goes out before the buffers are asked for: a page whose
    // buffers cannot be had leaves its header behind, and nothing is taken back.
    if (writeNow)
        writeToOutputSink(pdevobj, header, PAGE_HEADER_BYTES, TRUE);
    if (outBlock)
        memcpy(outBlock, header, PAGE_HEADER_BYTES);
    DWORD size = PAGE_HEADER_BYTES;

    PageBuffers b;
    b.row = static_cast<BYTE*>(mymalloc(m.W + 10));
    if (!b.row) {
        LogMessage("\tCannot allocate enough memory for pBuff (non-compressed storing embossing data)\n");
        return 0;
    }
    if (body == BODY_PACKED) {
        b.out = static_cast<BYTE*>(mymalloc(PACKED_ROW_BYTES));
        if (!b.out) {
            LogMessage("\toutputVersion ==1: Cannot allocate enought memory for outBuff\n");
            return 0;
        }
    } else if (body == BODY_ENCODED) {
        b.out = static_cast<BYTE*>(mymalloc(2 * m.W));
        if (!b.out) {
            LogMessage("\toutputVersion ==2 / 3 && compressed: Cannot allocate enought memory for outBuff\n");
            return 0;
        }
    }

    const TextPage* markers = pdv->pTextPage;
    ToneTable tone;
    ToneTable_init(&tone, config);
    for (DWORD y = 0; y < m.H; ++y) {
        // Cells are sampled whatever the version, so the surface is left as
        // sampling leaves it (ink removed) in every case.
        rowDots(pso, &tone, markers, m, y, b.row);
        bool fits = true;
        switch (body) {
        case BODY_PACKED:
            packRow(b.row, m.W, b.out);
            fits = emit(pdevobj, b.out, PACKED_ROW_BYTES, outBlock, writeNow, &size);
            break;
        case BODY_ENCODED:
            fits = emit(pdevobj, b.out, encodeRow(b.row, m.W, b.out), outBlock, writeNow, &size);
            break;
        case BODY_PLAIN:
            fits = emit(pdevobj, b.row, m.W, outBlock, writeNow, &size);
            break;
        case BODY_NONE:
            break;
        }
        if (!fits) {
            LogMessage("WritePage(): page of %u x %u cells is too large\n", m.W, m.H);
            return 0;
        }
    }
    LogMessage(" WritePage->done\n");
    return size;
}
