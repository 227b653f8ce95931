// Files, folders, paths and global memory of the POSIX platform library.
#include "testkit.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <string>

namespace {

using testkit::TempRoot;

TEST(Paths, WindowsPathsMapIntoTheRoot)
{
    TempRoot root;
    char out[512];
    struct Case {
        const char* in;
        std::string out;
    } cases[] = {
        {"C:\\ProgramData\\Quorvane", root.path() + "/drive_c/ProgramData/Quorvane"},
        {"c:\\PumexPro.log", root.path() + "/drive_c/PumexPro.log"},
        {"D:\\x", root.path() + "/drive_d/x"},
        {"/tmp/abs", "/tmp/abs"},
        {"fonts\\b.dp", "fonts/b.dp"},
    };
    for (const Case& c : cases) {
        ASSERT_TRUE(PxMapPath(c.in, out, sizeof out)) << c.in;
        EXPECT_EQ(out, c.out) << c.in;
    }
    EXPECT_FALSE(PxMapPath("C:\\a", out, 4));
    EXPECT_STREQ(out, "");
    EXPECT_FALSE(PxMapPath("", out, sizeof out));
}

TEST(Files, CreateAppendAndShareLikeWindows)
{
    TempRoot root;
    const char* path = "C:\\ProgramData\\t.txt";
    HANDLE h = CreateFileA(path, GENERIC_WRITE, FILE_SHARE_READ, nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    ASSERT_NE(h, INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), (DWORD)ERROR_SUCCESS);

    // A second writer that does not share writing is refused while the first is open.
    HANDLE second =
        CreateFileA(path, GENERIC_WRITE, FILE_SHARE_READ, nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    EXPECT_EQ(second, INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), (DWORD)ERROR_SHARING_VIOLATION);

    DWORD written = 0;
    EXPECT_TRUE(WriteFile(h, "abc", 3, &written, nullptr));
    EXPECT_EQ(written, 3u);
    EXPECT_TRUE(CloseHandle(h));
    EXPECT_FALSE(CloseHandle(h));  // stale handle
    EXPECT_EQ(GetLastError(), (DWORD)ERROR_INVALID_HANDLE);

    h = CreateFileA(path, GENERIC_WRITE, FILE_SHARE_READ, nullptr, OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    ASSERT_NE(h, INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), (DWORD)ERROR_ALREADY_EXISTS);
    EXPECT_EQ(SetFilePointer(h, 0, nullptr, FILE_END), 3u);
    EXPECT_TRUE(WriteFile(h, "de", 2, &written, nullptr));
    CloseHandle(h);
    EXPECT_EQ(testkit::readFile(root.path() + "/drive_c/ProgramData/t.txt"), "abcde");

    EXPECT_EQ(GetFileAttributesA(path), (DWORD)FILE_ATTRIBUTE_NORMAL);
    EXPECT_EQ(GetFileAttributesA("C:\\ProgramData"), (DWORD)FILE_ATTRIBUTE_DIRECTORY);
    EXPECT_EQ(GetFileAttributesA("C:\\nowhere"), INVALID_FILE_ATTRIBUTES);
    EXPECT_EQ(GetLastError(), (DWORD)ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(CreateFileA("C:\\no\\such\\dir\\f", GENERIC_WRITE, 0, nullptr, OPEN_ALWAYS, 0, nullptr),
              INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), (DWORD)ERROR_PATH_NOT_FOUND);
}

TEST(Files, DirectoriesAreMadeOneLevelAtATime)
{
    TempRoot root;
    EXPECT_TRUE(CreateDirectoryA("C:\\ProgramData\\Quorvane", nullptr));
    EXPECT_FALSE(CreateDirectoryA("C:\\ProgramData\\Quorvane", nullptr));
    EXPECT_EQ(GetLastError(), (DWORD)ERROR_ALREADY_EXISTS);
    EXPECT_FALSE(CreateDirectoryA("C:\\a\\b\\c", nullptr));
    EXPECT_EQ(GetLastError(), (DWORD)ERROR_PATH_NOT_FOUND);
}

TEST(Files, InjectedFaultsSurfaceAsWindowsErrors)
{
    TempRoot root;
    PxGetSyscalls()->open = [](const char*, int, mode_t) -> int {
        errno = EACCES;
        return -1;
    };
    EXPECT_EQ(CreateFileA("C:\\f", GENERIC_WRITE, 0, nullptr, OPEN_ALWAYS, 0, nullptr), INVALID_HANDLE_VALUE);
    EXPECT_EQ(GetLastError(), (DWORD)ERROR_ACCESS_DENIED);
    PxResetSyscalls();

    HANDLE h = CreateFileA("C:\\f", GENERIC_WRITE, 0, nullptr, OPEN_ALWAYS, 0, nullptr);
    ASSERT_NE(h, INVALID_HANDLE_VALUE);
    PxGetSyscalls()->write = [](int, const void*, size_t) -> ssize_t {
        errno = ENOSPC;
        return -1;
    };
    DWORD written = 7;
    EXPECT_FALSE(WriteFile(h, "x", 1, &written, nullptr));
    EXPECT_EQ(written, 0u);
    EXPECT_EQ(GetLastError(), (DWORD)ERROR_DISK_FULL);
    PxResetSyscalls();
    CloseHandle(h);
}

TEST(GlobalMemory, ZeroFilledLockableAndSized)
{
    HGLOBAL h = GlobalAlloc(GMEM_MOVEABLE | GMEM_ZEROINIT, 100);
    ASSERT_NE(h, nullptr);
    auto* p = static_cast<BYTE*>(GlobalLock(h));
    ASSERT_NE(p, nullptr);
    for (int i = 0; i < 100; ++i)
        ASSERT_EQ(p[i], 0);
    EXPECT_EQ(GlobalHandle(p), h);
    EXPECT_EQ(GlobalSize(h), 100u);
    GlobalUnlock(h);
    EXPECT_EQ(GlobalFree(h), nullptr);

    int local = 0;
    EXPECT_EQ(GlobalSize(&local), 0u);
    EXPECT_EQ(GetLastError(), (DWORD)ERROR_INVALID_HANDLE);

    PxGetSyscalls()->calloc = [](size_t, size_t) -> void* { return nullptr; };
    EXPECT_EQ(GlobalAlloc(GHND, 10), nullptr);
    EXPECT_EQ(GetLastError(), (DWORD)ERROR_NOT_ENOUGH_MEMORY);
    PxResetSyscalls();
}

TEST(LastError, IsPerThread)
{
    SetLastError(1234);
    EXPECT_EQ(GetLastError(), 1234u);
}

TEST(Shell, CommonAppDataIsTheRootsProgramData)
{
    TempRoot root;
    char path[MAX_PATH];
    EXPECT_EQ(SHGetFolderPathA(nullptr, CSIDL_COMMON_APPDATA, nullptr, 0, path), S_OK);
    EXPECT_STREQ(path, "C:\\ProgramData");
    EXPECT_TRUE(testkit::fileExists(root.path() + "/drive_c/ProgramData"));
    EXPECT_NE(SHGetFolderPathA(nullptr, 0x1a, nullptr, 0, path), S_OK);
}

}  // namespace
