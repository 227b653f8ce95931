// Shared between the POSIX implementation files of the platform library.
#pragma once

#include "px/posix.h"

#include <string>

namespace px {

// Kinds of object a HANDLE of this library can stand for.
enum class HandleKind : uint32_t { File = 1, Printer = 2, Process = 3, RegistryKey = 4 };

// Every handle this library gives out starts with this header and is kept in a
// table of live handles, so a stale or foreign handle is refused, never followed.
struct HandleHeader {
    HandleKind kind;
};
void registerHandle(HandleHeader* h);
void unregisterHandle(HandleHeader* h);
// The live handle of that kind, or null (last error ERROR_INVALID_HANDLE).
HandleHeader* findHandle(HANDLE h, HandleKind kind);

template <typename T>
T* handleAs(HANDLE h, HandleKind kind)
{
    return static_cast<T*>(findHandle(h, kind));
}

// Closes h when it is a process or thread handle (process.cpp): true and the
// result in *result; otherwise false, with the last error left as it was.
bool closeProcessHandle(HANDLE h, BOOL* result);

// Sets the thread's last error and returns the value given, for one-line failures.
template <typename T>
T fail(DWORD error, T result)
{
    SetLastError(error);
    return result;
}

// The Windows error for a POSIX errno value.
DWORD errorFromErrno(int err);

// UTF-16 to UTF-8 text as a std::string.
std::string narrow(const WCHAR* s);

// Maps a Windows path into the system root; empty when it does not fit.
std::string mapPath(const char* winPath);

// The printer file path for a printer name: <root>/printers/<name>.json.
std::string printerFilePath(const std::string& name);

}  // namespace px
