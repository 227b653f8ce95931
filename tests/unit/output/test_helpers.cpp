// Helper processes: command lines, the error dialog on both kinds of Windows,
// the viewer, the page-file dialog and temporary file names. Stand-ins play
// the dialog program, the viewer and the command module.
#include "fixture_programs.h"
#include "output/helpers.h"

#include "config/config.h"
#include "diag/diag.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>

namespace {

using testkit::TempRoot;
using testkit::wide;

const char kDialogWinPath[] = "C:\\windows\\system32\\spool\\drivers\\x64\\3\\qruxprdlg.dll";

std::string narrow(const WCHAR* s)
{
    std::string out(px_wcslen(s) * 3 + 1, '\0');
    out.resize(px_wide_to_utf8(&out[0], out.size(), s));
    return out;
}

// One test's world: a root, a printer's Config, a chosen Windows version, the
// stand-ins' record files, and the log at level 1.
class Helpers : public ::testing::Test {
protected:
    void SetUp() override
    {
        config_ = std::make_unique<Config>();
        setPrinter("Pumex Embosser");
        argvLog_ = root_.path() + "/argv.txt";
        commandLog_ = root_.path() + "/commands.txt";
        setenv("PUMEX_TEST_ARGV_LOG", argvLog_.c_str(), 1);
        setenv("PUMEX_TEST_COMMAND_LOG", commandLog_.c_str(), 1);
        gDebugLevel = 1;
    }
    void TearDown() override
    {
        gDebugLevel = 0;
        PxSetWindowsVersion(0, 0);
        unsetenv("PUMEX_TEST_ARGV_LOG");
        unsetenv("PUMEX_TEST_COMMAND_LOG");
    }

    void setPrinter(const std::string& name) { px_utf8_to_wide(config_->printerName, NAME_CHARS, name.c_str()); }
    void installDialog() { fixtures::install(fixtures::argvRecorder(), fixtures::driverFolder3(root_) + "/qruxprdlg.dll"); }
    void installModule(const char* which = fixtures::commandModule())
    {
        fixtures::install(which, fixtures::driverFolder3(root_) + "/qruxprcmdl.dll");
    }
    std::vector<std::string> startedWith()
    {
        EXPECT_TRUE(fixtures::waitForFile(argvLog_));
        return fixtures::recordedArgs(argvLog_);
    }
    std::string commands() { return testkit::readFile(commandLog_); }

    TempRoot root_;
    std::unique_ptr<Config> config_;
    std::string argvLog_, commandLog_;
};

TEST(CommandLines, OrdinaryNamesComeOutAsThePlainPatterns)
{
    CommandLine line;
    buildDialogCommandLine(&line, u"C:\\d\\3\\qruxprdlg.dll", 34, u"Pumex Embosser", nullptr, nullptr);
    EXPECT_EQ(narrow(line.text), "\"C:\\d\\3\\qruxprdlg.dll\" --error 34 --printer \"Pumex Embosser\"");
    EXPECT_FALSE(line.bad);

    buildDialogCommandLine(&line, u"C:\\d\\3\\qruxprdlg.dll", 33, u"P", u"C:\\t\\pmx1.tmp", u"C:\\t\\pmx2.tmp");
    EXPECT_EQ(narrow(line.text),
              "\"C:\\d\\3\\qruxprdlg.dll\" --error 33 --printer \"P\" --files \"C:\\t\\pmx1.tmp\" \"C:\\t\\pmx2.tmp\"");

    buildViewerCommandLine(&line, u"C:\\Program Files\\V\\view.exe", u"C:\\t\\pmxA.tmp", u"My Printer");
    EXPECT_EQ(narrow(line.text), "\"C:\\Program Files\\V\\view.exe\" \"C:\\t\\pmxA.tmp\" -printer \"My Printer\"");
}

TEST(CommandLines, QuotesAndTrailingBackslashesAreEscaped)
{
    struct Case {
        const char16_t* argument;
        const char* quoted;
    } cases[] = {
        {u"plain", "\"plain\""},
        {u"", "\"\""},
        {u"a \"b\" c", "\"a \\\"b\\\" c\""},
        {u"ends\\", "\"ends\\\\\""},
        {u"ends\\\\", "\"ends\\\\\\\\\""},
        {u"mid\\dle", "\"mid\\dle\""},
        {u"slash\\\"quote", "\"slash\\\\\\\"quote\""},
        {u"\"", "\"\\\"\""},
    };
    for (const Case& c : cases) {
        CommandLine line;
        CommandLine_init(&line);
        CommandLine_addQuoted(&line, c.argument);
        EXPECT_EQ(narrow(line.text), c.quoted);
        EXPECT_FALSE(line.bad);
    }
}

TEST(CommandLines, LinesThatCannotBeStartedSafelyAreMarkedBad)
{
    CommandLine line;
    std::u16string huge(5000, u'x');
    buildDialogCommandLine(&line, u"C:\\d\\dlg.dll", 34, huge.c_str(), nullptr, nullptr);
    EXPECT_TRUE(line.bad);
    EXPECT_LT(line.length, (size_t)HELPER_TEXT_CHARS);
    EXPECT_EQ(line.text[line.length], 0);

    buildViewerCommandLine(&line, u"C:\\x\" --evil \"y.exe", u"f", u"p");
    EXPECT_TRUE(line.bad);
    buildViewerCommandLine(&line, u"", u"f", u"p");
    EXPECT_TRUE(line.bad);
}

TEST_F(Helpers, DialogOnOlderWindowsStartsTheDialogProgram)
{
    PxSetWindowsVersion(5, 1);
    installDialog();
    EXPECT_EQ(DisplayErrorDlgXP(config_.get(), DLG_ERROR_MISSING_FONTS), STILL_ACTIVE);
    EXPECT_EQ(startedWith(), (std::vector<std::string>{kDialogWinPath, "--error", "34", "--printer", "Pumex Embosser"}));
    std::string log = root_.log();
    EXPECT_NE(log.find(std::string("DisplayErrorDlgXP(): create process \"") + kDialogWinPath +
                       "\" --error 34 --printer \"Pumex Embosser\"\n"),
              std::string::npos)
        << log;
    EXPECT_NE(log.find("DisplayErrorDlgXP(): process exit 259 "), std::string::npos);
    EXPECT_EQ(commands(), "");  // the command module plays no part
}

TEST_F(Helpers, DialogOnNewerWindowsGoesThroughTheCommandModule)
{
    PxSetWindowsVersion(6, 0);
    installDialog();
    installModule();
    EXPECT_EQ(DisplayErrorDlgXP(config_.get(), DLG_ERROR_MISSING_FONTS), 4242);
    EXPECT_EQ(commands(), std::string("DisplayErrorDlg|Pumex Embosser|") + kDialogWinPath + "|34|0\n");
    std::string log = root_.log();
    EXPECT_NE(log.find(std::string("DisplayErrorDlgVista(): ") + kDialogWinPath + "\n"), std::string::npos) << log;
    EXPECT_NE(log.find("DisplayErrorDlgVista(): DisplayErrorDlg()=4242\n"), std::string::npos) << log;
    EXPECT_FALSE(testkit::fileExists(argvLog_));
}

TEST_F(Helpers, DialogWithoutAUsableCommandModuleIsMinusOne)
{
    PxSetWindowsVersion(10, 0);
    EXPECT_EQ(DisplayErrorDlgVista(config_.get(), 34), -1);
    installModule(fixtures::bareCommandModule());
    EXPECT_EQ(DisplayErrorDlgVista(config_.get(), 34), -1);
    EXPECT_NE(root_.log().find("DisplayErrorDlgVista(): DisplayErrorDlg=0x0000000000000000\n"), std::string::npos);
    EXPECT_EQ(commands(), "");
}

TEST_F(Helpers, ViewerPathsAndFilesWithSpacesOnOlderWindows)
{
    PxSetWindowsVersion(5, 1);
    const char viewer[] = "C:\\Program Files\\Quorvane\\Pumex Viewer\\the viewer.exe";
    fixtures::install(fixtures::argvRecorder(),
                      root_.path() + "/drive_c/Program Files/Quorvane/Pumex Viewer/the viewer.exe");
    envokeViewer(wide(viewer).c_str(), u"C:\\windows\\temp\\pmx 1.tmp", config_.get());
    EXPECT_EQ(startedWith(), (std::vector<std::string>{viewer, "C:\\windows\\temp\\pmx 1.tmp", "-printer",
                                                       "Pumex Embosser"}));
    EXPECT_NE(root_.log().find("envokeViewer(): 1=CreateProcess(), err="), std::string::npos);
}

TEST_F(Helpers, ViewerOnNewerWindowsRunsAsTheUser)
{
    PxSetWindowsVersion(10, 0);
    installModule();
    envokeViewer(u"C:\\V\\view.exe", u"C:\\t\\pmx2.tmp", config_.get());
    EXPECT_EQ(commands(),
              "ExecProcessForPrinter|Pumex Embosser|\"C:\\V\\view.exe\" \"C:\\t\\pmx2.tmp\" -printer \"Pumex Embosser\"\n");
    std::string log = root_.log();
    EXPECT_NE(log.find("CreateProcessAsUserForVista(): got proc address\n"), std::string::npos);
    EXPECT_NE(log.find("envokeViewer(): 0=CreateProcess(), err="), std::string::npos);
}

TEST_F(Helpers, PrinterNamesCannotAddArguments)
{
    PxSetWindowsVersion(5, 1);
    installDialog();
    const char* names[] = {"x\" --error \"99", "Back\\slash\\", "q\"\"q", "Prägung ⠿ \\\" end"};
    for (const char* name : names) {
        std::remove(argvLog_.c_str());
        setPrinter(name);
        DisplayErrorDlgXP(config_.get(), 34);
        EXPECT_EQ(startedWith(), (std::vector<std::string>{kDialogWinPath, "--error", "34", "--printer", name}))
            << name;
    }
}

TEST_F(Helpers, PageFilesDialogOnBothKindsOfWindows)
{
    installDialog();
    installModule();
    PxSetWindowsVersion(5, 2);
    startPageFilesDialog(config_.get(), u"C:\\windows\\temp\\pmx1.tmp", u"C:\\windows\\temp\\pmx2.tmp");
    EXPECT_EQ(startedWith(), (std::vector<std::string>{kDialogWinPath, "--error", "33", "--printer", "Pumex Embosser",
                                                       "--files", "C:\\windows\\temp\\pmx1.tmp",
                                                       "C:\\windows\\temp\\pmx2.tmp"}));
    PxSetWindowsVersion(6, 1);
    startPageFilesDialog(config_.get(), u"F.tmp", u"B.tmp");
    EXPECT_EQ(commands(), std::string("ExecProcessForPrinter|Pumex Embosser|\"") + kDialogWinPath +
                              "\" --error 33 --printer \"Pumex Embosser\" --files \"F.tmp\" \"B.tmp\"\n");
}

TEST_F(Helpers, TemporaryFileNamesAreNewFilesWithThePrefix)
{
    WCHAR first[MAX_PATH], second[MAX_PATH];
    ASSERT_NE(getTempFileName(first), 0u);
    ASSERT_NE(getTempFileName(second), 0u);
    EXPECT_NE(std::u16string(first), std::u16string(second));
    EXPECT_EQ(narrow(first).rfind("C:\\windows\\temp\\pmx", 0), 0u) << narrow(first);
    char posix[1024];
    ASSERT_TRUE(PxMapPathW(first, posix, sizeof posix));
    EXPECT_TRUE(testkit::fileExists(posix));

    std::filesystem::remove_all(root_.path() + "/drive_c/windows/temp");
    std::filesystem::create_directories(root_.path() + "/drive_c/windows");
    testkit::writeFile(root_.path() + "/drive_c/windows/temp", "a file where the folder should be");
    EXPECT_EQ(getTempFileName(first), 0u);
    EXPECT_EQ(first[0], 0);
}

}  // namespace
