// Braille tables and the font files pumex mkfont makes of them: the table
// form, the refusals with their line numbers, the cell layout in the file,
// and the way back from a font to its table.
#include "braille/dpfont.h"
#include "braille_table.h"
#include "config/config.h"
#include "diag/diag.h"
#include "printer_fixture.h"
#include "testkit.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <map>
#include <sstream>

namespace {

using braille::Table;
using namespace std::string_literals;

// The smallest complete font, as the reader's tests have it: "AB", one glyph A with dot 1 of a 6-dot cell.
const std::string kExample("DP\0\0\0\0\0\0\0\x1F\0\x01\x03\x02\0\0\x04" "A\0B\0" "\0A\x03\x02\0\0\0\x40\0\0", 31);

Table parsed(const std::string& text)
{
    Table table;
    std::vector<braille::Problem> problems;
    EXPECT_TRUE(braille::parseTable(text, table, problems)) << (problems.empty() ? "" : problems[0].what);
    return table;
}

// The table a font holds (an empty one, after a failure, when it is no font).
Table fromFont(const std::string& font)
{
    Table table;
    std::string problem;
    EXPECT_TRUE(braille::readFont(font, table, problem)) << problem;
    return table;
}

TEST(BrailleTable, CharactersAndDotsAreWrittenAsATranscriberWould)
{
    const std::pair<const char*, const char*> cases[] = {  // a line as written, and as pumex writes it back
        {"A 1", "A 1"},           {"u+23 521", "U+0023 125"}, {"\t  ⠿\t123456  ", "U+283F 123456"},
        {"SPACE -", "SPACE -"},   {"U+0020 0", "SPACE -"},    {"U+FFFF 87654321", "U+FFFF 12345678"},
        {"U 136  # the letter U, with a comment", "U 136"},
    };
    for (const auto& [line, back] : cases) {
        Table t = parsed(std::string("# cell: 8\n") + line + "\n");
        EXPECT_EQ(braille::formatTable(t), std::string("# cell: 8\n") + back + "\n") << line;
    }
    Table t = parsed("\xEF\xBB\xBF# A table\r\n\r\n# name: Test Braille\r\nB 12\r\n   # note: not a setting\r\n"
                     "A 1\r\n# cell: 8\r\n");
    EXPECT_EQ(braille::formatTable(t), "# name: Test Braille\n# cell: 8\nB 12\nA 1\n");  // table order, not code order
    EXPECT_EQ(std::make_pair(t.cells[0].line, t.cells[1].line), std::make_pair(4, 6));
    EXPECT_EQ(braille::formatTable(parsed("A 1\n")), "# cell: 6\nA 1\n");
    // A backslash before anything else is itself, as in names written before escapes.
    EXPECT_EQ(parsed("# name: C:\\fonts\\\\x\nA 1\n").name, "C:\\fonts\\x");
    // The dots form stays strict about repeats; the size form may repeat a code.
    EXPECT_EQ(parsed("A 1\nA 2x3 .. .. ..\nA 1x1 o\n").cells.size(), 3u);
}

// The bundled computer-braille table is North American Braille ASCII.
TEST(BrailleTable, TheBundledComputerBrailleIsNorthAmericanBrailleAscii)
{
    std::map<int, int> dots;
    for (const braille::Cell& c : parsed(testkit::readFile(PUMEX_FONT_TABLE_DIR "/computer-braille.txt")).cells)
        dots[c.code] = c.dots;
    EXPECT_EQ(dots.size(), 95u);  // U+0020 to U+007E
    const std::pair<char, int> known[] = {{' ', 0},    {'A', 0x01}, {'Z', 0x35}, {'#', 0x3C}, {'=', 0x3F}, {'0', 0x34},
                                          {'1', 0x02}, {'@', 0x08}, {'_', 0x38}, {'!', 0x2E}, {'a', 0x01}, {'~', 0x18}};
    for (const auto& [c, d] : known)
        EXPECT_EQ(dots[c], d) << c;  // lower case like upper case
}

// The bundled printer in a fresh root, with the built fonts where its font list
// says they are: each listed face loads the font made of its table.
class BundledPrinter : public PrinterTest {};

TEST_F(BundledPrinter, ItsFacesLoadTheBundledFonts)
{
    const std::string fonts = root.path() + "/drive_c/Program Files/Quorvane/Fonts/";
    std::filesystem::create_directories(fonts);
    const std::pair<const char16_t*, std::string> faces[] = {{u"DejaVu Sans Mono", "computer-braille"},
                                                            {u"DejaVu Sans", "unicode-braille"}};
    for (const auto& [face, stem] : faces)
        testkit::writeFile(fonts + stem + ".dp", testkit::readFile(PUMEX_FONT_DIR "/" + stem + ".dp"));
    usePrinter("Pumex Embosser", testkit::readFile(PUMEX_BUNDLED_PRINTER));
    Config* config = Config_new(&devobj);
    ASSERT_NE(config, nullptr);
    checkDPFont(config);
    EXPECT_EQ(root.log().find("doesn't exist"), std::string::npos) << root.log();
    EXPECT_EQ(config->fontCount, 2);
    for (const auto& [face, stem] : faces) {
        const DPFont* font = Config_getDPFont(config, face);
        const Table table = parsed(testkit::readFile(PUMEX_FONT_TABLE_DIR "/" + stem + ".txt"));
        EXPECT_TRUE(font && std::u16string(font->name) == testkit::wide(table.name) &&
                    font->numGlyphs == (INT)table.cells.size()) << stem;
    }
    Config_delete(config);  // the fixture resets the log level the bundled printer asks for
}

class Mkfont : public ::testing::Test {
protected:
    // Builds the font of the table text; returns the messages, with the table's path as "T".
    std::string build(const std::string& text, int status)
    {
        testkit::writeFile(table, text);
        std::ostringstream err;
        std::string bytes;
        EXPECT_EQ(braille::buildFont(table, bytes, err), status) << text;
        if (status == 0)
            testkit::writeFile(font, bytes);
        std::string out = err.str();
        for (size_t at; (at = out.find(table)) != std::string::npos;)
            out.replace(at, table.size(), "T");
        return out;
    }
    testkit::TempRoot root;
    const std::string table = root.path() + "/My Braille.txt", font = root.path() + "/out.dp";
};

TEST_F(Mkfont, FontsAreByteForByteAndReadBackIntoTheirTables)
{
    EXPECT_EQ(build("A 1\nb 12\n", 0), "");
    std::ostringstream out, err;
    EXPECT_EQ(braille::dumpFontFile(font, out, err), 0);
    EXPECT_EQ(out.str(), "# name: My Braille\n# cell: 6\nA 1\nb 12\n");
    EXPECT_EQ(braille::writeFont(parsed("# name: AB\nA 1\n")), kExample);  // the smallest font

    // A shape of its own size among the cells: five positions by three rows.
    const std::string text =
        "# name: Ünïcode ⠿\n# cell: 8\nU+2800 -\nz 1356\nU+0023 3456\nB 5x3 o...o .o.o. ..o..\nSPACE 78\n";
    EXPECT_EQ(braille::formatTable(fromFont(braille::writeFont(parsed(text)))), text);
}

TEST_F(Mkfont, BadTablesAreToldByFileAndLineAndWriteNothing)
{
    const std::pair<std::string, std::string> cases[] = {
        {"A 1\nB 12\nA 2\n", "T:3: 'A' was already given on line 1\n"},
        {"A 121\n", "T:1: dot 1 twice in '121'"},
        {"A 1x\n", "T:1: '1x' is not a list of dots"},
        {"A\n", "T:1: 'A' has no dots (write - for a blank cell)"},
        {"A 1 2\n", "T:1: expected a character and its dots, found 3 words"},
        {"U+1F600 1\n", "T:1: 'U+1F600' is beyond U+FFFF"},
        {"U+12G4 1\n", "T:1: 'U+12G4' is not a code"},
        {"\xC3 1\n", "T:1: '\xC3' is not UTF-8 text"},
        {"B 8\n# cell: 6\n", "T:1: dot 8 in a 6-dot table"},
        {"# name: " + std::string(128, 'n') + "\nA 1\n", "T:1: the name is longer than 127 characters\n"},
        {"# name: a\\u0000b\nA 1\n", "T:1: the name holds a zero character\n"},
        {"# comments only\n\n", "T: no characters: a font needs at least one"},
        {"A 3x2 o.o .o\n", "T:1: row 2 '.o' is not 3 positions of 'o' (dot) or '.' (none)"},
        {"# name: \\uD800\nA 1\n", "T:1: '\\uD800' in the name is half a character"},
    };
    for (const auto& [text, problem] : cases) {
        const std::string said = build(text, 1);
        EXPECT_EQ(said.find(problem), 0u) << said;
        EXPECT_EQ(said.find('\n'), said.size() - 1) << said;  // one problem
        EXPECT_FALSE(testkit::fileExists(font));
    }
    // Every problem is told, in line order.
    EXPECT_EQ(build("A 9\nB 7\nCD 1\n", 1), "T:1: dot 9 in '9': braille dots are 1 to 8\nT:2: dot 7 in a 6-dot table "
                                            "(add '# cell: 8' for 8-dot cells)\nT:3: 'CD' is more than one character "
                                            "(write one character, SPACE or U+XXXX)\n");
}

TEST(BrailleFont, OnlyFilesThatAreNoFontAreRefused)
{
    const std::string good = braille::writeFont(parsed("A 1\nB 12\n"));
    const std::pair<std::string, const char*> cases[] = {
        {"PD" + good.substr(2), "does not start with \"DP\""},
        {good.substr(0, 10), "too short"},
        {good.substr(0, 10) + std::string(2, 0) + good.substr(12), "holds no glyphs"},
        {good.substr(0, good.size() - 1), "ends inside glyph 2 of 2 (U+0042)"},
        {good.substr(0, 27), "ends before glyph 2 of 2"},
    };
    for (const auto& [font, expected] : cases) {
        Table t;
        std::string problem;
        EXPECT_FALSE(braille::readFont(font, t, problem)) << expected;
        EXPECT_NE(problem.find(expected), std::string::npos) << problem;
    }
}

}  // namespace
