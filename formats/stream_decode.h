// Reading an embosser stream back: page headers, their checksums and byte
// counts, and the rows of each page body, decoded into dot values.
//
// A stream is pages one after another, each a 16-byte header and its body; the
// header does not say which output version made the body, so the reader is
// told (version 3, the usual one, unless said otherwise): version 1 bodies are
// packed rows of 40 bytes, versions 2 and 3 rows in the row encoding (header
// byte 1 = 0x04) or plain dot values (0x84), other versions no body at all.
// The first fault ends the reading; it is reported with the page and the byte
// offset where it lies.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace formats {

constexpr size_t kPageHeaderBytes = 16;
constexpr uint8_t kPageEscape = 0x1B;
constexpr uint8_t kFormatEncoded = 0x04;  // rows in the row encoding
constexpr uint8_t kFormatPlain = 0x84;    // rows as plain dot values
constexpr unsigned kPackedRowBytes = 40;
constexpr unsigned kPackedCells = 320;    // cells a packed row can carry

// The header's checksum: bytes 0 to 13 added as unsigned values, plus 3, kept to 16 bits.
uint16_t pageChecksum(const uint8_t* header);

// The fields of a page header as stored, and what they say.
struct PageHeader {
    uint8_t formatByte = 0;     // byte 1
    uint8_t dotHeightByte = 0;  // byte 2
    uint8_t mediaByte = 0;      // byte 3
    uint8_t minForce = 0;       // byte 4
    uint16_t width = 0;         // bytes 5-6, cells per row
    uint16_t height = 0;        // bytes 7-8, rows
    uint8_t maxForce = 0;       // byte 9
    uint32_t byteCount = 0;     // bytes 10-13: page size, or 0 for a page written as it was made
    uint16_t checksum = 0;      // bytes 14-15

    bool compressed() const { return formatByte == kFormatEncoded; }
    unsigned dotHeightCode() const { return dotHeightByte & 3u; }
    bool professional() const { return (dotHeightByte & 0x40u) == 0; }
    unsigned mediaCode() const { return (mediaByte >> 4) & 7u; }
    unsigned paperSource() const { return (mediaByte >> 1) & 7u; }
    bool perforation() const { return (mediaByte & 1u) != 0; }
};
PageHeader parsePageHeader(const uint8_t* header);

enum class BodyForm { Encoded, Plain, Packed, None };

struct DecodedPage {
    size_t index = 0;   // counted from 1
    size_t offset = 0;  // of the header in the stream
    size_t size = 0;    // header and body
    PageHeader header;
    BodyForm form = BodyForm::None;
    // Cells kept for drawing: columns x header.height dot values, row by row.
    // Packed rows hold 1 for a dot of any height and at most 320 columns.
    unsigned columns = 0;
    bool cellsKept = false;
    std::vector<uint8_t> cells;
    std::array<uint64_t, 256> histogram{};  // cells by dot value
    std::vector<std::string> warnings;      // oddities that do not stop the reading
};

// Where the reading stopped, and why.
struct StreamProblem {
    size_t page = 0;    // counted from 1
    size_t offset = 0;  // byte offset in the stream
    std::string message;
};

struct DecodeOptions {
    unsigned version = 3;  // the output version the stream was made with
    // Cells kept for the whole stream: pages past it are checked but their
    // cells not kept. Cells are kept as rows are read, never as a header claims.
    size_t maxKeptCells = size_t(64) << 20;
    size_t maxPages = 10000;  // more is no document: the reading stops with a problem
};

struct DecodedStream {
    size_t bytes = 0;
    std::vector<DecodedPage> pages;  // the complete pages before any problem
    bool ok = true;
    StreamProblem problem;
};

DecodedStream decodeStream(const uint8_t* data, size_t size, const DecodeOptions& options = DecodeOptions());

// Decodes one row of `words` 16-bit words from the row encoding into out
// (2 x words bytes). Returns the bytes read; 0 on a fault, with a message and
// the fault's offset from data.
size_t decodeRow(const uint8_t* data, size_t available, size_t words, uint8_t* out, std::string& error,
                 size_t& errorAt);

// Words for header fields and dot values, as the inspector shows them.
const char* dotHeightName(unsigned code);
const char* mediaName(unsigned code, bool professional);
const char* paperSourceName(unsigned code);
const char* bodyFormName(BodyForm form);
std::string dotValueName(unsigned value, BodyForm form);

}  // namespace formats
