// The bundled braille fonts, end to end: the tables in data/fonts, the fonts the build
// made of them, and the bundled printer's font list that maps two common faces to them.
#include "braille/dpfont.h"
#include "braille_table.h"
#include "config/config.h"
#include "diag/diag.h"
#include "testkit.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <map>

#if defined(PUMEX_FONT_TABLE_DIR) && defined(PUMEX_FONT_DIR) && defined(PUMEX_BUNDLED_PRINTER)

namespace {

const std::string kTables = PUMEX_FONT_TABLE_DIR "/", kFonts = PUMEX_FONT_DIR "/";
const char* const kStems[] = {"computer-braille", "unicode-braille"};

braille::Table parsed(const std::string& text)
{
    braille::Table table;
    std::vector<braille::Problem> problems;
    EXPECT_TRUE(braille::parseTable(text, table, problems)) << (problems.empty() ? "" : problems[0].what);
    return table;
}

braille::Table tableOf(const std::string& stem) { return parsed(testkit::readFile(kTables + stem + ".txt")); }

TEST(BundledFonts, EveryTableRoundTripsThroughItsFont)
{
    for (const auto& entry : std::filesystem::directory_iterator(kTables)) {
        if (entry.path().extension() != ".txt")
            continue;
        // Table -> font (as the build made it) -> table text (as --dump prints it) -> font: the same bytes.
        const std::string stem = entry.path().stem().string(), built = testkit::readFile(kFonts + stem + ".dp");
        EXPECT_EQ(built, braille::writeFont(tableOf(stem))) << stem;
        braille::Table back;
        std::string problem;
        ASSERT_TRUE(braille::readFont(built, back, problem)) << problem;
        EXPECT_EQ(braille::writeFont(parsed(braille::formatTable(back))), built) << stem;
    }
}

TEST(BundledFonts, ComputerBrailleIsNorthAmericanBrailleAsciiAndEachUnicodePatternHasItsOwnDots)
{
    braille::Table t = tableOf("computer-braille");
    std::map<int, int> dots;
    for (const braille::Cell& c : t.cells)
        dots[c.code] = c.dots;
    EXPECT_EQ(dots.size(), 95u);  // U+0020 to U+007E
    const std::pair<char, int> known[] = {{' ', 0},    {'A', 0x01}, {'Z', 0x35}, {'#', 0x3C}, {'=', 0x3F}, {'0', 0x34},
                                          {'1', 0x02}, {'@', 0x08}, {'_', 0x38}, {'!', 0x2E}, {'a', 0x01}, {'~', 0x18}};
    for (const auto& [c, d] : known)
        EXPECT_EQ(dots[c], d) << c;  // lower case like upper case

    t = tableOf("unicode-braille");
    ASSERT_EQ(t.cells.size(), 256u);
    for (size_t i = 0; i < 256; ++i)
        EXPECT_TRUE(t.cellDots == 8 && t.cells[i].code == 0x2800 + i && t.cells[i].dots == i) << i;
}

// The bundled printer in a fresh root, with the built fonts where its font
// list says they are: the listed faces load them, each glyph with the dots its
// table gives.
TEST(BundledPrinter, TheListedFacesLoadTheBundledFontsGlyphForGlyph)
{
    testkit::TempRoot root;
    root.writePrinter("Pumex Embosser", testkit::readFile(PUMEX_BUNDLED_PRINTER));
    const std::string fonts = root.path() + "/drive_c/Program Files/Quorvane/Fonts/";
    std::filesystem::create_directories(fonts);
    for (const std::string stem : kStems)
        testkit::writeFile(fonts + stem + ".dp", testkit::readFile(kFonts + stem + ".dp"));
    std::u16string name = u"Pumex Embosser";
    HANDLE printer = nullptr;
    ASSERT_TRUE(OpenPrinterW(const_cast<LPWSTR>(name.c_str()), &printer, nullptr));
    DEVMODEW devmode{};
    DEVOBJ devobj{};
    devobj.hPrinter = printer;
    devobj.pPublicDM = &devmode;
    Config* config = Config_new(&devobj);
    ASSERT_NE(config, nullptr);
    checkDPFont(config);
    EXPECT_EQ(root.log().find("doesn't exist"), std::string::npos) << root.log();

    const int at[8][2] = {{0, 0}, {1, 0}, {2, 0}, {0, 1}, {1, 1}, {2, 1}, {3, 0}, {3, 1}};  // dot k+1: row, position
    const char16_t* faces[] = {u"DejaVu Sans Mono", u"DejaVu Sans"};  // as kStems
    EXPECT_EQ(config->fontCount, 2);
    for (int i = 0; i < 2; ++i) {
        const std::string stem = kStems[i];
        const DPFont* font = Config_getDPFont(config, faces[i]);
        const braille::Table table = tableOf(stem);
        const int rows = table.cellDots == 8 ? 4 : 3;
        EXPECT_TRUE(font && std::u16string(font->name) == testkit::wide(table.name) && font->maxHeight == rows &&
                    font->maxWidth == 2 && font->numGlyphs == (INT)table.cells.size()) << stem;
        for (size_t g = 0; font && g < (size_t)font->numGlyphs && g < table.cells.size(); ++g) {
            const DPGlyph* glyph = font->glyphs[g];
            EXPECT_TRUE(glyph->code == table.cells[g].code && glyph->height == rows && glyph->width == 2) << stem << g;
            for (int dot = 0; dot < rows * 2; ++dot)
                EXPECT_EQ(DPGlyph_hasDot(glyph, at[dot][0], at[dot][1]) != 0, (table.cells[g].dots >> dot & 1) != 0)
                    << braille::formatCode(table.cells[g].code) << " dot " << dot + 1;
        }
    }
    Config_delete(config);
    ClosePrinter(printer);
    gDebugLevel = 0;  // the bundled printer asks for the log
}

}  // namespace

#endif
