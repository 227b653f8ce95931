// Reading embosser streams back: sound streams in every body form, the faults
// a damaged stream can have (each named with its page and byte offset), the
// words for header fields, the reports and the picture.
#include "stream_decode.h"
#include "stream_picture.h"
#include "stream_report.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <cstdint>
#include <string>
#include <vector>

namespace {

using Bytes = std::vector<uint8_t>;

// A page header with a correct checksum.
Bytes header(uint8_t format, unsigned width, unsigned height, uint32_t byteCount = 0, uint8_t dot = 0x02,
             uint8_t media = 0x10, uint8_t minForce = 1, uint8_t maxForce = 0)
{
    Bytes h = {0x1B,
               format,
               dot,
               media,
               minForce,
               (uint8_t)width,
               (uint8_t)(width >> 8),
               (uint8_t)height,
               (uint8_t)(height >> 8),
               maxForce,
               (uint8_t)byteCount,
               (uint8_t)(byteCount >> 8),
               (uint8_t)(byteCount >> 16),
               (uint8_t)(byteCount >> 24)};
    uint16_t sum = host::pageChecksum(h.data());
    h.push_back((uint8_t)sum);
    h.push_back((uint8_t)(sum >> 8));
    return h;
}

Bytes join(std::initializer_list<Bytes> parts)
{
    Bytes all;
    for (const Bytes& p : parts)
        all.insert(all.end(), p.begin(), p.end());
    return all;
}

host::DecodedStream decode(const Bytes& b, unsigned version = 3)
{
    host::DecodeOptions o;
    o.version = version;
    return host::decodeStream(b.data(), b.size(), o);
}

// A sound 4 x 2 page in the row encoding: row 0 (7, 15, 0, 1), row 1 blank.
const Bytes kPageBody = {0x00, 0x02, 0x07, 0x0F, 0x00, 0x01, 0xC0, 0x01};

TEST(StreamDecode, ReadsEncodedPlainAndHeaderOnlyPages)
{
    Bytes stream = join({header(0x04, 4, 2), kPageBody,                                   // encoded
                         header(0x84, 4, 2, 16 + 8), {1, 2, 3, 4, 5, 6, 7, 15},          // plain, stored
                         header(0x04, 170, 220, 0, 0x41, 0x27, 2, 14), Bytes(220 * 2, 0)});  // blank rows
    for (size_t i = 16 + 8 + 16 + 8 + 16; i < stream.size(); i += 2)
        stream[i] = 0xC0, stream[i + 1] = 0x01;
    host::DecodedStream s = decode(stream);
    ASSERT_TRUE(s.ok) << s.problem.message;
    ASSERT_EQ(s.pages.size(), 3u);

    const host::DecodedPage& p1 = s.pages[0];
    EXPECT_EQ(p1.form, host::BodyForm::Encoded);
    EXPECT_EQ(p1.size, 24u);
    EXPECT_EQ(p1.cells, (Bytes{7, 15, 0, 1, 0, 0, 0, 0}));
    EXPECT_EQ(p1.histogram[0], 5u);
    EXPECT_EQ(p1.histogram[15], 1u);
    EXPECT_TRUE(p1.header.professional());

    const host::DecodedPage& p2 = s.pages[1];
    EXPECT_EQ(p2.form, host::BodyForm::Plain);
    EXPECT_EQ(p2.offset, 24u);
    EXPECT_EQ(p2.cells, (Bytes{1, 2, 3, 4, 5, 6, 7, 15}));

    const host::PageHeader& h3 = s.pages[2].header;
    EXPECT_EQ(s.pages[2].size, 16u + 440);
    EXPECT_FALSE(h3.professional());
    EXPECT_EQ(h3.dotHeightCode(), 1u);
    EXPECT_EQ(h3.mediaCode(), 2u);
    EXPECT_EQ(h3.paperSource(), 3u);
    EXPECT_TRUE(h3.perforation());
    EXPECT_EQ(h3.minForce, 2);
    EXPECT_EQ(h3.maxForce, 14);
    EXPECT_EQ(s.pages[2].histogram[0], 170u * 220);

    // The same bytes read as another version have no body: every page is its header.
    host::DecodedStream headersOnly = decode(join({header(0x04, 4, 2), header(0x84, 4, 2)}), 7);
    ASSERT_TRUE(headersOnly.ok);
    EXPECT_EQ(headersOnly.pages.size(), 2u);
    EXPECT_EQ(headersOnly.pages[1].offset, 16u);
}

TEST(StreamDecode, PackedRowsOfVersionOne)
{
    Bytes row(40, 0);
    row[0] = 0x03;   // cells 0 and 20
    row[39] = 0x80;  // cell 319
    Bytes stream = join({header(0x84, 330, 1), row});
    host::DecodedStream s = decode(stream, 1);
    ASSERT_TRUE(s.ok) << s.problem.message;
    const host::DecodedPage& p = s.pages[0];
    EXPECT_EQ(p.form, host::BodyForm::Packed);
    EXPECT_EQ(p.columns, 320u);
    EXPECT_EQ(p.cells[0], 1);
    EXPECT_EQ(p.cells[20], 1);
    EXPECT_EQ(p.cells[319], 1);
    EXPECT_EQ(p.histogram[1], 3u);
    EXPECT_TRUE(p.warnings.empty());

    host::DecodedStream narrow = decode(join({header(0x84, 10, 1), row}), 1);
    ASSERT_TRUE(narrow.ok);
    EXPECT_EQ(narrow.pages[0].columns, 10u);
    ASSERT_EQ(narrow.pages[0].warnings.size(), 1u);  // dots past the width
}

TEST(StreamDecode, DamagedStreamsNameThePageAndOffset)
{
    Bytes good = join({header(0x04, 4, 2), kPageBody});  // 24 bytes
    auto second = [&](const Bytes& page) { return join({good, page}); };
    Bytes badSum = header(0x04, 4, 2);
    badSum[14] ^= 1;
    Bytes noEscape = header(0x04, 4, 2);
    noEscape[0] = 0x1C;
    Bytes shortHeader = header(0x04, 4, 2);
    shortHeader.resize(10);
    struct Case {
        const char* name;
        Bytes stream;
        size_t page, offset;
        const char* says;
    } cases[] = {
        {"no escape", second(noEscape), 2, 24, "escape byte 0x1B, found 0x1C"},
        {"checksum", second(join({badSum, kPageBody})), 2, 24 + 14, "checksum"},
        {"short header", second(shortHeader), 2, 24, "inside the page header (10 of 16"},
        {"format byte", second(join({header(0x05, 4, 2), kPageBody})), 2, 25, "body-format byte 0x05"},
        {"odd width", second(join({header(0x04, 3, 1), {0xC0, 0x01}})), 2, 29, "odd page width 3"},
        {"impossible token", second(join({header(0x04, 4, 1), {0x40, 0x01, 0, 0}})), 2, 40, "impossible token 0x40"},
        {"blank token wrong", second(join({header(0x04, 4, 1), {0xC0, 0x02}})), 2, 40, "impossible token C0 02"},
        {"blank after words",
         second(join({header(0x04, 4, 1), {0x00, 0x01, 1, 0, 0xC0, 0x01}})),
         2,
         44,
         "blank-row token after 1 words"},
        {"run of 0", second(join({header(0x04, 4, 1), {0x80, 0x00, 1, 0}})), 2, 40, "run of 0 words"},
        {"literal of 128", second(join({header(0x04, 512, 1), {0x00, 0x80}})), 2, 40, "literal of 128 words"},
        {"run past the end", second(join({header(0x04, 4, 1), {0x80, 0x03, 1, 0}})), 2, 40, "passes the row's end"},
        {"literal cut short", second(join({header(0x04, 4, 1), {0x00, 0x02, 1, 0, 2}})), 2, 45,
         "ends inside a literal"},
        {"row missing", second(join({header(0x04, 4, 2), {0xC0, 0x01}})), 2, 42, "row 1: the stream ends"},
        {"plain row short", second(join({header(0x84, 4, 1), {1, 2}})), 2, 42, "ends after 2 of its 4 bytes"},
        {"byte count", second(join({header(0x04, 4, 2, 99), kPageBody})), 2, 34, "byte count says 99"},
        {"first page", Bytes{0x1B}, 1, 0, "inside the page header (1 of 16"},
    };
    for (const Case& c : cases) {
        host::DecodedStream s = decode(c.stream);
        EXPECT_FALSE(s.ok) << c.name;
        EXPECT_EQ(s.problem.page, c.page) << c.name;
        EXPECT_EQ(s.problem.offset, c.offset) << c.name;
        EXPECT_NE(s.problem.message.find(c.says), std::string::npos) << c.name << ": " << s.problem.message;
        EXPECT_EQ(s.pages.size(), c.page - 1) << c.name;  // the sound pages before it are kept
    }
}

TEST(StreamDecode, OdditiesThatDoNotStopTheReadingAreWarnings)
{
    Bytes stream = join({header(0x84, 2, 1, 0, 0x82, 0x8E), {9, 255}});
    host::DecodedStream s = decode(stream);
    ASSERT_TRUE(s.ok) << s.problem.message;
    const auto& w = s.pages[0].warnings;
    ASSERT_EQ(w.size(), 4u);
    EXPECT_NE(w[0].find("reserved bits"), std::string::npos);
    EXPECT_NE(w[1].find("bit 7 of the media byte"), std::string::npos);
    EXPECT_NE(w[2].find("paper-source code 7"), std::string::npos);
    EXPECT_NE(w[3].find("1 cells hold values"), std::string::npos);
}

TEST(StreamWords, HeaderFieldsForBothKindsOfModel)
{
    struct Case {
        unsigned code;
        const char* professional;
        const char* other;
    } media[] = {{0, "unnamed (forces only)", "unnamed (forces only)"},
                 {1, "braille paper", "braille paper"},
                 {2, "roll or light braille paper", "copy paper"},
                 {3, "copy paper", "cardstock"},
                 {4, "cardstock", "sheet plastic"},
                 {5, "unknown media", "unknown media"}};
    for (const Case& c : media) {
        EXPECT_STREQ(host::mediaName(c.code, true), c.professional);
        EXPECT_STREQ(host::mediaName(c.code, false), c.other);
    }
    const char* sources[] = {"automatic",           "lower tractor feeder (standard)",
                             "upper tractor feeder", "top sheet feeder (standard)",
                             "middle sheet feeder",  "bottom sheet feeder",
                             "unknown feeder",       "unknown feeder"};
    for (unsigned i = 0; i < 8; ++i)
        EXPECT_STREQ(host::paperSourceName(i), sources[i]);
    const char* heights[] = {"not set", "heavy", "normal", "light"};
    for (unsigned i = 0; i < 4; ++i)
        EXPECT_STREQ(host::dotHeightName(i), heights[i]);
    EXPECT_EQ(host::dotValueName(15, host::BodyForm::Encoded), "braille");
    EXPECT_EQ(host::dotValueName(255, host::BodyForm::Encoded), "outside");
    EXPECT_EQ(host::dotValueName(1, host::BodyForm::Packed), "dot");
}

TEST(StreamReport, WordsForPeopleAndJsonForScripts)
{
    Bytes stream = join({header(0x04, 4, 2), kPageBody, header(0x04, 170, 220, 0, 0x41, 0x27, 2, 14)});
    host::DecodedStream s = decode(stream);
    ASSERT_FALSE(s.ok);
    std::string text = host::streamReportText(s, "job.prn", 3);
    EXPECT_NE(text.find("job.prn: 1 page, 40 bytes, read as output version 3\n"), std::string::npos) << text;
    EXPECT_NE(text.find("page 1 at offset 0 (0x0): 24 bytes, encoded rows\n"), std::string::npos) << text;
    EXPECT_NE(text.find("  size: 4 x 2 cells\n"), std::string::npos);
    EXPECT_NE(text.find("  dot height: normal (code 2); professional model\n"), std::string::npos);
    EXPECT_NE(text.find("  media: braille paper (code 1); paper source: automatic (code 0); no perforation\n"),
              std::string::npos);
    EXPECT_NE(text.find("  dots: blank 5, height 1 1, height 7 1, braille 1\n"), std::string::npos) << text;
    EXPECT_EQ(host::streamProblemText(s, "job.prn"),
              "job.prn: page 2 at byte offset 40 (0x28): row 0: the stream ends inside a row token (0 of 85 words read)");

    nlohmann::json j = nlohmann::json::parse(host::streamReportJson(s, "job.prn", 3));
    EXPECT_EQ(j["ok"], false);
    EXPECT_EQ(j["error"]["page"], 2);
    EXPECT_EQ(j["error"]["offset"], 40);
    ASSERT_EQ(j["pages"].size(), 1u);
    EXPECT_EQ(j["pages"][0]["media"]["name"], "braille paper");
    EXPECT_EQ(j["pages"][0]["histogram"]["15"], 1);
    EXPECT_EQ(j["pages"][0]["checksum"], s.pages[0].header.checksum);
}

TEST(StreamPicture, PagesSideBySideWithEdgesAndDistinctDots)
{
    Bytes stream = join({header(0x84, 4, 2), {1, 7, 15, 255, 0, 9, 0, 0}, header(0x84, 2, 3), {0, 0, 0, 0, 0, 0}});
    host::DecodedStream s = decode(stream);
    ASSERT_TRUE(s.ok);
    host::PictureOptions o;
    o.scale = 8;
    host::Picture pic;
    std::string error;
    ASSERT_TRUE(host::drawStream(s, o, pic, error)) << error;
    // Table gap 24, page 1 is 32 wide, gap, page 2 is 16 wide, gap; the taller page is 24 high.
    EXPECT_EQ(pic.width, 24u + 32 + 24 + 16 + 24);
    EXPECT_EQ(pic.height, 24u + 24 + 24);
    auto at = [&](unsigned x, unsigned y) {
        const uint8_t* p = &pic.rgb[(size_t(y) * pic.width + x) * 3];
        return host::Rgb{p[0], p[1], p[2]};
    };
    unsigned x0 = 24, y0 = 24;
    EXPECT_EQ(at(x0 + 2, y0 + 2), host::cellColour(1, host::BodyForm::Plain));
    EXPECT_EQ(at(x0 + 8 + 2, y0 + 2), host::cellColour(7, host::BodyForm::Plain));
    EXPECT_EQ(at(x0 + 16 + 4, y0 + 4), host::cellColour(15, host::BodyForm::Plain));  // the disc's middle
    EXPECT_EQ(at(x0 + 16, y0), host::kPaperColour);                                   // the disc's corner
    EXPECT_EQ(at(x0 + 24 + 4, y0 + 4), host::cellColour(255, host::BodyForm::Plain));
    EXPECT_EQ(at(x0 + 8 + 4, y0 + 8 + 4), host::cellColour(9, host::BodyForm::Plain));
    EXPECT_EQ(at(x0 + 4, y0 + 8 + 4), host::kPaperColour);
    EXPECT_EQ(at(x0 - 1, y0 - 1), host::kEdgeColour);
    EXPECT_EQ(at(x0 - 10, y0), host::kTableColour);
    EXPECT_EQ(at(24 + 32 + 24 + 2, 24 + 2), host::kPaperColour);  // page 2
    EXPECT_EQ(at(24 + 32 + 24 + 2, 24 + 24), host::kEdgeColour);  // below page 2 (3 rows of 8)

    // Each taller dot is darker; braille, outside and strange values differ from all of them.
    for (unsigned v = 1; v < 7; ++v)
        EXPECT_GT(host::cellColour(v, host::BodyForm::Plain).r, host::cellColour(v + 1, host::BodyForm::Plain).r);

    o.maxSide = 50;
    EXPECT_FALSE(host::drawStream(s, o, pic, error));
    EXPECT_NE(error.find("too large"), std::string::npos);
}

}  // namespace
