// The printer's braille font list in use: the lookup of a face, lazy loading
// and retry, the check for missing files with its one error dialog, and the
// file status call behind that check.
#include "braille/dpfont.h"
#include "config/config.h"
#include "diag/diag.h"
#include "font_bytes.h"
#include "testkit.h"

#include "px/wincrt_stat.h"
#include "px/winproc.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <chrono>
#include <string>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace {

using fontbytes::glyph;
using fontbytes::header;

std::string utf8(const char16_t* s)
{
    char out[512];
    px_wide_to_utf8(out, sizeof out, s);
    return out;
}

// A font whose one glyph has the given code: tells fonts apart.
std::string fontWithCode(int code) { return header(1, "") + glyph(code, 3, 2, {0x40, 0, 0}); }

class FontList : public ::testing::Test {
protected:
    void TearDown() override
    {
        Config_delete(config);
        if (printer)
            ClosePrinter(printer);
        PxSetWindowsVersion(0, 0);
        gDebugLevel = 0;
    }

    // Printer "Embosser" with the given "fontList" object (JSON), and its Config.
    void makeConfig(const std::string& fontList)
    {
        root.writePrinter("Embosser", "{ \"name\": \"Embosser\", \"driver\": \"Pumex Pro\", \"data\": { \"Config\": "
                                      "{ \"OutputVersion\": {\"type\": \"dword\", \"value\": 3} } }, "
                                      "\"fontList\": " + fontList + " }");
        std::u16string name = u"Embosser";
        ASSERT_TRUE(OpenPrinterW(const_cast<LPWSTR>(name.c_str()), &printer, nullptr));
        devobj.hPrinter = printer;
        devobj.pPublicDM = &devmode;
        config = Config_new(&devobj);
        ASSERT_NE(config, nullptr);
    }

    // A font file in the root; returns its path as a JSON string's content.
    std::string font(const std::string& name, int code)
    {
        testkit::writeFile(root.path() + "/" + name, fontWithCode(code));
        return root.path() + "/" + name;
    }

    DPFont* lookup(const char16_t* face) { return Config_getDPFont(config, face); }
    static int codeOf(const DPFont* f) { return f && f->numGlyphs > 0 ? f->glyphs[0]->code : -1; }

    testkit::TempRoot root;
    HANDLE printer = nullptr;
    DEVMODEW devmode{};
    DEVOBJ devobj{};
    Config* config = nullptr;
};

TEST_F(FontList, FacesFindTheirFontsInListOrderSkippingEmptyValues)
{
    // "Empty" has no data at all and is skipped; "Blank" holds an empty text
    // (its terminator) and "Binary" a type that names no file: faces without files.
    makeConfig("{ \"First\": \"" + font("a.dp", 'a') + "\", \"Empty\": { \"type\": \"binary\", \"value\": \"\" }, "
               "\"Second\": \"" + font("b.dp", 'b') + "\", \"Blank\": \"\", "
               "\"Binary\": { \"type\": \"binary\", \"value\": \"x.dp\" } }");
    // Every value counts, the skipped one too; accepted entries fill the slots from 0.
    ASSERT_EQ(config->fontCount, 5);
    const char16_t* faces[] = {u"First", u"Second", u"Blank", u"Binary"};
    for (int i = 0; i < 4; ++i)
        EXPECT_EQ(std::u16string(config->srcFontNames[i]), faces[i]);
    EXPECT_EQ(config->dpFontNames[2], nullptr);
    EXPECT_EQ(config->dpFontNames[3], nullptr);
    EXPECT_EQ(config->srcFontNames[4], nullptr);
    EXPECT_EQ(config->dpFontNames[4], nullptr);

    EXPECT_EQ(codeOf(lookup(u"First")), 'a');
    EXPECT_EQ(codeOf(lookup(u"Second")), 'b');
    EXPECT_EQ(lookup(u"Binary"), nullptr);  // a face without a file
    EXPECT_EQ(lookup(u"Blank"), nullptr);
    EXPECT_EQ(lookup(u"Empty"), nullptr);
    EXPECT_EQ(lookup(u"Unlisted"), nullptr);

    struct Index {
        INT index;
        int code;
    } indices[] = {{0, 'a'}, {1, 'b'}, {2, -1}, {3, -1}, {4, -1}, {5, -1}, {-1, -1}, {1000, -1}};
    for (const Index& i : indices) {
        SCOPED_TRACE(i.index);
        EXPECT_EQ(codeOf(Config_getDPFont(config, i.index)), i.code);
    }
}

TEST_F(FontList, FacesMatchExactlyLetterCaseIncluded)
{
    makeConfig("{ \"DejaVu Sans\": \"" + font("sans.dp", 's') + "\", \"dejavu sans mono\": \"" +
               font("mono.dp", 'm') + "\" }");
    struct Case {
        const char16_t* face;
        int code;
    } cases[] = {
        {u"DejaVu Sans", 's'},    {u"dejavu sans mono", 'm'}, {u"dejavu sans", -1}, {u"DEJAVU SANS", -1},
        {u"DejaVu Sans Mono", -1}, {u"DejaVu Sans ", -1},      {u"DejaVu", -1},      {u"", -1},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(utf8(c.face));
        EXPECT_EQ(codeOf(lookup(c.face)), c.code);
    }
}

TEST_F(FontList, ADwordValueNamesAFileOfItsDigitsInTheCurrentFolder)
{
    testkit::writeFile(root.path() + "/120", fontWithCode('d'));
    char saved[4096];
    ASSERT_NE(getcwd(saved, sizeof saved), nullptr);
    ASSERT_EQ(chdir(root.path().c_str()), 0);
    makeConfig("{ \"Numbered\": { \"type\": \"dword\", \"value\": 120 } }");
    EXPECT_EQ(std::u16string(config->dpFontNames[0]), u"120");
    EXPECT_EQ(codeOf(lookup(u"Numbered")), 'd');
    ASSERT_EQ(chdir(saved), 0);
}

TEST_F(FontList, AFontLoadsOnFirstUseAndAFailedLoadIsTriedAgain)
{
    const std::string later = root.path() + "/later.dp";
    makeConfig("{ \"Later\": \"" + later + "\", \"Unmarked\": \"" + root.path() + "/unmarked.dp\" }");
    testkit::writeFile(root.path() + "/unmarked.dp", "PD");
    EXPECT_EQ(config->dpFonts[0], nullptr);  // nothing is loaded before it is asked for

    EXPECT_EQ(lookup(u"Later"), nullptr);
    EXPECT_EQ(config->dpFonts[0], nullptr);
    testkit::writeFile(later, fontWithCode('L'));
    DPFont* loaded = lookup(u"Later");
    EXPECT_EQ(codeOf(loaded), 'L');
    gDebugLevel = 1;
    EXPECT_EQ(lookup(u"Later"), loaded);  // kept: not read again
    EXPECT_EQ(root.log().find("DPFont_new"), std::string::npos);

    // A file without the mark loads as a font without glyphs, and is kept.
    DPFont* unmarked = lookup(u"Unmarked");
    ASSERT_NE(unmarked, nullptr);
    EXPECT_EQ(unmarked->numGlyphs, 0);
    EXPECT_EQ(lookup(u"Unmarked"), unmarked);
    EXPECT_EQ(root.log(), "Config_getDPFont(Later)\nConfig_getDPFont(0)\n"
                          "Config_getDPFont(Unmarked)\nConfig_getDPFont(1)\n"
                          "DPGlyph_new(): new glyph\n"
                          "DPFont_new(): font file: " + root.path() + "/unmarked.dp\n"
                          "file opened\n"
                          "wrong header in " + root.path() + "/unmarked.dp \n"
                          "Config_getDPFont(Unmarked)\nConfig_getDPFont(1)\n");
}

TEST_F(FontList, AnEmptyListHasNoFonts)
{
    makeConfig("{}");
    gDebugLevel = 1;
    EXPECT_EQ(lookup(u"Any"), nullptr);
    EXPECT_EQ(Config_getDPFont(config, 0), nullptr);
    EXPECT_EQ(root.log(), "Config_getDPFont(Any)\nConfig_getDPFont(0)\n");
}

// The dialog program of the driver package, played by a script that notes its
// arguments, started the plain way (a Windows before 6).
class MissingFonts : public FontList {
protected:
    void SetUp() override
    {
        const std::string folder = root.path() + "/drive_c/windows/system32/spool/drivers/x64/3";
        notes = root.path() + "/dialog.txt";
        testkit::writeFile(folder + "/qruxprdlg.dll", "#!/bin/sh\necho \"$@\" >> '" + notes + "'\n");
        chmod((folder + "/qruxprdlg.dll").c_str(), 0755);
        PxSetWindowsVersion(5, 1);
    }
    // What the dialog program was started with, once it has had time to run.
    std::string dialogNotes()
    {
        for (int i = 0; i < 200 && !testkit::fileExists(notes); ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        std::this_thread::sleep_for(std::chrono::milliseconds(50));  // a second start would show by now
        return testkit::readFile(notes);
    }
    std::string notes;
};

TEST_F(MissingFonts, OneDialogForSeveralMissingFilesAndTheOthersStillLoad)
{
    const std::string gone1 = root.path() + "/gone1.dp", gone2 = root.path() + "/gone2.dp";
    makeConfig("{ \"One\": \"" + font("one.dp", '1') + "\", \"Two\": \"" + gone1 + "\", \"Three\": \"" +
               font("three.dp", '3') + "\", \"Four\": \"" + gone2 + "\" }");
    gDebugLevel = 1;
    checkDPFont(config);

    EXPECT_EQ(dialogNotes(), "--error 34 --printer Embosser\n");
    std::string log = root.log();
    EXPECT_NE(log.find("checkDPFont(): i = 0, One --> " + root.path() + "/one.dp\n"
                       "checkDPFont(): i = 1, Two --> " + gone1 + "\n " + gone1 + " doesn't exist!\n"
                       "checkDPFont(): i = 2, Three --> " + root.path() + "/three.dp\n"
                       "checkDPFont(): i = 3, Four --> " + gone2 + "\n " + gone2 + " doesn't exist!\n"
                       "DisplayErrorDlgXP(): create process "),
              std::string::npos)
        << log;
    EXPECT_NE(log.find("--error 34 --printer \"Embosser\"\n"), std::string::npos);

    // The entries stay; the present fonts work, the missing ones give none.
    EXPECT_EQ(config->fontCount, 4);
    EXPECT_EQ(codeOf(lookup(u"One")), '1');
    EXPECT_EQ(lookup(u"Two"), nullptr);
    EXPECT_EQ(codeOf(lookup(u"Three")), '3');
    EXPECT_EQ(lookup(u"Four"), nullptr);
}

TEST_F(MissingFonts, NoDialogWhenEveryFileIsThere)
{
    makeConfig("{ \"One\": \"" + font("one.dp", '1') + "\", \"Blank\": \"\", \"Binary\": { \"type\": \"binary\", "
               "\"value\": \"nowhere.dp\" } }");
    gDebugLevel = 1;
    checkDPFont(config);
    EXPECT_EQ(root.log().find("DisplayErrorDlgXP"), std::string::npos);
    EXPECT_EQ(root.log(), "checkDPFont(): i = 0, One --> " + root.path() + "/one.dp\n");
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_FALSE(testkit::fileExists(notes));
}

TEST(WStat, ReportsKindSizeAndMissingFilesOverTheSystemRoot)
{
    testkit::TempRoot root;
    testkit::writeFile(root.path() + "/drive_c/ProgramData/f.dp", "12345");
    struct Case {
        const char16_t* path;
        int result;
        int error;
        unsigned kind;
        int size;
    } cases[] = {
        {u"C:\\ProgramData\\f.dp", 0, 0, _S_IFREG, 5},
        {u"c:/ProgramData/f.dp", 0, 0, _S_IFREG, 5},
        {u"C:\\ProgramData", 0, 0, _S_IFDIR, -1},
        {u"C:\\ProgramData\\none.dp", -1, ENOENT, 0, -1},
        {u"C:\\ProgramData\\f.dp\\inside", -1, ENOTDIR, 0, -1},
        {u"", -1, ENOENT, 0, -1},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(utf8(c.path));
        struct _stat st;
        errno = 0;
        EXPECT_EQ(_wstat(c.path, &st), c.result);
        if (c.result != 0) {
            EXPECT_EQ(errno, c.error);
            continue;
        }
        EXPECT_EQ(st.st_mode & _S_IFMT, c.kind);
        EXPECT_NE(st.st_mode & _S_IREAD, 0);
        if (c.size >= 0) {
            EXPECT_EQ(st.st_size, c.size);
        }
        EXPECT_GT(st.st_mtime, 0);
    }
    struct _stat st;
    errno = 0;
    EXPECT_EQ(_wstat(nullptr, &st), -1);
    EXPECT_EQ(errno, EINVAL);
    // Absolute POSIX paths pass through: the root's own folder.
    EXPECT_EQ(_wstat(testkit::wide(root.path()).c_str(), &st), 0);
    EXPECT_EQ(st.st_mode & _S_IFMT, (unsigned)_S_IFDIR);
}

}  // namespace
