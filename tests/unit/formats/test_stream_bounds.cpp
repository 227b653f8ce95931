// The stream reader and its picture against streams a few bytes long that
// claim enormous pages: memory and time follow what is read, not what a
// header says, and the limits end the reading with a message.
#include "stream_decode.h"
#include "stream_picture.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using Bytes = std::vector<uint8_t>;

Bytes header(uint8_t format, unsigned width, unsigned height)
{
    Bytes h = {0x1B, format, 0x02, 0x10, 1, (uint8_t)width, (uint8_t)(width >> 8), (uint8_t)height,
               (uint8_t)(height >> 8), 0, 0, 0, 0, 0};
    uint16_t sum = formats::pageChecksum(h.data());
    h.insert(h.end(), {(uint8_t)sum, (uint8_t)(sum >> 8)});
    return h;
}

// count pages of width x height cells, every row one blank-row token.
Bytes blankPages(size_t count, unsigned width, unsigned height)
{
    Bytes all;
    for (size_t p = 0; p < count; ++p) {
        Bytes h = header(0x04, width, height);
        all.insert(all.end(), h.begin(), h.end());
        for (unsigned y = 0; y < height; ++y)
            all.insert(all.end(), {0xC0, 0x01});
    }
    return all;
}

formats::DecodedStream decode(const Bytes& b, size_t maxKeptCells = size_t(64) << 20, size_t maxPages = 10000,
                              unsigned version = 3)
{
    formats::DecodeOptions o;
    o.maxKeptCells = maxKeptCells;
    o.maxPages = maxPages;
    o.version = version;
    return formats::decodeStream(b.data(), b.size(), o);
}

TEST(StreamBounds, KeptCellsFollowTheRowsReadWithinOneBudgetForTheStream)
{
    // Three pages of 1000 x 40 blank rows (80 bytes of rows each) against a budget of 100000 cells.
    formats::DecodedStream s = decode(blankPages(3, 1000, 40), 100000);
    ASSERT_TRUE(s.ok) << s.problem.message;
    std::vector<size_t> kept;
    for (const formats::DecodedPage& p : s.pages)
        kept.push_back(p.cellsKept ? p.cells.size() : 0);
    EXPECT_EQ(kept, (std::vector<size_t>{40000, 40000, 0}));
    EXPECT_EQ(s.pages[2].histogram[0], 40000u) << "pages past the budget are still counted";

    // A header claiming 8000 x 8000 cells whose rows end after one: nothing reserved for the claim.
    Bytes claim = header(0x04, 8000, 8000);
    claim.insert(claim.end(), {0xC0, 0x01});
    formats::DecodedStream big = decode(blankPages(1, 8000, 1));
    ASSERT_TRUE(big.ok);
    EXPECT_LE(big.pages[0].cells.capacity(), 16000u);
    EXPECT_FALSE(decode(claim).ok);
}

TEST(StreamBounds, PagesOfNoWidthAndTooManyPagesEndTheReadingCleanly)
{
    const struct {
        Bytes stream;
        unsigned version;
        bool ok;
        const char* says;
    } cases[] = {
        {header(0x84, 0, 3), 3, true, ""},  // plain rows of no bytes
        {blankPages(1, 0, 2), 3, true, ""},
        {blankPages(4, 2, 1), 3, false, "more than 3 pages: no document is this long"},
    };
    for (const auto& c : cases) {
        formats::DecodedStream s = decode(c.stream, size_t(64) << 20, 3, c.version);
        EXPECT_EQ(s.ok, c.ok) << s.problem.message;
        EXPECT_EQ(s.problem.message, c.says);
    }
}

TEST(StreamBounds, PicturesPastTheirSizeAreRefusedWithAWayOut)
{
    // One 16-byte header claiming 65535 x 65535 cells, read as a version without bodies.
    formats::Picture picture;
    std::string error;
    EXPECT_FALSE(formats::drawStream(decode(header(0x04, 65535, 65535), 64, 10, 4), {}, picture, error));
    EXPECT_NE(error.find("too large to draw"), std::string::npos) << error;
    EXPECT_TRUE(picture.rgb.empty());

    // A hundred real pages side by side are too wide; four a row fit.
    Bytes pages;
    for (int i = 0; i < 100; ++i) {
        Bytes h = header(0x04, 320, 500);
        pages.insert(pages.end(), h.begin(), h.end());
    }
    formats::PictureOptions options;
    options.pagesPerRow = 100;
    EXPECT_FALSE(formats::drawStream(decode(pages, 64, 1000, 4), options, picture, error));
    EXPECT_NE(error.find("; try --per-row 4"), std::string::npos) << error;
}

}  // namespace
