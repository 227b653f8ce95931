// Braille tables and the font files pumex mkfont makes of them: the table
// form, the refusals with their line numbers, the cell layout in the file,
// and the way back from a font to its table.
#include "braille_table.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

using braille::Cell;
using braille::Problem;
using braille::Table;

std::string bytes(std::initializer_list<int> values)
{
    std::string out;
    for (int v : values)
        out += (char)v;
    return out;
}

Table parsed(const std::string& text)
{
    Table table;
    std::vector<Problem> problems;
    EXPECT_TRUE(braille::parseTable(text, table, problems)) << (problems.empty() ? "" : problems[0].what);
    return table;
}

// Dot numbers as the table writes them, to bits.
braille::Dots dots(const std::string& numbers)
{
    braille::Dots d = 0;
    for (char c : numbers)
        if (c >= '1' && c <= '8')
            d |= (braille::Dots)(1u << (c - '1'));
    return d;
}

TEST(BrailleTable, CharactersAndDotsAreWrittenAsATranscriberWould)
{
    struct Case {
        const char* line;
        uint16_t code;
        const char* dots;
    } cases[] = {
        {"A 1", 'A', "1"},
        {"a 1", 'a', "1"},
        {"U+2813 125", 0x2813, "125"},
        {"u+2813 521", 0x2813, "125"},  // any order, either case of u
        {"U+23 3456", '#', "3456"},
        {"SPACE -", ' ', ""},
        {"U+0020 0", ' ', ""},
        {"\t  é\t123456  ", 0xE9, "123456"},
        {"⠓ 125", 0x2813, "125"},
        {"U 136  # the letter U, with a comment", 'U', "136"},
        {"+ 346", '+', "346"},
        {"1 2", '1', "2"},
        {"U+FFFF 12345678", 0xFFFF, "12345678"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.line);
        Table t = parsed(std::string("# cell: 8\n") + c.line + "\n");
        ASSERT_EQ(t.cells.size(), 1u);
        EXPECT_EQ(t.cells[0].code, c.code);
        EXPECT_EQ(t.cells[0].dots, dots(c.dots));
        EXPECT_EQ(t.cells[0].line, 2);
    }
}

TEST(BrailleTable, CommentsSettingsAndLineEnds)
{
    Table t = parsed("\xEF\xBB\xBF# A table\r\n\r\n# name: Test Braille\r\nB 12\r\n   # note: not a setting\r\n"
                     "A 1\r\n# cell: 8\r\n");
    EXPECT_EQ(t.name, "Test Braille");
    EXPECT_EQ(t.cellDots, 8);
    ASSERT_EQ(t.cells.size(), 2u);
    EXPECT_EQ(t.cells[0].code, 'B');  // table order, not code order
    EXPECT_EQ(t.cells[0].line, 4);
    EXPECT_EQ(t.cells[1].code, 'A');
    EXPECT_EQ(t.cells[1].line, 6);

    Table plain = parsed("A 1\n");
    EXPECT_EQ(plain.name, "");
    EXPECT_EQ(plain.cellDots, 6);
}

TEST(BrailleTable, BadTablesAreRefusedWithTheLineAndWhatIsWrong)
{
    struct Case {
        const char* table;
        int line;
        const char* what;
    } cases[] = {
        {"A 1\nB 12\nA 2\n", 3, "'A' was already given on line 1"},
        {"U+0041 1\nA 2\n", 2, "'A' was already given on line 1"},
        {"AB 1\n", 1, "'AB' is more than one character"},
        {"A 19\n", 1, "dot 9 in '19': braille dots are 1 to 8"},
        {"A 10\n", 1, "dot 0 in '10'"},
        {"A 121\n", 1, "dot 1 twice in '121'"},
        {"A 1x\n", 1, "'1x' is not a list of dots"},
        {"A\n", 1, "'A' has no dots (write - for a blank cell)"},
        {"A 1 2\n", 1, "expected a character and its dots, found 3 words"},
        {"U+1F600 1\n", 1, "'U+1F600' is beyond U+FFFF"},
        {"\xF0\x9F\x98\x80 1\n", 1, "is beyond U+FFFF"},
        {"U+12G4 1\n", 1, "'U+12G4' is not a code"},
        {"\xC3 1\n", 1, "is not UTF-8 text"},
        {"\n\nA 127\n", 3, "dot 7 in a 6-dot table (add '# cell: 8' for 8-dot cells)"},
        {"B 8\n# cell: 6\n", 1, "dot 8 in a 6-dot table"},
        {"# cell: 7\nA 1\n", 1, "'# cell: 7': a cell has 6 or 8 dots"},
        {"# name: One\n# name: Two\nA 1\n", 2, "'# name:' was already given on line 1"},
        {"# name:\nA 1\n", 1, "'# name:' gives no name"},
        {"# comments only\n\n", 0, "no characters: a font needs at least one"},
        {"", 0, "no characters"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.table);
        Table t;
        std::vector<Problem> problems;
        EXPECT_FALSE(braille::parseTable(c.table, t, problems));
        ASSERT_EQ(problems.size(), 1u);
        EXPECT_EQ(problems[0].line, c.line);
        EXPECT_NE(problems[0].what.find(c.what), std::string::npos) << problems[0].what;
    }

    // Every problem is told, in line order.
    Table t;
    std::vector<Problem> problems;
    braille::parseTable("A 9\nB 7\nCD 1\n", t, problems);
    ASSERT_EQ(problems.size(), 3u);
    EXPECT_EQ(problems[0].line, 1);
    EXPECT_EQ(problems[1].line, 2);
    EXPECT_EQ(problems[2].line, 3);

    // Names: 127 UTF-16 units fit the font header, 128 do not.
    EXPECT_TRUE(braille::parseTable("# name: " + std::string(127, 'n') + "\nA 1\n", t, problems));
    problems.clear();
    EXPECT_FALSE(braille::parseTable("# name: " + std::string(128, 'n') + "\nA 1\n", t, problems));
    ASSERT_EQ(problems.size(), 1u);
    EXPECT_NE(problems[0].what.find("longer than 127"), std::string::npos);
}

TEST(BrailleFont, TheSmallestFontIsTheDocumentedExample)
{
    Table t = parsed("# name: AB\nA 1\n");
    EXPECT_EQ(braille::writeFont(t), bytes({0x44, 0x50, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x1F, 0x00,
                                            0x01, 0x03, 0x02, 0x00, 0x00, 0x04, 0x41, 0x00, 0x42, 0x00, 0x00,
                                            0x41, 0x03, 0x02, 0x00, 0x00, 0x00, 0x40, 0x00, 0x00}));
}

TEST(BrailleFont, FontsReadBackIntoTheirTables)
{
    Table t = parsed("# name: Ünïcode ⠿\n# cell: 8\nU+2800 -\nz 1356\nU+0023 3456\nSPACE 78\n");
    Table back;
    std::string problem;
    ASSERT_TRUE(braille::readFont(braille::writeFont(t), back, problem)) << problem;
    EXPECT_EQ(back.name, t.name);
    EXPECT_EQ(back.cellDots, 8);
    ASSERT_EQ(back.cells.size(), t.cells.size());
    for (size_t i = 0; i < t.cells.size(); ++i) {
        EXPECT_EQ(back.cells[i].code, t.cells[i].code);
        EXPECT_EQ(back.cells[i].dots, t.cells[i].dots);
    }
    EXPECT_EQ(braille::formatTable(back), "# name: Ünïcode ⠿\n# cell: 8\nU+2800 -\nz 1356\nU+0023 3456\nSPACE 78\n");
}

TEST(BrailleFont, FontsATableCannotSayAreRefused)
{
    const std::string good = braille::writeFont(parsed("A 1\nB 12\n"));
    auto glyphByte = [&](size_t glyph, size_t offset, int value) {
        std::string f = good;
        f[17 + glyph * 10 + offset] = (char)value;
        return f;
    };
    struct Case {
        const char* what;
        std::string font;
        const char* problem;
    } cases[] = {
        {"no mark", "PD" + good.substr(2), "does not start with \"DP\""},
        {"short header", good.substr(0, 10), "too short"},
        {"no glyphs", good.substr(0, 10) + bytes({0, 0}) + good.substr(12), "holds no glyphs"},
        {"cut in a glyph", good.substr(0, good.size() - 1), "ends inside glyph 2 of 2 (U+0042)"},
        {"glyph missing", good.substr(0, 27), "ends before glyph 2 of 2"},
        {"5 positions", glyphByte(0, 3, 5), "glyph 1 of 2 (U+0041) is 3 rows by 5 positions"},
        {"two cell sizes", glyphByte(1, 2, 4), "has 4 rows, unlike the glyphs before it"},
        {"code twice", glyphByte(1, 1, 'A'), "glyph 2 of 2 (U+0041) repeats the code of glyph 1"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        Table t;
        std::string problem;
        EXPECT_FALSE(braille::readFont(c.font, t, problem));
        EXPECT_NE(problem.find(c.problem), std::string::npos) << problem;
    }
}

// pumex mkfont itself: files, messages and exit statuses.
class Mkfont : public ::testing::Test {
protected:
    void SetUp() override
    {
        dir = std::filesystem::temp_directory_path() /
              ("pumex-mkfont-" + std::to_string(::getpid()) + "-" +
               ::testing::UnitTest::GetInstance()->current_test_info()->name());
        std::filesystem::create_directories(dir);
    }
    void TearDown() override { std::filesystem::remove_all(dir); }
    std::string file(const std::string& name, const std::string& content)
    {
        std::ofstream((dir / name).string(), std::ios::binary) << content;
        return (dir / name).string();
    }
    static std::string read(const std::string& path)
    {
        std::ifstream in(path, std::ios::binary);
        std::ostringstream s;
        s << in.rdbuf();
        return s.str();
    }
    std::filesystem::path dir;
};

TEST_F(Mkfont, BuildsAFontNamedByItsTableAndDumpsItBack)
{
    std::string table = file("My Braille.txt", "A 1\nb 12\n");
    std::string font = (dir / "out.dp").string();
    std::ostringstream err, out;
    EXPECT_EQ(braille::buildFontFile(table, font, err), 0);
    EXPECT_EQ(err.str(), "");
    EXPECT_EQ(braille::dumpFontFile(font, out, err), 0);
    EXPECT_EQ(out.str(), "# name: My Braille\n# cell: 6\nA 1\nb 12\n");
}

TEST_F(Mkfont, ABadTableIsToldByFileAndLineAndWritesNothing)
{
    std::string table = file("bad.txt", "A 1\n# cell: 9\nA 2\n");
    std::string font = (dir / "bad.dp").string();
    std::ostringstream err;
    EXPECT_EQ(braille::buildFontFile(table, font, err), 1);
    EXPECT_EQ(err.str(), table + ":2: '# cell: 9': a cell has 6 or 8 dots\n" + table +
                             ":3: 'A' was already given on line 1\n");
    EXPECT_FALSE(std::filesystem::exists(font));

    std::ostringstream missing;
    EXPECT_EQ(braille::buildFontFile((dir / "none.txt").string(), font, missing), 1);
    EXPECT_EQ(missing.str(), (dir / "none.txt").string() + ": cannot read the table\n");
    std::ostringstream notFont, out;
    EXPECT_EQ(braille::dumpFontFile(table, out, notFont), 1);
    EXPECT_EQ(notFont.str(), table + ": not a braille font file: it does not start with \"DP\"\n");
}

#ifdef PUMEX_TOOL
// Runs pumex with the arguments; returns the exit status, stdout and stderr.
int runPumex(const std::string& args, const std::filesystem::path& dir, std::string& out, std::string& err)
{
    const std::string outFile = (dir / "stdout").string(), errFile = (dir / "stderr").string();
    int rc = std::system(("'" + std::string(PUMEX_TOOL) + "' " + args + " >'" + outFile + "' 2>'" + errFile + "'").c_str());
    std::ifstream o(outFile), e(errFile);
    std::ostringstream os, es;
    os << o.rdbuf();
    es << e.rdbuf();
    out = os.str();
    err = es.str();
    return WIFEXITED(rc) ? WEXITSTATUS(rc) : -1;
}

TEST_F(Mkfont, TheCommandExitsNonZeroOnBadTablesAndMissingArguments)
{
    std::string out, err;
    std::string bad = file("bad.txt", "\nA 9\n");
    EXPECT_EQ(runPumex("mkfont '" + bad + "' -o '" + (dir / "bad.dp").string() + "'", dir, out, err), 1);
    EXPECT_EQ(err, bad + ":2: dot 9 in '9': braille dots are 1 to 8\n");

    EXPECT_EQ(runPumex("mkfont '" + bad + "'", dir, out, err), 2);  // no -o
    EXPECT_NE(err.find("-o FONT"), std::string::npos);
}

#ifdef PUMEX_FONT_TABLE_DIR
TEST_F(Mkfont, TheCommittedPatternTableIsWhatTheGeneratorWrites)
{
    std::string out, err;
    ASSERT_EQ(runPumex("mkfont --unicode-patterns", dir, out, err), 0) << err;
    EXPECT_EQ(out, read(std::string(PUMEX_FONT_TABLE_DIR) + "/unicode-braille.txt"));
}
#endif
#endif

}  // namespace
