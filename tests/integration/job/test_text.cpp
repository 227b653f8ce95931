// Text through the host and the plug-in: braille cells from the font list,
// character shapes, text passed on as graphics, and text dropped; and a page
// of text and graphics given in bands or whole.
#include "job_fixture.h"

#include "braille_table.h"
#include "text_job.h"
#include "text_services.h"

#include <algorithm>

namespace {

using jobtest::Cells;

constexpr int kBrailleDot = 15;
constexpr int kItalicGrey = 2;  // the italic marker colour (200, 200, 200) after tone mapping
constexpr host::Rgb kEmboss{6, 7, 8};
constexpr host::Rgb kInk{5, 6, 7};

// A test font: "A" with dots at row 0 position 0 and row 1 position 1, "B" at
// row 0 position 0 and row 2 position 1, the space blank; nothing else.
const char* kTestTable = "A 15\nB 16\nSPACE -\n";

braille::Table tableOf(const std::string& text)
{
    braille::Table table;
    std::vector<braille::Problem> problems;
    EXPECT_TRUE(braille::parseTable(text, table, problems));
    return table;
}

std::string bundledTable(const std::string& name)
{
    return testkit::readFile(std::string(PUMEX_TEST_DATA) + "/../../data/fonts/" + name + ".txt");
}

host::TextOp text(const std::string& s, const std::string& face, int x, int y, int size, host::Rgb color = {})
{
    host::TextOp op;
    op.text = s, op.face = face, op.x = x, op.y = y, op.size = size, op.color = color;
    return op;
}

// Where the braille of a run lands at magnification 1: each glyph's cell at
// its origin's column and the first cell row at or below the run's top.
Cells brailleCells(const host::TextOp& op, const braille::Table& table, int rf)
{
    static const unsigned kPos[8] = {0, 0, 0, 1, 1, 1, 0, 1}, kRow[8] = {0, 1, 2, 0, 1, 2, 3, 3};
    auto run = host::layoutText(op, {0, 0});
    Cells cells;
    for (size_t i = 0; i < run->glyphs.size(); ++i) {
        unsigned column = (unsigned)(run->glyphs[i].ptl.x / rf), row = (unsigned)((op.y + rf - 1) / rf);
        auto cell = std::find_if(table.cells.begin(), table.cells.end(),
                                 [&](const braille::Cell& c) { return c.code == run->codes[i]; });
        for (int k = 0; cell != table.cells.end() && k < 8; ++k)
            if (cell->dots & (1 << k))
                cells[{column + kPos[k], row + kRow[k]}] = kBrailleDot;
    }
    return cells;
}

// The pixels of a run's character shapes as cells at rf 1, each holding dot.
Cells shapeOf(const host::TextOp& op, int dot)
{
    auto run = host::layoutText(op, {0, 0});
    Cells pixels;
    for (const GLYPHPOS& gp : run->glyphs) {
        const GLYPHBITS* bits = host::glyphBits(*run->fontObject.font, gp.hg);
        for (LONG y = 0; bits && y < bits->sizlBitmap.cy; ++y)
            for (LONG x = 0; x < bits->sizlBitmap.cx; ++x)
                if (bits->aj[y * ((bits->sizlBitmap.cx + 7) / 8) + x / 8] & (0x80 >> (x % 8)))
                    pixels[{(unsigned)(gp.ptl.x + bits->ptlOrigin.x + x),
                            (unsigned)(gp.ptl.y + bits->ptlOrigin.y + y)}] = dot;
    }
    return pixels;
}

class Text : public jobtest::JobTest {
protected:
    // The printer with the test font (or a bundled one) for "DejaVu Sans
    // Mono", written as a font file in the root; "DejaVu Serif" is not listed.
    void printerWithFonts(const std::string& config = "", const std::string& bundledFont = "")
    {
        std::string path = root->path() + "/mono.dp";
        std::string table = bundledFont.empty() ? kTestTable : bundledTable(bundledFont);
        testkit::writeFile(path, braille::writeFont(tableOf(table)));
        printer(config, "\"DejaVu Sans Mono\": \"" + path + "\"");
    }
    // One page of `cells` x `cells` cells at rf (print quality 20 rf).
    static host::JobSpec page(int rf, int cells, std::vector<host::Op> ops)
    {
        host::JobSpec job;
        job.source = "text job";
        job.devmode.printQuality = job.devmode.yResolution = (int16_t)(20 * rf);
        job.devmode.paperWidth = job.devmode.paperLength = (int16_t)(cells * 254 / 20);
        job.pages.push_back(host::PageSpec{std::move(ops)});
        return job;
    }
    Cells print(const host::JobSpec& job)
    {
        run(job);
        return jobtest::cellsOf(spooled);
    }
};

TEST_F(Text, BrailleGlyphsSnapToTheDotGrid)
{
    // rf 6, magnification 1, "A" at (50, 100): the origin moves to (48, 102),
    // the dots land on pixels (48, 102) and (54, 108): cells (8, 17) and
    // (9, 18). Interpoint moves y to an even dot row. Vertical "B": row 0
    // position 0 goes to (x0, y0 + 2 step), row 2 position 1 to
    // (x0 + 2 step, y0 + step). Simulated italic greys the rest of the
    // glyph's 2 x 3 grid, but not a space's.
    constexpr int D = kBrailleDot, G = kItalicGrey;
    struct Case {
        const char* name;
        std::string config;
        const char* text;
        int y;
        bool vertical, italic;
        Cells cells;
    } cases[] = {
        {"magnification 1", "", "A", 100, false, false, {{{8, 17}, D}, {{9, 18}, D}}},
        {"magnification 0, raised to 1", jobtest::dword("Magnification", 0), "A", 100, false, false,
         {{{8, 17}, D}, {{9, 18}, D}}},
        {"interpoint, y 100", jobtest::dword("InterPoint", 1), "A", 100, false, false, {{{8, 16}, D}, {{9, 17}, D}}},
        {"interpoint, y 95", jobtest::dword("InterPoint", 1), "A", 95, false, false, {{{8, 16}, D}, {{9, 17}, D}}},
        {"vertical", "", "B", 100, true, false, {{{8, 19}, D}, {{10, 18}, D}}},
        {"simulated italic, then a space", "", "A ", 100, false, true,
         {{{8, 17}, D}, {{9, 17}, G}, {{8, 18}, G}, {{9, 18}, D}, {{8, 19}, G}, {{9, 19}, G}}},
    };
    for (const Case& c : cases) {
        printerWithFonts(c.config);
        host::TextOp op = text(c.text, "DejaVu Sans Mono", 50, c.y, 20);
        op.vertical = c.vertical;
        op.italic = c.italic;
        EXPECT_EQ(print(page(6, 40, {op})), c.cells) << c.name;
    }
}

TEST_F(Text, LinesInMappedFacesGiveTheCellsOfTheirCharacters)
{
    // Computer braille for the mono face; rf 6, every glyph two columns apart.
    printerWithFonts("", "computer-braille");
    host::TextOp line = text("Braille 29, (x+y)!", "DejaVu Sans Mono", 13, 61, 20);
    Cells expected = brailleCells(line, tableOf(bundledTable("computer-braille")), 6);
    EXPECT_GT(expected.size(), 20u);
    for (bool glyphIndex : {false, true}) {
        line.glyphIndex = glyphIndex;
        EXPECT_EQ(print(page(6, 80, {line})), expected) << (glyphIndex ? "glyph indices" : "characters");
    }
}

TEST_F(Text, BandsOfAnyHeightGiveTheCellsOfTheWholePage)
{
    // Braille, a stamped shape, a grey area and lines, with band edges inside
    // all of them, bands down the page and (landscape) along it. The edges
    // fall on cell boundaries and never inside a line thinner than a cell:
    // the bitmap adjustment sees one band at a time, so such a line would
    // move differently from the whole page's.
    printerWithFonts();
    host::JobSpec job = page(6, 40, {text("AB AB", "DejaVu Sans Mono", 90, 100, 20),
                                     text("Serif", "DejaVu Serif", 20, 130, 30, kEmboss),
                                     jobtest::rect(30, 160, 200, 230, jobtest::greyForDot(3)),
                                     host::LineOp{10, 61, 230, 61, 1, {0, 0, 0}},  // drawn by LineTo
                                     host::LineOp{151, 10, 151, 230, 3, {0, 0, 0}}});
    for (bool landscape : {false, true}) {
        job.devmode.landscape = landscape;
        job.surface.banding = false;
        Cells whole = print(job);
        EXPECT_GT(whole.size(), 100u);
        job.surface.banding = true;
        for (int bandHeight : {102, 108, 120, 138}) {
            job.surface.bandHeight = bandHeight;
            EXPECT_EQ(print(job), whole) << "bands of " << bandHeight << (landscape ? ", landscape" : "");
        }
    }
}

TEST_F(Text, TextWithoutBrailleIsShapedPassedOnOrDroppedAndInkNeverEmbosses)
{
    // rf 1: every pixel is a cell. The test font has no "é" and no "g".
    // Character shapes are stamped as the braille dot; text passed on is
    // embossed as graphics, black as the highest graphic dot.
    enum Result { DROPPED = 0, PASSED_ON = 7, STAMPED = kBrailleDot };
    struct Case {
        const char* name;
        int embossStandardTexts;
        host::TextOp op;
        Result result;
    } cases[] = {
        {"emboss colour, unlisted face", 0, text("Shape", "DejaVu Serif", 10, 10, 40, kEmboss), STAMPED},
        {"missing from the braille font", 0, text("ég", "DejaVu Sans Mono", 10, 10, 40), STAMPED},
        {"black, unlisted, dropped", 0, text("Ink", "DejaVu Serif", 10, 10, 40), DROPPED},
        {"black, unlisted, passed on", 1, text("Ink", "DejaVu Serif", 10, 10, 40), PASSED_ON},
        {"ink colour, unlisted", 1, text("Ink", "DejaVu Serif", 10, 10, 40, kInk), DROPPED},
        {"ink colour, listed", 1, text("AB", "DejaVu Sans Mono", 10, 10, 40, kInk), DROPPED},
        {"ink colour, missing glyphs", 1, text("ég", "DejaVu Sans Mono", 10, 10, 40, kInk), DROPPED},
    };
    for (const Case& c : cases) {
        printerWithFonts(jobtest::dword("EmbossStandardTexts", c.embossStandardTexts));
        EXPECT_EQ(print(page(1, 200, {c.op})), c.result == DROPPED ? Cells{} : shapeOf(c.op, c.result)) << c.name;
    }
    EXPECT_NE(root->log().find("missing glyph: 233, printing image"), std::string::npos);
}

TEST_F(Text, ATextFileIsLaidOutInLinesAndPagesInTheFirstMappedFace)
{
    using Pages = std::vector<std::vector<std::u16string>>;
    struct Case {
        const char16_t* text;
        Pages pages;  // 6 characters a line, 2 lines a page
    } cases[] = {
        {u"", {{}}},
        {u"one\r\ntwo\n", {{u"one", u"two"}}},
        {u"a bb ccc dddd", {{u"a bb", u"ccc"}, {u"dddd"}}},
        {u"abcdefghij", {{u"abcdef", u"ghij"}}},
        {u"x\fy\tz", {{u"x"}, {u"y z"}}},
        {u"1\n2\n3\n\n5", {{u"1", u"2"}, {u"3", u""}, {u"5"}}},
    };
    for (const Case& c : cases)
        EXPECT_EQ(host::layOutText(c.text, 6, 2), c.pages);

    printerWithFonts("", "computer-braille");
    host::ImageJobOptions options;
    std::string letter(70 * 30, 'x');  // 70 lines' worth of one long word: pages of cut lines
    host::JobSpec job = host::textJob("letter.txt", "Dear reader,\n" + letter, options);
    ASSERT_GT(job.pages.size(), 1u);
    const auto& first = std::get<host::TextOp>(job.pages[0].ops[0]);
    EXPECT_EQ(first.face, "DejaVu Sans Mono");
    EXPECT_EQ(first.text, "Dear reader,");
    // Three positions a character at rf 5.
    auto laid = host::layoutText(first, {0, 0});
    EXPECT_EQ(laid->glyphs[1].ptl.x - laid->glyphs[0].ptl.x, 3 * 5);
    EXPECT_THROW(host::textJob("bad.txt", "caf\xC3", options), host::JobError);
}

}  // namespace
