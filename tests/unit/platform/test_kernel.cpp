// Files, folders and paths of the POSIX platform library: opening, locking
// and making folders fail for real, a read through the system-call table,
// each with its Windows error.
#include "testkit.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <string>

namespace {

// The error a failed call left, or 0 when the call succeeded.
DWORD failure(bool ok) { return ok ? 0 : GetLastError(); }
HANDLE create(const char* path, DWORD share = FILE_SHARE_READ)
{
    return CreateFileA(path, GENERIC_WRITE, share, nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
}

TEST(Paths, WindowsPathsMapIntoTheRoot)
{
    testkit::TempRoot root;
    const std::string c = root.path() + "/drive_c";
    const std::pair<const char*, std::string> cases[] = {
        {"C:\\ProgramData\\Quorvane", c + "/ProgramData/Quorvane"},
        {"c:\\PumexPro.log", c + "/PumexPro.log"},
        {"/tmp/abs", "/tmp/abs"},
        {"fonts\\b.dp", "fonts/b.dp"},
    };
    char out[512];
    for (const auto& [in, expected] : cases) {
        ASSERT_TRUE(PxMapPath(in, out, sizeof out)) << in;
        EXPECT_EQ(out, expected) << in;
    }
    EXPECT_TRUE(!PxMapPath("C:\\a", out, 4) && out[0] == '\0' && !PxMapPath("", out, sizeof out));
    EXPECT_EQ(SHGetFolderPathA(nullptr, CSIDL_COMMON_APPDATA, nullptr, 0, out), S_OK);
    EXPECT_TRUE(std::string(out) == "C:\\ProgramData" && testkit::fileExists(c + "/ProgramData")) << "made on demand";
}

TEST(Files, CreateAppendAndShareLikeWindows)
{
    testkit::TempRoot root;
    const char* path = "C:\\ProgramData\\t.txt";
    HANDLE h = create(path);
    EXPECT_EQ(failure(create(path) != INVALID_HANDLE_VALUE), (DWORD)ERROR_SHARING_VIOLATION) << "a second writer";
    DWORD written = 0;
    EXPECT_TRUE(WriteFile(h, "abc", 3, &written, nullptr) && written == 3 && CloseHandle(h));
    h = create(path);
    EXPECT_EQ(GetLastError(), (DWORD)ERROR_ALREADY_EXISTS);
    EXPECT_EQ(SetFilePointer(h, 0, nullptr, FILE_END), 3u);
    EXPECT_TRUE(WriteFile(h, "de", 2, &written, nullptr) && CloseHandle(h));
    EXPECT_EQ(testkit::readFile(root.path() + "/drive_c/ProgramData/t.txt"), "abcde");
    // A read made to fail in the system-call table fails the same way; the last
    // error is seeded with a value no call sets, so a stale one cannot pass.
    h = CreateFileA(path, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    {
        testkit::SyscallGuard guard;
        guard->read = [](int, void*, size_t) -> ssize_t { return errno = EIO, -1; };
        char byte = 0;
        SetLastError(0xDEADBEEF);
        EXPECT_FALSE(ReadFile(h, &byte, 1, &written, nullptr));
        EXPECT_EQ(GetLastError(), (DWORD)ERROR_WRITE_FAULT);
    }
    CloseHandle(h);
    EXPECT_EQ(failure(GetFileAttributesA("C:\\nowhere") != INVALID_FILE_ATTRIBUTES), (DWORD)ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(failure(create("C:\\no\\such\\dir\\f") != INVALID_HANDLE_VALUE), (DWORD)ERROR_PATH_NOT_FOUND);
    EXPECT_TRUE(CreateDirectoryA("C:\\ProgramData\\Quorvane", nullptr)) << "one level at a time";
    EXPECT_EQ(failure(CreateDirectoryA("C:\\ProgramData\\Quorvane", nullptr)), (DWORD)ERROR_ALREADY_EXISTS);
    EXPECT_EQ(failure(CreateDirectoryA("C:\\a\\b\\c", nullptr)), (DWORD)ERROR_PATH_NOT_FOUND);
}

// MulDiv rounds halves away from zero and answers -1 when it cannot divide.
TEST(MulDivision, RoundsAsWindowsDoes)
{
    const INT cases[][4] = {{5, 1, 2, 3},         {-5, 1, 2, -3},       {5, -1, 2, -3},    {7, 3, 4, 5},
                            {1, 1, 0, -1},        {0x7FFFFFFF, 2, 1, -1}, {-7, -3, 4, 5},  {100, 255, 200, 128}};
    for (const auto& c : cases)
        EXPECT_EQ(MulDiv(c[0], c[1], c[2]), c[3]) << c[0] << "*" << c[1] << "/" << c[2];
}

}  // namespace
