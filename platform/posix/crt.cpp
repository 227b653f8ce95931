// _wfopen: the C runtime's byte streams over the system root.
#include "internal.h"

#include <cerrno>
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
    FILE* file = fopen(mapped.c_str(), fmode.c_str());
    if (!file)
        return nullptr;  // errno as fopen left it
    // POSIX opens a folder for reading; the Windows runtime refuses it.
    struct stat st;
    if (fstat(fileno(file), &st) == 0 && S_ISDIR(st.st_mode)) {
        fclose(file);
        errno = EACCES;
        return nullptr;
    }
    return file;
}
