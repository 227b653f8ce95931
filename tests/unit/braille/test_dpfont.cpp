// The braille font file reader: header, name, glyph records, bitmap coding,
// rejected and truncated files, and allocation failures while reading.
#include "braille/dpfont.h"
#include "diag/diag.h"
#include "font_bytes.h"
#include "testkit.h"

#include <gtest/gtest.h>

#include <memory>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace {

using fontbytes::bytes;
using fontbytes::glyph;
using fontbytes::header;

using FontPtr = std::unique_ptr<DPFont, decltype(&DPFont_delete)>;

const std::string kExample = fontbytes::example();

class FontFile : public ::testing::Test {
protected:
    void TearDown() override
    {
        gDebugLevel = 0;
        PxResetSyscalls();
    }
    // Writes the bytes to a file of the root and returns its path.
    std::u16string write(const std::string& content, const std::string& name = "font.dp")
    {
        std::string path = root.path() + "/" + name;
        testkit::writeFile(path, content);
        return testkit::wide(path);
    }
    FontPtr load(const std::u16string& path) { return FontPtr(DPFont_new(path.c_str()), DPFont_delete); }
    FontPtr loadBytes(const std::string& content) { return load(write(content)); }

    testkit::TempRoot root;
};

std::set<std::pair<int, int>> dotsOf(const DPGlyph* g)
{
    std::set<std::pair<int, int>> dots;
    for (int r = 0; r < g->height; ++r)
        for (int p = 0; p < g->width; ++p)
            if (DPGlyph_hasDot(g, r, p))
                dots.insert({r, p});
    return dots;
}

TEST_F(FontFile, TheExampleLoadsAsFontABWithOneGlyph)
{
    ASSERT_EQ(kExample.size(), 31u);
    const DWORD before = gTotalBytesAlloc;
    std::u16string path = write(kExample);
    gDebugLevel = 1;
    {
        FontPtr font = load(path);
        ASSERT_NE(font, nullptr);
        EXPECT_EQ(std::u16string(font->name), u"AB");
        EXPECT_EQ(std::u16string(font->fileName), path);
        EXPECT_EQ(font->numGlyphs, 1);
        EXPECT_EQ(font->maxHeight, 3);
        EXPECT_EQ(font->maxWidth, 2);
        const DPGlyph* a = font->glyphs[0];
        EXPECT_EQ(a->code, 0x0041);
        EXPECT_EQ(a->height, 3);
        EXPECT_EQ(a->width, 2);
        EXPECT_EQ(a->bytesPerRow, 1);
        EXPECT_EQ(dotsOf(a), (std::set<std::pair<int, int>>{{0, 0}}));

        const DPGlyph* missing = font->missingGlyph;
        ASSERT_NE(missing, nullptr);
        EXPECT_EQ(missing->width, 5);
        EXPECT_EQ(missing->height, 8);
        EXPECT_EQ(missing->code, 0);
        EXPECT_EQ(missing->bits, nullptr);
    }
    const std::string p = root.path() + "/font.dp";
    EXPECT_EQ(root.log(), "DPGlyph_new(): new glyph\n"
                          "DPFont_new(): font file: " + p + "\n"
                          "file opened\n"
                          "file size: 31\n"
                          "num glyphs: 1\n"
                          "maxHeight: 3\n"
                          "maxWidth: 2\n"
                          "name: AB\n"
                          "DPGlyph_new(): new glyph\n"
                          "symbols read: 1\n"
                          "DPFont_delete(): deleting font " + p + "\n");
    EXPECT_EQ(gTotalBytesAlloc, before);
}

TEST_F(FontFile, BitmapCodingTakesTheLowerBitOfEachPairLeftmostPositionHighest)
{
    struct Case {
        const char* what;
        int width, height;
        std::vector<int> bits;
        int bytesPerRow;
        std::set<std::pair<int, int>> dots;  // (row, position)
    } cases[] = {
        {"6-dot cell", 2, 3, {0x50, 0x10, 0x40}, 1, {{0, 0}, {0, 1}, {1, 1}, {2, 0}}},
        {"upper bit of a pair alone", 2, 1, {0x80}, 1, {}},
        {"upper bits of every pair", 4, 1, {0xAA}, 1, {}},
        {"all four positions of a byte", 4, 1, {0x55}, 1, {{0, 0}, {0, 1}, {0, 2}, {0, 3}}},
        {"width 5: the last six bits of a row are ignored", 5, 1, {0x00, 0x7F}, 2, {{0, 4}}},
        {"width 5, two rows", 5, 2, {0x01, 0x00, 0x00, 0x40}, 2, {{0, 3}, {1, 4}}},
        {"8-dot cell", 2, 4, {0x40, 0x00, 0x10, 0x50}, 1, {{0, 0}, {2, 1}, {3, 0}, {3, 1}}},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        FontPtr font = loadBytes(header(1, "") + glyph(0x2800, c.height, c.width, c.bits));
        ASSERT_NE(font, nullptr);
        const DPGlyph* g = font->glyphs[0];
        EXPECT_EQ(g->bytesPerRow, c.bytesPerRow);
        EXPECT_EQ(dotsOf(g), c.dots);
        // Nothing outside the glyph, whatever the spare bits hold.
        EXPECT_FALSE(DPGlyph_hasDot(g, 0, c.width));
        EXPECT_FALSE(DPGlyph_hasDot(g, c.height, 0));
        EXPECT_FALSE(DPGlyph_hasDot(g, -1, 0));
    }
}

TEST_F(FontFile, TheNameIsUtf16WithAnOddLastByteACharacterOfItsOwn)
{
    struct Case {
        const char* what;
        std::string nameBytes;
        std::u16string name;
    } cases[] = {
        {"even length", bytes({0x41, 0x00, 0x42, 0x00}), u"AB"},
        {"odd length", bytes({0x41, 0x00, 0x42}), u"AB"},
        {"one byte", bytes({0x5A}), u"Z"},
        {"empty", "", u""},
        {"beyond Latin", bytes({0xE9, 0x00, 0x13, 0x28}), u"\u00E9\u2813"},
        {"255 bytes: 128 characters", std::string(255, '\x41'), std::u16string(127, u'\x4141') + u"A"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        FontPtr font = loadBytes(header(1, c.nameBytes) + glyph(0x41, 3, 2, {0x40, 0, 0}));
        ASSERT_NE(font, nullptr);
        EXPECT_EQ(std::u16string(font->name), c.name);
        EXPECT_EQ(font->glyphs[0]->code, 0x41);  // the records start right after the name
    }
}

TEST_F(FontFile, AFileWithoutTheMarkIsAFontWithoutGlyphs)
{
    const std::string swapped = "PD" + kExample.substr(2);
    for (const std::string& content : {swapped, std::string("D"), std::string()}) {
        std::u16string path = write(content);
        gDebugLevel = 1;
        FontPtr font = load(path);
        ASSERT_NE(font, nullptr);
        EXPECT_EQ(font->numGlyphs, 0);
        EXPECT_EQ(font->glyphs, nullptr);
        EXPECT_EQ(font->maxHeight, 8);
        EXPECT_EQ(font->maxWidth, 5);
        EXPECT_EQ(font->name[0], 0);
        EXPECT_NE(font->missingGlyph, nullptr);
        EXPECT_NE(root.log().find("file opened\nwrong header in " + root.path() + "/font.dp \n"), std::string::npos);
        gDebugLevel = 0;
    }
}

TEST_F(FontFile, NoFontWithoutGlyphsOrWithoutAFile)
{
    const DWORD before = gTotalBytesAlloc;
    std::string zeroGlyphs = kExample;
    zeroGlyphs[11] = 0;
    EXPECT_EQ(loadBytes(zeroGlyphs), nullptr);
    EXPECT_EQ(loadBytes(header(0, "AB")), nullptr);

    gDebugLevel = 1;
    std::string missing = root.path() + "/none.dp";
    EXPECT_EQ(load(testkit::wide(missing)), nullptr);
    EXPECT_NE(root.log().find("\tcan't open file \"" + missing + "\"\n\terror: 2\n"), std::string::npos);
    EXPECT_EQ(gTotalBytesAlloc, before);
}

TEST_F(FontFile, MissingBytesReadAsZeros)
{
    // Three glyphs announced, two present: the third is empty.
    FontPtr font = loadBytes(header(3, "") + glyph(0x41, 3, 2, {0x40, 0, 0}) + glyph(0x42, 3, 2, {0x40, 0x40, 0}));
    ASSERT_NE(font, nullptr);
    ASSERT_EQ(font->numGlyphs, 3);
    const DPGlyph* third = font->glyphs[2];
    EXPECT_EQ(third->code, 0);
    EXPECT_EQ(third->height, 0);
    EXPECT_EQ(third->width, 0);
    EXPECT_EQ(third->bytesPerRow, 0);
    EXPECT_EQ(third->bits, nullptr);
    EXPECT_EQ(font->glyphs[1]->code, 0x42);

    // A bitmap cut short keeps its size; its missing rows have no dots.
    std::string cut = header(1, "") + glyph(0x41, 3, 2, {0x50, 0x50, 0x50});
    font = loadBytes(cut.substr(0, cut.size() - 2));
    ASSERT_NE(font, nullptr);
    EXPECT_EQ(dotsOf(font->glyphs[0]), (std::set<std::pair<int, int>>{{0, 0}, {0, 1}}));
}

TEST_F(FontFile, WindowsPathsAreFoundInTheSystemRoot)
{
    testkit::writeFile(root.path() + "/drive_c/ProgramData/braille.dp", kExample);
    FontPtr font = load(u"C:\\ProgramData\\braille.dp");
    ASSERT_NE(font, nullptr);
    EXPECT_EQ(std::u16string(font->fileName), u"C:\\ProgramData\\braille.dp");
    EXPECT_EQ(font->numGlyphs, 1);
}

// Memory runs out at every point of a load in turn: each load gives either no
// font or a whole one, and gives back everything it took.
int gAllocationsLeft;
void* failingCalloc(size_t n, size_t size)
{
    if (gAllocationsLeft-- <= 0)
        return nullptr;
    return calloc(n, size);
}

TEST_F(FontFile, RunningOutOfMemoryAnywhereGivesNoFontAndLeaksNothing)
{
    std::u16string path = write(header(3, "AB") + glyph(0x41, 3, 2, {0x40, 0, 0}) + glyph(0x42, 3, 2, {0x40, 0x40, 0}) +
                                glyph(0x43, 3, 2, {0x50, 0, 0}));
    const DWORD before = gTotalBytesAlloc;
    bool loaded = false;
    int failures = 0;
    for (int allowed = 0; !loaded && allowed < 100; ++allowed) {
        SCOPED_TRACE(allowed);
        gAllocationsLeft = allowed;
        PxGetSyscalls()->calloc = failingCalloc;
        DPFont* font = DPFont_new(path.c_str());
        PxResetSyscalls();
        if (font) {
            loaded = gAllocationsLeft >= 0;
            ASSERT_EQ(font->numGlyphs, 3);
            for (int i = 0; i < 3; ++i) {
                ASSERT_NE(font->glyphs[i], nullptr);
                EXPECT_NE(font->glyphs[i]->bits, nullptr);
                EXPECT_EQ(font->glyphs[i]->code, 0x41 + i);
            }
            DPFont_delete(font);
        } else {
            ++failures;
        }
        EXPECT_EQ(gTotalBytesAlloc, before);
    }
    EXPECT_TRUE(loaded);
    EXPECT_GE(failures, 9);  // font, placeholder, name copy, array, three glyphs and their bitmaps
}

}  // namespace
