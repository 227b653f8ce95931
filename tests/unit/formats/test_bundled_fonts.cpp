// The bundled braille fonts: the computer-braille table's dots, and the bundled
// printer's font list that maps two common faces to the fonts the build made.
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

braille::Table tableOf(const std::string& stem)
{
    braille::Table table;
    std::vector<braille::Problem> problems;
    EXPECT_TRUE(braille::parseTable(testkit::readFile(kTables + stem + ".txt"), table, problems)) << stem;
    return table;
}

TEST(BundledFonts, ComputerBrailleIsNorthAmericanBrailleAscii)
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
}

// The bundled printer in a fresh root, with the built fonts where its font
// list says they are: each listed face loads the font of its table.
TEST(BundledPrinter, TheListedFacesLoadTheBundledFonts)
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

    const char16_t* faces[] = {u"DejaVu Sans Mono", u"DejaVu Sans"};  // as kStems
    EXPECT_EQ(config->fontCount, 2);
    for (int i = 0; i < 2; ++i) {
        const std::string stem = kStems[i];
        const DPFont* font = Config_getDPFont(config, faces[i]);
        const braille::Table table = tableOf(stem);
        EXPECT_TRUE(font && std::u16string(font->name) == testkit::wide(table.name) &&
                    font->numGlyphs == (INT)table.cells.size()) << stem;
    }
    Config_delete(config);
    ClosePrinter(printer);
    gDebugLevel = 0;  // the bundled printer asks for the log
}

}  // namespace

#endif
