// The platform calls behind the helper processes: starting programs with
// Windows command lines, temporary file names, the Windows version and the
// printer-driver folder.
#include "fixture_programs.h"
#include "px/winproc.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <regex>
#include <set>

namespace {

using testkit::TempRoot;
using testkit::wide;

// Starts the recorder with "<recorder>" followed by args, waits for it and
// returns the arguments it saw after its own name.
std::vector<std::string> startRecorder(const TempRoot& root, const std::string& args, DWORD* exitCode = nullptr)
{
    std::string log = root.path() + "/argv.txt";
    std::remove(log.c_str());
    setenv("PUMEX_TEST_ARGV_LOG", log.c_str(), 1);
    std::u16string line = wide("\"" + std::string(fixtures::argvRecorder()) + "\" " + args);
    STARTUPINFOW si = {};
    si.cb = sizeof si;
    PROCESS_INFORMATION pi = {};
    EXPECT_TRUE(CreateProcessW(nullptr, &line[0], nullptr, nullptr, FALSE, DETACHED_PROCESS, nullptr, nullptr, &si,
                               &pi))
        << args;
    EXPECT_EQ(WaitForSingleObject(pi.hProcess, 10000), WAIT_OBJECT_0);
    if (exitCode)
        GetExitCodeProcess(pi.hProcess, exitCode);
    CloseHandle(pi.hThread);
    CloseHandle(pi.hProcess);
    unsetenv("PUMEX_TEST_ARGV_LOG");
    EXPECT_TRUE(fixtures::waitForFile(log));
    std::vector<std::string> seen = fixtures::recordedArgs(log);
    if (!seen.empty())
        seen.erase(seen.begin());
    return seen;
}

TEST(CreateProcess, SplitsCommandLinesByTheWindowsRules)
{
    TempRoot root;
    struct Case {
        const char* args;
        std::vector<std::string> expected;
    } cases[] = {
        {"a b c", {"a", "b", "c"}},
        {"\"a b c\" d e", {"a b c", "d", "e"}},
        {"\"ab\\\"c\" \"\\\\\" d", {"ab\"c", "\\", "d"}},
        {"a\\\\\\b d\"e f\"g h", {"a\\\\\\b", "de fg", "h"}},
        {"a\\\\\\\"b c d", {"a\\\"b", "c", "d"}},
        {"a\\\\\\\\\"b c\" d e", {"a\\\\b c", "d", "e"}},
        // A doubled quote inside a quoted part gives one quote and ends the part.
        {"a\"b\"\" c d", {"ab\"", "c", "d"}},
        {"\"\"", {""}},
        {"\"\"\"a\"\"\"", {"\"a\""}},
        {"a\tb   c  ", {"a", "b", "c"}},
        {"trailing\\\\", {"trailing\\\\"}},
        {"\"C:\\Program Files\\x\\\\\" next", {"C:\\Program Files\\x\\", "next"}},
        {"", {}},
    };
    for (const Case& c : cases)
        EXPECT_EQ(startRecorder(root, c.args), c.expected) << c.args;
}

TEST(CreateProcess, ReportsTheProgramsExitAndClosesBothHandles)
{
    TempRoot root;
    DWORD exitCode = 0;
    startRecorder(root, "one two three", &exitCode);
    EXPECT_EQ(exitCode, 3u);

    std::u16string line = wide("\"" + std::string(fixtures::argvRecorder()) + "\"");
    STARTUPINFOW si = {};
    si.cb = sizeof si;
    PROCESS_INFORMATION pi = {};
    ASSERT_TRUE(CreateProcessW(nullptr, &line[0], nullptr, nullptr, FALSE, 0, nullptr, nullptr, &si, &pi));
    EXPECT_NE(pi.dwProcessId, 0u);
    EXPECT_EQ(WaitForSingleObject(pi.hThread, 10000), WAIT_OBJECT_0);
    SetLastError(1234);
    EXPECT_TRUE(CloseHandle(pi.hThread));
    EXPECT_TRUE(CloseHandle(pi.hProcess));
    EXPECT_EQ(GetLastError(), 1234u);  // a successful close leaves the last error alone
    EXPECT_FALSE(CloseHandle(pi.hProcess));
    EXPECT_EQ(GetLastError(), (DWORD)ERROR_INVALID_HANDLE);
}

TEST(CreateProcess, NamesTheProgramByApplicationNameOrFirstArgument)
{
    TempRoot root;
    std::string log = root.path() + "/argv.txt";
    setenv("PUMEX_TEST_ARGV_LOG", log.c_str(), 1);
    std::u16string app = wide(fixtures::argvRecorder());
    std::u16string line = wide("shown-name \"x y\"");
    STARTUPINFOW si = {};
    si.cb = sizeof si;
    PROCESS_INFORMATION pi = {};
    ASSERT_TRUE(CreateProcessW(app.c_str(), &line[0], nullptr, nullptr, FALSE, 0, nullptr, nullptr, &si, &pi));
    WaitForSingleObject(pi.hProcess, 10000);
    CloseHandle(pi.hThread);
    CloseHandle(pi.hProcess);
    unsetenv("PUMEX_TEST_ARGV_LOG");
    ASSERT_TRUE(fixtures::waitForFile(log));
    EXPECT_EQ(fixtures::recordedArgs(log), (std::vector<std::string>{"shown-name", "x y"}));
}

TEST(CreateProcess, FailsWithTheWindowsErrors)
{
    TempRoot root;
    struct Case {
        const char* line;
        DWORD error;
    } cases[] = {
        {"\"C:\\no\\such\\program.exe\" a", ERROR_FILE_NOT_FOUND},
        {"\"C:\\windows\" a", ERROR_ACCESS_DENIED},  // a folder
        {"\"\" a", ERROR_PATH_NOT_FOUND},
    };
    for (const Case& c : cases) {
        std::u16string line = wide(c.line);
        STARTUPINFOW si = {};
        si.cb = sizeof si;
        PROCESS_INFORMATION pi = {};
        SetLastError(0);
        EXPECT_FALSE(CreateProcessW(nullptr, &line[0], nullptr, nullptr, FALSE, 0, nullptr, nullptr, &si, &pi))
            << c.line;
        EXPECT_EQ(GetLastError(), c.error) << c.line;
        EXPECT_EQ(pi.hProcess, nullptr);
    }
    STARTUPINFOW si = {};
    PROCESS_INFORMATION pi = {};
    EXPECT_FALSE(CreateProcessW(nullptr, nullptr, nullptr, nullptr, FALSE, 0, nullptr, nullptr, &si, &pi));
    EXPECT_EQ(GetLastError(), (DWORD)ERROR_INVALID_PARAMETER);
    std::u16string line = wide("\"" + std::string(fixtures::argvRecorder()) + "\"");
    char16_t env[] = u"A=1\0";
    EXPECT_FALSE(CreateProcessW(nullptr, &line[0], nullptr, nullptr, FALSE, CREATE_UNICODE_ENVIRONMENT, env, nullptr,
                                &si, &pi));
    EXPECT_EQ(GetLastError(), (DWORD)ERROR_NOT_SUPPORTED);
}

TEST(TempFiles, GeneratedNamesAreNewEmptyFilesWithThePrefix)
{
    TempRoot root;
    WCHAR folder[MAX_PATH];
    EXPECT_EQ(GetTempPathW(MAX_PATH, folder), 16u);
    EXPECT_EQ(std::u16string(folder), u"C:\\windows\\temp\\");
    EXPECT_EQ(GetTempPathW(16, folder), 17u);  // too small: the size needed, terminator included

    std::regex pattern(R"(C:\\windows\\temp\\pmx[0-9A-F]{1,4}\.tmp)");
    std::set<std::u16string> seen;
    for (int i = 0; i < 40; ++i) {
        WCHAR name[MAX_PATH];
        UINT unique = GetTempFileNameW(folder, u"pmxtra", 0, name);
        ASSERT_NE(unique, 0u);
        std::string narrow(name, name + px_wcslen(name));
        EXPECT_TRUE(std::regex_match(narrow, pattern)) << narrow;
        EXPECT_TRUE(seen.insert(name).second) << narrow;
        char posix[1024];
        ASSERT_TRUE(PxMapPathW(name, posix, sizeof posix));
        EXPECT_TRUE(testkit::fileExists(posix));
        EXPECT_EQ(testkit::readFile(posix), "");
    }
}

TEST(TempFiles, NamesAndFailuresLikeWindows)
{
    TempRoot root;
    WCHAR name[MAX_PATH];
    // A number of the caller's: the name only, nothing created; only its low 16 bits count.
    EXPECT_EQ(GetTempFileNameW(u"C:\\windows\\temp", u"pmx", 0x1ABCD, name), 0xABCDu);
    EXPECT_EQ(std::u16string(name), u"C:\\windows\\temp\\pmxABCD.tmp");
    EXPECT_FALSE(testkit::fileExists(root.path() + "/drive_c/windows/temp/pmxABCD.tmp"));

    SetLastError(0);
    EXPECT_EQ(GetTempFileNameW(u"C:\\no\\folder", u"pmx", 0, name), 0u);
    EXPECT_EQ(GetLastError(), (DWORD)ERROR_DIRECTORY);

    std::u16string tooLong = u"C:\\" + std::u16string(250, u'a');
    EXPECT_EQ(GetTempFileNameW(tooLong.c_str(), u"pmx", 0, name), 0u);
    EXPECT_EQ(GetLastError(), (DWORD)ERROR_BUFFER_OVERFLOW);

    PxGetSyscalls()->open = [](const char*, int, mode_t) -> int {
        errno = EACCES;
        return -1;
    };
    EXPECT_EQ(GetTempFileNameW(u"C:\\windows\\temp", u"pmx", 0, name), 0u);
    EXPECT_EQ(GetLastError(), (DWORD)ERROR_ACCESS_DENIED);
    PxResetSyscalls();
}

TEST(Version, ConfigurableMajorAndMinor)
{
    PxSetWindowsVersion(5, 1);
    EXPECT_EQ(GetVersion() & 0xFFFF, 0x0105u);
    EXPECT_EQ(GetVersion() >> 16, 2600u);
    PxSetWindowsVersion(0, 0);

    struct Case {
        const char* env;
        DWORD lowWord;
    } cases[] = {{"6.0", 0x0006}, {"5.1", 0x0105}, {"10.0", 0x000A}, {"rubbish", 0x000A}, {"", 0x000A}};
    for (const Case& c : cases) {
        setenv("PUMEX_WINDOWS_VERSION", c.env, 1);
        EXPECT_EQ(GetVersion() & 0xFFFF, c.lowWord) << c.env;
    }
    unsetenv("PUMEX_WINDOWS_VERSION");
    EXPECT_EQ(GetVersion() & 0xFF, 10u);
}

TEST(DriverDirectory, IsTheRootsX64FolderAtLevelOne)
{
    TempRoot root;
    BYTE buffer[MAX_PATH * 2];
    DWORD needed = 0;
    ASSERT_TRUE(GetPrinterDriverDirectoryW(nullptr, nullptr, 1, buffer, sizeof buffer, &needed));
    std::u16string folder(reinterpret_cast<const WCHAR*>(buffer));
    EXPECT_EQ(folder, u"C:\\windows\\system32\\spool\\drivers\\x64");
    EXPECT_EQ(needed, (folder.size() + 1) * 2);

    EXPECT_FALSE(GetPrinterDriverDirectoryW(nullptr, nullptr, 1, buffer, needed - 1, &needed));
    EXPECT_EQ(GetLastError(), (DWORD)ERROR_INSUFFICIENT_BUFFER);
    EXPECT_FALSE(GetPrinterDriverDirectoryW(nullptr, nullptr, 2, buffer, sizeof buffer, &needed));
    EXPECT_EQ(GetLastError(), (DWORD)ERROR_INVALID_LEVEL);
    std::u16string x64 = u"Windows x64", other = u"Windows 4.0";
    EXPECT_TRUE(GetPrinterDriverDirectoryW(nullptr, &x64[0], 1, buffer, sizeof buffer, &needed));
    EXPECT_FALSE(GetPrinterDriverDirectoryW(nullptr, &other[0], 1, buffer, sizeof buffer, &needed));
    EXPECT_EQ(GetLastError(), (DWORD)ERROR_INVALID_ENVIRONMENT);
}

}  // namespace
