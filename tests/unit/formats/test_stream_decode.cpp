// Reading embosser streams back: every body form, damaged streams named by page
// and byte offset, the bounds on pages and pictures, `pumex inspect`; and
// pages made by the plug-in's encoders read back.
#include "../output/device_fixture.h"
#include "output/stream.h"
#include "stream_decode.h"
#include "stream_picture.h"

#include "diag/diag.h"
#include "testkit.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <memory>
#include <random>

namespace {

using Bytes = std::vector<uint8_t>;
using Form = formats::BodyForm;
using fixtures::Device;

// A page header with a correct checksum.
Bytes header(uint8_t format, unsigned width, unsigned height, uint32_t byteCount = 0, uint8_t dot = 0x02,
             uint8_t media = 0x10, uint8_t minForce = 1, uint8_t maxForce = 0)
{
    Bytes h = {0x1B, format, dot, media, minForce, (uint8_t)width, (uint8_t)(width >> 8), (uint8_t)height,
               (uint8_t)(height >> 8), maxForce};
    for (int shift = 0; shift < 32; shift += 8)
        h.push_back((uint8_t)(byteCount >> shift));
    uint16_t sum = formats::pageChecksum(h.data());
    h.insert(h.end(), {(uint8_t)sum, (uint8_t)(sum >> 8)});
    return h;
}

Bytes join(std::initializer_list<Bytes> parts)
{
    Bytes all;
    for (const Bytes& p : parts)
        all.insert(all.end(), p.begin(), p.end());
    return all;
}

formats::DecodedStream decode(const Bytes& b, unsigned version = 3, size_t maxKeptCells = size_t(64) << 20,
                              size_t maxPages = 10000)
{
    formats::DecodeOptions o;
    o.version = version;
    o.maxKeptCells = maxKeptCells;
    o.maxPages = maxPages;
    return formats::decodeStream(b.data(), b.size(), o);
}

// A sound 4 x 2 page in the row encoding: row 0 (7, 15, 0, 1), row 1 blank.
const Bytes kPage = join({header(0x04, 4, 2), {0x00, 0x02, 0x07, 0x0F, 0x00, 0x01, 0xC0, 0x01}});

TEST(StreamDecode, ReadsEncodedAndPlainPagesAndTheirHeaders)
{
    formats::DecodedStream s = decode(join({kPage, header(0x84, 4, 2, 16 + 8), {1, 2, 3, 4, 5, 6, 7, 15},
                                         header(0x04, 4, 1, 0, 0x41, 0x27, 2, 14), {0xC0, 0x01}}));
    ASSERT_TRUE(s.ok) << s.problem.message;
    ASSERT_EQ(s.pages.size(), 3u);
    const formats::DecodedPage &p1 = s.pages[0], &p2 = s.pages[1];
    EXPECT_EQ(p1.form, Form::Encoded);
    EXPECT_EQ(p1.cells, (Bytes{7, 15, 0, 1, 0, 0, 0, 0}));
    EXPECT_EQ(p2.form, Form::Plain);
    EXPECT_EQ(p2.cells, (Bytes{1, 2, 3, 4, 5, 6, 7, 15}));
    const formats::PageHeader &h1 = p1.header, &h3 = s.pages[2].header;
    EXPECT_EQ(std::vector<unsigned>({h1.professional(), h3.professional(), h3.dotHeightCode(), h3.mediaCode(),
                                     h3.paperSource(), h3.perforation(), h3.minForce, h3.maxForce}),
              std::vector<unsigned>({1, 0, 1, 2, 3, 1, 2, 14}));
}

TEST(StreamDecode, PackedRowsOfVersionOneCarryCellGPlus20JInBitJOfByteG)
{
    Bytes row(40, 0);
    row[0] = 0x03;   // cells 0 and 20
    row[39] = 0x80;  // cell 319
    formats::DecodedStream s = decode(join({header(0x84, 330, 1), row, header(0x84, 10, 1), row}), 1);
    ASSERT_TRUE(s.ok) << s.problem.message;
    const formats::DecodedPage& p = s.pages[0];
    EXPECT_EQ(p.form, Form::Packed);
    EXPECT_EQ(p.columns, 320u);
    EXPECT_EQ(p.cells[0] + p.cells[20] + p.cells[319], 3);
    EXPECT_EQ(p.histogram[1], 3u);
    EXPECT_TRUE(p.warnings.empty());
    EXPECT_EQ(s.pages[1].columns, 10u);
    EXPECT_EQ(s.pages[1].warnings.size(), 1u);  // dots past the width
}

TEST(StreamDecode, DamagedStreamsNameThePageAndOffset)
{
    Bytes noEscape = kPage, badSum = kPage;
    noEscape[0] = 0x1C;
    badSum[14] ^= 1;
    struct Case {
        Bytes stream;
        size_t page, offset;  // kPage takes 24 bytes
        const char* says;
    } cases[] = {
        {join({kPage, noEscape}), 2, 24, "escape byte 0x1B, found 0x1C"},
        {join({kPage, badSum}), 2, 24 + 14, "checksum"},
        {join({kPage, Bytes(kPage.begin(), kPage.begin() + 10)}), 2, 24, "inside the page header (10 of 16"},
        {join({kPage, header(0x05, 4, 1), {0xC0, 0x01}}), 2, 25, "body-format byte 0x05"},
        {join({kPage, header(0x04, 3, 1), {0xC0, 0x01}}), 2, 29, "odd page width 3"},
        {join({kPage, header(0x04, 4, 1), {0x40, 0x01, 0, 0}}), 2, 40, "impossible token 0x40"},
        {join({kPage, header(0x04, 4, 1), {0xC0, 0x02}}), 2, 40, "impossible token C0 02"},
        {join({kPage, header(0x04, 4, 1), {0x00, 0x01, 1, 0, 0xC0, 0x01}}), 2, 44, "blank-row token after 1 words"},
        {join({kPage, header(0x04, 4, 1), {0x80, 0x00, 1, 0}}), 2, 40, "run of 0 words"},
        {join({kPage, header(0x04, 4, 1), {0x80, 0x03, 1, 0}}), 2, 40, "passes the row's end"},
        {join({kPage, header(0x04, 4, 1), {0x00, 0x02, 1, 0, 2}}), 2, 45, "ends inside a literal"},
        {join({kPage, header(0x04, 4, 2), {0xC0, 0x01}}), 2, 42, "row 1: the stream ends"},
        {join({kPage, header(0x84, 4, 1), {1, 2}}), 2, 42, "ends after 2 of its 4 bytes"},
        {join({kPage, header(0x04, 4, 1, 99), {0xC0, 0x01}}), 2, 34, "byte count says 99"},
    };
    for (const Case& c : cases) {
        formats::DecodedStream s = decode(c.stream);
        EXPECT_FALSE(s.ok) << c.says;
        EXPECT_EQ(std::make_pair(s.problem.page, s.problem.offset), std::make_pair(c.page, c.offset)) << c.says;
        EXPECT_NE(s.problem.message.find(c.says), std::string::npos) << s.problem.message;
        EXPECT_EQ(s.pages.size(), c.page - 1) << c.says;  // the sound pages before it are kept
    }
}

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

TEST(StreamBounds, PagesOfNoWidthAndTooManyPagesEndTheReadingCleanly)
{
    for (const Bytes& noWidth : {header(0x84, 0, 3), blankPages(1, 0, 2)}) {  // plain rows of no bytes; blank rows
        formats::DecodedStream s = decode(noWidth);
        EXPECT_TRUE(s.ok && s.problem.message.empty()) << s.problem.message;
    }
    formats::DecodedStream s = decode(blankPages(4, 2, 1), 3, size_t(64) << 20, 3);
    EXPECT_FALSE(s.ok);
    EXPECT_EQ(s.problem.message, "more than 3 pages: no document is this long");
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

// Runs `pumex inspect` with the given arguments: its exit status, stdout and stderr.
testkit::Ran inspect(const testkit::TempRoot& root, const std::string& args)
{
    return testkit::runCommand("'" PUMEX_TEST_PUMEX "' inspect " + args, root.path());
}

TEST(InspectCommand, ReportsDrawsAndNamesTheDamage)
{
    // A sound page, then one whose rows are missing, in a file whose name is not UTF-8.
    testkit::TempRoot root;
    std::string file = root.path() + "/job\xFF.prn", png = root.path() + "/job.png";
    Bytes stream = join({kPage, header(0x04, 170, 220, 0, 0x41, 0x27, 2, 14)});
    testkit::writeFile(file, std::string(stream.begin(), stream.end()));

    testkit::Ran text = inspect(root, "'" + file + "'");
    EXPECT_EQ(text.status, 1);
    EXPECT_NE(text.out.find("  dots: blank 5, height 1 1, height 7 1, braille 1\n"), std::string::npos) << text.out;
    EXPECT_EQ(text.err, "pumex inspect: " + file + ": page 2 at byte offset 40 (0x28): row 0: the stream ends " +
                            "inside a row token (0 of 85 words read)\n");

    testkit::Ran json = inspect(root, "'" + file + "' --json --png '" + png + "'");
    EXPECT_EQ(json.status, 1) << json.err;
    nlohmann::json j = nlohmann::json::parse(json.out);
    EXPECT_EQ(j["error"]["offset"], 40);
    ASSERT_EQ(j["pages"].size(), 1u);
    EXPECT_EQ(j["pages"][0]["media"]["name"], "braille paper");
    // The sound page drawn: 4 x 2 cells of 4 pixels inside margins of 24, 64 x 56 pixels.
    EXPECT_EQ(testkit::readFile(png).substr(12, 12), std::string("IHDR\0\0\0\x40\0\0\0\x38", 12));
}

// Renders every 5 x 5 cell of the device's surface one grey (giving dot value
// 0 to 7 with the fixture's plain tone mapping) or under a braille (15) or
// italic (2) text marker; returns the value each cell must give.
Bytes render(Device& device, std::mt19937& random)
{
    const uint8_t greyForDot[8] = {255, 240, 200, 170, 130, 100, 60, 0};
    unsigned cols = (unsigned)device.surface.sizlBitmap.cx / 5, rows = (unsigned)device.surface.sizlBitmap.cy / 5;
    Bytes dots;
    for (unsigned i = 0; i < cols * rows; ++i) {
        unsigned x = i % cols * 5, y = i / cols * 5, pick = random() % 10;
        if (pick < 8)
            device.paint(x, y, x + 5, y + 5, greyForDot[pick]);
        else
            device.mark(x, y, x + 5, y + 5, (uint8_t)(pick - 7));  // 1 braille, 2 italic
        dots.push_back(pick < 8 ? pick : pick == 8 ? 15 : 2);
    }
    return dots;
}

Bytes spooledPage(Device& device, DWORD* size = nullptr)
{
    device.spool.bytes.clear();
    DWORD n = WritePage(&device.surface, 0, 0, FALSE, nullptr, TRUE);
    if (size)
        *size = n;
    return device.spool.bytes;
}

TEST(RoundTrip, RandomPagesOfDotValuesStoreAndReadBack)
{
    Device device(850, 1100);
    std::mt19937 random(6011);
    const uint8_t values[] = {0, 1, 2, 3, 4, 5, 6, 7, 15};
    for (int trial = 0; trial < 100; ++trial) {
        // Few values a page, on rows up to 600 cells: long runs as well as literals. The first page
        // takes more than a million bytes.
        bool huge = trial == 0;
        DWORD w = huge ? 2000 : 1 + random() % 600, h = huge ? 800 : random() % 30;
        DWORD alphabet = huge ? 4 : 1 + random() % 4;
        uint8_t chosen[4] = {values[random() % 9], values[random() % 9], values[random() % 9], values[random() % 9]};
        std::unique_ptr<TextPage, void (*)(TextPage*)> page(TextPage_new(w, h, TEXTPAGE_TYPE_ZERO), TextPage_delete);
        for (DWORD i = 0; i < w * h; ++i)
            TextPage_setPixel(page.get(), i % w, i / w, chosen[random() % alphabet]);
        BYTE* block = nullptr;
        DWORD size = WritePrinterBuffer(&device.surface, page.get(), &block, 2, FALSE);
        EXPECT_TRUE(!huge || size > 1000000) << size;
        ASSERT_NE(block, nullptr);
        formats::DecodedStream s = decode(Bytes(block, block + size));
        myfree(block);
        ASSERT_TRUE(s.ok) << "trial " << trial << ": " << s.problem.message;
        const formats::DecodedPage& p = s.pages.at(0);
        ASSERT_EQ(p.columns, (w + 1) / 2 * 2);
        EXPECT_LE(size, 16 + h * std::max(2u, 2 * p.columns)) << "trial " << trial;  // never twice the row
        for (DWORD i = 0; i < p.columns * h; ++i) {
            DWORD x = i % p.columns, y = i / p.columns;
            ASSERT_EQ(p.cells[i], x < w ? page->m_Image[y * w + x] : 255) << trial << " at " << x << "," << y;
        }
    }
}

// Each output version's body form, from a rendered page: measured, copied
// and sent alike, and read back cell for cell.
TEST(RoundTrip, RenderedPagesInEveryBodyFormMeasuredCopiedAndSentAlike)
{
    struct Case {
        const char* name;
        unsigned cx, cy;  // at 100 dpi: 5 x 5 pixels a cell
        unsigned version;
        BOOL compressed;
        Form form;
        DWORD size;  // 0: as the encoding comes out
    } cases[] = {
        {"encoded", 170, 110, 3, TRUE, Form::Encoded, 0},
        {"plain, version 2", 1700, 40, 2, FALSE, Form::Plain, 16 + 340 * 8},
        {"packed: 320 of 340 cells", 1700, 40, 1, TRUE, Form::Packed, 16 + 40 * 8},
        {"version 0: the header alone", 1700, 40, 0, TRUE, Form::None, 16},
        {"version 4: the header alone", 1700, 40, 4, FALSE, Form::None, 16},
    };
    for (const Case& c : cases) {
        Device device(c.cx, c.cy);
        device.config.outputVersion = c.version;
        device.config.compressed = c.compressed;
        std::mt19937 random(77);
        Bytes dots = render(device, random);
        DWORD measured = WritePage(&device.surface, 0, 0, FALSE, nullptr, FALSE), sent = 0;
        Bytes block(measured + 8, 0xEE);
        EXPECT_EQ(WritePage(&device.surface, 0, 0, FALSE, block.data(), FALSE), measured);
        EXPECT_TRUE(device.spool.bytes.empty());
        Bytes bytes = spooledPage(device, &sent);
        EXPECT_EQ(sent, measured);
        EXPECT_EQ(Bytes(block.begin(), block.begin() + measured + 1), join({bytes, {0xEE}})) << c.name;  // and no more
        EXPECT_EQ(measured, c.size ? c.size : measured) << c.name;

        formats::DecodedStream s = decode(bytes, c.version);
        ASSERT_TRUE(s.ok) << c.name << ": " << s.problem.message;
        const formats::DecodedPage& p = s.pages[0];
        EXPECT_EQ(p.form, c.form);
        EXPECT_EQ(p.header.formatByte, c.compressed ? 0x04 : 0x84);
        EXPECT_EQ(p.header.byteCount, 0u);
        unsigned cols = c.cx / 5, rows = c.cy / 5;
        ASSERT_EQ(std::make_pair(unsigned(p.header.width), unsigned(p.header.height)), std::make_pair(cols, rows));
        for (unsigned i = 0; i < p.columns * rows; ++i) {
            unsigned want = dots[i / p.columns * cols + i % p.columns];
            ASSERT_EQ(p.cells[i], c.form == Form::Packed ? want != 0 : want) << c.name << " at " << i;
        }
    }
}

TEST(RoundTrip, ThePaddingColumnOfAnOddWidthIsSampledLikeAnyOther)
{
    // 15 pixels at rf 5: 3 cells, padded to 4. Magnified twice, the fourth
    // column reads pixels 7 to 9, inside the surface.
    Device device(15, 10);
    device.config.Magnification = 2;
    device.paint(8, 0, 10, 10, 0);
    formats::DecodedStream s = decode(spooledPage(device));
    ASSERT_TRUE(s.ok && s.pages[0].columns == 4u);
    EXPECT_EQ(s.pages[0].cells[2], 0);
    EXPECT_GT(s.pages[0].cells[3], 0);
}

TEST(HeaderCodes, MediaAndPaperSourceForBothKindsOfModel)
{
    struct Media {
        INT type;
        DWORD pro[3], other[3];  // code, least and most force on a professional model, on the others
    } media[] = {
        {MEDIA_COPYPAPER, {3, 1, 0}, {2, 1, 0}},   {MEDIA_PREMIUMPAPER, {0, 2, 12}, {0, 2, 12}},
        {MEDIA_CARDSTOCK, {4, 1, 0}, {3, 1, 0}},   {MEDIA_BRAILLEPAPER, {1, 1, 0}, {1, 1, 0}},
        {MEDIA_ROLLPAPER, {2, 1, 0}, {0, 2, 14}},  {MEDIA_SHEETPLASTIC, {0, 7, 18}, {4, 1, 0}},
        {MEDIA_CUSTOM, {0, 5, 9}, {0, 5, 9}},      {12345, {0, 1, 0}, {0, 1, 0}},  // custom: the Config's forces
    };
    Config config = {};
    config.minCustPForce = 5;
    config.maxCustPForce = 9;
    for (bool professional : {true, false})
        for (const Media& c : media) {
            px_wcscpy(config.devName, NAME_CHARS, professional ? u"Quorvane Pro Ink" : u"Quorvane Max");
            config.mediaType = c.type;
            DWORD got[3] = {99, 99, 99};
            GetMediaType(&config, &got[0], &got[1], &got[2]);
            const DWORD* want = professional ? c.pro : c.other;
            EXPECT_EQ(std::vector<DWORD>(got, got + 3), std::vector<DWORD>(want, want + 3)) << c.type << professional;
        }

    DWORD bins[][2] = {{1, 3},   {2, 5},   {3, 4}, {8, 1}, {257, 1}, {258, 2},       {264, 3},
                       {265, 4}, {266, 5}, {7, 0}, {0, 0}, {4, 0},   {259, 0}, {0xFFFFFFFF, 0}};
    for (auto& b : bins)
        EXPECT_EQ(getPaperSourceCode(b[0]), b[1]) << b[0];
}

}  // namespace
