// Braille fonts: the file reader (header, name, glyph records, bitmap coding, bad and cut
// files, running out of memory), and the printer's font
// list (lookup, lazy loading, the check for missing files with its one error dialog).
#include "braille/dpfont.h"
#include "config/config.h"
#include "diag/diag.h"
#include "testkit.h"

#include "px/winproc.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <sys/stat.h>
#include <thread>

namespace {

std::string bytes(const std::vector<int>& values) { return std::string(values.begin(), values.end()); }

// The smallest complete font: "AB", one glyph A with dot 1 of a 6-dot cell.
const std::string kExample = bytes({0x44, 0x50, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x1F, 0x00, 0x01, 0x03, 0x02,
                                    0x00, 0x00, 0x04, 0x41, 0x00, 0x42, 0x00, 0x00, 0x41, 0x03, 0x02, 0x00, 0x00, 0x00,
                                    0x40, 0x00, 0x00});

// A header up to and with the name: "DP", 4 ignored bytes, a file size of 0, the glyph
// count, maxima 3 and 2, 2 ignored bytes, the name's length and bytes.
std::string header(int count, const std::string& name)
{
    return bytes({'D', 'P', 0, 0, 0, 0, 0, 0, 0, 0, count >> 8, count & 0xFF, 3, 2, 0, 0, (int)name.size()}) + name;
}

// A glyph record: code, height, width, 3 ignored bytes, the bitmap.
std::string glyph(int code, int height, int width, const std::vector<int>& bits)
{
    return bytes({code >> 8, code & 0xFF, height, width, 0, 0, 0}) + bytes(bits);
}

using FontPtr = std::unique_ptr<DPFont, decltype(&DPFont_delete)>;

class FontFile : public ::testing::Test {
protected:
    FontPtr load() { return FontPtr(DPFont_new(testkit::wide(path).c_str()), DPFont_delete); }
    FontPtr load(const std::string& content) { testkit::writeFile(path, content); return load(); }
    testkit::TempRoot root;
    const std::string path = root.path() + "/font.dp";
};

// A glyph in words: code, rows x positions / bytes a row, then its dots as row.position.
std::string describe(const DPGlyph* g)
{
    char s[64];
    snprintf(s, sizeof s, "%04X %dx%d/%d%s", g->code, g->height, g->width, g->bytesPerRow, g->bits ? "" : " no bitmap");
    std::string out = s;
    for (int r = 0; r < g->height; ++r)
        for (int p = 0; p < g->width; ++p)
            if (DPGlyph_hasDot(g, r, p))
                out += " " + std::to_string(r) + "." + std::to_string(p);
    return out;
}

TEST_F(FontFile, TheExampleLoadsAsFontABWithOneGlyph)
{
    const DWORD before = gTotalBytesAlloc;
    FontPtr font = load(kExample);
    ASSERT_NE(font, nullptr);
    EXPECT_EQ(std::u16string(font->name), u"AB");
    EXPECT_EQ(std::u16string(font->fileName), testkit::wide(path));
    EXPECT_EQ(font->numGlyphs, 1);
    EXPECT_EQ(std::make_pair(font->maxHeight, font->maxWidth), std::make_pair(3, 2));
    EXPECT_EQ(describe(font->glyphs[0]), "0041 3x2/1 0.0");
    ASSERT_NE(font->missingGlyph, nullptr);
    EXPECT_EQ(describe(font->missingGlyph), "0000 8x5/2 no bitmap");  // the placeholder
    font.reset();
    EXPECT_EQ(gTotalBytesAlloc, before);
}

TEST_F(FontFile, BitmapCodingTakesTheLowerBitOfEachPairLeftmostPositionHighest)
{
    const struct { int width, height; std::vector<int> bits; const char* glyph; } cases[] = {
        {4, 1, {0x55}, "2800 1x4/1 0.0 0.1 0.2 0.3"},                    // all four positions of a byte
        {5, 2, {0x01, 0x00, 0x00, 0x7F}, "2800 2x5/2 0.3 1.4"},          // width 5: the spare bits ignored
    };
    for (const auto& c : cases) {
        FontPtr font = load(header(1, "") + glyph(0x2800, c.height, c.width, c.bits));
        ASSERT_NE(font, nullptr);
        const DPGlyph* g = font->glyphs[0];
        EXPECT_EQ(describe(g), c.glyph);
        // Nothing outside the glyph, whatever the spare bits hold.
        EXPECT_FALSE(DPGlyph_hasDot(g, 0, c.width) || DPGlyph_hasDot(g, c.height, 0) || DPGlyph_hasDot(g, -1, 0));
    }
}

TEST_F(FontFile, TheNameIsUtf16WithAnOddLastByteACharacterOfItsOwn)
{
    const std::pair<std::string, std::u16string> cases[] = {  // the last: 255 bytes, 128 characters
        {bytes({0x41, 0x00, 0x42}), u"AB"}, {std::string(255, '\x41'), std::u16string(127, u'\x4141') + u"A"}};
    for (const auto& [nameBytes, name] : cases) {
        FontPtr font = load(header(1, nameBytes) + glyph(0x41, 3, 2, {0x40, 0, 0}));
        ASSERT_NE(font, nullptr);
        EXPECT_EQ(std::u16string(font->name), name) << nameBytes.size() << " bytes";
        EXPECT_EQ(font->glyphs[0]->code, 0x41);  // the records start right after the name
    }
}

TEST_F(FontFile, UnmarkedFilesAreEmptyFontsGlyphlessOrMissingOnesNoneAndCutOnesReadAsZeros)
{
    for (const std::string& content : {"PD" + kExample.substr(2), std::string("D"), std::string()}) {
        FontPtr font = load(content);
        ASSERT_NE(font, nullptr);
        EXPECT_TRUE(font->numGlyphs == 0 && font->glyphs == nullptr && font->name[0] == 0 && font->missingGlyph);
        EXPECT_EQ(std::make_pair(font->maxHeight, font->maxWidth), std::make_pair(8, 5));
    }
    const DWORD before = gTotalBytesAlloc;
    EXPECT_EQ(load(kExample.substr(0, 11) + '\0' + kExample.substr(12)), nullptr);
    EXPECT_EQ(load(header(0, "AB")), nullptr);
    std::filesystem::remove(path);
    EXPECT_EQ(load(), nullptr);
    EXPECT_EQ(gTotalBytesAlloc, before);

    // Missing bytes read as zeros. Three glyphs announced, two present: the third is empty.
    FontPtr font = load(header(3, "") + glyph(0x41, 3, 2, {0x40, 0, 0}) + glyph(0x42, 3, 2, {0x40, 0x40, 0}));
    ASSERT_TRUE(font && font->numGlyphs == 3);
    EXPECT_EQ(describe(font->glyphs[1]), "0042 3x2/1 0.0 1.0");
    EXPECT_EQ(describe(font->glyphs[2]), "0000 0x0/0 no bitmap");
    // A bitmap cut short keeps its size; its missing rows have no dots.
    font = load(header(1, "") + glyph(0x41, 3, 2, {0x50}));
    ASSERT_NE(font, nullptr);
    EXPECT_EQ(describe(font->glyphs[0]), "0041 3x2/1 0.0 0.1");
}

// Memory runs out at every point of a load in turn: no font or a whole one, and nothing kept.
int gAllocationsLeft;
void* failingCalloc(size_t n, size_t size) { return gAllocationsLeft-- <= 0 ? nullptr : calloc(n, size); }

TEST_F(FontFile, RunningOutOfMemoryAnywhereGivesNoFontAndLeaksNothing)
{
    testkit::writeFile(path, header(3, "AB") + glyph(0x41, 3, 2, {0x40, 0, 0}) + glyph(0x42, 3, 2, {0, 0x40, 0}) +
                                 glyph(0x43, 3, 2, {0x50, 0, 0}));
    const DWORD before = gTotalBytesAlloc;
    int allowed = -1;
    for (FontPtr font(nullptr, DPFont_delete); !font && ++allowed < 100;) {
        gAllocationsLeft = allowed;
        PxGetSyscalls()->calloc = failingCalloc;
        font = load();
        PxResetSyscalls();
        for (int i = 0; font && i < 3; ++i)
            EXPECT_TRUE(font->numGlyphs == 3 && font->glyphs[i] && font->glyphs[i]->bits &&
                        font->glyphs[i]->code == 0x41 + i) << i;
        EXPECT_TRUE(font || gTotalBytesAlloc == before) << allowed << " allocations allowed";
    }
    EXPECT_EQ(gTotalBytesAlloc, before);
    EXPECT_TRUE(allowed >= 9 && allowed < 100) << allowed;  // font, placeholder, name, array, 3 glyphs, 3 bitmaps
}

// Printer "Embosser" with a font list, in a root whose driver package has a dialog program
// that notes its arguments (started the plain way, as on a Windows before 6).
class FontList : public ::testing::Test {
protected:
    void SetUp() override
    {
        const std::string program = root.path() + "/drive_c/windows/system32/spool/drivers/x64/3/qruxprdlg.dll";
        testkit::writeFile(program, "#!/bin/sh\necho \"$@\" >> '" + notes + "'\n");
        chmod(program.c_str(), 0755);
        PxSetWindowsVersion(5, 1);
    }
    void TearDown() override
    {
        Config_delete(config);
        if (printer)
            ClosePrinter(printer);
        PxSetWindowsVersion(0, 0);
    }
    // The printer with the given "fontList" object (JSON, ' for "), and its Config.
    void makeConfig(std::string fontList)
    {
        std::replace(fontList.begin(), fontList.end(), '\'', '"');
        std::string json = testkit::printerJson("Embosser", "\"OutputVersion\": {\"type\": \"dword\", \"value\": 3}");
        root.writePrinter("Embosser", json.insert(json.rfind('}'), ", \"fontList\": " + fontList));
        std::u16string name = u"Embosser";
        ASSERT_TRUE(OpenPrinterW(const_cast<LPWSTR>(name.c_str()), &printer, nullptr));
        devobj.hPrinter = printer;
        devobj.pPublicDM = &devmode;
        ASSERT_NE(config = Config_new(&devobj), nullptr);
    }
    // A font file in the root whose one glyph has the given code, to tell fonts apart; returns its path.
    std::string font(const std::string& name, int code)
    {
        testkit::writeFile(root.path() + "/" + name, kExample.substr(0, 22) + (char)code + kExample.substr(23));
        return root.path() + "/" + name;
    }
    static int codeOf(const DPFont* f) { return f && f->numGlyphs > 0 ? f->glyphs[0]->code : -1; }
    void expectFaces(const std::vector<std::pair<const char16_t*, int>>& faces)  // face, glyph code (-1: no font)
    {
        for (size_t i = 0; i < faces.size(); ++i)
            EXPECT_EQ(codeOf(Config_getDPFont(config, faces[i].first)), faces[i].second) << "face " << i;
    }
    // What the dialog program was started with, once it has had time to run ("" when it was not).
    std::string dialogNotes(int waitMs)
    {
        for (int i = 0; i < waitMs / 10 && !testkit::fileExists(notes); ++i)
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        std::this_thread::sleep_for(std::chrono::milliseconds(50));  // a second start would show by now
        return testkit::fileExists(notes) ? testkit::readFile(notes) : "";
    }

    testkit::TempRoot root;
    const std::string notes = root.path() + "/dialog.txt";
    HANDLE printer = nullptr;
    DEVMODEW devmode{};
    DEVOBJ devobj{};
    Config* config = nullptr;
};

TEST_F(FontList, FacesFindTheirFontsByExactNameOnFirstUse)
{
    // "Empty" has no data and is skipped; "Binary" (a type that names no file) is a face without a file.
    makeConfig("{ 'DejaVu Sans': '" + font("a.dp", 'a') + "', 'Empty': { 'type': 'binary', 'value': '' }, "
               "'Binary': { 'type': 'binary', 'value': 'x.dp' }, 'Later': '" + root.path() + "/later.dp' }");
    EXPECT_EQ(config->dpFonts[0], nullptr);  // nothing is loaded before it is asked for
    expectFaces({{u"DejaVu Sans", 'a'}, {u"Empty", -1}, {u"Binary", -1}, {u"dejavu sans", -1}, {u"DejaVu Sans ", -1},
                 {u"Later", -1}});
    EXPECT_EQ(codeOf(Config_getDPFont(config, (INT)0)), 'a');
    EXPECT_EQ(codeOf(Config_getDPFont(config, (INT)-1)), -1);
    // A failed load is tried again; a loaded font is not read again.
    font("later.dp", 'L');
    expectFaces({{u"Later", 'L'}});
    font("later.dp", 'M');
    expectFaces({{u"Later", 'L'}});
    // Every file is there, and the face without a file is not checked: no dialog.
    checkDPFont(config);
    EXPECT_EQ(dialogNotes(0), "");
}

TEST_F(FontList, OneDialogForSeveralMissingFilesAndTheOthersStillLoad)
{
    makeConfig("{ 'One': '" + font("one.dp", '1') + "', 'Two': 'C:/gone1.dp', 'Three': '" + font("three.dp", '3') +
               "', 'Four': 'C:/gone2.dp' }");
    checkDPFont(config);
    EXPECT_EQ(dialogNotes(2000), "--error 34 --printer Embosser\n");
    // The entries stay; the present fonts work, the missing ones give none.
    EXPECT_EQ(config->fontCount, 4);
    expectFaces({{u"One", '1'}, {u"Two", -1}, {u"Three", '3'}, {u"Four", -1}});
}

}  // namespace
