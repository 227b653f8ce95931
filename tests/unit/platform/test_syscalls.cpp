// Every system call of the platform goes through its table: a call made to fail
// there surfaces as the Windows failure and last error of the function that
// made it. The last error is seeded with a value no call sets, so a failure
// that sets no error cannot pass on a stale one.
#include "testkit.h"

#include "px/winapi.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <functional>
#include <string>

namespace {

constexpr DWORD kMagic = 0xdeadbeef;

struct Row {
    const char* name;
    std::function<void(PxSyscalls&)> breakCall;
    std::function<BOOL()> call;  // TRUE on success
    DWORD error;
};

BOOL openWrite(const char* path, DWORD share)
{
    HANDLE h = CreateFileA(path, GENERIC_WRITE, share, nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    return h != INVALID_HANDLE_VALUE && CloseHandle(h);
}

BOOL readOneByte()
{
    HANDLE h = CreateFileA("C:\\f", GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    char byte = 0;
    DWORD got = 7;
    BOOL ok = ReadFile(h, &byte, 1, &got, nullptr);
    DWORD error = GetLastError();
    CloseHandle(h);
    SetLastError(error);
    return ok && got == 1;
}

TEST(Syscalls, EachFailureSurfacesAsItsWindowsError)
{
    const Row rows[] = {
        {"open", [](PxSyscalls& s) { s.open = [](const char*, int, mode_t) { return errno = EACCES, -1; }; },
         [] { return openWrite("C:\\f", FILE_SHARE_READ); }, ERROR_ACCESS_DENIED},
        {"flock", [](PxSyscalls& s) { s.flock = [](int, int) { return errno = EWOULDBLOCK, -1; }; },
         [] { return openWrite("C:\\f", 0); }, ERROR_SHARING_VIOLATION},
        {"read", [](PxSyscalls& s) { s.read = [](int, void*, size_t) -> ssize_t { return errno = EIO, -1; }; },
         readOneByte, ERROR_WRITE_FAULT},
        {"mkdir", [](PxSyscalls& s) { s.mkdir = [](const char*, mode_t) { return errno = ENOSPC, -1; }; },
         [] { return CreateDirectoryA("C:\\d", nullptr); }, ERROR_DISK_FULL},
    };
    for (const Row& row : rows) {
        testkit::TempRoot root;
        testkit::writeFile(root.path() + "/drive_c/f", "x");
        testkit::SyscallGuard guard;
        row.breakCall(*guard.operator->());
        SetLastError(kMagic);
        EXPECT_FALSE(row.call()) << row.name;
        EXPECT_EQ(GetLastError(), row.error) << row.name;
    }
}

}  // namespace
