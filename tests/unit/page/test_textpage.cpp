// TextPage: layout, bounds-checked writes and pages too large to make. The area
// maximum is checked against the plain largest byte in the image cross-checks,
// and running out of memory for a page (and going on without it) in the job
// fault sweeps.
#include "page/textpage.h"

#include <gtest/gtest.h>

#include <memory>
#include <vector>

namespace {

using Page = std::unique_ptr<TextPage, void (*)(TextPage*)>;
Page newPage(DWORD w, DWORD h) { return Page(TextPage_new(w, h, TEXTPAGE_TYPE_ZERO), TextPage_delete); }

TEST(TextPage, LayoutWritesOutsideAndPagesTooLargeToMake)
{
    Page page = newPage(4, 4);
    ASSERT_NE(page, nullptr);
    ASSERT_EQ(page->size, sizeof(TextPage) + 68u * 68u) << "64 rows and columns of slack";
    for (auto xy : {std::pair<DWORD, DWORD>{4, 0}, {0, 4}, {0xFFFFFFFFu, 0}, {0, 0xFFFFFFFFu}, {0xFFFFFFFCu, 1}})
        TextPage_setPixel(page.get(), xy.first, xy.second, 7);
    EXPECT_EQ(std::vector<BYTE>(page->m_Image, page->m_Image + 68 * 68), std::vector<BYTE>(68 * 68, 0))
        << "image and slack start at 0 and take no writes from outside the page";
    EXPECT_EQ(TextPage_getMax(page.get(), 0xFFFFFFF0u, 0xFFFFFFF0u, 0x20, 0x20), 255) << "not wrapped to column 0";
    EXPECT_EQ(TextPage_new(70000, 70000, TEXTPAGE_TYPE_ZERO), nullptr) << "too large for its 32-bit size";
    EXPECT_EQ(TextPage_new(0xFFFFFFFFu, 1, TEXTPAGE_TYPE_ZERO), nullptr);
}

}  // namespace
