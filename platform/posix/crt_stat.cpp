// _wstat: the C runtime's file status over the system root.
#include "internal.h"

#include "px/wincrt_stat.h"

#include <cerrno>

namespace {

// Windows reports only the kind and the owner's permission bits.
uint16_t windowsMode(mode_t mode)
{
    uint16_t out = 0;
    if (S_ISDIR(mode))
        out |= _S_IFDIR | _S_IEXEC;
    else if (S_ISCHR(mode))
        out |= _S_IFCHR;
    else
        out |= _S_IFREG;
    if (mode & S_IRUSR)
        out |= _S_IREAD;
    if (mode & S_IWUSR)
        out |= _S_IWRITE;
    if (mode & S_IXUSR)
        out |= _S_IEXEC;
    return out;
}

}  // namespace

int _wstat(const WCHAR* path, struct _stat* buffer)
{
    if (!path || !buffer) {
        errno = EINVAL;
        return -1;
    }
    std::string mapped = px::mapPath(px::narrow(path).c_str());
    struct stat st;
    if (mapped.empty()) {
        errno = ENOENT;
        return -1;
    }
    if (PxGetSyscalls()->stat(mapped.c_str(), &st) != 0)
        return -1;  // errno as stat left it
    *buffer = {};
    buffer->st_dev = (uint32_t)st.st_dev;
    buffer->st_ino = 0;  // Windows has no inode numbers here
    buffer->st_mode = windowsMode(st.st_mode);
    buffer->st_nlink = (int16_t)st.st_nlink;
    buffer->st_rdev = buffer->st_dev;
    buffer->st_size = (int32_t)st.st_size;  // cut as the 32-bit field of _stat64i32 is
    buffer->st_atime = (int64_t)st.st_atim.tv_sec;
    buffer->st_mtime = (int64_t)st.st_mtim.tv_sec;
    buffer->st_ctime = (int64_t)st.st_ctim.tv_sec;
    return 0;
}
