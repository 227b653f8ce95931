// The stream reader and its picture against streams a few bytes long that
// claim enormous pages: memory and time follow what is read, not what a
// header says, and the limits end the reading with a message.
#include "stream_bytes.h"
#include "stream_picture.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using namespace streamtest;

// count pages of width x height cells, every row one blank-row token.
Bytes blankPages(size_t count, unsigned width, unsigned height)
{
    Bytes all;
    for (size_t p = 0; p < count; ++p) {
        all = join({all, header(0x04, width, height)});
        for (unsigned y = 0; y < height; ++y)
            all.insert(all.end(), {0xC0, 0x01});
    }
    return all;
}

TEST(StreamBounds, KeptCellsFollowTheRowsReadWithinOneBudgetForTheStream)
{
    // Three pages of 1000 x 40 blank rows (80 bytes of rows each) against a budget of 100000 cells.
    formats::DecodedStream s = decode(blankPages(3, 1000, 40), 3, 100000);
    ASSERT_TRUE(s.ok) << s.problem.message;
    std::vector<size_t> kept;
    for (const formats::DecodedPage& p : s.pages)
        kept.push_back(p.cellsKept ? p.cells.size() : 0);
    EXPECT_EQ(kept, (std::vector<size_t>{40000, 40000, 0}));
    EXPECT_EQ(s.pages[2].histogram[0], 40000u) << "pages past the budget are still counted";

    // A wide page keeps the row it has; a header claiming 8000 x 8000 cells
    // whose rows end after one is refused, nothing reserved for the claim.
    formats::DecodedStream wide = decode(blankPages(1, 8000, 1));
    ASSERT_TRUE(wide.ok);
    EXPECT_LE(wide.pages[0].cells.capacity(), 16000u);
    EXPECT_FALSE(decode(join({header(0x04, 8000, 8000), {0xC0, 0x01}})).ok);
}

TEST(StreamBounds, PagesOfNoWidthAndTooManyPagesEndTheReadingCleanly)
{
    const struct {
        Bytes stream;
        bool ok;
        const char* says;
    } cases[] = {
        {header(0x84, 0, 3), true, ""},  // plain rows of no bytes
        {blankPages(1, 0, 2), true, ""},
        {blankPages(4, 2, 1), false, "more than 3 pages: no document is this long"},
    };
    for (const auto& c : cases) {
        formats::DecodedStream s = decode(c.stream, 3, size_t(64) << 20, 3);
        EXPECT_EQ(s.ok, c.ok) << s.problem.message;
        EXPECT_EQ(s.problem.message, c.says);
    }
}

TEST(StreamBounds, PicturesPastTheirSizeAreRefusedWithAWayOut)
{
    // One 16-byte header claiming 65535 x 65535 cells, read as a version without bodies.
    formats::Picture picture;
    std::string error;
    EXPECT_FALSE(formats::drawStream(decode(header(0x04, 65535, 65535), 4, 64, 10), {}, picture, error));
    EXPECT_NE(error.find("too large to draw"), std::string::npos) << error;
    EXPECT_TRUE(picture.rgb.empty());

    // A hundred real pages side by side are too wide; four a row fit.
    Bytes pages;
    for (int i = 0; i < 100; ++i)
        pages = join({pages, header(0x04, 320, 500)});
    formats::PictureOptions options;
    options.pagesPerRow = 100;
    EXPECT_FALSE(formats::drawStream(decode(pages, 4, 64, 1000), options, picture, error));
    EXPECT_NE(error.find("; try --per-row 4"), std::string::npos) << error;
}

}  // namespace
