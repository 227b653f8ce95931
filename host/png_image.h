// Pictures a job draws: PNG files read into 8-bit RGB rows (transparency
// composed over white paper), and written back for fixtures.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace host {

struct Picture {
    int32_t width = 0, height = 0;
    std::vector<uint8_t> rgb;  // rows top to bottom, 3 bytes a pixel, no padding
};

// The picture's size from its header; false and a one-line reason (without
// the file name) when the file is missing or not a readable PNG.
bool readPngSize(const std::string& path, int32_t& width, int32_t& height, std::string& error);

// Decodes the whole picture; false and a one-line reason on failure.
bool readPng(const std::string& path, Picture& picture, std::string& error);

// Writes an 8-bit RGB PNG; false and a one-line reason on failure.
bool writePng(const std::string& path, const Picture& picture, std::string& error);

}  // namespace host
