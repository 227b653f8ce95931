// The pieces of a page in the stream: the header and its checksum, the row
// encoding, packed rows, and the small tables behind the header's codes.
#include "output/stream.h"

#include "config/config.h"
#include "device/xpdv.h"

namespace {

#define TOKEN_LITERAL 0x00
#define TOKEN_RUN 0x80
#define TOKEN_BLANK_ROW 0xC0
#define TOKEN_MAX_WORDS 127

// Word j of a row of n words; the words after the row's end count as 0.
inline WORD wordAt(const BYTE* row, DWORD n, DWORD j)
{
    return j < n ? (WORD)(row[2 * j] | (row[2 * j + 1] << 8)) : 0;
}

inline BYTE* putWord(BYTE* out, WORD w)
{
    out[0] = (BYTE)(w & 0xFF);
    out[1] = (BYTE)(w >> 8);
    return out + 2;
}

// Media code and forces of one media type, for the professional models and the others.
struct MediaRow {
    INT mediaType;
    DWORD code[2];      // [professional, other]; 0 where the row sets only forces
    DWORD minForce[2];  // 1 and 0 where the row sets only the media code
    DWORD maxForce[2];
};

const MediaRow kMediaTable[] = {
    {MEDIA_COPYPAPER, {3, 2}, {1, 1}, {0, 0}},
    {MEDIA_PREMIUMPAPER, {0, 0}, {2, 2}, {12, 12}},
    {MEDIA_CARDSTOCK, {4, 3}, {1, 1}, {0, 0}},
    {MEDIA_BRAILLEPAPER, {1, 1}, {1, 1}, {0, 0}},
    {MEDIA_ROLLPAPER, {2, 0}, {1, 2}, {0, 14}},
    {MEDIA_SHEETPLASTIC, {0, 4}, {7, 1}, {18, 0}},
};

}  // namespace

DWORD encodeRow(const BYTE* row, DWORD width, BYTE* out)
{
    const DWORD n = width / 2;
    DWORD j = 0;
    while (j < n && wordAt(row, n, j) == 0)
        ++j;
    if (j == n) {
        out[0] = TOKEN_BLANK_ROW;
        out[1] = 0x01;
        return 2;
    }

    BYTE* p = out;
    DWORD i = 0;
    while (i < n) {
        WORD w = wordAt(row, n, i);
        if (n - i >= 2 && wordAt(row, n, i + 1) == w) {
            // A run never covers the row's last word: that one always goes out as a literal.
            DWORD length = 2;
            while (i + length < n && length < TOKEN_MAX_WORDS && wordAt(row, n, i + length) == w)
                ++length;
            DWORD count = length < n - i - 1 ? length : n - i - 1;
            *p++ = TOKEN_RUN;
            *p++ = (BYTE)count;
            p = putWord(p, w);
            i += count;
            continue;
        }
        // A literal takes words while each differs from the one after it, so a
        // pair of equal words is left to start the next run.
        DWORD count = 1;
        while (count < TOKEN_MAX_WORDS && i + count < n &&
               wordAt(row, n, i + count) != wordAt(row, n, i + count + 1))
            ++count;
        *p++ = TOKEN_LITERAL;
        *p++ = (BYTE)count;
        for (DWORD k = 0; k < count; ++k)
            p = putWord(p, wordAt(row, n, i + k));
        i += count;
    }
    return (DWORD)(p - out);
}

void packRow(const BYTE* row, DWORD width, BYTE* out)
{
    for (DWORD g = 0; g < PACKED_ROW_BYTES / 2; ++g) {
        WORD bits = 0;
        for (DWORD j = 0; j < 16; ++j) {
            DWORD cell = g + 20 * j;
            if (cell < width && row[cell] != 0)
                bits |= (WORD)(1u << j);
        }
        putWord(out + 2 * g, bits);
    }
}

WORD pageChecksum(const BYTE* header)
{
    WORD sum = 0;
    for (int i = 0; i < 14; ++i)
        sum = (WORD)(sum + header[i]);
    return (WORD)(sum + 3);
}

// Bit 7 of the media byte is always clear, the format byte follows the
// compression flag also for packed rows (version 1), and a page written as it
// is made carries a byte count of 0: the embosser reads them as it will, the
// driver only keeps them stable.
void buildPageHeader(BYTE* header, DWORD width, DWORD height, BOOL compressed, DWORD paperSource, DWORD mediaCode,
                     DWORD dotHeightCode, BOOL perforation, DWORD minForce, DWORD maxForce, BOOL professional)
{
    header[0] = PAGE_ESCAPE;
    header[1] = compressed ? PAGE_FORMAT_ENCODED : PAGE_FORMAT_PLAIN;
    header[2] = (BYTE)((dotHeightCode & 3) | (professional ? 0 : PAGE_NOT_PROFESSIONAL));
    header[3] = (BYTE)(((mediaCode & 7) << 4) | ((paperSource & 7) << 1) | (perforation & 1));
    header[4] = (BYTE)minForce;
    header[5] = (BYTE)(width & 0xFF);
    header[6] = (BYTE)((width >> 8) & 0xFF);
    header[7] = (BYTE)(height & 0xFF);
    header[8] = (BYTE)((height >> 8) & 0xFF);
    header[9] = (BYTE)maxForce;
    setPageByteCount(header, 0);
}

void setPageByteCount(BYTE* header, DWORD byteCount)
{
    for (int i = 0; i < 4; ++i)
        header[10 + i] = (BYTE)(byteCount >> (8 * i));
    putWord(header + 14, pageChecksum(header));
}

DWORD getDotHeightCode(INT dotHeight)
{
    if (dotHeight == 0)
        return 1;
    if (dotHeight == 2)
        return 3;
    return 2;
}

void GetMediaType(const Config* config, DWORD* mediaCode, DWORD* minForce, DWORD* maxForce)
{
    *mediaCode = 0;
    *minForce = 1;
    *maxForce = 0;
    if (!config)
        return;
    if (config->mediaType == MEDIA_CUSTOM) {
        *minForce = config->minCustPForce;
        *maxForce = config->maxCustPForce;
        return;
    }
    int kind = IsPumexProfessional(config) ? 0 : 1;
    for (const MediaRow& row : kMediaTable) {
        if (row.mediaType == config->mediaType) {
            *mediaCode = row.code[kind];
            *minForce = row.minForce[kind];
            *maxForce = row.maxForce[kind];
            return;
        }
    }
}

DWORD getPaperSourceCode(DWORD paperSource)
{
    switch (paperSource) {
    case 1: return 3;    // DMBIN_UPPER: the top sheet feeder
    case 2: return 5;    // DMBIN_LOWER: the bottom sheet feeder
    case 3: return 4;    // DMBIN_MIDDLE
    case 8: return 1;    // DMBIN_TRACTOR: the lower tractor feeder
    case 257: return 1;  // the driver's own bins, one per feeder
    case 258: return 2;
    case 264: return 3;
    case 265: return 4;
    case 266: return 5;
    default: return 0;   // DMBIN_AUTO and anything else: the embosser chooses
    }
}

DWORD getPaperSource(SURFOBJ* pso)
{
    XPDV* pdv = XPDV_fromSurface(pso);
    return pdv && pdv->pConfig ? getPaperSourceCode(pdv->pConfig->PaperSource) : 0;
}
