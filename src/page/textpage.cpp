// TextPage: the page of bytes behind the text markers and the dot values.
//
// Writes and area reads run once per dot and once per surface pixel of every
// band, so they take no lock, log nothing and allocate nothing.
#include "page/textpage.h"

#include "diag/diag.h"

#include <cstdint>
#include <cstring>

namespace {

// Slack behind the image, in rows and in columns.
constexpr uint64_t kSlack = 64;

bool inside(const TextPage* pTP, uint64_t x, uint64_t y) { return x < pTP->width && y < pTP->height; }

inline uint64_t load8(const BYTE* p)
{
    uint64_t word;
    memcpy(&word, p, 8);
    return word;
}

// The largest of w bytes. Marker pages are mostly zero: eight bytes at a
// time, the last eight overlapping the ones before, show a zero row before
// any byte is compared.
BYTE rowMax(const BYTE* p, DWORD w)
{
    uint64_t any = 0;
    if (w >= 8) {
        for (DWORD i = 0; i + 8 <= w; i += 8)
            any |= load8(p + i);
        any |= load8(p + w - 8);
    } else {
        for (DWORD i = 0; i < w; ++i)
            any |= p[i];
    }
    if (any == 0)
        return 0;
    BYTE largest = 0;
    for (DWORD i = 0; i < w; ++i)
        largest = p[i] > largest ? p[i] : largest;
    return largest;
}

}  // namespace

// The size field is 32 bits, so a page whose allocation would not fit in 32
// bits (beyond about 65,000 x 65,000 positions) is refused with a log line
// instead of being made smaller than its image.
TextPage* TextPage_new(DWORD width, DWORD height, DWORD type)
{
    (void)type;  // every page is made with the zero fill rule
    uint64_t size = (width + kSlack) * (height + kSlack) + sizeof(TextPage);
    if (size > UINT32_MAX) {
        LogMessage("TextPage_new(): oops, a page of (%u, %u) is too large\n", width, height);
        return nullptr;
    }
    auto* pTP = static_cast<TextPage*>(mymalloc((DWORD)size));
    if (!pTP)
        return nullptr;
    pTP->width = width;
    pTP->height = height;
    pTP->m_Image = reinterpret_cast<BYTE*>(pTP + 1);
    pTP->type = TEXTPAGE_TYPE_ZERO;
    pTP->size = (DWORD)size;
    TextPage_clear(pTP);
    LogMessage("TextPage_new(): pTP=0x%p, sizeof(TextPage)=%u, size=%u\n", pTP, (DWORD)sizeof(TextPage), pTP->size);
    LogMessage("TextPage_new(): m_Image=0x%p, (%u, %u)\n", pTP->m_Image, width, height);
    return pTP;
}

void TextPage_delete(TextPage* pTP)
{
    if (!pTP)
        return;
    LogMessage("TextPage_delete(): pTP=0x%p\n", pTP);
    myfree(pTP);
}

// A null page (its allocation failed at document start) or a page without
// image takes no writes, like a position outside the page.
void TextPage_setPixel(TextPage* pTP, DWORD x, DWORD y, BYTE value)
{
    if (pTP && pTP->m_Image && x < pTP->width && y < pTP->height)
        pTP->m_Image[(size_t)pTP->width * y + x] = value;
}

// Zero is the only fill rule the driver has; a page whose type says
// otherwise is cleared to 0 all the same.
void TextPage_clear(TextPage* pTP)
{
    if (!pTP || !pTP->m_Image)
        return;
    std::memset(pTP->m_Image, 0, (size_t)pTP->width * pTP->height);
}

// Positions are compared without wrapping: an area that runs past 2^32 runs
// past the page. Since an outside position counts as 255, the largest byte
// there is, any area that reaches outside the page reads 255 without a look
// at the bytes inside.
BYTE TextPage_getMax(const TextPage* pTP, DWORD x, DWORD y, DWORD w, DWORD h)
{
    if (!pTP)
        return 0;
    if (w == 1 && h == 1)
        return pTP->m_Image && inside(pTP, x, y) ? pTP->m_Image[(size_t)pTP->width * y + x] : TEXTPAGE_OUTSIDE;
    if (w == 0 || h == 0)
        return 0;
    if (!pTP->m_Image || !inside(pTP, (uint64_t)x + w - 1, (uint64_t)y + h - 1))
        return TEXTPAGE_OUTSIDE;
    BYTE largest = 0;
    const BYTE* row = pTP->m_Image + (size_t)pTP->width * y + x;
    for (DWORD j = 0; j < h && largest != TEXTPAGE_OUTSIDE; ++j, row += pTP->width) {
        BYTE m = rowMax(row, w);
        largest = m > largest ? m : largest;
    }
    return largest;
}

// A strip of rows is mostly zero: the words of each row are or-ed together,
// without looking for the largest byte.
BOOL TextPage_isClear(const TextPage* pTP, DWORD x, DWORD y, DWORD w, DWORD h)
{
    if (!pTP || !pTP->m_Image || w == 0 || h == 0 || !inside(pTP, (uint64_t)x + w - 1, (uint64_t)y + h - 1))
        return FALSE;
    const BYTE* row = pTP->m_Image + (size_t)pTP->width * y + x;
    for (DWORD j = 0; j < h; ++j, row += pTP->width) {
        // Four words to a step, or-ed apart so that the loads overlap.
        uint64_t any0 = 0, any1 = 0, any2 = 0, any3 = 0;
        DWORD i = 0;
        for (; i + 32 <= w; i += 32) {
            any0 |= load8(row + i);
            any1 |= load8(row + i + 8);
            any2 |= load8(row + i + 16);
            any3 |= load8(row + i + 24);
        }
        for (; i + 8 <= w; i += 8)
            any0 |= load8(row + i);
        for (; i < w; ++i)
            any0 |= row[i];
        if (any0 | any1 | any2 | any3)
            return FALSE;
    }
    return TRUE;
}
