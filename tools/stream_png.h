// Writes a picture of embosser pages as a PNG file.
#pragma once

#include "stream_picture.h"

#include <string>

namespace tools {

// False with a message naming the file when it cannot be written.
bool writePng(const formats::Picture& picture, const std::string& path, std::string& error);

}  // namespace tools
