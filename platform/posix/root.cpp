// The system root, the mapping of Windows paths into it, and the system-call table.
#include "internal.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <mutex>
#include <stdio.h>
#include <sys/stat.h>
#include <unistd.h>

#ifndef PUMEX_DEFAULT_ROOT
#define PUMEX_DEFAULT_ROOT "/var/lib/pumex/root"
#endif

namespace {

int sysOpen(const char* path, int flags, mode_t mode) { return ::open(path, flags, mode); }

const PxSyscalls kRealSyscalls = {sysOpen, ::write, ::read, ::close, ::mkdir, ::rename, ::calloc};
PxSyscalls gSyscalls = kRealSyscalls;

// Never destroyed: the plug-in logs through the root while the process exits,
// after static objects of this library may already be gone.
std::mutex& gRootLock = *new std::mutex;
std::string& gRoot = *new std::string;  // empty until chosen

// Folders every Windows system has and the plug-in expects to exist.
const char* const kStandardFolders[] = {
    "drive_c",
    "drive_c/ProgramData",
    "drive_c/windows",
    "drive_c/windows/system32",
    "drive_c/windows/system32/spool",
    "drive_c/windows/system32/spool/drivers",
    "drive_c/windows/system32/spool/drivers/x64",
    "drive_c/windows/system32/spool/drivers/x64/3",
    "drive_c/windows/temp",
    "printers",
};

bool makeFolder(const std::string& path)
{
    if (::mkdir(path.c_str(), 0777) == 0 || errno == EEXIST)
        return true;
    return false;
}

bool prepareRoot(const std::string& root)
{
    if (!makeFolder(root))
        return false;
    for (const char* sub : kStandardFolders)
        if (!makeFolder(root + "/" + sub))
            return false;
    return true;
}

std::string stripTrailingSlashes(std::string s)
{
    while (s.size() > 1 && s.back() == '/')
        s.pop_back();
    return s;
}

}  // namespace

const char* PxGetSystemRoot(void)
{
    std::lock_guard<std::mutex> lock(gRootLock);
    if (gRoot.empty()) {
        const char* env = std::getenv("PUMEX_ROOT");
        gRoot = stripTrailingSlashes(env && *env ? env : PUMEX_DEFAULT_ROOT);
        prepareRoot(gRoot);
    }
    return gRoot.c_str();
}

BOOL PxSetSystemRoot(const char* root)
{
    {
        std::lock_guard<std::mutex> lock(gRootLock);
        gRoot.clear();
        if (root && *root) {
            gRoot = stripTrailingSlashes(root);
            return prepareRoot(gRoot) ? TRUE : FALSE;
        }
    }
    PxGetSystemRoot();
    return TRUE;
}

PxSyscalls* PxGetSyscalls(void) { return &gSyscalls; }

void PxResetSyscalls(void) { gSyscalls = kRealSyscalls; }

BOOL PxMapPath(const char* winPath, char* out, size_t cap)
{
    std::string mapped = px::mapPath(winPath);
    if (mapped.empty() || mapped.size() + 1 > cap) {
        if (out && cap)
            out[0] = 0;
        return FALSE;
    }
    std::memcpy(out, mapped.c_str(), mapped.size() + 1);
    return TRUE;
}

BOOL PxMapPathW(const WCHAR* winPath, char* out, size_t cap)
{
    return PxMapPath(px::narrow(winPath).c_str(), out, cap);
}

namespace px {

std::string mapPath(const char* winPath)
{
    if (!winPath || !*winPath)
        return {};
    std::string p(winPath);
    if (p[0] == '/')
        return p;  // already a POSIX path
    std::string out;
    size_t i = 0;
    bool letter = (p[0] >= 'A' && p[0] <= 'Z') || (p[0] >= 'a' && p[0] <= 'z');
    if (p.size() >= 2 && letter && p[1] == ':') {
        char drive = (char)(p[0] | 0x20);
        out = std::string(PxGetSystemRoot()) + "/drive_" + drive;
        i = 2;
        if (i < p.size() && p[i] != '\\' && p[i] != '/')
            out += '/';  // "C:x" is relative to the drive's root here
    }
    for (; i < p.size(); ++i)
        out += p[i] == '\\' ? '/' : p[i];
    // Windows ignores trailing blanks and dots of a name; keep paths as given otherwise.
    return out;
}

std::string narrow(const WCHAR* s)
{
    std::string out;
    if (!s)
        return out;
    size_t n = px_wcslen(s);
    out.resize(n * 3 + 1);
    out.resize(px_wide_to_utf8(&out[0], out.size(), s));
    return out;
}

std::string printerFilePath(const std::string& name)
{
    return std::string(PxGetSystemRoot()) + "/printers/" + name + ".json";
}

DWORD errorFromErrno(int err)
{
    switch (err) {
    case 0: return ERROR_SUCCESS;
    case ENOENT: return ERROR_FILE_NOT_FOUND;
    case ENOTDIR: return ERROR_PATH_NOT_FOUND;
    case EACCES:
    case EPERM:
    case EROFS: return ERROR_ACCESS_DENIED;
    case EEXIST: return ERROR_ALREADY_EXISTS;
    case ENOMEM: return ERROR_NOT_ENOUGH_MEMORY;
    case ENOSPC: return ERROR_DISK_FULL;
    case EMFILE:
    case ENFILE: return ERROR_TOO_MANY_OPEN_FILES;
    case ENAMETOOLONG: return ERROR_FILENAME_EXCED_RANGE;
    case EBADF: return ERROR_INVALID_HANDLE;
    case EWOULDBLOCK: return ERROR_SHARING_VIOLATION;
    case EIO: return ERROR_WRITE_FAULT;
    default: return ERROR_INVALID_PARAMETER;
    }
}

}  // namespace px
