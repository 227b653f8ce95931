// Colour pattern files: the reader and the lookups.
#include "image_fixture.h"

#include "diag/diag.h"
#include "testkit.h"

#include <memory>

using namespace imagetest;

namespace {

const std::string kHeader = "#PumexPattern_V1.0\n";

using Set = std::unique_ptr<ColorPatternSet, void (*)(ColorPatternSet*)>;
Set load(std::string file) { return {ColorPatternSet_load(testkit::wide(file).c_str()), ColorPatternSet_delete}; }

// Every pattern of a set as "(r,g,b) tile", tile rows separated by "/".
std::vector<std::string> contents(const ColorPatternSet* set)
{
    std::vector<std::string> out;
    for (INT i = 0; i < set->count; ++i) {
        const ColorPattern* p = set->patterns[i];
        out.push_back("(" + std::to_string(p->red) + "," + std::to_string(p->green) + "," + std::to_string(p->blue) +
                      ") ");
        for (INT cell = 0; cell < p->width * p->height; ++cell)
            out.back() += std::string(cell && cell % p->width == 0 ? "/" : "") + char('0' + p->cells[cell]);
    }
    return out;
}

class PatternFile : public ::testing::Test {
protected:
    testkit::TempRoot root;
    std::string write(const std::string& bytes, const std::string& name = "test.dat")
    {
        testkit::writeFile(root.path() + "/" + name, bytes);
        return root.path() + "/" + name;
    }
};

TEST_F(PatternFile, Reading)
{
    const std::string overlongRow = "#" + std::string(254, '7') + "9 9 9";  // the 256th character starts "9 9 9"
    const std::pair<std::string, std::vector<std::string>> cases[] = {
        {"#PumexPattern_V1.0" + std::string(300, '-') + "\r\n1 1 1\n#1\n", {"(1,1,1) 1"}},  // only the start counts
        {kHeader + "255, 0, 0\n#707\n#070\n#707\n0 0 255\n#77\n#00\n", {"(255,0,0) 707/070/707", "(0,0,255) 77/00"}},
        // Comma, blank and comma; numbers as atoi reads them; further tokens ignored.
        {kHeader + "255, ,0,0\n#1\n", {"(255,0,0) 1"}},
        {kHeader + "red 12abc -5 9\n#1\n", {"(0,12,-5) 1"}},
        // The width from the first row: short rows padded with 0, long ones cut.
        {kHeader + "1 1 1\n#7\n#70\n#\n", {"(1,1,1) 7/7/0"}},
        {kHeader + "1 1 1\n#777\n#7x77\n#12345\n", {"(1,1,1) 777/700/123"}},
        {kHeader + "1\r, 2, 3\r\n#7\r7\r\n\r#5", {"(1,2,3) 77/50"}},  // carriage returns dropped; no last line end
        // Reading ends at the first incomplete record.
        {kHeader + "1 1 1\n#1\n\n2 2 2\n#1\n", {"(1,1,1) 1"}},
        {kHeader + "1 1 1\n#1\n2 2 2\n", {"(1,1,1) 1"}},
        {kHeader + "1 1 1\n#1\n2 2 2\n#x1\n3 3 3\n#1\n", {"(1,1,1) 1"}},
        // A row line past 255 characters ends its record; its rest is the next colour line.
        {kHeader + "1 1 1\n#12\n" + overlongRow + "\n#5\n", {"(1,1,1) 12", "(9,9,9) 5"}},
    };
    for (const auto& c : cases)
        EXPECT_EQ(contents(load(write(c.first)).get()), c.second) << c.first;

    // A 200 x 40 tile, far past the first working buffer.
    std::string text = kHeader + "4 5 6\n";
    for (int r = 0; r < 40; ++r)
        text += "#" + std::string(200, char('0' + r % 8)) + "\n";
    std::vector<std::string> large = contents(load(write(text)).get());
    ASSERT_EQ(large.size(), 1u);
    EXPECT_EQ(large[0].size(), 8 + 40 * 201 - 1);
}

TEST_F(PatternFile, UnreadableFilesGiveEmptySetsAndNothingLeaks)
{
    DWORD before = gTotalBytesAlloc;
    for (const std::string& path : {root.path() + "/missing.dat", write("#PumexPattern_V1.1\n")}) {
        Set set = load(path);
        EXPECT_EQ(set->count, 0) << path;
        EXPECT_EQ(px_wcscmp(set->name, testkit::wide(path).c_str()), 0) << path;
        EXPECT_EQ(ColorPatternSet_getColorDotHeight(set.get(), 0, 0, 0, 0, 0), -1);
    }
    EXPECT_EQ(gTotalBytesAlloc, before);
}

// Custom patterns by exact colour, the last one remembered; hue patterns by sector for saturated colours.
TEST_F(PatternFile, DotHeightTakesTheSelectedPatterns)
{
    ToneConfig config;
    const std::string custom = "255, 0, 0\n#012\n#345\n#670\n0 0 255\n#77\n#00\n255 0 0\n#1\n0 0 1\n#0\n";
    config->customPattern = load(write(kHeader + custom, "c")).release();
    std::string sixSectors = kHeader + "0 0 0\n#0\n";  // red blank, the others marked
    for (int sector = 1; sector < 6; ++sector)
        sixSectors += "0 0 0\n#1\n";
    config->pattern3 = load(write(sixSectors, "3")).release();
    // Four sectors only: red tiled, yellow marked, green blank, cyan marked.
    config->pattern4 = load(write(kHeader + "0 0 0\n#10\n#01\n0 0 0\n#1\n0 0 0\n#0\n0 0 0\n#1\n", "4")).release();
    const PixelColor red = {255, 0, 0}, blue = {0, 0, 255}, braille = {0, 0, 1};
    const PixelColor grey = {60, 60, 60}, unlisted = {0, 0, 254};  // tone-mapped, both give 7, as red and blue do
    struct Case {
        INT colorPattern;
        PixelColor colour;
        DWORD x, y;
        INT expected;
    } cases[] = {
        {0, red, 0, 0, 7},  // no patterns
        // Custom: (4, 5) is row 2, column 1, the second red record never used; 2^32 - 1 is 0 mod 3.
        {1, red, 4, 5, 7}, {1, red, 0xFFFFFFFF, 1, 3}, {1, blue, 5, 1, 0}, {1, unlisted, 0, 0, 7},
        {1, grey, 1, 0, 7}, {1, braille, 0, 0, 15},
        // Six hue sectors, red blank; saturation 59 is tone-mapped, 60 patterned.
        {3, red, 1, 0, 0}, {3, blue, 0, 0, 7}, {3, {255, 255, 0}, 0, 0, 2}, {3, grey, 0, 0, 7},
        {3, {255, 196, 196}, 0, 0, 1}, {3, {255, 195, 195}, 0, 0, 0},
        // Four hue sectors: blue has none and takes its grey level.
        {4, red, 0, 0, 6}, {4, red, 1, 0, 0}, {4, {0, 255, 0}, 0, 0, 0}, {4, blue, 0, 0, 7},
    };
    for (const Case& c : cases) {
        config->colorPattern = c.colorPattern;
        EXPECT_EQ(getDotHeight(config.get(), c.x, c.y, &c.colour), c.expected)
            << "ColorPattern " << c.colorPattern << ", " << c.colour << " at " << c.x << ", " << c.y;
    }
}

// Without printer data the bundled files go by their bare names; each set loads once per document.
TEST_F(PatternFile, ConfiguredSetsLoadOnce)
{
    ToneConfig config;
    ColorPatternSet* custom = Config_getCustomPattern(config.get());
    EXPECT_EQ(Config_getCustomPattern(config.get()), custom);
    EXPECT_EQ(px_wcscmp(custom->name, WSTR("default.dat")), 0);
    EXPECT_EQ(px_wcscmp(Config_getPattern3(config.get())->name, WSTR("pattern3x3.dat")), 0);
    EXPECT_EQ(px_wcscmp(Config_getPattern4(config.get())->name, WSTR("pattern4x4.dat")), 0);
}

}  // namespace
