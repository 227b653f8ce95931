// The embosser stream's documented examples: the row encoding and the page header.
// Stored pages are read back in the stream reader's tests (large, random and
// odd-width ones) and compared byte for byte, header, byte count and checksum, in
// the job tests, whose fault sweeps also fail every allocation of a stored page.
#include "output/stream.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <vector>

namespace {

using Bytes = std::vector<uint8_t>;
using Words = std::vector<unsigned>;

Bytes encoded(const Words& words)
{
    Bytes row, out(words.size() * 4 + 2, 0xEE);
    for (unsigned w : words)
        row.insert(row.end(), {(uint8_t)(w & 0xFF), (uint8_t)(w >> 8)});
    row.resize(row.size() + 10, 0);  // the encoder's row buffer ends in zeros
    out.resize(encodeRow(row.data(), (DWORD)words.size() * 2, out.data()));
    return out;
}

TEST(RowEncoding, DocumentedExamples)
{
    Words oneTo128, nines(202, 9);  // 1, 200 nines, 2
    nines.front() = 1, nines.back() = 2;
    Bytes oneTo128Bytes = {0x00, 0x7F};  // a literal of 127 words, then one of 1
    for (unsigned i = 1; i <= 128; ++i) {
        oneTo128.push_back(i);
        Bytes tokens = i <= 127 ? Bytes{(uint8_t)i, 0} : Bytes{0x00, 0x01, 0x80, 0x00};
        oneTo128Bytes.insert(oneTo128Bytes.end(), tokens.begin(), tokens.end());
    }

    struct Case {
        const char* name;
        Words words;
        Bytes bytes;
    } cases[] = {
        {"(5, 0)", {5, 0}, {0x00, 0x01, 0x05, 0x00, 0x00, 0x01, 0x00, 0x00}},
        {"(0, 5)", {0, 5}, {0x00, 0x02, 0x00, 0x00, 0x05, 0x00}},
        {"(7, 7, 7)", {7, 7, 7}, {0x80, 0x02, 0x07, 0x00, 0x00, 0x01, 0x07, 0x00}},
        {"(1, 2, 3)", {1, 2, 3}, {0x00, 0x03, 0x01, 0x00, 0x02, 0x00, 0x03, 0x00}},
        {"(1, 2, 2): the last word is never in a run", {1, 2, 2},
         {0x00, 0x01, 0x01, 0x00, 0x80, 0x01, 0x02, 0x00, 0x00, 0x01, 0x02, 0x00}},
        {"(3, 0, 0)", {3, 0, 0}, {0x00, 0x01, 0x03, 0x00, 0x80, 0x01, 0x00, 0x00, 0x00, 0x01, 0x00, 0x00}},
        {"(0, 0, 0, 0)", {0, 0, 0, 0}, {0xC0, 0x01}},
        {"(7)", {7}, {0x00, 0x01, 0x07, 0x00}},
        {"9 x 130", Words(130, 9), {0x80, 0x7F, 0x09, 0x00, 0x80, 0x02, 0x09, 0x00, 0x00, 0x01, 0x09, 0x00}},
        {"1, 9 x 200, 2: runs stop at 127", nines,
         {0x00, 0x01, 0x01, 0x00, 0x80, 0x7F, 0x09, 0x00, 0x80, 0x49, 0x09, 0x00, 0x00, 0x01, 0x02, 0x00}},
        {"1 .. 128: literals stop at 127", oneTo128, oneTo128Bytes},
    };
    for (const Case& c : cases)
        EXPECT_EQ(encoded(c.words), c.bytes) << c.name;
}

TEST(PageHeader, DocumentedExamplesByteForByte)
{
    uint8_t h[PAGE_HEADER_BYTES];
    buildPageHeader(h, 170, 220, FALSE, 0, 1, getDotHeightCode(1), FALSE, 1, 0, TRUE);
    EXPECT_EQ(Bytes(h, h + 16), (Bytes{0x1B, 0x84, 0x02, 0x10, 0x01, 0xAA, 0x00, 0xDC, 0x00, 0x00, 0x00, 0x00, 0x00,
                                       0x00, 0x3B, 0x02}));
    buildPageHeader(h, 170, 220, TRUE, 3, 2, getDotHeightCode(0), TRUE, 2, 14, FALSE);
    EXPECT_EQ(Bytes(h, h + 16), (Bytes{0x1B, 0x04, 0x41, 0x27, 0x02, 0xAA, 0x00, 0xDC, 0x00, 0x0E, 0x00, 0x00, 0x00,
                                       0x00, 0x20, 0x02}));
}

}  // namespace
