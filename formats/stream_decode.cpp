// Reading an embosser stream back, checking every header and row on the way.
#include "stream_decode.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace formats {

namespace {

constexpr uint8_t kTokenLiteral = 0x00;
constexpr uint8_t kTokenRun = 0x80;
constexpr uint8_t kTokenBlank = 0xC0;
constexpr unsigned kMaxTokenWords = 127;

std::string hex2(unsigned v)
{
    char text[8];
    std::snprintf(text, sizeof text, "0x%02X", v & 0xFFu);
    return text;
}

std::string hex4(unsigned v)
{
    char text[8];
    std::snprintf(text, sizeof text, "0x%04X", v & 0xFFFFu);
    return text;
}

uint16_t le16(const uint8_t* p) { return (uint16_t)(p[0] | (p[1] << 8)); }
uint32_t le32(const uint8_t* p) { return (uint32_t)p[0] | ((uint32_t)p[1] << 8) | ((uint32_t)p[2] << 16) | ((uint32_t)p[3] << 24); }

bool knownDotValue(unsigned v) { return v <= 7 || v == 15 || v == 255; }

// Reads one page at data[offset]; false (and the problem) when it is damaged.
class PageReader {
public:
    PageReader(const uint8_t* data, size_t size, const DecodeOptions& options, size_t keepable, DecodedPage& page,
               StreamProblem& problem)
        : data_(data), size_(size), options_(options), keepable_(keepable), page_(page), problem_(problem)
    {
    }

    bool read()
    {
        size_t start = page_.offset;
        if (size_ - start < kPageHeaderBytes)
            return fail(start, "the stream ends inside the page header (" + std::to_string(size_ - start) +
                                   " of 16 bytes)");
        const uint8_t* h = data_ + start;
        if (h[0] != kPageEscape)
            return fail(start, "a page header starts with the escape byte 0x1B, found " + hex2(h[0]));
        page_.header = parsePageHeader(h);
        uint16_t sum = pageChecksum(h);
        if (sum != page_.header.checksum)
            return fail(start + 14, "header checksum is " + hex4(page_.header.checksum) + " but bytes 0 to 13 give " +
                                        hex4(sum));
        if (h[1] != kFormatEncoded && h[1] != kFormatPlain)
            return fail(start + 1, "unknown body-format byte " + hex2(h[1]) + " (expected 0x04 or 0x84)");
        if (h[2] & ~0x43u)
            page_.warnings.push_back("reserved bits set in the dot-height byte " + hex2(h[2]));
        if (page_.header.dotHeightCode() == 0)
            page_.warnings.push_back("dot-height code 0 is not one the driver writes");
        if (h[3] & 0x80u)
            page_.warnings.push_back("bit 7 of the media byte is set (" + hex2(h[3]) + ")");
        if (page_.header.paperSource() > 5)
            page_.warnings.push_back("paper-source code " + std::to_string(page_.header.paperSource()) +
                                     " names no feeder");

        pos_ = start + kPageHeaderBytes;
        if (!readBody())
            return false;
        page_.size = pos_ - start;
        uint32_t count = page_.header.byteCount;
        if (count != 0 && count != page_.size)
            return fail(start + 10, "the header's byte count says " + std::to_string(count) + " bytes but the page has " +
                                        std::to_string(page_.size));
        return true;
    }

private:
    bool fail(size_t offset, const std::string& message)
    {
        problem_.page = page_.index;
        problem_.offset = offset;
        problem_.message = message;
        return false;
    }

    bool readBody()
    {
        const PageHeader& hd = page_.header;
        if (options_.version == 1)
            page_.form = BodyForm::Packed;
        else if (options_.version == 2 || options_.version == 3)
            page_.form = hd.compressed() ? BodyForm::Encoded : BodyForm::Plain;
        else
            page_.form = BodyForm::None;
        if (page_.form == BodyForm::None)
            return true;

        page_.columns = page_.form == BodyForm::Packed ? std::min<unsigned>(hd.width, kPackedCells) : hd.width;
        size_t cells = (size_t)page_.columns * hd.height;
        page_.cellsKept = cells <= keepable_;  // the cells grow as rows are read, not as the header claims
        if (page_.form == BodyForm::Encoded && (hd.width & 1u))
            return fail(page_.offset + 5, "odd page width " + std::to_string(hd.width) +
                                              " cannot be read as 16-bit words");

        std::vector<uint8_t> row(page_.form == BodyForm::Packed ? kPackedCells : hd.width);
        for (unsigned y = 0; y < hd.height; ++y) {
            bool good = page_.form == BodyForm::Encoded ? readEncodedRow(row, y)
                        : page_.form == BodyForm::Plain ? readPlainRow(row, y)
                                                        : readPackedRow(row, y);
            if (!good)
                return false;
            keep(row, blank_);
        }
        reportOddValues();
        return true;
    }

    void keep(const std::vector<uint8_t>& row, bool blank)
    {
        if (blank)
            page_.histogram[0] += page_.columns;  // a 2-byte token costs no walk over its cells
        else
            for (unsigned x = 0; x < page_.columns; ++x)
                ++page_.histogram[row[x]];
        if (page_.cellsKept)
            page_.cells.insert(page_.cells.end(), row.begin(), row.begin() + page_.columns);
    }

    bool readEncodedRow(std::vector<uint8_t>& row, unsigned y)
    {
        std::string error;
        size_t at = 0;
        blank_ = size_ - pos_ >= 2 && data_[pos_] == kTokenBlank;
        size_t used = decodeRow(data_ + pos_, size_ - pos_, row.size() / 2, row.data(), error, at);
        if (used == 0)
            return fail(pos_ + at, "row " + std::to_string(y) + ": " + error);
        pos_ += used;
        return true;
    }

    bool readPlainRow(std::vector<uint8_t>& row, unsigned y)
    {
        if (size_ - pos_ < row.size())
            return fail(size_, "row " + std::to_string(y) + ": the stream ends after " + std::to_string(size_ - pos_) +
                                   " of its " + std::to_string(row.size()) + " bytes");
        if (!row.empty())  // a page of width 0 has no row buffer at all
            std::memcpy(row.data(), data_ + pos_, row.size());
        pos_ += row.size();
        return true;
    }

    bool readPackedRow(std::vector<uint8_t>& row, unsigned y)
    {
        if (size_ - pos_ < kPackedRowBytes)
            return fail(size_, "row " + std::to_string(y) + ": the stream ends after " + std::to_string(size_ - pos_) +
                                   " of its 40 packed bytes");
        const uint8_t* p = data_ + pos_;
        bool beyond = false;
        for (unsigned g = 0; g < 20; ++g) {
            unsigned bits = p[2 * g] | (p[2 * g + 1] << 8);
            for (unsigned j = 0; j < 16; ++j) {
                unsigned cell = g + 20 * j;
                row[cell] = (bits >> j) & 1u;
                beyond |= row[cell] && cell >= page_.header.width;
            }
        }
        if (beyond && !beyondReported_) {
            page_.warnings.push_back("row " + std::to_string(y) + " has dots beyond the page width");
            beyondReported_ = true;
        }
        pos_ += kPackedRowBytes;
        return true;
    }

    void reportOddValues()
    {
        if (page_.form == BodyForm::Packed)
            return;
        uint64_t odd = 0;
        for (unsigned v = 0; v < 256; ++v)
            if (!knownDotValue(v))
                odd += page_.histogram[v];
        if (odd)
            page_.warnings.push_back(std::to_string(odd) + " cells hold values that are no dot height");
    }

    const uint8_t* data_;
    size_t size_;
    const DecodeOptions& options_;
    size_t keepable_;  // cells the stream may still keep
    DecodedPage& page_;
    StreamProblem& problem_;
    size_t pos_ = 0;
    bool beyondReported_ = false;
    bool blank_ = false;  // the row just read was one blank-row token
};

}  // namespace

uint16_t pageChecksum(const uint8_t* header)
{
    uint16_t sum = 0;
    for (int i = 0; i < 14; ++i)
        sum = (uint16_t)(sum + header[i]);
    return (uint16_t)(sum + 3);
}

PageHeader parsePageHeader(const uint8_t* h)
{
    PageHeader p;
    p.formatByte = h[1];
    p.dotHeightByte = h[2];
    p.mediaByte = h[3];
    p.minForce = h[4];
    p.width = le16(h + 5);
    p.height = le16(h + 7);
    p.maxForce = h[9];
    p.byteCount = le32(h + 10);
    p.checksum = le16(h + 14);
    return p;
}

size_t decodeRow(const uint8_t* data, size_t available, size_t words, uint8_t* out, std::string& error,
                 size_t& errorAt)
{
    size_t pos = 0, done = 0;
    auto fault = [&](size_t at, const std::string& message) -> size_t {
        error = message;
        errorAt = at;
        return 0;
    };
    // The first token is read even for a row of no words: such a row is one blank-row token.
    do {
        if (available - pos < 2)
            return fault(available, "the stream ends inside a row token (" + std::to_string(done) + " of " +
                                        std::to_string(words) + " words read)");
        uint8_t kind = data[pos], n = data[pos + 1];
        if (kind == kTokenBlank) {
            if (n != 0x01)
                return fault(pos, "impossible token C0 " + hex2(n).substr(2) + " (a blank row is C0 01)");
            if (done != 0)
                return fault(pos, "blank-row token after " + std::to_string(done) + " words of the row");
            if (words)
                std::memset(out, 0, words * 2);
            return pos + 2;
        }
        if (kind != kTokenRun && kind != kTokenLiteral)
            return fault(pos, "impossible token " + hex2(kind) + " (expected 0x00, 0x80 or 0xC0)");
        if (n == 0 || n > kMaxTokenWords)
            return fault(pos, std::string(kind == kTokenRun ? "run" : "literal") + " of " + std::to_string(n) +
                                  " words (1 to 127 allowed)");
        if (n > words - done)
            return fault(pos, std::string(kind == kTokenRun ? "run" : "literal") + " of " + std::to_string(n) +
                                  " words passes the row's end (" + std::to_string(words - done) + " left)");
        size_t payload = kind == kTokenRun ? 2 : 2 * (size_t)n;
        if (available - pos - 2 < payload)
            return fault(available, "the stream ends inside a " + std::string(kind == kTokenRun ? "run" : "literal") +
                                        " token");
        const uint8_t* p = data + pos + 2;
        for (unsigned i = 0; i < n; ++i) {
            const uint8_t* w = kind == kTokenRun ? p : p + 2 * i;
            out[2 * (done + i)] = w[0];
            out[2 * (done + i) + 1] = w[1];
        }
        done += n;
        pos += 2 + payload;
    } while (done < words);
    return pos;
}

DecodedStream decodeStream(const uint8_t* data, size_t size, const DecodeOptions& options)
{
    DecodedStream stream;
    stream.bytes = size;
    size_t offset = 0, keepable = options.maxKeptCells;
    while (offset < size) {
        if (stream.pages.size() == options.maxPages) {
            stream.ok = false;
            stream.problem = {stream.pages.size() + 1, offset,
                              "more than " + std::to_string(options.maxPages) + " pages: no document is this long"};
            break;
        }
        DecodedPage page;
        page.index = stream.pages.size() + 1;
        page.offset = offset;
        PageReader reader(data, size, options, keepable, page, stream.problem);
        if (!reader.read()) {
            stream.ok = false;
            break;
        }
        keepable -= page.cells.size();
        offset += page.size;
        stream.pages.push_back(std::move(page));
    }
    return stream;
}

const char* dotHeightName(unsigned code)
{
    switch (code) {
    case 1: return "heavy";
    case 2: return "normal";
    case 3: return "light";
    default: return "not set";
    }
}

const char* mediaName(unsigned code, bool professional)
{
    static const char* const kProfessional[] = {"unnamed (forces only)", "braille paper", "roll or light braille paper",
                                                "copy paper", "cardstock"};
    static const char* const kOther[] = {"unnamed (forces only)", "braille paper", "copy paper", "cardstock",
                                         "sheet plastic"};
    if (code > 4)
        return "unknown media";
    return professional ? kProfessional[code] : kOther[code];
}

const char* paperSourceName(unsigned code)
{
    static const char* const kNames[] = {"automatic",           "lower tractor feeder (standard)",
                                         "upper tractor feeder", "top sheet feeder (standard)",
                                         "middle sheet feeder",  "bottom sheet feeder"};
    return code <= 5 ? kNames[code] : "unknown feeder";
}

const char* bodyFormName(BodyForm form)
{
    switch (form) {
    case BodyForm::Encoded: return "encoded rows";
    case BodyForm::Plain: return "plain rows";
    case BodyForm::Packed: return "packed rows";
    case BodyForm::None: return "no body";
    }
    return "no body";
}

std::string dotValueName(unsigned value, BodyForm form)
{
    if (form == BodyForm::Packed)
        return value ? "dot" : "blank";
    if (value == 0)
        return "blank";
    if (value <= 7)
        return "height " + std::to_string(value);
    if (value == 15)
        return "braille";
    if (value == 255)
        return "outside";
    return "value " + std::to_string(value);
}

}  // namespace formats
