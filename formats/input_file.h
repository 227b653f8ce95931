// Reading a file a user hands a command: whole, bounded, and refused with a
// plain reason when it is not a file of data (a folder, an endless device).
#pragma once

#include <cstddef>
#include <string>

namespace formats {

// Reads the whole file at path into bytes. False, with the reason in problem
// (for example "is a directory", "cannot read: Permission denied", "larger
// than 16 MiB"), when it is no readable file or holds more than maxBytes.
bool readInputFile(const std::string& path, size_t maxBytes, std::string& bytes, std::string& problem);

// "16 MiB", "512 KiB" or "100 bytes": a limit as messages give it.
std::string sizeText(size_t bytes);

}  // namespace formats
