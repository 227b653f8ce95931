// Braille font file bytes for the reader's tests, built field by field.
#pragma once

#include <initializer_list>
#include <string>
#include <vector>

namespace fontbytes {

inline std::string bytes(std::initializer_list<int> values)
{
    std::string out;
    for (int v : values)
        out += (char)v;
    return out;
}

// The smallest complete font: "AB", one glyph A with dot 1 of a 6-dot cell.
inline std::string example()
{
    return bytes({0x44, 0x50, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x1F, 0x00, 0x01, 0x03, 0x02, 0x00, 0x00,
                  0x04, 0x41, 0x00, 0x42, 0x00, 0x00, 0x41, 0x03, 0x02, 0x00, 0x00, 0x00, 0x40, 0x00, 0x00});
}

// The header up to and with the name: "DP", 4 ignored bytes, a file size of
// 0, the glyph count, maxima 3 and 2, 2 ignored bytes, the name's length and bytes.
inline std::string header(int numGlyphs, const std::string& nameBytes)
{
    return bytes({0x44, 0x50, 0, 0, 0, 0, 0, 0, 0, 0, (numGlyphs >> 8) & 0xFF, numGlyphs & 0xFF, 3, 2, 0, 0,
                  (int)nameBytes.size()}) +
           nameBytes;
}

// One glyph record: code, height, width, 3 ignored bytes, the bitmap.
inline std::string glyph(int code, int height, int width, const std::vector<int>& bits)
{
    std::string out = bytes({(code >> 8) & 0xFF, code & 0xFF, height, width, 0, 0, 0});
    for (int b : bits)
        out += (char)b;
    return out;
}

}  // namespace fontbytes
