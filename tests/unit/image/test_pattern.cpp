// Colour pattern files: the reader, the lookups, the bundled files, the
// configuration's sets and the C runtime stream they are read through.
#include "image_fixture.h"

#include "diag/diag.h"
#include "testkit.h"

#include <algorithm>
#include <cerrno>

#ifndef _WIN32
#include "px/wincrt.h"
#endif

using namespace imagetest;

namespace {

const std::string kHeader = "#PumexPattern_V1.0\n";

// Every pattern of a set as "(r,g,b) tile", tile rows separated by "/".
std::vector<std::string> contents(const ColorPatternSet* set)
{
    std::vector<std::string> out;
    for (INT i = 0; i < set->count; ++i) {
        const ColorPattern* p = set->patterns[i];
        std::string text = "(" + std::to_string(p->red) + "," + std::to_string(p->green) + "," +
                           std::to_string(p->blue) + ") ";
        for (INT cell = 0; cell < p->width * p->height; ++cell)
            text += std::string(cell && cell % p->width == 0 ? "/" : "") + char('0' + p->cells[cell]);
        out.push_back(text);
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
    std::vector<std::string> load(const std::string& bytes) { return contents(LoadedSet(write(bytes)).set); }
};

using Patterns = std::vector<std::string>;

TEST_F(PatternFile, Records)
{
    const std::string row254(254, '3'), longLine(256, '1');
    const std::string overlongRow = "#" + std::string(254, '7') + "9 9 9";  // the 256th character starts "9 9 9"
    struct Case {
        const char* name;
        std::string body;  // after the header line
        Patterns expected;
    } cases[] = {
        {"two records", "255, 0, 0\n#707\n#070\n#707\n0 0 255\n#77\n#00\n",
         {"(255,0,0) 707/070/707", "(0,0,255) 77/00"}},
        {"comma, blank and comma; tabs; further tokens", "255, ,0,0 9\n#1\n \t,12\t34 ,56\n#2\n",
         {"(255,0,0) 1", "(12,34,56) 2"}},
        {"tokens as atoi reads them", "red 12abc -5\n#1\n+7 0x10 99999999999\n#2\n",
         {"(0,12,-5) 1", "(7,0,2147483647) 2"}},
        {"width from the first row; padding; cut", "1 1 1\n#7\n#70\n#\n", {"(1,1,1) 7/7/0"}},
        {"padding after other characters", "1 1 1\n#777\n#7x77\n#12345\n#7890\n", {"(1,1,1) 777/700/123/700"}},
        {"carriage returns dropped anywhere", "1\r, 2, 3\r\n#7\r7\r\n\r#5\r\n", {"(1,2,3) 77/50"}},
        {"no line end at the end", "1 2 3\n#77", {"(1,2,3) 77"}},
        {"a row line of 255 characters", "1 1 1\n#" + row254 + "\n", {"(1,1,1) " + row254}},
        {"# lines are rows, never comments", "1 1 1\n#12\n# note\n", {"(1,1,1) 12/00"}},
        {"duplicate colours are kept", "9 9 9\n#1\n9 9 9\n#2\n", {"(9,9,9) 1", "(9,9,9) 2"}},
        // Reading ends at the first incomplete record.
        {"only two numbers", "1 1 1\n#1\n255, 0\n#1\n", {"(1,1,1) 1"}},
        {"blank line between records", "1 1 1\n#1\n\n2 2 2\n#1\n", {"(1,1,1) 1"}},
        {"separators only", "1 1 1\n#1\n , \t\n2 2 2\n#1\n", {"(1,1,1) 1"}},
        {"colour line at the end", "1 1 1\n#1\n2 2 2\n", {"(1,1,1) 1"}},
        {"colour line after colour line", "1 2 3\n4 5 6\n#7\n", {}},
        {"first row without a digit", "1 1 1\n#1\n2 2 2\n#x1\n3 3 3\n#1\n", {"(1,1,1) 1"}},
        {"first row empty", "1 1 1\n#\n", {}},
        {"colour line of 256 characters", "1 1 1\n#1\n1 1 " + longLine + "\n#1\n", {"(1,1,1) 1"}},
        // A row line past 255 characters ends its record; its rest is the next colour line.
        {"overlong row line", "1 1 1\n#12\n" + overlongRow + "\n#5\n", {"(1,1,1) 12", "(9,9,9) 5"}},
        {"overlong first row line", "1 1 1\n" + overlongRow + "\n#5\n", {}},
    };
    for (const Case& c : cases)
        EXPECT_EQ(load(kHeader + c.body), c.expected) << c.name;
}

TEST_F(PatternFile, Header)
{
    const std::pair<std::string, bool> cases[] = {
        {"#PumexPattern_V1.0 made by hand\n", true}, {"#PumexPattern_V1.0\r\n", true},
        {"#PumexPattern_V1.0" + std::string(300, '-') + "\n", true},  // only the start counts
        {"#PumexPattern_V1.1\n", false},  {"#PumexPattern_V1\n", false},
        {"#pumexpattern_v1.0\n", false},  {" #PumexPattern_V1.0\n", false}, {"", false},
    };
    for (const auto& c : cases) {
        LoadedSet set(write(c.first + "1 1 1\n#1\n"));
        EXPECT_EQ(set->count, c.second ? 1 : 0) << c.first;
        EXPECT_EQ(set->patterns != nullptr, c.second) << c.first;
    }
}

TEST_F(PatternFile, LargeTilesAndManyRecords)
{
    std::string body = "4 5 6\n", tile;
    for (int r = 0; r < 40; ++r) {  // 200 x 40 cells, far past the first working buffer
        std::string row;
        for (int c = 0; c < 200; ++c)
            row += char('0' + (r + c) % 8);
        body += "#" + row + "\n", tile += (r ? "/" : "") + row;
    }
    for (int i = 0; i < 450; ++i)  // past the first array of 100, and its doubling
        body += std::to_string(i % 256) + " " + std::to_string(i / 256) + " 0\n#" + std::to_string(i % 8) + "\n";
    Patterns got = load(kHeader + body);
    ASSERT_EQ(got.size(), 451u);
    EXPECT_EQ(got[0], "(4,5,6) " + tile);
    EXPECT_EQ(got[450], "(193,1,0) 1");
}

TEST_F(PatternFile, UnreadableFilesGiveEmptySetsAndNothingLeaks)
{
    DWORD before = gTotalBytesAlloc;
    for (const std::string& path : {root.path() + "/nowhere.dat", root.path(), write("#PumexPattern_V1.1\n")}) {
        LoadedSet set(path);
        ASSERT_NE(set.set, nullptr) << path;
        EXPECT_EQ(set->count, 0) << path;
        EXPECT_EQ(px_wcscmp(set->name, widePath(path).c_str()), 0) << path;
        EXPECT_EQ(ColorPatternSet_getColorDotHeight(set.set, 0, 0, 0, 0, 0), -1);
    }
    ColorPatternSet* unnamed = ColorPatternSet_load(WSTR(""));
    EXPECT_EQ(unnamed->name, nullptr);
    ColorPatternSet_delete(unnamed);
    EXPECT_EQ(LoadedSet(write(kHeader + "1 1 1\n#12\n#34\n2 2 2\n#5\n"))->count, 2);
    EXPECT_EQ(gTotalBytesAlloc, before);
}

TEST_F(PatternFile, LogsTheLoad)
{
    std::string good = write(kHeader + "1 1 1\n#1\n", "good.dat"), bad = write("#PumexPattern_V1.1\n", "bad.dat");
    std::string missing = root.path() + "/missing.dat";
    gDebugLevel = 1;
    for (const std::string& path : {good, bad, missing})
        LoadedSet set(path);
    gDebugLevel = 0;
    EXPECT_EQ(root.log(), " Opening pattern file: " + good + "\nfile opened\n header: #PumexPattern_V1.0\n" +
                              " Opening pattern file: " + bad + "\nfile opened\n header: #PumexPattern_V1.1\n" +
                              "Wrong header of pattern file " + bad + "\n Opening pattern file: " + missing +
                              "\ncan't open file " + missing + "\n");
}

TEST_F(PatternFile, CustomLookup)
{
    LoadedSet set(write(kHeader + "255, 0, 0\n#012\n#345\n#670\n0 0 255\n#77\n#00\n255 0 0\n#1\n"));
    struct Case {
        BYTE r, g, b;
        DWORD x, y;
        INT expected;
    } cases[] = {
        // Runs of one colour at several cells, then other colours: the last-colour cache at work.
        {255, 0, 0, 4, 5, 7},  // row 2, column 1; the second red record is never used
        {255, 0, 0, 0, 0, 0},  {255, 0, 0, 2, 1, 5},  {255, 0, 0, 0xFFFFFFFFu, 1, 3},  // 2^32 - 1 is 0 mod 3
        {0, 0, 255, 5, 0, 7},  {0, 0, 255, 5, 1, 0},  {0, 0, 254, 0, 0, -1}, {0, 0, 254, 1, 1, -1},
        {255, 0, 0, 1, 2, 7},
    };
    for (const Case& c : cases)
        EXPECT_EQ(ColorPatternSet_getColorDotHeight(set.set, c.r, c.g, c.b, c.x, c.y), c.expected)
            << int(c.r) << "," << int(c.g) << "," << int(c.b) << " at " << c.x << ", " << c.y;
}

// A hue file whose sector s has a 1 x 1 tile, blank where marks[s] is '0'.
std::string hueFile(const std::string& marks)
{
    std::string body = kHeader;
    for (char m : marks)
        body += "0 0 0\n#" + std::string(1, m) + "\n";
    return body;
}

TEST_F(PatternFile, HueLookup)
{
    LoadedSet marked(write(hueFile("111111"), "m.dat")), blank(write(hueFile("000000"), "b.dat"));
    LoadedSet four(write(hueFile("0000"), "4.dat")), tiled(write(kHeader + "0 0 0\n#10\n#01\n", "t.dat"));
    const PixelColor blue = {0, 0, 255}, magenta = {255, 0, 255}, red = {255, 0, 0};
    struct Case {
        const char* name;
        const ColorPatternSet* set;
        PixelColor colour;
        DWORD x, y;
        INT threshold, expected;
    } cases[] = {
        {"blue, grey level 36", marked.set, blue, 0, 0, 60, 7},
        {"blue, blank tile", blank.set, blue, 0, 0, 60, 0},
        {"yellow, grey level 218", marked.set, {255, 255, 0}, 0, 0, 60, 2},
        {"saturation 59", blank.set, {255, 196, 196}, 0, 0, 60, -1},
        {"saturation 60", blank.set, {255, 195, 195}, 0, 0, 60, 0},
        {"grey", marked.set, {128, 128, 128}, 0, 0, 60, -1},
        {"grey, threshold 0: red sector", marked.set, {128, 128, 128}, 0, 0, 0, 4},
        {"white, threshold 0: level 0", marked.set, kWhite, 0, 0, 0, 0},
        {"four patterns: blue plain", four.set, blue, 1, 2, 60, 7},
        {"four patterns: magenta plain", four.set, magenta, 1, 2, 60, 5},
        {"four patterns: red blank", four.set, red, 1, 2, 60, 0},
        {"no set: the grey level", nullptr, blue, 0, 0, 60, 7},
        {"tile mark", tiled.set, red, 3, 1, 60, 6},
        {"tile blank", tiled.set, red, 2, 1, 60, 0},
    };
    for (const Case& c : cases)
        EXPECT_EQ(ColorPatternSet_getHueDotHeight(c.set, &c.colour, c.x, c.y, c.threshold), c.expected) << c.name;
}

// Every reachable hue byte answers from its sector: 0-20 red, 21-62 yellow,
// 63-104 green, 105-146 cyan, 147-188 blue, 189-230 magenta, 231-255 red.
TEST_F(PatternFile, HueSectors)
{
    std::vector<PixelColor> byHue(256);
    std::vector<bool> found(256, false);
    for (int r = 0; r < 256; ++r)
        for (int g = 0; g < 256; g += 5)
            for (int b = 0; b < 256; b += 5) {
                PixelColor c = {(BYTE)r, (BYTE)g, (BYTE)b};
                HsvColor hsv = rgbToHsv(&c);
                if (hsv.saturation >= 60 && !found[hsv.hue])
                    found[hsv.hue] = true, byHue[hsv.hue] = c;
            }
    for (int hue : {0, 20, 21, 62, 63, 104, 105, 146, 147, 188, 189, 230, 231, 255})
        ASSERT_TRUE(found[hue]) << hue;
    const int firstHue[] = {0, 21, 63, 105, 147, 189, 231};
    for (int sector = 0; sector < 6; ++sector) {
        std::string marks = "111111";
        marks[sector] = '0';
        LoadedSet set(write(hueFile(marks)));
        for (int hue = 0; hue < 256; ++hue)
            if (found[hue]) {
                int expected = int(std::upper_bound(firstHue, firstHue + 7, hue) - firstHue - 1) % 6;
                EXPECT_EQ(ColorPatternSet_getHueDotHeight(set.set, &byHue[hue], 0, 0, 60) == 0, expected == sector)
                    << "hue " << hue;
            }
    }
}

TEST_F(PatternFile, DotHeightTakesTheSelectedPatterns)
{
    ToneConfig config;
    config->customPattern = ColorPatternSet_load(widePath(write(kHeader + "255 0 0\n#30\n", "c.dat")).c_str());
    config->pattern3 = ColorPatternSet_load(widePath(write(hueFile("011111"), "3.dat")).c_str());
    config->pattern4 = ColorPatternSet_load(widePath(write(hueFile("111111"), "4.dat")).c_str());
    const PixelColor red = {255, 0, 0}, grey = {60, 60, 60};  // both height 7 when tone-mapped
    struct Case {
        INT colorPattern;
        PixelColor colour;
        DWORD x;
        INT expected;
    } cases[] = {{0, red, 0, 7}, {1, red, 0, 3}, {1, red, 1, 0}, {1, grey, 1, 7}, {3, red, 1, 0},
                 {3, grey, 0, 7}, {4, red, 0, 6}, {2, red, 1, 7}, {5, red, 1, 7}};
    for (const Case& c : cases) {
        config->colorPattern = c.colorPattern;
        EXPECT_EQ(getDotHeight(config.get(), c.x, 0, &c.colour), c.expected)
            << "ColorPattern " << c.colorPattern << ", " << c.colour << " at " << c.x;
    }
}

// ---------------------------------------------------------------- bundled files

TEST(BundledPatterns, LoadAndFeelDifferent)
{
    LoadedSet custom(bundledPattern("default.dat"));
    ASSERT_GE(custom->count, 1);
    EXPECT_EQ(ColorPatternSet_getColorDotHeight(custom.set, 255, 0, 0, 0, 0), 7);
    for (INT i = 0; i < custom->count; ++i)
        for (INT j = 0; j < i; ++j) {
            const ColorPattern *a = custom->patterns[i], *b = custom->patterns[j];
            EXPECT_FALSE(a->red == b->red && a->green == b->green && a->blue == b->blue) << "record " << i;
        }

    for (INT side : {3, 4}) {
        std::string file = "pattern" + std::to_string(side) + "x" + std::to_string(side) + ".dat";
        LoadedSet set(bundledPattern(file));
        ASSERT_EQ(set->count, 6) << file;
        // A tile's marks as the page may cut it: shifted by (dx, dy).
        auto marks = [&](INT s, INT dx, INT dy) {
            std::vector<bool> out;
            for (INT y = 0; y < side; ++y)
                for (INT x = 0; x < side; ++x)
                    out.push_back(ColorPattern_getCell(set->patterns[s], x + dx, y + dy) != 0);
            return out;
        };
        for (INT s = 0; s < 6; ++s) {
            EXPECT_EQ(set->patterns[s]->width * 10 + set->patterns[s]->height, side * 11) << file << " " << s;
            std::vector<bool> m = marks(s, 0, 0);
            EXPECT_NE(std::count(m.begin(), m.end(), true), 0) << file << " sector " << s << " feels blank";
            EXPECT_NE(std::count(m.begin(), m.end(), false), 0) << file << " sector " << s << " feels plain";
            for (INT other = 0; other < s; ++other)
                for (INT shift = 0; shift < side * side; ++shift)
                    EXPECT_NE(marks(other, shift % side, shift / side), m) << file << ": " << s << " as " << other;
        }
    }
}

// ---------------------------------------------------------------- through the configuration

class ConfiguredPatterns : public ::testing::Test {
protected:
    testkit::TempRoot root;
    HANDLE hPrinter = nullptr;
    ToneConfig config;

    void open(const std::string& configMembers)
    {
        root.writePrinter("Patterns", testkit::printerJson("Patterns", configMembers));
        std::u16string name = testkit::wide("Patterns");
        ASSERT_TRUE(OpenPrinterW(&name[0], &hPrinter, nullptr));
        config->hPrinter = hPrinter;
    }
    void TearDown() override { ClosePrinter(hPrinter); }
};

TEST_F(ConfiguredPatterns, NamesFromPrinterDataLoadOnceAndFailuresStay)
{
    open(R"("CustomPatternFileName": {"type": "sz", "value": "C:\\Patterns\\mine.dat"},
            "ColorPattern3FileName": {"type": "sz", "value": "C:\\Patterns\\three.dat"},
            "ColorPattern4FileName": {"type": "sz", "value": "C:\\Patterns\\late.dat"})");
    std::filesystem::create_directories(root.path() + "/drive_c/Patterns");
    testkit::writeFile(root.path() + "/drive_c/Patterns/mine.dat", kHeader + "1 2 3\n#4\n");
    testkit::writeFile(root.path() + "/drive_c/Patterns/three.dat", kHeader + "0 0 0\n#3\n");

    ColorPatternSet* custom = Config_getCustomPattern(config.get());
    EXPECT_EQ(contents(custom), Patterns{"(1,2,3) 4"});
    EXPECT_EQ(px_wcscmp(custom->name, WSTR("C:\\Patterns\\mine.dat")), 0);
    EXPECT_EQ(Config_getCustomPattern(config.get()), custom);
    EXPECT_EQ(Config_getPattern3(config.get())->count, 1);

    ColorPatternSet* late = Config_getPattern4(config.get());
    testkit::writeFile(root.path() + "/drive_c/Patterns/late.dat", kHeader + "0 0 0\n#4\n");
    EXPECT_EQ(Config_getPattern4(config.get()), late);
    EXPECT_EQ(late->count, 0) << "a failed load is not retried within the document";
}

// Without names in printer data the bundled files are found by their bare
// names, in the current directory.
TEST_F(ConfiguredPatterns, DefaultNamesAreBareFileNames)
{
    open("");
    for (const char* name : {"default.dat", "pattern3x3.dat", "pattern4x4.dat"})
        std::filesystem::copy_file(bundledPattern(name), root.path() + "/" + name);
    std::filesystem::path previous = std::filesystem::current_path();
    std::filesystem::current_path(root.path());
    ColorPatternSet* sets[] = {Config_getCustomPattern(config.get()), Config_getPattern3(config.get()),
                               Config_getPattern4(config.get())};
    std::filesystem::current_path(previous);
    const WCHAR* names[] = {WSTR("default.dat"), WSTR("pattern3x3.dat"), WSTR("pattern4x4.dat")};
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(px_wcscmp(sets[i]->name, names[i]), 0);
        EXPECT_GE(sets[i]->count, i ? 6 : 1);
    }
}

// ---------------------------------------------------------------- the C runtime stream

TEST(WideOpen, StandardStreamOverTheSystemRoot)
{
    testkit::TempRoot root;
    std::filesystem::create_directories(root.path() + "/drive_c/Data");
    testkit::writeFile(root.path() + "/drive_c/Data/f.bin", "abc");
    FILE* file = _wfopen(WSTR("C:\\Data\\f.bin"), WSTR("rb"));
    ASSERT_NE(file, nullptr);
    char buf[3];
    EXPECT_EQ(fgetc(file), 'a');
    EXPECT_EQ(ungetc('z', file), 'z');
    EXPECT_EQ(fread(buf, 1, 3, file), 3u);
    EXPECT_EQ(std::string(buf, 3), "zbc");
    EXPECT_EQ(fclose(file), 0);

    file = _wfopen(WSTR("C:\\Data\\out.txt"), WSTR("wtc"));  // Windows-only flags are accepted
    ASSERT_NE(file, nullptr);
    fclose(file);

    const struct {
        const WCHAR *path, *mode;
        int error;
    } refused[] = {
        {WSTR("C:\\none.dat"), WSTR("rb"), ENOENT},   {WSTR("C:\\Data"), WSTR("rb"), EACCES},
        {nullptr, WSTR("rb"), EINVAL},                {WSTR("C:\\Data\\f.bin"), nullptr, EINVAL},
        {WSTR("C:\\Data\\f.bin"), WSTR("q"), EINVAL}, {WSTR("C:\\Data\\f.bin"), WSTR("r, ccs=UTF-8"), EINVAL},
    };
    for (const auto& r : refused) {
        errno = 0;
        EXPECT_EQ(_wfopen(r.path, r.mode), nullptr) << r.error;
        EXPECT_EQ(errno, r.error);
    }
}

}  // namespace
