// A picture of decoded embosser pages for a sighted reader: each page on white
// with a dark edge, pages side by side and wrapping into rows on a grey table;
// graphic dots as grey squares, darker for taller dots; braille dots as blue
// discs; cells outside a stored page pale yellow; values that are no dot
// height magenta.
#pragma once

#include "stream_decode.h"

#include <cstdint>
#include <string>
#include <vector>

namespace formats {

struct Picture {
    unsigned width = 0;
    unsigned height = 0;
    std::vector<uint8_t> rgb;  // width x height pixels, 3 bytes each, row by row
};

struct PictureOptions {
    unsigned scale = 4;        // pixels per cell side; lowered when the picture would be too large
    unsigned pagesPerRow = 4;
    unsigned maxSide = 16000;  // largest width or height in pixels
    uint64_t maxPixels = uint64_t(32) << 20;  // largest picture: 96 MiB of pixels
};

// Draws the pages of a stream (all of them, or none when there are none: a
// small empty table). False with a message when no scale fits maxSide.
bool drawStream(const DecodedStream& stream, const PictureOptions& options, Picture& picture, std::string& error);

// The colour a cell of that dot value is drawn in.
struct Rgb {
    uint8_t r, g, b;
    bool operator==(const Rgb& o) const { return r == o.r && g == o.g && b == o.b; }
};
Rgb cellColour(unsigned value, BodyForm form);
extern const Rgb kPaperColour;
extern const Rgb kEdgeColour;
extern const Rgb kTableColour;

}  // namespace formats
