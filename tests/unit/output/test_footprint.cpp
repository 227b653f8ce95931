// The per-cell and per-pixel paths of a page allocate nothing and write no
// log line: a page of four times the area, full of the same work, makes
// exactly as many allocations and log lines as a small one, and at level 0
// the log stays empty.
#include "device_fixture.h"

#include "diag/diag.h"
#include "job/job.h"
#include "output/stream.h"
#include "testkit.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace {

const unsigned kRf = 15;  // 300 dpi

// Every 45 x 45 pixels: a grey square, a stroke straddling a cell boundary,
// a small mark, ink, and a braille marker, so every path has work everywhere.
void fillPage(fixtures::Device& d, unsigned cx, unsigned cy)
{
    for (unsigned y = 0; y + 45 <= cy; y += 45)
        for (unsigned x = 0; x + 45 <= cx; x += 45) {
            d.paint(x + 2, y + 2, x + 12, y + 12, 90);
            d.paint(x, y + 14, x + 45, y + 17, 0);
            d.paint(x + 20, y + 27, x + 24, y + 31, 30);
            d.pixels[((size_t)(y + 40) * cx + x + 40) * 3 + 0] = 5;
            d.pixels[((size_t)(y + 40) * cx + x + 40) * 3 + 1] = 6;
            d.pixels[((size_t)(y + 40) * cx + x + 40) * 3 + 2] = 7;
            d.mark(x + 32, y + 32, x + 34, y + 34, 1);
        }
}

struct Footprint {
    size_t logLines;
    size_t allocations;
};

// One page through bitmap adjustment, band copying and page encoding at a
// log level; what its log shows.
Footprint runPage(unsigned cx, unsigned cy, DWORD level)
{
    testkit::TempRoot root;
    fixtures::Device device(cx, cy, 300);
    fillPage(device, cx, cy);
    TextPage* dots = TextPage_new(cx / kRf, cy / kRf, TEXTPAGE_TYPE_ZERO);
    gDebugLevel = level;
    device.record.pEmbossPage = dots;
    convertBand(&device.surface, kRf, 0, (INT)(cx / kRf), (INT)(cy / kRf));
    WritePage(&device.surface, 0, 0, FALSE, nullptr, TRUE);
    gDebugLevel = 0;
    TextPage_delete(dots);
    std::string log = root.log();
    return {(size_t)std::count(log.begin(), log.end(), '\n'), testkit::countOf(log, "mymalloc(")};
}

TEST(Footprint, AllocationsAndLogLinesDoNotGrowWithThePagesArea)
{
    for (DWORD level : {1u, 2u}) {
        Footprint small = runPage(450, 450, level), large = runPage(900, 900, level);
        EXPECT_GT(small.logLines, 0u) << "level " << level;
        EXPECT_EQ(large.logLines, small.logLines) << "level " << level;
        EXPECT_EQ(large.allocations, small.allocations) << "level " << level;
    }
    Footprint quiet = runPage(900, 900, 0);
    EXPECT_EQ(quiet.logLines, 0u);
}

}  // namespace
