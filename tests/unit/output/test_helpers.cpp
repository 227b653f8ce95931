// Helper processes: command lines and how a started program receives them, and
// the error dialog on both kinds of Windows (the page-file dialog and the viewer
// are started in the job tests). Stand-ins play a started program (the argument
// recorder: it writes what it received, one a line) and the command module (it
// writes each call it gets).
#include "output/helpers.h"

#include "config/config.h"
#include "px/winproc.h"
#include "testkit.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <sstream>
#include <thread>

namespace {

using Args = std::vector<std::string>;
using testkit::wide;

const char kDialogWinPath[] = "C:\\windows\\system32\\spool\\drivers\\x64\\3\\qruxprdlg.dll";

// One test's world: a root, a printer's Config and the stand-ins' record files.
class Helpers : public ::testing::Test {
protected:
    Helpers()
    {
        px_utf8_to_wide(config_->printerName, NAME_CHARS, "Pumex Embosser");
        setenv("PUMEX_TEST_ARGV_LOG", argvLog_.c_str(), 1);
        setenv("PUMEX_TEST_COMMAND_LOG", commandLog_.c_str(), 1);
    }
    ~Helpers() override
    {
        PxSetWindowsVersion(0, 0);
        unsetenv("PUMEX_TEST_ARGV_LOG");
        unsetenv("PUMEX_TEST_COMMAND_LOG");
    }

    // Copies a built stand-in into the driver package's folder under the root.
    void install(const char* fixture, const std::string& name)
    {
        std::string to = root_.path() + "/drive_c/windows/system32/spool/drivers/x64/3/" + name;
        testkit::writeFile(to, testkit::readFile(fixture));
        std::filesystem::permissions(to, std::filesystem::perms::owner_all, std::filesystem::perm_options::add);
    }
    // The started program's arguments, waiting up to ten seconds for its record.
    Args startedWith()
    {
        for (int i = 0; i < 1000 && !testkit::fileExists(argvLog_); ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        Args args;
        std::istringstream in(testkit::readFile(argvLog_));
        for (std::string line; std::getline(in, line);)
            args.push_back(line);
        return args;
    }
    // The command module's calls (made in this process).
    std::string commands() { return testkit::readFile(commandLog_); }

    testkit::TempRoot root_;
    std::unique_ptr<Config> config_ = std::make_unique<Config>();
    std::string argvLog_ = root_.path() + "/argv.txt", commandLog_ = root_.path() + "/commands.txt";
};

TEST_F(Helpers, QuotedArgumentsReachTheProgramExactly)
{
    Args expected = {PUMEX_TEST_ARGV_RECORDER, "plain", "", "a \"b\" c", "ends\\", "ends\\\\", "mid\\dle",
                     "slash\\\"quote", "\"", "two  spaces", "Prägung ⠿"};
    CommandLine line;
    CommandLine_init(&line);
    CommandLine_addProgram(&line, wide(expected[0]).c_str());
    for (size_t i = 1; i < expected.size(); ++i) {
        CommandLine_addText(&line, " ");
        CommandLine_addQuoted(&line, wide(expected[i]).c_str());
    }
    ASSERT_FALSE(line.bad);
    STARTUPINFOW si = {};
    si.cb = sizeof si;
    PROCESS_INFORMATION pi = {};
    ASSERT_TRUE(CreateProcessW(nullptr, line.text, nullptr, nullptr, FALSE, 0, nullptr, nullptr, &si, &pi));
    EXPECT_EQ(WaitForSingleObject(pi.hProcess, 10000), WAIT_OBJECT_0);
    EXPECT_TRUE(CloseHandle(pi.hThread) && CloseHandle(pi.hProcess));
    EXPECT_EQ(startedWith(), expected);
}

TEST(CommandLines, LinesThatCannotBeStartedSafelyAreMarkedBadAndPathsAreNeverCut)
{
    CommandLine line;
    std::u16string huge(5000, u'x');
    buildDialogCommandLine(&line, u"C:\\d\\dlg.dll", 34, huge.c_str(), nullptr, nullptr);
    EXPECT_TRUE(line.bad && line.length < HELPER_TEXT_CHARS && line.text[line.length] == 0);
    for (const char16_t* program : {u"C:\\x\" --evil \"y.exe", u""}) {
        buildViewerCommandLine(&line, program, u"f", u"p");
        EXPECT_TRUE(line.bad);
    }
    for (size_t chars : {20, 40}) {  // a package path too long for the folder, or whole, is no path at all
        EXPECT_FALSE(getDriverPackageFile(line.text, chars, u"qruxprdlg.dll"));
        EXPECT_EQ(line.text[0], 0);
    }
}

TEST_F(Helpers, ErrorDialogOnBothKindsOfWindows)
{
    PxSetWindowsVersion(5, 1);  // the dialog program itself, left running
    install(PUMEX_TEST_ARGV_RECORDER, "qruxprdlg.dll");
    EXPECT_EQ(DisplayErrorDlgXP(config_.get(), DLG_ERROR_MISSING_FONTS), STILL_ACTIVE);
    EXPECT_EQ(startedWith(), (Args{kDialogWinPath, "--error", "34", "--printer", "Pumex Embosser"}));

    PxSetWindowsVersion(10, 0);  // the command module, when there is a usable one
    EXPECT_EQ(DisplayErrorDlgXP(config_.get(), DLG_ERROR_MISSING_FONTS), -1);
    install(PUMEX_TEST_COMMAND_MODULE_BARE, "qruxprcmdl.dll");
    EXPECT_EQ(DisplayErrorDlgXP(config_.get(), DLG_ERROR_MISSING_FONTS), -1);
    install(PUMEX_TEST_COMMAND_MODULE, "qruxprcmdl.dll");
    EXPECT_EQ(DisplayErrorDlgXP(config_.get(), DLG_ERROR_MISSING_FONTS), 4242);
    EXPECT_EQ(commands(), std::string("DisplayErrorDlg|Pumex Embosser|") + kDialogWinPath + "|34|0\n");
}

}  // namespace
