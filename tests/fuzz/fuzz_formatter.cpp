// Fuzz target: the formatter behind the log. The first byte sizes the output,
// the text up to the next zero byte is the format, and the rest is the text
// every string argument points at (terminated both as bytes and as UTF-16
// units). Formats with more than five conversions are skipped: each may take
// three arguments, and sixteen are given.
#include "win32.h"

#include <algorithm>

#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (size < 2)
        return 0;
    const size_t capacity = data[0] + 1u;
    const char* begin = reinterpret_cast<const char*>(data + 1);
    const char* end = reinterpret_cast<const char*>(data + size);
    const char* zero = static_cast<const char*>(std::memchr(begin, 0, (size_t)(end - begin)));
    std::string format(begin, zero ? zero : end);
    if (std::count(format.begin(), format.end(), '%') > 5)
        return 0;
    std::vector<char16_t> text((zero ? (size_t)(end - zero) : 0) / 2 + 2, 0);
    if (zero)
        std::memcpy(text.data(), zero + 1, (size_t)(end - zero - 1));
    const void* s = text.data();
    std::vector<char> out(capacity);
    px_format(out.data(), capacity, format.c_str(), s, s, s, s, s, s, s, s, s, s, s, s, s, s, s, s);
    return 0;
}
