// Braille fonts: the file reader (header, name, glyph records, bad and cut files, running
// out of memory), and the check of the printer's font list for missing files. The bundled
// fonts are loaded through a font list glyph for glyph in the formats tests.
#include "braille/dpfont.h"
#include "config/config.h"
#include "diag/diag.h"
#include "printer_fixture.h"
#include "testkit.h"

#include "px/winproc.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <memory>

namespace {

std::string bytes(const std::vector<int>& values) { return std::string(values.begin(), values.end()); }

// The smallest complete font: "AB", one glyph A with dot 1 of a 6-dot cell.
const std::string kExample("DP\0\0\0\0\0\0\0\x1F\0\x01\x03\x02\0\0\x04" "A\0B\0" "\0A\x03\x02\0\0\0\x40\0\0", 31);

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
    EXPECT_FALSE(DPGlyph_hasDot(font->glyphs[0], 0, 2) || DPGlyph_hasDot(font->glyphs[0], -1, 0));  // outside
    ASSERT_NE(font->missingGlyph, nullptr);
    EXPECT_EQ(describe(font->missingGlyph), "0000 8x5/2 no bitmap");  // the placeholder
    font.reset();
    EXPECT_EQ(gTotalBytesAlloc, before);
}

// The documented bitmaps: the lower bit of each pair, the leftmost position highest.
TEST_F(FontFile, TheDocumentedBitmaps)
{
    const std::pair<std::string, const char*> cases[] = {
        {glyph(0x2800, 3, 2, {0x50, 0x10, 0x40}), "2800 3x2/1 0.0 0.1 1.1 2.0"},  // a 6-dot cell
        {glyph(0x2800, 1, 2, {0x80}), "2800 1x2/1"},                              // 0x80 marks no dot
        {glyph(0x2800, 1, 5, {0x00, 0x7F}), "2800 1x5/2 0.4"},                    // width 5: six bits ignored
    };
    for (const auto& [record, glyph] : cases) {
        FontPtr font = load(header(1, "") + record);
        ASSERT_NE(font, nullptr);
        EXPECT_EQ(describe(font->glyphs[0]), glyph);
    }
}

// The longest name, 255 bytes: 127 characters and its odd last byte, a character of its own.
TEST_F(FontFile, TheNameIsUtf16WithAnOddLastByteACharacterOfItsOwn)
{
    FontPtr font = load(header(1, std::string(255, '\x41')) + glyph(0x42, 3, 2, {0x40, 0, 0}));
    ASSERT_NE(font, nullptr);
    EXPECT_EQ(std::u16string(font->name), std::u16string(127, u'\x4141') + u"A");
    EXPECT_EQ(font->glyphs[0]->code, 0x42);  // the records start right after the name
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

// Each allocation of a load failing in turn: no font or a whole one, and nothing kept.
TEST_F(FontFile, AnAllocationFailingAnywhereGivesNoFontAndLeaksNothing)
{
    testkit::writeFile(path, header(3, "AB") + glyph(0x41, 3, 2, {0x40, 0, 0}) + glyph(0x42, 3, 2, {0, 0x40, 0}) +
                                 glyph(0x43, 3, 2, {0x50, 0, 0}));
    const DWORD before = gTotalBytesAlloc;
    unsigned nth = 0;
    for (bool fired = true; fired;) {
        testkit::FaultInjector fault(testkit::Call::Alloc, ++nth);
        FontPtr font = load();
        fired = fault.fired();
        for (int i = 0; font && i < 3; ++i)
            EXPECT_TRUE(font->numGlyphs == 3 && font->glyphs[i]->bits && font->glyphs[i]->code == 0x41 + i) << nth;
        font.reset();
        EXPECT_EQ(gTotalBytesAlloc, before) << "allocation " << nth << " failing";
    }
    EXPECT_GE(nth, 10u);  // font, placeholder, name, array, 3 glyphs, 3 bitmaps: nine or more
}

class FontList : public PrinterTest {};

// Faces find their fonts by exact name in list order: a value without data
// is skipped, a number names a file of its digits (here in the working
// folder). Two listed files are missing: one error dialog tells of both (on
// Windows 6 and later, where it goes through the command module, here absent);
// the dialog's command lines are checked with the helper processes.
TEST_F(FontList, FacesFindTheirFontsAndMissingFilesGetOneDialog)
{
    testkit::writeFile(root.path() + "/one.dp", kExample);
    testkit::writeFile(root.path() + "/120", kExample.substr(0, 22) + "N" + kExample.substr(23));  // glyph N
    makePrinter(withVersion(), ", \"fontList\": {\"One\": \"" + root.path() + "/one.dp\", \"Two\": \"C:/gone1.dp\", " +
                                   "\"Empty\": {\"type\": \"binary\", \"value\": \"\"}, " + dword("Numbered", 120) +
                                   ", \"Three\": \"C:/gone2.dp\"}");
    const DWORD before = gTotalBytesAlloc;
    Config* config = Config_new(&devobj);
    ASSERT_NE(config, nullptr);
    EXPECT_EQ(config->fontCount, 5);  // the skipped value counts too

    const std::filesystem::path saved = std::filesystem::current_path();
    std::filesystem::current_path(root.path());
    auto codeOf = [config](const char16_t* face) {
        const DPFont* f = Config_getDPFont(config, face);
        return f && f->numGlyphs > 0 ? f->glyphs[0]->code : -1;
    };
    const std::pair<const char16_t*, int> faces[] = {{u"One", 'A'},   {u"Numbered", 'N'}, {u"Two", -1},
                                                     {u"Empty", -1},  {u"one", -1},       {u"One ", -1}};
    for (const auto& [face, code] : faces)
        EXPECT_EQ(codeOf(face), code) << std::string(face, face + std::char_traits<char16_t>::length(face));

    gDebugLevel = 1;
    PxSetWindowsVersion(10, 0);
    checkDPFont(config);
    PxSetWindowsVersion(0, 0);
    std::filesystem::current_path(saved);
    const std::string log = root.log();
    EXPECT_EQ(testkit::countOf(log, "doesn't exist!"), 2u) << log;
    EXPECT_EQ(testkit::countOf(log, "DisplayErrorDlgVista(): 0x"), 1u) << log;
    Config_delete(config);
    EXPECT_EQ(gTotalBytesAlloc, before) << "the list and the fonts loaded from it are released";
}

}  // namespace
