// Files, folders and the table of live handles.
//
// Share modes are kept with advisory locks: a writer that does not share
// writing holds an exclusive lock, so a second such open fails with
// ERROR_SHARING_VIOLATION, as a second writer of the log does on Windows.
#include "internal.h"

#include <cerrno>
#include <fcntl.h>
#include <mutex>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <unordered_set>

namespace {

struct FileHandle : px::HandleHeader {
    int fd;
};

std::mutex gHandleLock;
std::unordered_set<const px::HandleHeader*>& liveHandles()
{
    static auto* set = new std::unordered_set<const px::HandleHeader*>();
    return *set;
}

// Windows tells a missing file from a missing folder on its way.
DWORD missingFileError(const std::string& path)
{
    size_t slash = path.find_last_of('/');
    if (slash == std::string::npos || slash == 0)
        return ERROR_FILE_NOT_FOUND;
    struct stat st;
    return PxGetSyscalls()->stat(path.substr(0, slash).c_str(), &st) == 0 ? ERROR_FILE_NOT_FOUND : ERROR_PATH_NOT_FOUND;
}

bool shareAllowsLockFree(DWORD access, DWORD share)
{
    return !(access & GENERIC_WRITE) && (share & FILE_SHARE_WRITE);
}

HANDLE openFile(const std::string& path, DWORD access, DWORD share, DWORD disposition)
{
    if (path.empty())
        return px::fail(ERROR_PATH_NOT_FOUND, INVALID_HANDLE_VALUE);
    int flags = O_CLOEXEC;
    if ((access & GENERIC_READ) && (access & GENERIC_WRITE))
        flags |= O_RDWR;
    else if (access & GENERIC_WRITE)
        flags |= O_WRONLY;
    else
        flags |= O_RDONLY;

    struct stat st;
    bool existed = PxGetSyscalls()->stat(path.c_str(), &st) == 0;
    if (existed && S_ISDIR(st.st_mode))
        return px::fail(ERROR_ACCESS_DENIED, INVALID_HANDLE_VALUE);
    switch (disposition) {
    case CREATE_NEW: flags |= O_CREAT | O_EXCL; break;
    case CREATE_ALWAYS: flags |= O_CREAT; break;  // truncated once the lock is held
    case OPEN_EXISTING: break;
    case OPEN_ALWAYS: flags |= O_CREAT; break;
    case TRUNCATE_EXISTING: break;
    default: return px::fail(ERROR_INVALID_PARAMETER, INVALID_HANDLE_VALUE);
    }

    int fd = PxGetSyscalls()->open(path.c_str(), flags, 0666);
    if (fd < 0) {
        int err = errno;
        return px::fail(err == ENOENT ? missingFileError(path) : px::errorFromErrno(err), INVALID_HANDLE_VALUE);
    }

    if (!shareAllowsLockFree(access, share)) {
        int mode = ((access & GENERIC_WRITE) && !(share & FILE_SHARE_WRITE)) ? LOCK_EX : LOCK_SH;
        if (PxGetSyscalls()->flock(fd, mode | LOCK_NB) != 0) {
            PxGetSyscalls()->close(fd);
            return px::fail(ERROR_SHARING_VIOLATION, INVALID_HANDLE_VALUE);
        }
    }
    if (disposition == CREATE_ALWAYS || disposition == TRUNCATE_EXISTING) {
        if (::ftruncate(fd, 0) != 0) {
            int err = errno;
            PxGetSyscalls()->close(fd);
            return px::fail(px::errorFromErrno(err), INVALID_HANDLE_VALUE);
        }
    }

    auto* h = new (std::nothrow) FileHandle();
    if (!h) {
        PxGetSyscalls()->close(fd);
        return px::fail(ERROR_NOT_ENOUGH_MEMORY, INVALID_HANDLE_VALUE);
    }
    h->kind = px::HandleKind::File;
    h->fd = fd;
    px::registerHandle(h);
    // Windows reports an existing file opened with OPEN_ALWAYS or CREATE_ALWAYS this way.
    SetLastError(existed && (disposition == OPEN_ALWAYS || disposition == CREATE_ALWAYS) ? ERROR_ALREADY_EXISTS
                                                                                         : ERROR_SUCCESS);
    return h;
}

DWORD attributesOf(const std::string& path)
{
    struct stat st;
    if (path.empty() || PxGetSyscalls()->stat(path.c_str(), &st) != 0)
        return px::fail(px::errorFromErrno(path.empty() ? ENOENT : errno), INVALID_FILE_ATTRIBUTES);
    if (S_ISDIR(st.st_mode))
        return FILE_ATTRIBUTE_DIRECTORY;
    return (st.st_mode & 0222) ? FILE_ATTRIBUTE_NORMAL : FILE_ATTRIBUTE_READONLY;
}

BOOL makeDirectory(const std::string& path)
{
    if (path.empty())
        return px::fail(ERROR_PATH_NOT_FOUND, FALSE);
    if (PxGetSyscalls()->mkdir(path.c_str(), 0777) != 0) {
        int err = errno;
        return px::fail(err == ENOENT ? ERROR_PATH_NOT_FOUND : px::errorFromErrno(err), FALSE);
    }
    return TRUE;
}

}  // namespace

namespace px {

void registerHandle(HandleHeader* h)
{
    std::lock_guard<std::mutex> lock(gHandleLock);
    liveHandles().insert(h);
}

void unregisterHandle(HandleHeader* h)
{
    std::lock_guard<std::mutex> lock(gHandleLock);
    liveHandles().erase(h);
}

HandleHeader* findHandle(HANDLE h, HandleKind kind)
{
    std::lock_guard<std::mutex> lock(gHandleLock);
    auto* header = static_cast<HandleHeader*>(h);
    if (!h || h == INVALID_HANDLE_VALUE || !liveHandles().count(header) || header->kind != kind) {
        SetLastError(ERROR_INVALID_HANDLE);
        return nullptr;
    }
    return header;
}

}  // namespace px

HANDLE CreateFileA(LPCSTR lpFileName, DWORD dwDesiredAccess, DWORD dwShareMode, LPSECURITY_ATTRIBUTES,
                   DWORD dwCreationDisposition, DWORD, HANDLE)
{
    return openFile(px::mapPath(lpFileName), dwDesiredAccess, dwShareMode, dwCreationDisposition);
}

HANDLE CreateFileW(LPCWSTR lpFileName, DWORD dwDesiredAccess, DWORD dwShareMode, LPSECURITY_ATTRIBUTES,
                   DWORD dwCreationDisposition, DWORD, HANDLE)
{
    return openFile(px::mapPath(px::narrow(lpFileName).c_str()), dwDesiredAccess, dwShareMode,
                    dwCreationDisposition);
}

BOOL WriteFile(HANDLE hFile, LPCVOID lpBuffer, DWORD nNumberOfBytesToWrite, LPDWORD lpNumberOfBytesWritten,
               LPOVERLAPPED)
{
    if (lpNumberOfBytesWritten)
        *lpNumberOfBytesWritten = 0;
    auto* h = px::handleAs<FileHandle>(hFile, px::HandleKind::File);
    if (!h)
        return FALSE;
    if (!lpBuffer && nNumberOfBytesToWrite)
        return px::fail(ERROR_INVALID_PARAMETER, FALSE);
    const BYTE* p = static_cast<const BYTE*>(lpBuffer);
    DWORD done = 0;
    while (done < nNumberOfBytesToWrite) {
        ssize_t n = PxGetSyscalls()->write(h->fd, p + done, nNumberOfBytesToWrite - done);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0) {
            if (lpNumberOfBytesWritten)
                *lpNumberOfBytesWritten = done;
            return px::fail(n < 0 ? px::errorFromErrno(errno) : ERROR_DISK_FULL, FALSE);
        }
        done += (DWORD)n;
    }
    if (lpNumberOfBytesWritten)
        *lpNumberOfBytesWritten = done;
    return TRUE;
}

BOOL ReadFile(HANDLE hFile, LPVOID lpBuffer, DWORD nNumberOfBytesToRead, LPDWORD lpNumberOfBytesRead, LPOVERLAPPED)
{
    if (lpNumberOfBytesRead)
        *lpNumberOfBytesRead = 0;
    auto* h = px::handleAs<FileHandle>(hFile, px::HandleKind::File);
    if (!h)
        return FALSE;
    if (!lpBuffer && nNumberOfBytesToRead)
        return px::fail(ERROR_INVALID_PARAMETER, FALSE);
    DWORD done = 0;
    while (done < nNumberOfBytesToRead) {
        ssize_t n = PxGetSyscalls()->read(h->fd, static_cast<BYTE*>(lpBuffer) + done, nNumberOfBytesToRead - done);
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0)
            return px::fail(px::errorFromErrno(errno), FALSE);
        if (n == 0)
            break;  // end of file: success with fewer bytes
        done += (DWORD)n;
    }
    if (lpNumberOfBytesRead)
        *lpNumberOfBytesRead = done;
    return TRUE;
}

DWORD SetFilePointer(HANDLE hFile, LONG lDistanceToMove, PLONG lpDistanceToMoveHigh, DWORD dwMoveMethod)
{
    auto* h = px::handleAs<FileHandle>(hFile, px::HandleKind::File);
    if (!h)
        return INVALID_SET_FILE_POINTER;
    int64_t distance = lpDistanceToMoveHigh
                           ? (int64_t)(((uint64_t)(uint32_t)*lpDistanceToMoveHigh << 32) | (uint32_t)lDistanceToMove)
                           : (int64_t)lDistanceToMove;
    int whence = dwMoveMethod == FILE_BEGIN ? SEEK_SET : dwMoveMethod == FILE_CURRENT ? SEEK_CUR : SEEK_END;
    if (dwMoveMethod > FILE_END)
        return px::fail(ERROR_INVALID_PARAMETER, INVALID_SET_FILE_POINTER);
    off_t pos = ::lseek(h->fd, (off_t)distance, whence);
    if (pos < 0)
        return px::fail(ERROR_INVALID_PARAMETER, INVALID_SET_FILE_POINTER);
    if (lpDistanceToMoveHigh)
        *lpDistanceToMoveHigh = (LONG)((uint64_t)pos >> 32);
    else if ((uint64_t)pos > 0xFFFFFFFEull)
        return px::fail(ERROR_INVALID_PARAMETER, INVALID_SET_FILE_POINTER);
    SetLastError(ERROR_SUCCESS);
    return (DWORD)pos;
}

BOOL CloseHandle(HANDLE hObject)
{
    BOOL closed = FALSE;
    if (px::closeProcessHandle(hObject, &closed))
        return closed;
    auto* h = px::handleAs<FileHandle>(hObject, px::HandleKind::File);
    if (!h)
        return FALSE;
    px::unregisterHandle(h);
    int rc = PxGetSyscalls()->close(h->fd);  // closing also drops the share lock
    delete h;
    return rc == 0 ? TRUE : px::fail(ERROR_WRITE_FAULT, FALSE);
}

DWORD GetFileAttributesA(LPCSTR lpFileName) { return attributesOf(px::mapPath(lpFileName)); }

DWORD GetFileAttributesW(LPCWSTR lpFileName) { return attributesOf(px::mapPath(px::narrow(lpFileName).c_str())); }

BOOL CreateDirectoryA(LPCSTR lpPathName, LPSECURITY_ATTRIBUTES) { return makeDirectory(px::mapPath(lpPathName)); }

BOOL CreateDirectoryW(LPCWSTR lpPathName, LPSECURITY_ATTRIBUTES)
{
    return makeDirectory(px::mapPath(px::narrow(lpPathName).c_str()));
}

BOOL DeleteFileA(LPCSTR lpFileName)
{
    std::string path = px::mapPath(lpFileName);
    if (path.empty() || PxGetSyscalls()->unlink(path.c_str()) != 0)
        return px::fail(px::errorFromErrno(path.empty() ? ENOENT : errno), FALSE);
    return TRUE;
}

HRESULT SHGetFolderPathA(HWND, int csidl, HANDLE, DWORD, LPSTR pszPath)
{
    if (!pszPath)
        return E_INVALIDARG;
    pszPath[0] = 0;
    if (csidl != CSIDL_COMMON_APPDATA)
        return E_INVALIDARG;  // the only shell folder anything here asks for
    PxGetSystemRoot();        // makes sure the folder exists
    std::strcpy(pszPath, "C:\\ProgramData");
    return S_OK;
}
