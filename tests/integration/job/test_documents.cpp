// Whole documents through the host: the typical job byte for byte against a
// stream built here from the stream's documented layout, and a reset in the
// middle of a document.
#include "job_fixture.h"

#include <regex>
#include <sstream>

namespace {

using Bytes = std::vector<uint8_t>;

// One page of the stream as the embosser reads it: the 16-byte header
// (escape, body format, dot height, media, forces, size, byte count and the
// checksum over the first 14 bytes plus 3), then each row in the row
// encoding. Every cell of this page holds the same dot value, so a row of N
// words is one run of N - 1 words (a run never covers the last word) and a
// literal of the last word.
Bytes uniformPage(int width, int height, uint8_t dot, uint8_t dotHeightByte, uint8_t minForce, uint8_t maxForce)
{
    Bytes row = {0x80, (uint8_t)(width / 2 - 1), dot, dot, 0x00, 0x01, dot, dot};
    uint32_t size = 16 + (uint32_t)(height * row.size());
    Bytes page = {0x1B, 0x04, dotHeightByte, 0x00, minForce, (uint8_t)width, (uint8_t)(width >> 8),
                  (uint8_t)height, (uint8_t)(height >> 8), maxForce, (uint8_t)size, (uint8_t)(size >> 8),
                  (uint8_t)(size >> 16), (uint8_t)(size >> 24)};
    unsigned sum = 3;
    for (uint8_t b : page)
        sum += b;
    page.push_back((uint8_t)sum);
    page.push_back((uint8_t)(sum >> 8));
    for (int y = 0; y < height; ++y)
        page.insert(page.end(), row.begin(), row.end());
    return page;
}

// A log line as a pattern: "<address>" stands for any hex number.
std::regex addressPattern(const std::string& line)
{
    static const std::regex special(R"([.^$|()\[\]{}*+?\\])");
    std::string pattern = std::regex_replace(line, special, R"(\$&)");
    size_t at;
    while ((at = pattern.find("<address>")) != std::string::npos)
        pattern.replace(at, 9, "(0x)?[0-9A-Fa-f]+");
    return std::regex(pattern);
}

class Documents : public jobtest::JobTest {};

TEST_F(Documents, TheTypicalJobIsTwoCopiesOfThePageByteForByte)
{
    // US Letter at 100 dpi: 850 x 1100 pixels, 5 pixels a cell, 170 x 220
    // cells. A mid grey (146) is dot value 4; the printer is no professional
    // model (bit 6 of the dot-height byte) with normal dots (code 2) and
    // custom media forces 3 and 20.
    host::JobSpec job;
    job.source = "typical job";
    job.devmode.copies = 2;
    host::RectOp photo;
    photo.x1 = 850, photo.y1 = 1100;
    photo.fill = {146, 146, 146};
    job.pages.push_back(host::PageSpec{{photo}});
    run(job);
    Bytes page = uniformPage(170, 220, 4, 0x42, 3, 20);
    Bytes want = page;
    want.insert(want.end(), page.begin(), page.end());
    EXPECT_EQ(spooled, want);
    EXPECT_TRUE(started.empty());
    expectAllocationsReturned();

    // The log at level 1, line for line; addresses differ from run to run
    // (and under the sanitizers are short), so they match any hex number.
    std::istringstream got(root->log()), golden(testkit::readFile(PUMEX_TEST_DATA "/typical-job-level1.log"));
    std::string gotLine, wantLine;
    for (int line = 1; std::getline(golden, wantLine); ++line) {
        ASSERT_TRUE(std::getline(got, gotLine)) << "log ends before line " << line << ": " << wantLine;
        EXPECT_TRUE(std::regex_match(gotLine, addressPattern(wantLine))) << "line " << line << ": " << gotLine
                                                                         << "\n    expected: " << wantLine;
    }
    EXPECT_FALSE(std::getline(got, gotLine)) << "more log than expected: " << gotLine;
}

TEST_F(Documents, AResetInTheMiddleOfADocumentLosesNoPage)
{
    // Single-sided pages go out as they come; double-sided, the stored ones last.
    host::RunOptions reset;
    reset.resetBeforePage = 1;
    run(jobtest::greyDocument(3, 1, false), reset);
    EXPECT_EQ(jobtest::pageIds(spooled), (std::vector<int>{1, 2, 3}));
    EXPECT_NE(root->log().find("ResetDC(): OEMStartDoc() called from ResetDC()\n"), std::string::npos);
    printer(jobtest::dword("InterPoint", 1));
    run(jobtest::greyDocument(3, 1, false), reset);
    ASSERT_EQ(started.size(), 1u);
    EXPECT_EQ(jobtest::pageIdsOfFile(started[0][6]), (std::vector<int>{1, 3}));
    EXPECT_EQ(jobtest::pageIdsOfFile(started[0][7]), (std::vector<int>{2, 0}));
    expectAllocationsReturned();
}

}  // namespace
