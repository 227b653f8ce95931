// Whole-file reading with a bound: a folder is refused before reading, and a
// device that never ends (/dev/zero) is refused once it passes the bound.
#include "input_file.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace formats {

std::string sizeText(size_t bytes)
{
    if (bytes >= (size_t(1) << 20) && bytes % (size_t(1) << 20) == 0)
        return std::to_string(bytes >> 20) + " MiB";
    if (bytes >= 1024 && bytes % 1024 == 0)
        return std::to_string(bytes >> 10) + " KiB";
    return std::to_string(bytes) + " bytes";
}

bool readInputFile(const std::string& path, size_t maxBytes, std::string& bytes, std::string& problem)
{
    int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) {
        problem = std::string("cannot read: ") + std::strerror(errno);
        return false;
    }
    struct stat st;
    if (::fstat(fd, &st) == 0 && S_ISDIR(st.st_mode)) {
        ::close(fd);
        problem = "is a directory";
        return false;
    }
    bytes.clear();
    char chunk[65536];
    for (;;) {
        ssize_t n = ::read(fd, chunk, sizeof chunk);
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0) {
            problem = std::string("cannot read: ") + std::strerror(errno);
            break;
        }
        if (n == 0) {
            ::close(fd);
            return true;
        }
        if (bytes.size() + (size_t)n > maxBytes) {
            problem = "larger than " + sizeText(maxBytes);
            break;
        }
        bytes.append(chunk, (size_t)n);
    }
    ::close(fd);
    bytes.clear();
    return false;
}

}  // namespace formats
