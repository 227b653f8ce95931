// Files, folders and paths of the POSIX platform library: opening, locking
// and making folders fail for real, a read through the system-call table,
// each with its Windows error. And the formatter behind the log and command
// lines: the same bytes on every OS.
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

template <typename... Args>
std::string fmt(const char* format, Args... args)
{
    char buf[256];
    px_format(buf, sizeof buf, format, args...);
    return buf;
}

TEST(Format, ConversionsAsWindowsPrintsThem)
{
    EXPECT_EQ(fmt("%d|%u|%X|%#x|%-3d|%03d|%+d|%5.3d|%*d|%q", -5, 4000000000u, 0xabcu, 0x51504d53u, 7, 7, 3, 7, 4, 1),
              "-5|4000000000|ABC|0x51504d53|7  |007|+3|  007|   1|%q");
    // l is 32-bit, as on 64-bit Windows; pointers are sixteen upper-case digits.
    EXPECT_EQ(fmt("%ld|%lx|%lld|%zu", (LONG)-2147483647 - 1, (ULONG)0xFFFFFFFFu, -9000000000LL, (size_t)42),
              "-2147483648|ffffffff|-9000000000|42");
    EXPECT_EQ(fmt("%p|%X", (void*)0x12ab, px_low32((void*)0x123456789abcdefULL)), "00000000000012AB|89ABCDEF");
    // Wide text becomes UTF-8; a lone surrogate cannot, and becomes '?'.
    const WCHAR wide[] = WSTR("Pumex \u00e9"), lone[] = {u'a', 0xD800, u'b', 0}, pair[] = {0xD83D, 0xDE00, 0};
    EXPECT_EQ(fmt("[%s][%ws][%ls][%S][%6ws]", "a", wide, wide, wide, WSTR("ab")),
              "[a][Pumex \xc3\xa9][Pumex \xc3\xa9][Pumex \xc3\xa9][    ab]");
    EXPECT_EQ(fmt("%s|%ws|%ws|%ws", (const char*)nullptr, (const WCHAR*)nullptr, lone, pair),
              "(null)|(null)|a?b|\xF0\x9F\x98\x80");
}

TEST(Format, CutsToTheBufferAndAlwaysTerminates)
{
    char buf[8], out[4096];
    EXPECT_EQ(px_format(buf, sizeof buf, "%s", "0123456789"), 7u);
    EXPECT_STREQ(buf, "0123456");
    EXPECT_TRUE(px_format(buf, 1, "abc") == 0 && buf[0] == '\0');
    // A multi-byte character that does not fit whole is left out; long text is cut at the buffer.
    EXPECT_EQ(px_format(buf, sizeof buf, "%ws", WSTR("abcdef\u00e9")), 6u);
    EXPECT_STREQ(buf, "abcdef");
    EXPECT_EQ(px_format(out, sizeof out, "%s%s", std::string(4096, 'x').c_str(), "tail"), 4095u);
    EXPECT_EQ(std::string(out).size(), 4095u);
}

}  // namespace
