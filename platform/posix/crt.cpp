// _wfopen: the C runtime's byte streams over the system root.
#include "internal.h"

#include <cerrno>
#include <cstdint>
#include <fcntl.h>
#include <stdio.h>
#include <unistd.h>
#include <sys/stat.h>

#include "px/wincrt.h"

namespace {

// The fopen mode for a Windows mode string, or "" when Windows would refuse it.
// The Windows-only flags (text mode, commit, caching and sequence hints) have
// no meaning for a POSIX stream and are dropped; "b" is kept, harmless.
std::string posixMode(const std::string& mode)
{
    if (mode.empty() || (mode[0] != 'r' && mode[0] != 'w' && mode[0] != 'a'))
        return {};
    std::string out(1, mode[0]);
    bool plus = false;
    for (size_t i = 1; i < mode.size(); ++i) {
        char c = mode[i];
        if (c == '+' && !plus) {
            plus = true;
            out += c;
        } else if (c == 'b') {
            out += c;
        } else if (c == 'x' && mode[0] == 'w') {
            out += c;
        } else if (c == 't' || c == 'c' || c == 'n' || c == 'N' || c == 'S' || c == 'R' || c == 'T' || c == 'D') {
            // Windows-only flag: nothing to do here.
        } else {
            return {};  // also ",ccs=": encoded text streams are not offered
        }
    }
    return out;
}

// open() flags for an fopen mode made by posixMode.
int openFlags(const std::string& mode)
{
    bool plus = mode.find('+') != std::string::npos;
    int flags = O_CLOEXEC | (plus ? O_RDWR : mode[0] == 'r' ? O_RDONLY : O_WRONLY);
    if (mode[0] == 'w')
        flags |= O_CREAT | O_TRUNC;
    if (mode[0] == 'a')
        flags |= O_CREAT | O_APPEND;
    if (mode.find('x') != std::string::npos)
        flags |= O_EXCL;
    return flags;
}

// The stream reads, writes and closes through the system-call table, as every
// other file of the platform does, so tests can make any of them fail.
int fdOf(void* cookie) { return (int)(intptr_t)cookie; }

ssize_t streamRead(void* cookie, char* buf, size_t n)
{
    ssize_t done = PxGetSyscalls()->read(fdOf(cookie), buf, n);
    return done < 0 ? -1 : done;
}

ssize_t streamWrite(void* cookie, const char* buf, size_t n)
{
    ssize_t done = PxGetSyscalls()->write(fdOf(cookie), buf, n);
    return done < 0 ? 0 : done;  // a stream's writer reports failure as nothing written
}

int streamSeek(void* cookie, off64_t* offset, int whence)
{
    off64_t at = ::lseek64(fdOf(cookie), *offset, whence);
    if (at < 0)
        return -1;
    *offset = at;
    return 0;
}

int streamClose(void* cookie) { return PxGetSyscalls()->close(fdOf(cookie)); }

const cookie_io_functions_t kStreamCalls = {streamRead, streamWrite, streamSeek, streamClose};

}  // namespace

FILE* _wfopen(const WCHAR* path, const WCHAR* mode)
{
    if (!path || !mode) {
        errno = EINVAL;
        return nullptr;
    }
    std::string fmode = posixMode(px::narrow(mode));
    if (fmode.empty()) {
        errno = EINVAL;
        return nullptr;
    }
    std::string mapped = px::mapPath(px::narrow(path).c_str());
    if (mapped.empty()) {
        errno = ENOENT;
        return nullptr;
    }
    int fd = PxGetSyscalls()->open(mapped.c_str(), openFlags(fmode), 0666);
    if (fd < 0)
        return nullptr;  // errno as open left it
    // POSIX opens a folder for reading; the Windows runtime refuses it.
    struct stat st;
    if (fstat(fd, &st) == 0 && S_ISDIR(st.st_mode)) {
        PxGetSyscalls()->close(fd);
        errno = EACCES;
        return nullptr;
    }
    FILE* file = fopencookie((void*)(intptr_t)fd, fmode.c_str(), kStreamCalls);
    if (!file) {
        int err = errno;
        PxGetSyscalls()->close(fd);
        errno = err;
    }
    return file;
}
