// Where drawing lands on the embossed page: landscape bands and pages turned
// onto the page's grid both ways, and magnified pages split into tiles.
#include "job_fixture.h"

namespace {

// The cells of every page of a stream, with their size.
struct Cells {
    unsigned width = 0, height = 0;
    std::vector<uint8_t> dots;
    int at(unsigned x, unsigned y) const { return dots.at((size_t)y * width + x); }
};

std::vector<Cells> decodeCells(const std::vector<uint8_t>& stream)
{
    formats::DecodedStream decoded = formats::decodeStream(stream.data(), stream.size());
    EXPECT_TRUE(decoded.ok) << decoded.problem.message;
    std::vector<Cells> pages;
    for (const formats::DecodedPage& p : decoded.pages)
        pages.push_back({p.columns, p.header.height, p.cells});
    return pages;
}

// Positions of the cells that hold a dot.
std::vector<std::pair<unsigned, unsigned>> dotsOf(const Cells& page)
{
    std::vector<std::pair<unsigned, unsigned>> at;
    for (unsigned y = 0; y < page.height; ++y)
        for (unsigned x = 0; x < page.width; ++x)
            if (page.at(x, y) != 0 && page.at(x, y) != 255)
                at.emplace_back(x, y);
    return at;
}

host::RectOp rect(int x0, int y0, int x1, int y1, uint8_t grey)
{
    host::RectOp r;
    r.x0 = x0, r.y0 = y0, r.x1 = x1, r.y1 = y1;
    r.fill = {grey, grey, grey};
    return r;
}

class Layout : public jobtest::JobTest {};

TEST_F(Layout, LandscapeIsTurnedOntoThePageBothWaysInBandsAndWholePages)
{
    // Paper 20 cells wide and 30 long at 100 dpi; in landscape the surface's x
    // runs along the paper's length. One black cell at surface cell (2, 1).
    struct Want {
        int landscapeMode;
        std::pair<unsigned, unsigned> cell;
    } cases[] = {
        {1, {20 - 1 - 1, 2}},  // surface x down the page, y from right to left
        {0, {1, 30 - 1 - 2}},  // surface x up the page from the bottom, y left to right
    };
    for (const Want& want : cases) {
        for (bool banding : {true, false}) {
            printer("\"LandscapeMode\": {\"type\": \"dword\", \"value\": " + std::to_string(want.landscapeMode) + "}");
            host::JobSpec job = jobtest::greyDocument(1, 1, false);
            job.devmode.paperWidth = 254, job.devmode.paperLength = 381;
            job.devmode.landscape = true;
            job.surface.banding = banding;
            job.surface.bandHeight = 35;
            job.pages[0].ops = {rect(10, 5, 15, 10, 0)};
            run(job);
            std::vector<Cells> pages = decodeCells(spooled);
            ASSERT_EQ(pages.size(), 1u);
            EXPECT_EQ(pages[0].width, 20u);
            EXPECT_EQ(pages[0].height, 30u);
            EXPECT_EQ(dotsOf(pages[0]), (std::vector<std::pair<unsigned, unsigned>>{want.cell}))
                << "LandscapeMode " << want.landscapeMode << (banding ? ", bands" : ", whole page");
        }
    }
}

TEST_F(Layout, AMagnifiedPageComesOutTileByTileColumnByColumn)
{
    // Magnification 2 of a page of four grey quarters: four pages, top-left,
    // bottom-left, top-right, bottom-right, each one quarter enlarged.
    printer("\"Magnification\": {\"type\": \"dword\", \"value\": 2}");
    host::JobSpec job = jobtest::greyDocument(1, 1, false);
    job.surface.banding = false;
    job.pages[0].ops = {rect(0, 0, 50, 50, jobtest::greyForDot(1)), rect(0, 50, 50, 100, jobtest::greyForDot(2)),
                        rect(50, 0, 100, 50, jobtest::greyForDot(3)), rect(50, 50, 100, 100, jobtest::greyForDot(4))};
    run(job);
    EXPECT_EQ(jobtest::pageIds(spooled), (std::vector<int>{1, 2, 3, 4}));

    // Three copies: each tile's copies side by side.
    job.devmode.copies = 3;
    run(job);
    EXPECT_EQ(jobtest::pageIds(spooled), (std::vector<int>{1, 1, 1, 2, 2, 2, 3, 3, 3, 4, 4, 4}));
    expectAllocationsReturned();
}

TEST_F(Layout, AMagnifiedPageWithoutWhiteSpaceStartsAtItsContent)
{
    // Content only in the top-left quarter, from pixel (12, 13): one page whose
    // origin is that corner rounded down to a whole cell (10, 10); the 40-pixel
    // square, twice as large, covers cells 0 to 16 each way.
    printer("\"Magnification\": {\"type\": \"dword\", \"value\": 2}, \"NoWhiteSpaceMagnification\": {\"type\": "
            "\"dword\", \"value\": 1}");
    host::JobSpec job = jobtest::greyDocument(1, 1, false);
    job.surface.banding = false;
    job.pages[0].ops = {rect(12, 13, 52, 53, 0)};
    run(job);
    std::vector<Cells> pages = decodeCells(spooled);
    ASSERT_EQ(pages.size(), 1u);
    EXPECT_EQ(pages[0].at(0, 0), 0);
    EXPECT_EQ(pages[0].at(1, 1), 7);
    EXPECT_EQ(pages[0].at(15, 15), 7);
    EXPECT_EQ(pages[0].at(17, 17), 0);

    // A page without content: one blank page.
    job.pages[0].ops.clear();
    run(job);
    EXPECT_EQ(jobtest::pageIds(spooled), (std::vector<int>{0}));
}

}  // namespace
