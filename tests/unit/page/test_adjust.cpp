// Bitmap adjustment: snapping small marks into cells and shifting short runs
// across cell boundaries, on the documented examples and against a slow,
// literal reading of the rules on random surfaces.
#include "diag/diag.h"
#include "page/adjust.h"
#include "testkit.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <ostream>
#include <random>
#include <string>
#include <vector>

namespace {

// Colours as 0xRRGGBB, so pictures compare as plain vectors.
constexpr uint32_t W = 0xFFFFFF, B = 0x000000, G = 0x808080, R = 0xFF0000;

PixelColor colourOf(uint32_t v) { return {(BYTE)(v >> 16), (BYTE)(v >> 8), (BYTE)v}; }
uint32_t valueOf(PixelColor c) { return (uint32_t)c.red << 16 | c.green << 8 | c.blue; }
int brightness(uint32_t v) { return (v >> 16) + (v >> 8 & 0xFF) + (v & 0xFF); }

// A picture, row-major. Off the picture reads white and takes no writes.
struct Grid {
    int cx, cy;
    std::vector<uint32_t> px;

    Grid(int w, int h, uint32_t fill = W) : cx(w), cy(h), px((size_t)w * h, fill) {}
    bool inside(int64_t x, int64_t y) const { return x >= 0 && y >= 0 && x < cx && y < cy; }
    uint32_t get(int64_t x, int64_t y) const { return inside(x, y) ? px[y * cx + x] : W; }
    void set(int64_t x, int64_t y, uint32_t c)
    {
        if (inside(x, y))
            px[y * cx + x] = c;
    }
    // Columns x0 ... x1 - 1, rows y0 ... y1 - 1.
    Grid& fill(int x0, int y0, int x1, int y1, uint32_t c)
    {
        for (int y = y0; y < y1; ++y)
            for (int x = x0; x < x1; ++x)
                set(x, y, c);
        return *this;
    }
    Grid transposed() const
    {
        Grid t(cy, cx);
        for (int y = 0; y < cy; ++y)
            for (int x = 0; x < cx; ++x)
                t.set(y, x, get(x, y));
        return t;
    }
    bool operator==(const Grid& o) const { return cx == o.cx && px == o.px; }
};

// '.' white, '#' black, '+' anything else: readable failures.
std::string picture(const Grid& g)
{
    std::string s;
    for (int y = 0; y < g.cy; ++y, s += '\n')
        for (int x = 0; x < g.cx; ++x)
            s += g.get(x, y) == W ? '.' : g.get(x, y) == B ? '#' : '+';
    return s;
}

void PrintTo(const Grid& g, std::ostream* os) { *os << "\n" << picture(g); }

// A surface as the driver renders one: 24 bpp with scan lines padded to four
// bytes, or 1 bpp (black and white pictures only), reached through the
// surface's own pixel access.
class Surface {
public:
    explicit Surface(const Grid& g, ULONG format = BMF_24BPP)
    {
        LONG stride = format == BMF_24BPP ? (3 * g.cx + 3) & ~3 : (g.cx + 31) / 32 * 4;
        bits_.assign((size_t)stride * g.cy, 0x5A);
        so_.sizlBitmap = {g.cx, g.cy};
        so_.iBitmapFormat = format;
        so_.lDelta = stride;
        so_.pvScan0 = bits_.data();
        for (int y = 0; y < g.cy; ++y)
            for (int x = 0; x < g.cx; ++x) {
                PixelColor c = colourOf(g.get(x, y));
                setSurfacePixel(&so_, x, y, &c);
            }
    }
    SURFOBJ* so() { return &so_; }
    Grid grid()
    {
        Grid g(so_.sizlBitmap.cx, so_.sizlBitmap.cy);
        for (int y = 0; y < g.cy; ++y)
            for (int x = 0; x < g.cx; ++x) {
                PixelColor c;
                getSurfacePixel(&so_, x, y, &c, g.cy);
                g.set(x, y, valueOf(c));
            }
        return g;
    }

private:
    std::vector<BYTE> bits_;
    SURFOBJ so_{};
};

Grid adjusted(const Grid& g, INT rf, void (*adjust)(SURFOBJ*, INT) = adjustBitMap)
{
    Surface s(g);
    adjust(s.so(), rf);
    return s.grid();
}

class Adjust : public ::testing::Test {
protected:
    void TearDown() override { gDebugLevel = 0; }
    testkit::TempRoot root;
};

TEST_F(Adjust, DocumentedSnaps)
{
    struct Case {
        const char* what;
        int rf, x0, y0, x1, y1;  // the mark: columns x0 ... x1 - 1, rows y0 ... y1 - 1
        int tx0, ty0, tx1, ty1;  // where it ends
    } cases[] = {
        {"4 x 4: right by 2 (a tie), up by 1", 6, 4, 9, 8, 13, 6, 8, 10, 12},
        {"7 x 7: right by 2, down by 3", 6, 4, 9, 11, 16, 6, 12, 13, 19},
        {"8 x 8: too large", 6, 4, 9, 12, 17, 4, 9, 12, 17},
        {"spanning three cells", 4, 3, 5, 12, 7, 3, 5, 12, 7},
        {"3 x 3 mostly in the first cells: left and up by 1", 4, 2, 2, 5, 5, 1, 1, 4, 4},
        {"inside one cell already", 6, 7, 7, 10, 10, 7, 7, 10, 10},
        {"touching every window's border", 6, 0, 8, 2, 10, 0, 8, 2, 10},
    };
    for (const Case& c : cases) {
        Grid got = adjusted(Grid(40, 40).fill(c.x0, c.y0, c.x1, c.y1, B), c.rf, adjustBraille);
        EXPECT_EQ(got, Grid(40, 40).fill(c.tx0, c.ty0, c.tx1, c.ty1, B)) << c.what;
    }
    // The whole box moves, the white pixels inside it too.
    Grid got = adjusted(Grid(24, 24).fill(4, 9, 8, 10, B).fill(4, 10, 5, 13, R), 6, adjustBraille);
    EXPECT_EQ(got, Grid(24, 24).fill(6, 8, 10, 9, B).fill(6, 9, 7, 12, R));
}

// Horizontal bands across the whole picture (the column pass), and the same
// picture transposed (the row pass); rf 4, so cell boundaries at 4, 8, ...
TEST_F(Adjust, ShortRunsMoveToTheSideWhereMostOfThemLie)
{
    struct Case {
        const char* what;
        uint32_t outer, band;
        int y0, y1, ty0, ty1;  // the band's rows before and after
    } cases[] = {
        {"inFirst 2 of 3: back by 1", W, B, 6, 9, 5, 8},
        {"inFirst 1 of 3: forward by 1", W, B, 7, 10, 8, 11},
        {"inFirst 1 of 2, a tie: forward", W, B, 7, 9, 8, 10},
        {"within one cell", W, B, 8, 11, 8, 11},
        {"longer than a cell", W, B, 6, 11, 6, 11},
        {"forward at the bottom edge, cut there", W, B, 19, 22, 20, 22},
        {"the first run never moves", W, B, 0, 3, 0, 3},
        {"white between black stays", B, W, 7, 9, 7, 9},
        {"grey between black stays", B, G, 7, 9, 7, 9},
        {"black between grey moves", G, B, 7, 9, 8, 10},
    };
    for (const Case& c : cases) {
        Grid before = Grid(17, 22, c.outer).fill(0, c.y0, 17, c.y1, c.band);
        Grid want = Grid(17, 22, c.outer).fill(0, c.ty0, 17, c.ty1, c.band);
        Grid got = adjusted(before, 4);
        EXPECT_EQ(got, want) << c.what;
        got = adjusted(before.transposed(), 4);
        EXPECT_EQ(got, want.transposed()) << c.what << " (rows)";
    }
}

TEST_F(Adjust, ShiftOfOneRun)
{
    // One line of 12 pixels, rf 4: '#' black, '+' grey, '.' white.
    struct Case {
        const char* what;
        const char* before;
        DWORD lineLength, start, end, length, inFirst;
        char colour, previous, next;
        DWORD resume;
        const char* after;
    } cases[] = {
        {"within one cell", "....##......", 12, 4, 5, 2, 2, '#', '.', '.', 6, "....##......"},
        {"forward by inFirst", ".......###..", 12, 7, 9, 3, 1, '#', '.', '.', 11, "........###."},
        {"back by the pixels over", "......###...", 12, 6, 8, 3, 2, '#', '.', '.', 8, ".....###...."},
        {"forward cut at the line's end", ".......##...", 9, 7, 8, 2, 1, '#', '.', '#', 9, "........#..."},
        {"not forward over a darker run", "#######+++..", 12, 7, 9, 3, 1, '+', '#', '.', 10, "#######+++.."},
        {"not back under a darker run", "......+++###", 12, 6, 8, 3, 2, '+', '.', '#', 9, "......+++###"},
        {"empty run at a boundary", "........#...", 12, 8, 7, 0, 0, '#', '.', '.', 8, "........#..."},
    };
    auto value = [](char c) { return c == '#' ? B : c == '+' ? G : W; };
    auto line = [&](const char* text) {
        Grid g(12, 1);
        for (int i = 0; i < 12; ++i)
            g.set(i, 0, value(text[i]));
        return g;
    };
    for (const Case& c : cases) {
        PixelRun run = {c.start,           c.end, c.length, c.inFirst, colourOf(value(c.colour)),
                        colourOf(value(c.previous)), colourOf(value(c.next))};
        Surface row(line(c.before));
        EXPECT_EQ(shiftRunAlongRow(row.so(), 0, run, c.lineLength, 4), c.resume) << c.what;
        EXPECT_EQ(row.grid(), line(c.after)) << c.what;
        Surface column(line(c.before).transposed());
        EXPECT_EQ(shiftRunAlongColumn(column.so(), 0, run, c.lineLength, 4), c.resume) << c.what;
        EXPECT_EQ(column.grid(), line(c.after).transposed()) << c.what << " (column)";
    }
}

TEST_F(Adjust, NothingChangesWithoutACellGridOrWithoutBits)
{
    std::mt19937 rng(7);
    Grid g(23, 19);
    for (uint32_t& p : g.px)
        p = rng() % 3 == 0 ? B : rng() % 2 ? G : W;
    for (INT rf : {1, 0, -3})
        EXPECT_EQ(adjusted(g, rf), g) << rf;

    gDebugLevel = 1;
    SURFOBJ bare{};
    bare.sizlBitmap = {40, 40};
    adjustBitMap(&bare, 6);  // reading it would give grey everywhere, and snapping would paint white
    char expected[64];
    px_format(expected, sizeof expected, "adjustBitMap(pso: 0x%X, rf: 6)\n", px_low32(&bare));
    EXPECT_EQ(root.log(), expected);
}

TEST_F(Adjust, LogsEachStage)
{
    gDebugLevel = 1;
    Surface s(Grid(12, 8));
    adjustBitMap(s.so(), 4);
    char expected[512];
    px_format(expected, sizeof expected,
              "adjustBitMap(pso: 0x%X, rf: 4)\nadjustBraille(pso: 0x%X, rf: 4)\n\twidth = 12, height = 8\n"
              "\t\n==================Shifting along y-direction... ===================\n"
              "\t\n=================Shifting along x-direction...=====================\n"
              "End of adjustBitmap()\n",
              px_low32(s.so()), px_low32(s.so()));
    EXPECT_EQ(root.log(), expected);
}

// ---- The rules read literally, on a plain grid, for the random cross-check. ----

void slowSnap(Grid& g, int rf)
{
    for (int top = 0; top + 2 * rf <= g.cy / rf * rf; top += rf) {
        for (int left = 0; left + 2 * rf <= g.cx / rf * rf; left += rf) {
            int64_t minX = INT32_MAX, maxX = INT32_MIN, minY = INT32_MAX, maxY = INT32_MIN;
            for (int y = top; y < top + 2 * rf; ++y)
                for (int x = left; x < left + 2 * rf; ++x)
                    if (g.get(x, y) != W) {
                        minX = std::min<int64_t>(minX, x), maxX = std::max<int64_t>(maxX, x);
                        minY = std::min<int64_t>(minY, y), maxY = std::max<int64_t>(maxY, y);
                    }
            if (minX > maxX || maxX - minX > rf || maxY - minY > rf || minX <= left || minY <= top ||
                maxX >= left + 2 * rf - 1 || maxY >= top + 2 * rf - 1)
                continue;
            // Lift the box out whole, put it down moved, whiten what it left.
            auto move = [&](int64_t dx, int64_t dy) {
                Grid lifted = g;
                for (int64_t y = minY; y <= maxY; ++y)
                    for (int64_t x = minX; x <= maxX; ++x)
                        g.set(x, y, W);
                for (int64_t y = minY; y <= maxY; ++y)
                    for (int64_t x = minX; x <= maxX; ++x)
                        g.set(x + dx, y + dy, lifted.get(x, y));
                minX += dx, maxX += dx, minY += dy, maxY += dy;
            };
            int64_t a = left + rf - minX, b = maxX - (left + rf) + 1;
            if (minX / rf != maxX / rf)
                move(b < a ? -b : a, 0);
            a = top + rf - minY, b = maxY - (top + rf) + 1;
            if (minY / rf != maxY / rf)
                move(0, b < a ? -b : a);
        }
    }
}

// The runs of column x of g, shifted; rows are columns of the transposed grid.
void slowShiftColumn(Grid& g, int x, int rf)
{
    int n = g.cy;
    uint32_t colour = g.get(x, 0), previous = colour, next = colour;
    for (int start = 0; start < n; previous = colour, colour = next) {
        int end = start, inFirst = 0;
        for (; end < n && g.get(x, end) == colour; ++end)
            inFirst += end / rf == start / rf;
        next = end < n ? g.get(x, end) : next;
        int length = end - start;
        end -= 1;
        int over = length - inFirst;
        if (length > rf || start / rf == end / rf) {
            start = end + 1;
        } else if (inFirst <= length / 2 && brightness(colour) < brightness(previous)) {
            for (int k = 0; k < inFirst; ++k)
                g.set(x, start + k, previous), g.set(x, end + 1 + k, colour);
            start = std::min(end + inFirst + 1, n);
        } else if (inFirst > length / 2 && brightness(colour) < brightness(next)) {
            for (int k = 0; k < over; ++k)
                g.set(x, start - over + k, colour), g.set(x, end - over + 1 + k, next);
            start = end - over + 1;
        } else {
            start = end + 1;
        }
    }
}

Grid slowAdjust(Grid g, int rf)
{
    slowSnap(g, rf);
    for (int x = 0; x < g.cx; ++x)
        slowShiftColumn(g, x, rf);
    g = g.transposed();
    for (int y = 0; y < g.cx; ++y)
        slowShiftColumn(g, y, rf);
    return g.transposed();
}

// Small marks, strokes across the picture and single pixels on white.
Grid randomPicture(std::mt19937& rng, bool blackOnly)
{
    const uint32_t palette[] = {B, G, R, 0x000001, 0xC8C8C8};
    auto colour = [&]() { return blackOnly ? B : palette[rng() % 5]; };
    Grid g((int)(rng() % 40) + 1, (int)(rng() % 40) + 1);
    for (int marks = (int)(rng() % 12); marks > 0; --marks) {
        int x = (int)(rng() % g.cx), y = (int)(rng() % g.cy), w = (int)(rng() % 9) + 1, h = (int)(rng() % 9) + 1;
        if (rng() % 4 == 0)
            (rng() % 2 ? w : h) = 40;
        g.fill(x, y, x + w, y + h, colour());
    }
    for (int dots = (int)(rng() % 20); dots > 0; --dots)
        g.set(rng() % g.cx, rng() % g.cy, colour());
    return g;
}

TEST_F(Adjust, MatchesTheLiteralRulesOnRandomSurfaces)
{
    std::mt19937 rng(1957);
    for (ULONG format : {BMF_24BPP, BMF_1BPP}) {
        for (int round = 0; round < 400; ++round) {
            Grid g = randomPicture(rng, format == BMF_1BPP);
            int rf = (int)(rng() % 8) + 1;
            Surface s(g, format);
            adjustBitMap(s.so(), rf);
            Grid want = slowAdjust(g, rf);
            ASSERT_EQ(s.grid(), want) << "format " << format << ", round " << round << ", rf " << rf << ", from"
                                      << ::testing::PrintToString(g);
        }
    }
}

}  // namespace
