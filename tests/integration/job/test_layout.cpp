// Where drawing lands on the embossed page: landscape bands and pages turned
// onto the page's grid both ways, and magnified pages split into tiles.
#include "job_fixture.h"

namespace {

using jobtest::rect;

class Layout : public jobtest::JobTest {};

TEST_F(Layout, LandscapeIsTurnedOntoThePageBothWaysInBandsAndWholePages)
{
    // Paper 20 cells wide and 30 long at 100 dpi; in landscape the surface's x
    // runs along the paper's length. One black cell at surface cell (2, 1).
    struct Want {
        int landscapeMode;
        jobtest::CellAt cell;
    } cases[] = {
        {1, {20 - 1 - 1, 2}},  // surface x down the page, y from right to left
        {0, {1, 30 - 1 - 2}},  // surface x up the page from the bottom, y left to right
    };
    for (const Want& want : cases) {
        for (bool banding : {true, false}) {
            printer(jobtest::dword("LandscapeMode", want.landscapeMode));
            host::JobSpec job = jobtest::greyDocument(1, 1, false);
            job.devmode.paperWidth = 254, job.devmode.paperLength = 381;
            job.devmode.landscape = true;
            job.surface.banding = banding;
            job.surface.bandHeight = 35;
            job.pages[0].ops = {rect(10, 5, 15, 10, 0)};
            run(job);
            SCOPED_TRACE(testing::Message() << "LandscapeMode " << want.landscapeMode
                                            << (banding ? ", bands" : ", whole page"));
            formats::DecodedStream decoded = formats::decodeStream(spooled.data(), spooled.size());
            ASSERT_EQ(decoded.pages.size(), 1u);
            EXPECT_EQ(decoded.pages[0].columns, 20u);
            EXPECT_EQ(decoded.pages[0].header.height, 30u);
            EXPECT_EQ(jobtest::cellsOf(spooled), (jobtest::Cells{{want.cell, 7}}));
        }
    }
}

TEST_F(Layout, AMagnifiedPageComesOutTileByTileOrFromItsContent)
{
    // Magnification 2 of a page of four grey quarters: four pages, top-left,
    // bottom-left, top-right, bottom-right, each one quarter enlarged; with
    // three copies, each tile's copies side by side.
    printer(jobtest::dword("Magnification", 2));
    host::JobSpec job = jobtest::greyDocument(1, 1, false);
    job.surface.banding = false;
    job.pages[0].ops = {rect(0, 0, 50, 50, jobtest::greyForDot(1)), rect(0, 50, 50, 100, jobtest::greyForDot(2)),
                        rect(50, 0, 100, 50, jobtest::greyForDot(3)), rect(50, 50, 100, 100, jobtest::greyForDot(4))};
    run(job);
    EXPECT_EQ(jobtest::pageIds(spooled), (std::vector<int>{1, 2, 3, 4}));
    job.devmode.copies = 3;
    run(job);
    EXPECT_EQ(jobtest::pageIds(spooled), (std::vector<int>{1, 1, 1, 2, 2, 2, 3, 3, 3, 4, 4, 4}));
    expectAllocationsReturned();

    // Without white space, content only in the top-left quarter, from pixel
    // (12, 13): one page whose origin is that corner rounded down to a whole
    // cell (10, 10); the 40-pixel square, twice as large, covers cells 0 to
    // 16 each way. A page without content is one blank page.
    printer(jobtest::dword("Magnification", 2) + ", " + jobtest::dword("NoWhiteSpaceMagnification", 1));
    job.devmode.copies = 1;
    job.pages[0].ops = {rect(12, 13, 52, 53, 0)};
    run(job);
    EXPECT_EQ(jobtest::pageIds(spooled).size(), 1u);
    jobtest::Cells cells = jobtest::cellsOf(spooled);
    EXPECT_EQ(cells.count({0, 0}), 0u);
    EXPECT_EQ((cells[{1, 1}]), 7);
    EXPECT_EQ((cells[{15, 15}]), 7);
    EXPECT_EQ(cells.count({17, 17}), 0u);
    job.pages[0].ops.clear();
    run(job);
    EXPECT_EQ(jobtest::pageIds(spooled), (std::vector<int>{0}));
}

}  // namespace
