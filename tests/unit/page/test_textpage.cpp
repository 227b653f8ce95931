// TextPage: layout, bounds-checked writes, the 255 of outside reads, and the
// area maximum against a position-by-position reading on random pages.
#include "diag/diag.h"
#include "page/textpage.h"
#include "testkit.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <random>

namespace {

class Page : public ::testing::Test {
protected:
    void TearDown() override
    {
        TextPage_delete(page);
        gDebugLevel = 0;
    }
    testkit::TempRoot root;
    TextPage* page = nullptr;
};

TEST_F(Page, NewPageLayout)
{
    page = TextPage_new(10, 5, TEXTPAGE_TYPE_ZERO);
    ASSERT_NE(page, nullptr);
    EXPECT_EQ(page->size, sizeof(TextPage) + 74u * 69u);
    EXPECT_EQ(page->width, 10u);
    EXPECT_EQ(page->height, 5u);
    EXPECT_EQ(page->type, 2u);
    EXPECT_EQ(page->m_Image, reinterpret_cast<BYTE*>(page) + sizeof(TextPage));
    for (DWORD i = 0; i < page->size - sizeof(TextPage); ++i)
        ASSERT_EQ(page->m_Image[i], 0) << "image and slack start at 0, byte " << i;
}

TEST_F(Page, ReadsInsideAreZeroAndOutsideAre255)
{
    page = TextPage_new(10, 5, TEXTPAGE_TYPE_ZERO);
    ASSERT_NE(page, nullptr);
    struct Case {
        DWORD x, y, w, h;
        BYTE expected;
    } cases[] = {
        {0, 0, 1, 1, 0},     {9, 4, 1, 1, 0},       {10, 0, 1, 1, 255},   {0, 5, 1, 1, 255},
        {0, 0, 10, 5, 0},    {0, 0, 11, 5, 255},    {0, 0, 10, 6, 255},   {8, 2, 3, 3, 255},
        {0, 0, 0, 0, 0},     {3, 3, 0, 4, 0},       {3, 3, 4, 0, 0},      {100, 100, 0, 0, 0},
        {0xFFFFFFFFu, 0, 1, 1, 255}, {0xFFFFFFFFu, 0, 2, 2, 255} /* no wrap to column 0 */,
        {0, 0xFFFFFFFFu, 3, 3, 255}, {0xFFFFFFF0u, 0xFFFFFFF0u, 0x20, 0x20, 255},
    };
    for (const Case& c : cases)
        EXPECT_EQ(TextPage_getMax(page, c.x, c.y, c.w, c.h), c.expected)
            << c.x << "," << c.y << " " << c.w << "x" << c.h;
}

TEST_F(Page, WritesOutsideThePageAreDropped)
{
    page = TextPage_new(10, 5, TEXTPAGE_TYPE_ZERO);
    ASSERT_NE(page, nullptr);
    const DWORD outside[][2] = {{10, 0}, {0, 5}, {10, 5}, {0xFFFFFFFFu, 0}, {0, 0xFFFFFFFFu}, {0xFFFFFFF6u, 1}};
    for (const auto& p : outside)
        TextPage_setPixel(page, p[0], p[1], 7);
    for (DWORD i = 0; i < page->size - sizeof(TextPage); ++i)
        ASSERT_EQ(page->m_Image[i], 0) << "byte " << i;

    TextPage_setPixel(page, 9, 4, 9);
    EXPECT_EQ(page->m_Image[49], 9) << "the last image byte";
    TextPage_setPixel(page, 3, 2, 1);
    EXPECT_EQ(page->m_Image[10 * 2 + 3], 1) << "row stride is the width";
    EXPECT_EQ(TextPage_getMax(page, 3, 2, 1, 1), 1);
    TextPage_setPixel(nullptr, 0, 0, 1);  // a page that could not be made takes no writes
}

TEST_F(Page, AreaMaximumOfTheDocumentedSquare)
{
    page = TextPage_new(4, 4, TEXTPAGE_TYPE_ZERO);
    ASSERT_NE(page, nullptr);
    const BYTE values[9] = {3, 1, 4, 1, 5, 9, 2, 6, 5};
    for (DWORD i = 0; i < 9; ++i)
        TextPage_setPixel(page, i % 3, i / 3, values[i]);
    EXPECT_EQ(TextPage_getMax(page, 0, 0, 3, 3), 9);
    EXPECT_EQ(TextPage_getMax(page, 0, 0, 2, 1), 3);
    EXPECT_EQ(TextPage_getMax(page, 1, 1, 3, 3), 9);
    EXPECT_EQ(TextPage_getMax(page, 2, 1, 3, 3), 255) << "one column past the right edge";
    EXPECT_EQ(TextPage_getMax(nullptr, 0, 0, 3, 3), 0);
    EXPECT_EQ(TextPage_getMax(nullptr, 0, 0, 1, 1), 0);

    TextPage_clear(page);
    EXPECT_EQ(TextPage_getMax(page, 0, 0, 4, 4), 0);
    TextPage_clear(nullptr);
}

TEST_F(Page, PagesThatCannotBeMadeAreNull)
{
    gDebugLevel = 1;
    EXPECT_EQ(TextPage_new(70000, 70000, TEXTPAGE_TYPE_ZERO), nullptr);
    EXPECT_EQ(TextPage_new(0xFFFFFFFFu, 1, TEXTPAGE_TYPE_ZERO), nullptr);
    EXPECT_EQ(root.log(), "TextPage_new(): oops, a page of (70000, 70000) is too large\n"
                          "TextPage_new(): oops, a page of (4294967295, 1) is too large\n");
    PxGetSyscalls()->calloc = [](size_t, size_t) -> void* { return nullptr; };
    EXPECT_EQ(TextPage_new(10, 5, TEXTPAGE_TYPE_ZERO), nullptr);
    PxResetSyscalls();
}

TEST_F(Page, NewAndDeleteAreLoggedAndBalanced)
{
    DWORD before = gTotalBytesAlloc;
    gDebugLevel = 1;
    page = TextPage_new(2, 3, TEXTPAGE_TYPE_ZERO);
    ASSERT_NE(page, nullptr);
    char expected[256];
    px_format(expected, sizeof expected,
              "TextPage_new(): pTP=0x%p, sizeof(TextPage)=%u, size=%u\n"
              "TextPage_new(): m_Image=0x%p, (2, 3)\n"
              "TextPage_delete(): pTP=0x%p\n",
              page, (unsigned)sizeof(TextPage), page->size, page->m_Image, page);
    TextPage_delete(page);
    page = nullptr;
    TextPage_delete(nullptr);
    EXPECT_EQ(root.log(), expected) << "deleting null logs nothing";
    EXPECT_EQ(gTotalBytesAlloc, before);
}

// The area maximum as the text states it, position by position.
BYTE slowMax(const TextPage* p, DWORD x, DWORD y, DWORD w, DWORD h)
{
    BYTE largest = 0;
    for (uint64_t j = 0; j < h; ++j)
        for (uint64_t i = 0; i < w; ++i) {
            uint64_t px = x + i, py = y + j;
            BYTE v = px < p->width && py < p->height ? p->m_Image[py * p->width + px] : 255;
            largest = std::max(largest, v);
        }
    return largest;
}

TEST_F(Page, AreaMaximumMatchesAPositionByPositionReading)
{
    std::mt19937 rng(20240611);
    for (int round = 0; round < 40; ++round) {
        DWORD width = rng() % 40 + 1, height = rng() % 40 + 1;
        page = TextPage_new(width, height, TEXTPAGE_TYPE_ZERO);
        ASSERT_NE(page, nullptr);
        // Sparse markers, as text leaves them, with an occasional 255.
        for (DWORD n = rng() % (width * height); n > 0; --n)
            TextPage_setPixel(page, rng() % (width + 3), rng() % (height + 3),
                              rng() % 50 == 0 ? 255 : (BYTE)(rng() % 16));
        for (int probe = 0; probe < 400; ++probe) {
            DWORD x = rng() % (width + 4), y = rng() % (height + 4);
            DWORD w = rng() % 8, h = rng() % 3 == 0 ? rng() % 8 : w;
            ASSERT_EQ(TextPage_getMax(page, x, y, w, h), slowMax(page, x, y, w, h))
                << width << "x" << height << " page, area " << x << "," << y << " " << w << "x" << h;
        }
        TextPage_delete(page);
        page = nullptr;
    }
}

}  // namespace
