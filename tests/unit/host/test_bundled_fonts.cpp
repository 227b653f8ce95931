// The bundled braille fonts, end to end: the tables in data/fonts, the fonts
// the build made of them, and the bundled printer's font list that maps two
// common faces to them. Each font loads through the list, glyph for glyph as
// its table says.
#include "braille/dpfont.h"
#include "braille_table.h"
#include "config/config.h"
#include "diag/diag.h"
#include "testkit.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <string>

#if defined(PUMEX_FONT_TABLE_DIR) && defined(PUMEX_FONT_DIR) && defined(PUMEX_BUNDLED_PRINTER)

namespace {

namespace fs = std::filesystem;

braille::Table tableOf(const std::string& stem)
{
    braille::Table table;
    std::vector<braille::Problem> problems;
    std::string path = std::string(PUMEX_FONT_TABLE_DIR) + "/" + stem + ".txt";
    EXPECT_TRUE(braille::parseTable(testkit::readFile(path), table, problems)) << path;
    if (table.name.empty())
        table.name = braille::nameFromPath(path);
    return table;
}

std::vector<std::string> tableStems()
{
    std::vector<std::string> stems;
    for (const auto& entry : fs::directory_iterator(PUMEX_FONT_TABLE_DIR))
        if (entry.path().extension() == ".txt")
            stems.push_back(entry.path().stem().string());
    return stems;
}

std::string utf8(const WCHAR* s)
{
    char out[1024];
    px_wide_to_utf8(out, sizeof out, s);
    return out;
}

// Where each dot of a cell sits: (row, position).
const int kDotPlace[8][2] = {{0, 0}, {1, 0}, {2, 0}, {0, 1}, {1, 1}, {2, 1}, {3, 0}, {3, 1}};

// The font holds the table's cells in table order, each with its dots.
void expectFontIsTable(const DPFont* font, const braille::Table& table)
{
    ASSERT_NE(font, nullptr);
    EXPECT_EQ(utf8(font->name), table.name);
    ASSERT_EQ(font->numGlyphs, (INT)table.cells.size());
    const int rows = table.cellDots == 8 ? 4 : 3;
    EXPECT_EQ(font->maxHeight, rows);
    EXPECT_EQ(font->maxWidth, 2);
    for (size_t i = 0; i < table.cells.size(); ++i) {
        const DPGlyph* g = font->glyphs[i];
        const braille::Cell& cell = table.cells[i];
        SCOPED_TRACE(braille::formatCode(cell.code));
        ASSERT_EQ(g->code, cell.code);
        ASSERT_EQ(g->height, rows);
        ASSERT_EQ(g->width, 2);
        for (int dot = 0; dot < rows * 2; ++dot)
            EXPECT_EQ(DPGlyph_hasDot(g, kDotPlace[dot][0], kDotPlace[dot][1]) != 0, (cell.dots >> dot & 1) != 0)
                << "dot " << dot + 1;
    }
}

TEST(BundledFonts, EveryTableRoundTripsThroughItsFont)
{
    for (const std::string& stem : tableStems()) {
        SCOPED_TRACE(stem);
        braille::Table table = tableOf(stem);
        const std::string built = testkit::readFile(std::string(PUMEX_FONT_DIR) + "/" + stem + ".dp");
        EXPECT_EQ(built, braille::writeFont(table));

        // Font -> table text (as --dump prints it) -> font: the same bytes.
        braille::Table back;
        std::string problem;
        ASSERT_TRUE(braille::readFont(built, back, problem)) << problem;
        braille::Table reparsed;
        std::vector<braille::Problem> problems;
        ASSERT_TRUE(braille::parseTable(braille::formatTable(back), reparsed, problems));
        EXPECT_EQ(braille::writeFont(reparsed), built);
    }
}

TEST(BundledFonts, ComputerBrailleIsNorthAmericanBrailleAsciiWithLowerCaseAsUpper)
{
    braille::Table t = tableOf("computer-braille");
    EXPECT_EQ(t.cellDots, 6);
    std::map<uint16_t, braille::Dots> dots;
    for (const braille::Cell& c : t.cells)
        dots[c.code] = c.dots;
    ASSERT_EQ(dots.size(), 95u);  // U+0020 to U+007E
    EXPECT_EQ(dots.begin()->first, 0x20);
    EXPECT_EQ(dots.rbegin()->first, 0x7E);
    struct Known {
        char c;
        braille::Dots dots;
    } known[] = {{' ', 0},    {'A', 0x01}, {'Z', 0x35}, {'#', 0x3C}, {'=', 0x3F}, {'0', 0x34},
                 {'1', 0x02}, {'@', 0x08}, {'_', 0x38}, {'!', 0x2E}, {'W', 0x3A}, {',', 0x20}};
    for (const Known& k : known)
        EXPECT_EQ(dots[(uint16_t)k.c], k.dots) << k.c;
    for (uint16_t c = 0x60; c <= 0x7E; ++c)
        EXPECT_EQ(dots[c], dots[(uint16_t)(c - 0x20)]) << (char)c;
    // The 64 cells each stand for exactly one code of U+0020 to U+005F.
    std::map<braille::Dots, int> uses;
    for (uint16_t c = 0x20; c <= 0x5F; ++c)
        ++uses[dots[c]];
    EXPECT_EQ(uses.size(), 64u);
}

TEST(BundledFonts, EveryUnicodeBraillePatternEmbossesItsOwnDots)
{
    braille::Table t = tableOf("unicode-braille");
    braille::Table expected = braille::unicodePatternsTable();
    EXPECT_EQ(t.cellDots, 8);
    ASSERT_EQ(t.cells.size(), 256u);
    for (size_t i = 0; i < 256; ++i) {
        EXPECT_EQ(t.cells[i].code, 0x2800 + i);
        EXPECT_EQ(t.cells[i].dots, expected.cells[i].dots);
        EXPECT_EQ(t.cells[i].dots, i);
    }
}

// The bundled printer in a fresh root, with the built fonts where its font
// list says they are: C:\Program Files\Quorvane\Fonts.
class BundledPrinter : public ::testing::Test {
protected:
    void SetUp() override
    {
        root.writePrinter("Pumex Embosser", testkit::readFile(PUMEX_BUNDLED_PRINTER));
        const fs::path fonts = fs::path(root.path()) / "drive_c/Program Files/Quorvane/Fonts";
        fs::create_directories(fonts);
        for (const std::string& stem : tableStems())
            fs::copy_file(std::string(PUMEX_FONT_DIR) + "/" + stem + ".dp", fonts / (stem + ".dp"));
        std::u16string name = u"Pumex Embosser";
        ASSERT_TRUE(OpenPrinterW(const_cast<LPWSTR>(name.c_str()), &printer, nullptr));
        devobj.hPrinter = printer;
        devobj.pPublicDM = &devmode;
        config = Config_new(&devobj);
        ASSERT_NE(config, nullptr);
    }
    void TearDown() override
    {
        Config_delete(config);
        if (printer)
            ClosePrinter(printer);
        gDebugLevel = 0;
    }

    testkit::TempRoot root;
    HANDLE printer = nullptr;
    DEVMODEW devmode{};
    DEVOBJ devobj{};
    Config* config = nullptr;
};

TEST_F(BundledPrinter, TheListedFacesLoadTheBundledFontsGlyphForGlyph)
{
    checkDPFont(config);
    EXPECT_EQ(root.log().find("doesn't exist"), std::string::npos) << root.log();
    EXPECT_EQ(root.log().find("DisplayErrorDlg"), std::string::npos);

    const std::map<std::string, std::string> expected = {{"DejaVu Sans Mono", "computer-braille"},
                                                         {"DejaVu Sans", "unicode-braille"}};
    ASSERT_EQ(config->fontCount, (INT)expected.size());
    for (INT i = 0; i < config->fontCount; ++i) {
        const std::string face = utf8(config->srcFontNames[i]);
        SCOPED_TRACE(face);
        ASSERT_EQ(expected.count(face), 1u);
        const std::string stem = expected.at(face);
        EXPECT_EQ(utf8(config->dpFontNames[i]), "C:\\Program Files\\Quorvane\\Fonts\\" + stem + ".dp");
        expectFontIsTable(Config_getDPFont(config, config->srcFontNames[i]), tableOf(stem));
    }
}

}  // namespace

#endif
