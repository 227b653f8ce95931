// Embosser streams put together byte by byte, and read back, for the stream
// reader's tests.
#pragma once

#include "stream_decode.h"

#include <cstdint>
#include <initializer_list>
#include <vector>

namespace streamtest {

using Bytes = std::vector<uint8_t>;

// A page header with a correct checksum.
inline Bytes header(uint8_t format, unsigned width, unsigned height, uint32_t byteCount = 0, uint8_t dot = 0x02,
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

inline Bytes join(std::initializer_list<Bytes> parts)
{
    Bytes all;
    for (const Bytes& p : parts)
        all.insert(all.end(), p.begin(), p.end());
    return all;
}

inline formats::DecodedStream decode(const Bytes& b, unsigned version = 3, size_t maxKeptCells = size_t(64) << 20,
                                     size_t maxPages = 10000)
{
    formats::DecodeOptions o;
    o.version = version;
    o.maxKeptCells = maxKeptCells;
    o.maxPages = maxPages;
    return formats::decodeStream(b.data(), b.size(), o);
}

}  // namespace streamtest
