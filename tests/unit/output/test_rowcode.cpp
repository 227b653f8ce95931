// The pieces of the stream: the row encoding, packed rows, the page header and
// its checksum, and the tables behind the header's codes.
#include "output/stream.h"

#include "config/config.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <initializer_list>
#include <random>
#include <vector>

namespace {

using Bytes = std::vector<uint8_t>;

// A row of words as its bytes, low byte first.
Bytes rowOf(const std::vector<unsigned>& words)
{
    Bytes row;
    for (unsigned w : words) {
        row.push_back((uint8_t)(w & 0xFF));
        row.push_back((uint8_t)(w >> 8));
    }
    row.resize(row.size() + 10, 0);  // the encoder's row buffer ends in zeros
    return row;
}

Bytes encoded(const std::vector<unsigned>& words)
{
    Bytes row = rowOf(words);
    Bytes out(words.size() * 4 + 2, 0xEE);
    DWORD n = encodeRow(row.data(), (DWORD)words.size() * 2, out.data());
    out.resize(n);
    return out;
}

std::vector<unsigned> repeated(unsigned word, size_t times) { return std::vector<unsigned>(times, word); }

std::vector<unsigned> concat(std::initializer_list<std::vector<unsigned>> parts)
{
    std::vector<unsigned> all;
    for (const auto& p : parts)
        all.insert(all.end(), p.begin(), p.end());
    return all;
}

TEST(RowEncoding, DocumentedExamples)
{
    std::vector<unsigned> oneTo128;
    Bytes oneTo128Bytes = {0x00, 0x7F};
    for (unsigned i = 1; i <= 128; ++i) {
        oneTo128.push_back(i);
        if (i <= 127)
            oneTo128Bytes.insert(oneTo128Bytes.end(), {(uint8_t)i, 0});
    }
    oneTo128Bytes.insert(oneTo128Bytes.end(), {0x00, 0x01, 0x80, 0x00});

    struct Case {
        const char* name;
        std::vector<unsigned> words;
        Bytes bytes;
    } cases[] = {
        {"(5, 0)", {5, 0}, {0x00, 0x01, 0x05, 0x00, 0x00, 0x01, 0x00, 0x00}},
        {"(0, 5)", {0, 5}, {0x00, 0x02, 0x00, 0x00, 0x05, 0x00}},
        {"(7, 7, 7)", {7, 7, 7}, {0x80, 0x02, 0x07, 0x00, 0x00, 0x01, 0x07, 0x00}},
        {"(1, 2, 3)", {1, 2, 3}, {0x00, 0x03, 0x01, 0x00, 0x02, 0x00, 0x03, 0x00}},
        {"(1, 2, 2)", {1, 2, 2}, {0x00, 0x01, 0x01, 0x00, 0x80, 0x01, 0x02, 0x00, 0x00, 0x01, 0x02, 0x00}},
        {"(3, 0, 0)", {3, 0, 0}, {0x00, 0x01, 0x03, 0x00, 0x80, 0x01, 0x00, 0x00, 0x00, 0x01, 0x00, 0x00}},
        {"(0, 0, 0, 0)", {0, 0, 0, 0}, {0xC0, 0x01}},
        {"(7)", {7}, {0x00, 0x01, 0x07, 0x00}},
        {"9 x 130", repeated(9, 130), {0x80, 0x7F, 0x09, 0x00, 0x80, 0x02, 0x09, 0x00, 0x00, 0x01, 0x09, 0x00}},
        {"1, 9 x 200, 2",
         concat({{1}, repeated(9, 200), {2}}),
         {0x00, 0x01, 0x01, 0x00, 0x80, 0x7F, 0x09, 0x00, 0x80, 0x49, 0x09, 0x00, 0x00, 0x01, 0x02, 0x00}},
        {"1 .. 128", oneTo128, oneTo128Bytes},
        {"no words", {}, {0xC0, 0x01}},
        {"high bytes count", {0x0F00, 0x0F00}, {0x80, 0x01, 0x00, 0x0F, 0x00, 0x01, 0x00, 0x0F}},
    };
    for (const Case& c : cases)
        EXPECT_EQ(encoded(c.words), c.bytes) << c.name;
}

TEST(RowEncoding, RunsStopAt127AndNeverTakeTheLastWord)
{
    struct Case {
        size_t before, run, after;
        Bytes middle;  // the run tokens
    } cases[] = {
        // 200 equal words inside a row: 127, then 73.
        {1, 200, 1, {0x80, 0x7F, 0x05, 0x00, 0x80, 0x49, 0x05, 0x00}},
        // 254 words: two full runs.
        {1, 254, 1, {0x80, 0x7F, 0x05, 0x00, 0x80, 0x7F, 0x05, 0x00}},
        // 2 equal words ending the row: a run of one and a literal of one.
        {1, 2, 0, {0x80, 0x01, 0x05, 0x00}},
    };
    for (const Case& c : cases) {
        std::vector<unsigned> words = concat({repeated(1, c.before), repeated(5, c.run), repeated(2, c.after)});
        Bytes expected = {0x00, 0x01, 0x01, 0x00};
        expected.insert(expected.end(), c.middle.begin(), c.middle.end());
        expected.insert(expected.end(), {0x00, 0x01, (uint8_t)(c.after ? 2 : 5), 0x00});
        EXPECT_EQ(encoded(words), expected) << c.run;
    }
}

TEST(RowEncoding, NeverLongerThanTwiceTheRow)
{
    std::mt19937 random(20240501);
    for (int trial = 0; trial < 2000; ++trial) {
        size_t n = 1 + random() % 200;
        unsigned alphabet = 1 + random() % 4;  // few values: many runs and short literals
        std::vector<unsigned> words;
        for (size_t i = 0; i < n; ++i)
            words.push_back(random() % alphabet);
        EXPECT_LE(encoded(words).size(), 4 * n) << trial;
    }
}

TEST(PackedRows, CellsGoToTheirGroupBits)
{
    struct Case {
        unsigned cell;
        uint8_t value;
        unsigned byte;
        uint8_t bit;
    } cases[] = {
        {0, 1, 0, 0x01},    {20, 7, 0, 0x02},   {140, 15, 0, 0x80}, {160, 3, 1, 0x01},
        {300, 1, 1, 0x80},  {19, 2, 38, 0x01},  {319, 1, 39, 0x80}, {21, 255, 2, 0x02},
    };
    for (const Case& c : cases) {
        std::vector<uint8_t> row(400, 0);
        row[c.cell] = c.value;
        uint8_t out[PACKED_ROW_BYTES];
        packRow(row.data(), 400, out);
        for (unsigned i = 0; i < PACKED_ROW_BYTES; ++i)
            EXPECT_EQ(out[i], i == c.byte ? c.bit : 0) << "cell " << c.cell << " byte " << i;
    }
}

TEST(PackedRows, OnlyTheFirst320CellsOfTheRowsWidthCount)
{
    std::vector<uint8_t> row(400, 7);
    uint8_t out[PACKED_ROW_BYTES];
    packRow(row.data(), 400, out);
    for (uint8_t b : out)
        EXPECT_EQ(b, 0xFF);
    packRow(row.data(), 21, out);  // cells 0 .. 20: group 0 has cells 0 and 20, the rest only cell g
    EXPECT_EQ(out[0], 0x03);
    EXPECT_EQ(out[1], 0x00);
    for (unsigned g = 1; g < 20; ++g)
        EXPECT_EQ(out[2 * g], 0x01) << g;
}

TEST(PageHeader, DocumentedExamplesByteForByte)
{
    uint8_t header[PAGE_HEADER_BYTES];
    buildPageHeader(header, 170, 220, FALSE, 0, 1, getDotHeightCode(1), FALSE, 1, 0, TRUE);
    EXPECT_EQ(Bytes(header, header + 16), (Bytes{0x1B, 0x84, 0x02, 0x10, 0x01, 0xAA, 0x00, 0xDC, 0x00, 0x00, 0x00,
                                                 0x00, 0x00, 0x00, 0x3B, 0x02}));
    EXPECT_EQ(pageChecksum(header), 0x023B);

    buildPageHeader(header, 170, 220, TRUE, 3, 2, getDotHeightCode(0), TRUE, 2, 14, FALSE);
    EXPECT_EQ(Bytes(header, header + 16), (Bytes{0x1B, 0x04, 0x41, 0x27, 0x02, 0xAA, 0x00, 0xDC, 0x00, 0x0E, 0x00,
                                                 0x00, 0x00, 0x00, 0x20, 0x02}));
}

TEST(PageHeader, FieldsAreMaskedToTheirWidths)
{
    uint8_t header[PAGE_HEADER_BYTES];
    buildPageHeader(header, 0x12345, 0x10203, TRUE, 0xF, 0xF, 0x7, 3, 0x1FF, 0x2FE, TRUE);
    EXPECT_EQ(header[2], 0x03);
    EXPECT_EQ(header[3], 0x7F);  // media 7, source 7, perforation 1; bit 7 stays clear
    EXPECT_EQ(header[4], 0xFF);
    EXPECT_EQ(header[5], 0x45);
    EXPECT_EQ(header[6], 0x23);
    EXPECT_EQ(header[7], 0x03);
    EXPECT_EQ(header[8], 0x02);
    EXPECT_EQ(header[9], 0xFE);
}

TEST(PageHeader, TheChecksumCoversTheByteCount)
{
    uint8_t header[PAGE_HEADER_BYTES];
    buildPageHeader(header, 170, 220, FALSE, 0, 1, 2, FALSE, 1, 0, TRUE);
    setPageByteCount(header, 0x01020304);
    EXPECT_EQ(Bytes(header + 10, header + 14), (Bytes{0x04, 0x03, 0x02, 0x01}));
    EXPECT_EQ(header[14] | (header[15] << 8), 0x023B + 10);

    // 14 bytes of 0xFF add up past 16 bits only with the 3: the sum keeps its low 16 bits.
    uint8_t ones[PAGE_HEADER_BYTES];
    memset(ones, 0xFF, sizeof ones);
    EXPECT_EQ(pageChecksum(ones), (14 * 255 + 3) & 0xFFFF);
}

TEST(PageHeader, DotHeightCodes)
{
    struct Case {
        INT dotHeight;
        DWORD code;
    } cases[] = {{0, 1}, {1, 2}, {2, 3}, {3, 2}, {-1, 2}, {100, 2}};
    for (const Case& c : cases)
        EXPECT_EQ(getDotHeightCode(c.dotHeight), c.code) << c.dotHeight;
}

TEST(PaperSource, BinNumbersToFeederCodes)
{
    struct Case {
        DWORD bin, code;
    } cases[] = {{1, 3},   {2, 5},   {3, 4},   {8, 1}, {257, 1}, {258, 2}, {264, 3},
                 {265, 4}, {266, 5}, {7, 0},   {0, 0}, {4, 0},   {259, 0}, {0xFFFFFFFF, 0}};
    for (const Case& c : cases)
        EXPECT_EQ(getPaperSourceCode(c.bin), c.code) << c.bin;
}

TEST(MediaType, TablesForBothKindsOfModel)
{
    struct Case {
        INT mediaType;
        DWORD pro[3];    // code, minimum, maximum on a professional model
        DWORD other[3];  // on the other models
    } cases[] = {
        {MEDIA_COPYPAPER, {3, 1, 0}, {2, 1, 0}},
        {MEDIA_PREMIUMPAPER, {0, 2, 12}, {0, 2, 12}},
        {MEDIA_CARDSTOCK, {4, 1, 0}, {3, 1, 0}},
        {MEDIA_BRAILLEPAPER, {1, 1, 0}, {1, 1, 0}},
        {MEDIA_ROLLPAPER, {2, 1, 0}, {0, 2, 14}},
        {MEDIA_SHEETPLASTIC, {0, 7, 18}, {4, 1, 0}},
        {MEDIA_CUSTOM, {0, 5, 9}, {0, 5, 9}},
        {MEDIA_TRANSPARENCY, {0, 1, 0}, {0, 1, 0}},
        {12345, {0, 1, 0}, {0, 1, 0}},
    };
    const char16_t* models[] = {u"Quorvane Professional", u"Quorvane Pro Ink", u"Quorvane Max", u""};
    for (const char16_t* model : models) {
        bool professional = model[0] && std::u16string(model) != u"Quorvane Max";
        for (const Case& c : cases) {
            Config config = {};
            px_wcscpy(config.devName, NAME_CHARS, model);
            config.mediaType = c.mediaType;
            config.minCustPForce = 5;
            config.maxCustPForce = 9;
            DWORD got[3] = {99, 99, 99};
            GetMediaType(&config, &got[0], &got[1], &got[2]);
            const DWORD* want = professional ? c.pro : c.other;
            for (int i = 0; i < 3; ++i)
                EXPECT_EQ(got[i], want[i]) << "media " << c.mediaType << " field " << i << " pro " << professional;
        }
    }
    DWORD code = 9, lo = 9, hi = 9;
    GetMediaType(nullptr, &code, &lo, &hi);
    EXPECT_EQ(code, 0u);
    EXPECT_EQ(lo, 1u);
    EXPECT_EQ(hi, 0u);
}

}  // namespace
