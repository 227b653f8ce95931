// The platform's calls go through its system-call table: a call made to fail
// there surfaces as the Windows failure and last error of the function that
// made it. The last error is seeded with a value no call sets, so a failure
// that sets no error cannot pass on a stale one. (Opening, locking and making
// folders fail for real in the file tests, with their Windows errors.)
#include "testkit.h"

#include "px/winapi.h"

#include <gtest/gtest.h>

#include <cerrno>

namespace {

TEST(Syscalls, AFailedReadSurfacesAsItsWindowsError)
{
    testkit::TempRoot root;
    testkit::writeFile(root.path() + "/drive_c/f", "x");
    HANDLE h = CreateFileA("C:\\f", GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    ASSERT_NE(h, INVALID_HANDLE_VALUE);
    testkit::SyscallGuard guard;
    guard->read = [](int, void*, size_t) -> ssize_t { return errno = EIO, -1; };
    char byte = 0;
    DWORD got = 7;
    SetLastError(0xDEADBEEF);
    EXPECT_FALSE(ReadFile(h, &byte, 1, &got, nullptr));
    EXPECT_EQ(GetLastError(), (DWORD)ERROR_WRITE_FAULT);
    CloseHandle(h);
}

}  // namespace
