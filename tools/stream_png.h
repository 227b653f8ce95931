// Writes a picture of embosser pages as a PNG file.
#pragma once

#include "stream_picture.h"

#include <cstdio>
#include <string>

namespace tools {

// Writes the picture into file; "" or why libpng gave up.
std::string writePng(const formats::Picture& picture, FILE* file);

}  // namespace tools
