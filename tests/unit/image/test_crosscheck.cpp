// The fast image work against the straightforward versions, byte for byte,
// on thousands of random surfaces.
#include "reference.h"

#include "image/adjust.h"
#include "job/job.h"
#include "page/textpage.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <vector>

namespace {

using imagetest::RandomSurfaces;
using imagetest::Surface;

// A copy of a surface over its own bytes, at the same place in them (or
// none), on the same device.
struct Copy {
    std::vector<BYTE> bits;
    SURFOBJ so;
    explicit Copy(const Surface& s) : bits(s.bits), so(s.so)
    {
        if (s.so.pvScan0)
            so.pvScan0 = bits.data() + (static_cast<const BYTE*>(s.so.pvScan0) - s.bits.data());
    }
};

// Adjusts the surface and a copy of it, the fast way and the straightforward
// way, and compares their bytes.
void adjustsLikeTheReference(Surface& s, int rf, int round)
{
    Copy expected(s);
    reference::adjustBitMap(&expected.so, rf);
    adjustBitMap(&s.so, rf);
    ASSERT_EQ(s.bits, expected.bits) << "round " << round << ", rf " << rf << ", format " << s.so.iBitmapFormat
                                     << ", " << s.so.sizlBitmap.cx << " x " << s.so.sizlBitmap.cy;
}

TEST(CrossCheck, BitmapAdjustmentMatchesThePixelByPixelRules)
{
    RandomSurfaces random(14);
    for (int round = 0; round < 6000; ++round) {
        int rf = random.below(14) - 1;
        Surface s = random.make(rf);
        ASSERT_NO_FATAL_FAILURE(adjustsLikeTheReference(s, rf, round));
    }
}

// Pages wider than the sweep's stretches and taller than its lag behind the row pass.
TEST(CrossCheck, BitmapAdjustmentMatchesOnPageSizedPictures)
{
    RandomSurfaces random(77);
    for (int round = 0; round < 120; ++round) {
        int rf = random.below(15) + 2;
        Surface s = random.picture(random.below(260) + 40, random.below(120) + 40, rf);
        ASSERT_NO_FATAL_FAILURE(adjustsLikeTheReference(s, rf, round));
    }
}

// Lines made of runs from one pixel to a little over a cell long, in a few
// colours of different brightness, down the columns or along the rows: runs
// shift one after another along a line, a shift forward can reach the next
// boundary, and a run can be left empty, so what a scan carries from one cell
// to the next decides what shifts there.
TEST(CrossCheck, BitmapAdjustmentMatchesOnLinesOfShortRuns)
{
    RandomSurfaces random(23);
    const PixelColor shades[] = {{0, 0, 0}, {60, 60, 60}, {128, 128, 128}, {200, 200, 200}, imagetest::kWhite};
    for (int round = 0; round < 1500; ++round) {
        int rf = random.below(6) + 2;
        bool down = random.below(2) == 0;
        LONG along = random.below(12 * rf) + 2 * rf, across = random.below(40) + 6;
        Surface s(down ? across : along, down ? along : across, BMF_24BPP, random.below(5), random.below(2) == 0);
        for (LONG line = 0; line < across; ++line) {
            LONG at = 0;
            while (at < along) {
                LONG length = random.below(rf + 2) + 1;
                PixelColor c = shades[random.below(5)];
                for (LONG i = at; i < at + length && i < along; ++i)
                    s.set(down ? line : i, down ? i : line, c);
                at += length;
            }
        }
        ASSERT_NO_FATAL_FAILURE(adjustsLikeTheReference(s, rf, round));
    }
}

// Marks snapped further down the page than the column pass has reached, into
// columns that held no run to shift until then. Each pair of cell rows lies
// between grey lines just outside it, and its middle boundary is crossed by
// two grey lines of different shades, so that every column differs across
// every cell boundary, except in the windows kept white for a mark of a few
// colours that crosses the middle boundary: a snap moves such a mark, up to
// one line past its window, and what it repaints may then shift.
TEST(CrossCheck, BitmapAdjustmentMatchesWhereSnapsLeadToShifts)
{
    RandomSurfaces random(5);
    const PixelColor inks[] = {{0, 0, 0}, {128, 128, 128}, {40, 40, 40}, {200, 200, 200}};
    for (int round = 0; round < 3000; ++round) {
        int rf = random.below(7) + 2, cellsX = random.below(16) + 4, pairs = random.below(5) + 2;
        LONG cx = cellsX * rf + random.below(rf), cy = 3 * pairs * rf + random.below(rf);
        Surface s(cx, cy, BMF_24BPP, random.below(5), random.below(2) == 0);
        std::fill(s.bits.begin(), s.bits.end(), BYTE(0xFF));
        for (int k = 0; k < pairs; ++k) {
            LONG top = 3 * k * rf, middle = top + rf, bottom = top + 2 * rf;
            RandomSurfaces::fill(s, 0, bottom, cx, 1, inks[random.below(4)]);
            RandomSurfaces::fill(s, 0, bottom + rf - 1, cx, 1, inks[random.below(4)]);
            RandomSurfaces::fill(s, 0, middle - 1, cx, 1, inks[0]);
            RandomSurfaces::fill(s, 0, middle, cx, 1, inks[1]);
            for (int j = random.below(3); j + 1 < cellsX; j += random.below(4) + 3) {
                RandomSurfaces::fill(s, j * rf, middle - 1, 2 * rf, 2, imagetest::kWhite);
                LONG w = random.below(rf + 1) + 1, h = random.below(rf) + 2;
                LONG left = j * rf + 1 + random.below(2 * rf - 1 - w > 0 ? 2 * rf - 1 - w : 1);
                LONG first = middle - 1 - random.below(h - 1 < middle - top - 1 ? h - 1 : middle - top - 1);
                for (LONG y = first; y < first + h && y < bottom - 1; ++y)
                    for (LONG x = left; x < left + w && x < (j + 2) * rf - 1; ++x)
                        s.set(x, y, inks[random.below(4)]);
            }
        }
        ASSERT_NO_FATAL_FAILURE(adjustsLikeTheReference(s, rf, round));
    }
}

// A drawn band converted in one go, the cells sampled during the adjustment,
// against the adjustment and then the cells read from the surface: the same
// page of dot values and the same surface afterwards (the ink of the cells
// read, and only of those, painted white). Bands of any size against the
// surface, portrait and both landscape turns, markers, every format, stripes
// of one colour across (ink among them), and a resolution in the device mode
// that disagrees with the band's now and then.
TEST(CrossCheck, BandConversionMatchesAdjustmentThenCells)
{
    RandomSurfaces random(61);
    for (int round = 0; round < 2500; ++round) {
        int rf = random.below(12) + (random.below(30) ? 1 : -1);
        Surface s = random.make(rf);
        if (round % 10 == 0)  // a page-sized picture: the sweep's every stretch and lag
            s = random.picture(random.below(200) + 40, random.below(100) + 40, rf);
        if (round % 10 == 5 && rf > 0) {  // stripes across: plain scan lines, ink among their colours
            s = Surface(random.below(60) + 6, random.below(60) + 2 * rf, BMF_24BPP, random.below(5), false);
            for (LONG y = 0, h; y < s.so.sizlBitmap.cy; y += h) {
                h = random.below(2 * rf) + 1;
                PixelColor c = random.below(3) ? random.colour() : imagetest::kInk;
                RandomSurfaces::fill(s, 0, y, s.so.sizlBitmap.cx, h, random.below(4) ? c : imagetest::kWhite);
            }
        }
        DWORD cx = (DWORD)s.so.sizlBitmap.cx, cy = (DWORD)s.so.sizlBitmap.cy;
        imagetest::Device device((DWORD)random.below(7), &s.so);
        DEVMODEW devmode{};
        devmode.dmPrintQuality = (short)(random.below(8) ? rf * 20 : random.below(200));
        device.devobj.pPublicDM = &devmode;
        device.config.dithering = random.below(2);
        device.config.LandscapeMode = random.below(2);
        device.xpdv.bLandscape = random.below(3) == 0;
        device.xpdv.pTextPage = TextPage_new(cx, cy, TEXTPAGE_TYPE_ZERO);
        for (int n = random.below(3) ? random.below(6) : 0; n > 0; --n) {
            DWORD x = (DWORD)random.below((int)cx), y = (DWORD)random.below((int)cy), value = random.below(3) + 1;
            for (DWORD j = y; j < y + 3; ++j)
                for (DWORD i = x; i < x + 3; ++i)
                    TextPage_setPixel(device.xpdv.pTextPage, i, j, (BYTE)value);
        }
        DWORD cells = rf > 0 ? cx / (DWORD)rf + 2 : 4, rows = rf > 0 ? cy / (DWORD)rf + 2 : 4;
        INT width = random.below((int)cells + 1), height = random.below((int)rows + 1), yOffset = random.below(3);
        if (device.xpdv.bLandscape)
            std::swap(width, height);  // a landscape band's cell rows run across the page
        TextPage* want = TextPage_new(cells + rows + 4, cells + rows + 4, TEXTPAGE_TYPE_ZERO);
        TextPage* got = TextPage_new(cells + rows + 4, cells + rows + 4, TEXTPAGE_TYPE_ZERO);
        Copy expected(s);
        device.xpdv.pEmbossPage = want;
        adjustBitMap(&expected.so, rf);
        WriteBandToPage(&expected.so, want, yOffset, width, height, 2);
        device.xpdv.pEmbossPage = got;
        convertBand(&s.so, rf, yOffset, width, height);
        ASSERT_EQ(s.bits, expected.bits) << "round " << round << ", rf " << rf << ", " << cx << " x " << cy;
        ASSERT_EQ(0, memcmp(got->m_Image, want->m_Image, (size_t)got->width * got->height))
            << "round " << round << ", rf " << rf << ", " << cx << " x " << cy << ", band " << width << " x "
            << height;
        TextPage_delete(want);
        TextPage_delete(got);
        TextPage_delete(device.xpdv.pTextPage);
    }
}

// Every cell of a grid over the surface (cells past its edges included), in
// page order, so that the ink each cell removes is gone for the next; every
// weighting, surfaces without bits too.
TEST(CrossCheck, AreaSamplingMatchesThePixelByPixelSums)
{
    RandomSurfaces random(41);
    const DWORD intensities[] = {0, 1, 2, 3, 4, 5, 6, 1000, 0xFFFFFFFF};
    for (int round = 0; round < 4000; ++round) {
        DWORD factor = (DWORD)random.below(17) + 1;
        Surface s = random.make((int)factor);
        if (random.below(20) == 0)
            s.so.pvScan0 = nullptr;
        imagetest::Device device(intensities[random.below(9)], &s.so);
        Copy expected(s);
        DWORD cx = (DWORD)s.so.sizlBitmap.cx, cy = (DWORD)s.so.sizlBitmap.cy;
        for (DWORD y = 0; y < cy + factor; y += factor)
            for (DWORD x = 0; x < cx + factor; x += factor) {
                PixelColor got, want;
                reference::getAreaColor(&expected.so, x, y, x + factor, y + factor, &want, factor);
                getAreaColor(&s.so, x, y, x + factor, y + factor, &got, factor);
                ASSERT_EQ(got, want) << "round " << round << ", cell at " << x << ", " << y << ", factor " << factor;
            }
        ASSERT_EQ(s.bits, expected.bits) << "round " << round;
    }
}

// Single areas anywhere, uneven and empty ones too, on colours a step or two
// from one base (quotients next to whole numbers) among the page's colours;
// now and then large cells and factors, whose sums pass 64 bits.
TEST(CrossCheck, AreaColourMatchesOnUnevenAreasAndLargeCells)
{
    RandomSurfaces random(20240611);
    std::mt19937& rng = random.rng;
    const PixelColor palette[] = {imagetest::kWhite, imagetest::kBlack, imagetest::kInk, imagetest::kInkReversed,
                                  {200, 200, 200}, {0, 0, 1}};
    const DWORD thinLines[] = {0, 1, 2, 6, 1000, 0xFFFFFFFFu};
    for (int round = 0; round < 3000; ++round) {
        bool large = round % 50 == 0;
        LONG cx = 1 + rng() % (large ? 200 : 40), cy = 1 + rng() % (large ? 200 : 40);
        Surface s(cx, cy, round % 4 ? (ULONG)BMF_24BPP : (ULONG)BMF_1BPP, round % 3);
        PixelColor base = {(BYTE)rng(), (BYTE)rng(), (BYTE)rng()};
        DWORD spread = rng() % 2 ? 3 : 256;
        for (LONG y = 0; y < cy; ++y)
            for (LONG x = 0; x < cx; ++x)
                s.set(x, y,
                      rng() % 3 == 0 ? palette[rng() % 6]
                                     : PixelColor{(BYTE)(base.red + rng() % spread),
                                                  (BYTE)(base.green + rng() % spread),
                                                  (BYTE)(base.blue + rng() % spread)});
        DWORD factor = 1 + rng() % (large ? 200 : 16), thinLine = thinLines[rng() % 6];
        DWORD x0 = rng() % (cx + 2), y0 = rng() % (cy + 2), x1 = x0 + factor, y1 = y0 + factor;
        if (rng() % 4 == 0) {
            x1 = x0 + rng() % 8;
            y1 = y0 + rng() % 8;
        }
        if (large && rng() % 2) {  // a whole large cell at the heaviest weighting
            factor = 1 + rng() % (DWORD)std::min(cx, cy);
            thinLine = 0xFFFFFFFFu;
            x0 = rng() % (cx - factor + 1);
            y0 = rng() % (cy - factor + 1);
            x1 = x0 + factor;
            y1 = y0 + factor;
        }
        imagetest::Device device(thinLine, &s.so);
        Copy expected(s);
        PixelColor got, want;
        reference::getAreaColor(&expected.so, x0, y0, x1, y1, &want, factor);
        getAreaColor(&s.so, x0, y0, x1, y1, &got, factor);
        ASSERT_EQ(got, want) << "round " << round << ": (" << x0 << ", " << y0 << ")-(" << x1 << ", " << y1 << ") of "
                             << cx << " x " << cy << ", factor " << factor << ", ThinLineIntensity " << thinLine;
        ASSERT_EQ(s.bits, expected.bits) << "round " << round << ": ink painted white inside the cell only";
    }
}

// Cells up to 70 pixels high whose rows repeat in long runs, of the
// brightest and darkest colours, where sums of repeated rows are largest;
// a row differing here and there, and ink now and then.
TEST(CrossCheck, AreaColourMatchesOnCellsOfLongRepeatedRows)
{
    RandomSurfaces random(64);
    const PixelColor bright[] = {imagetest::kWhite, {254, 255, 255}, {255, 255, 254}, {0, 0, 0}, {255, 0, 255},
                                 imagetest::kInk};
    for (int round = 0; round < 600; ++round) {
        LONG height = random.below(8) + 58 + (round % 3 == 0 ? 5 : 0);
        LONG width = round % 4 ? random.below(15) + 2 : random.below(60) + 2;
        Surface s(width + 2, height + 2, BMF_24BPP, random.below(5), random.below(2) == 0);
        PixelColor row[80];
        for (LONG y = 0; y < height + 2; ++y) {
            if (y == 0 || random.below(40) == 0)
                for (LONG x = 0; x < width + 2; ++x)
                    row[x] = bright[random.below(round % 2 ? 5 : 6)];
            for (LONG x = 0; x < width + 2; ++x)
                s.set(x, y, row[x]);
        }
        imagetest::Device device(random.below(2) ? 1 : 0xFFFFFFFFu, &s.so);
        Copy expected(s);
        PixelColor got, want;
        DWORD x0 = (DWORD)random.below(3), y0 = (DWORD)random.below(3);
        DWORD x1 = x0 + (DWORD)width, y1 = y0 + (DWORD)height - (DWORD)random.below(3);
        reference::getAreaColor(&expected.so, x0, y0, x1, y1, &want, (DWORD)height);
        getAreaColor(&s.so, x0, y0, x1, y1, &got, (DWORD)height);
        ASSERT_EQ(got, want) << "round " << round << ", a cell of " << width << " x " << y1 - y0;
        ASSERT_EQ(s.bits, expected.bits) << "round " << round;
    }
}

// Rows of cells sampled together against cell-by-cell sampling, in the same
// order: strips whose scan lines repeat (paper, vertical strokes, ink in
// every line) as well as ordinary ones, rows starting anywhere and running
// past the right edge, cells left out by the skip mask untouched.
TEST(CrossCheck, CellRowsMatchCellByCellSampling)
{
    RandomSurfaces random(29);
    const DWORD intensities[] = {0, 1, 6, 0xFFFFFFFF};
    const PixelColor untouched = {1, 2, 3};
    for (int round = 0; round < 3000; ++round) {
        DWORD factor = (DWORD)random.below(17) + 1;
        Surface s = random.make((int)factor);
        LONG cx = s.so.sizlBitmap.cx, cy = s.so.sizlBitmap.cy;
        size_t stride = (size_t)std::abs(s.so.lDelta);
        BYTE* top = static_cast<BYTE*>(s.so.pvScan0);
        for (LONG y = 0; y < cy; ++y)  // most strips repeat their first line
            if (y % (LONG)factor != 0 && random.below(4) != 0)
                memcpy(top + (ptrdiff_t)y * s.so.lDelta, top + (ptrdiff_t)(y - y % (LONG)factor) * s.so.lDelta,
                       stride);
        if (random.below(20) == 0)
            s.so.pvScan0 = nullptr;
        imagetest::Device device(intensities[random.below(4)], &s.so);
        Copy expected(s);
        for (DWORD y = (DWORD)random.below((int)factor); y < (DWORD)cy + factor; y += factor) {
            DWORD x = (DWORD)random.below(cx + 1), count = (DWORD)random.below(cx / (LONG)factor + 3) + 1;
            std::vector<BYTE> skip(count);
            for (BYTE& b : skip)
                b = random.below(6) == 0;
            std::vector<PixelColor> got(count, untouched);
            getSampleRow(&s.so, x, y, factor, count, skip.data(), got.data());
            for (DWORD i = 0; i < count; ++i) {
                PixelColor want = untouched;
                if (!skip[i] && factor == 1)
                    getSampleColor(&expected.so, x + i, y, 1, &want);
                else if (!skip[i])
                    reference::getAreaColor(&expected.so, x + i * factor, y, x + (i + 1) * factor, y + factor, &want,
                                            factor);
                ASSERT_EQ(got[i], want) << "round " << round << ", cell " << i << " of the row at " << x << ", " << y
                                        << ", factor " << factor;
            }
        }
        ASSERT_EQ(s.bits, expected.bits) << "round " << round;
    }
}

// Rows of cells with the text markers over them against the cell-by-cell
// rule: marker 1 gives the braille colour, 2 the italic grey, anything else
// (none, other values, a cell reaching past the marker page) the surface's
// colour; a marked cell's surface is not read, so its ink stays.
TEST(CrossCheck, MarkedCellRowsMatchCellByCellColours)
{
    RandomSurfaces random(57);
    const PixelColor braille = {0, 0, 1}, italic = {200, 200, 200};
    for (int round = 0; round < 1500; ++round) {
        DWORD factor = (DWORD)random.below(16) + 2;
        Surface s = random.make((int)factor);
        DWORD cx = (DWORD)s.so.sizlBitmap.cx, cy = (DWORD)s.so.sizlBitmap.cy;
        // The marker page is as large as the surface, or smaller.
        TextPage* markers = TextPage_new(cx - (DWORD)random.below(3) * (cx / 3), cy, TEXTPAGE_TYPE_ZERO);
        ASSERT_NE(markers, nullptr);
        const BYTE values[] = {1, 2, 3};
        for (int n = random.below(4) ? random.below(8) : 0; n > 0; --n)
            TextPage_setPixel(markers, (DWORD)random.below((int)cx), (DWORD)random.below((int)cy),
                              values[random.below(3)]);
        imagetest::Device device(1, &s.so);
        Copy expected(s);
        for (DWORD y = 0; y < cy + factor; y += factor) {
            DWORD count = cx / factor + 2;
            std::vector<PixelColor> got(count);
            getCellColours(&s.so, markers, 0, y, factor, count, got.data());
            for (DWORD i = 0; i < count; ++i) {
                PixelColor want;
                BYTE m = TextPage_getMax(markers, i * factor, y, factor, factor);
                if (m == 1)
                    want = braille;
                else if (m == 2)
                    want = italic;
                else
                    reference::getAreaColor(&expected.so, i * factor, y, (i + 1) * factor, y + factor, &want, factor);
                ASSERT_EQ(got[i], want) << "round " << round << ", cell " << i << ", " << y << ", marker " << int(m);
            }
        }
        ASSERT_EQ(s.bits, expected.bits) << "round " << round;
        TextPage_delete(markers);
    }
}

// The table against getDotHeight cell by cell, over settings in and far out
// of range, inverted or not, every dither value, and positions across the
// dither matrix.
TEST(CrossCheck, ToneTableMatchesGetDotHeight)
{
    RandomSurfaces random(7);
    const INT extremes[] = {-100000, -101, -100, -1, 0, 1, 6, 99, 100, 101, 100000};
    for (int round = 0; round < 3000; ++round) {
        imagetest::ToneConfig config;
        config->Brightness = random.below(3) ? random.below(241) - 120 : extremes[random.below(11)];
        config->Contrast = random.below(3) ? random.below(241) - 120 : extremes[random.below(11)];
        config->InvertColor = random.below(3);
        config->dithering = random.below(5);
        config->colorPattern = random.below(2) ? 0 : 2;
        Config* settings = random.below(20) ? config.get() : nullptr;
        ToneTable table;
        ToneTable_init(&table, settings);
        for (int cell = 0; cell < 64; ++cell) {
            PixelColor c = random.colour();
            DWORD x = (DWORD)random.below(1000), y = (DWORD)random.below(1000);
            ASSERT_EQ(ToneTable_dotHeight(&table, x, y, &c), getDotHeight(settings, x, y, &c))
                << "round " << round << ", colour " << c << ", brightness " << config->Brightness << ", contrast "
                << config->Contrast;
        }
    }
}

// The marker maximum and the clear test against the plain largest byte, an
// outside position counting as 255: pages of sparse markers, as text leaves
// them, and now and then dense ones; areas of every width from 0 to 40, most
// inside the page, some reaching past its right or bottom edge. An empty
// area reads 0, and neither it nor one reaching outside is clear.
TEST(CrossCheck, MarkerMaximumMatchesThePlainLargestByte)
{
    RandomSurfaces random(3);
    const BYTE values[] = {1, 2, 3, 254, 255};
    for (int round = 0; round < 300; ++round) {
        DWORD width = (DWORD)random.below(130) + 1, height = (DWORD)random.below(90) + 1;
        TextPage* page = TextPage_new(width, height, TEXTPAGE_TYPE_ZERO);
        ASSERT_NE(page, nullptr);
        bool dense = random.below(5) == 0;
        for (int n = dense ? (int)(width * height) : random.below(12); n > 0; --n) {
            BYTE value = dense ? (BYTE)random.below(16) : values[random.below(5)];
            TextPage_setPixel(page, (DWORD)random.below((int)width), (DWORD)random.below((int)height), value);
        }
        for (int area = 0; area < 200; ++area) {
            DWORD w = (DWORD)random.below(41), h = (DWORD)random.below(41);
            bool inside = random.below(4) != 0 && w <= width && h <= height;
            DWORD x = (DWORD)random.below(inside ? (int)(width - w + 1) : (int)width + 4);
            DWORD y = (DWORD)random.below(inside ? (int)(height - h + 1) : (int)height + 4);
            BYTE largest = 0;
            for (DWORD j = y; j < y + h; ++j)
                for (DWORD i = x; i < x + w; ++i)
                    largest = std::max<BYTE>(largest, i < width && j < height ? page->m_Image[j * width + i] : 255);
            ASSERT_EQ(TextPage_getMax(page, x, y, w, h), largest)
                << "round " << round << ", " << w << " x " << h << " at " << x << ", " << y;
            ASSERT_EQ(TextPage_isClear(page, x, y, w, h), w > 0 && h > 0 && largest == 0)
                << "round " << round << ", " << w << " x " << h << " at " << x << ", " << y;
        }
        TextPage_delete(page);
    }
}

}  // namespace
