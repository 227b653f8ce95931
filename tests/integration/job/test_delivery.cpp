// The same drawing gives the same embossed pages whether GDI hands the
// plug-in the page in bands (of any height) or whole followed by page send.
// Only the header's byte count (and so its checksum) tells the two apart: a
// page assembled from bands carries its size, a page sent whole carries 0.
#include "job_fixture.h"

#include <algorithm>

namespace {

// Each page's bytes with its byte count and checksum (header bytes 10-15)
// blanked.
std::vector<std::vector<uint8_t>> pagesOf(const std::vector<uint8_t>& stream)
{
    formats::DecodedStream decoded = formats::decodeStream(stream.data(), stream.size());
    EXPECT_TRUE(decoded.ok) << decoded.problem.message;
    std::vector<std::vector<uint8_t>> pages;
    for (const formats::DecodedPage& p : decoded.pages) {
        pages.emplace_back(stream.begin() + (long)p.offset, stream.begin() + (long)(p.offset + p.size));
        std::fill(pages.back().begin() + 10, pages.back().begin() + 16, 0);
    }
    return pages;
}

class Delivery : public jobtest::JobTest {};

TEST_F(Delivery, BandsAndWholePagesGiveTheSamePages)
{
    // The sample's grey steps and straight lines of several widths. Its
    // diagonals and photograph are left out: the bitmap adjustment sees one
    // band's pixels at a time, so short runs of a slanted stroke or a picture
    // that cross a band's edge are shifted differently from the whole page's;
    // for the same reason the band heights put no band edge inside a line
    // thinner than a cell.
    host::JobSpec job = host::loadJob(PUMEX_TEST_DATA "/../../data/samples/graphics.json");
    auto& ops = job.pages[0].ops;
    ops.erase(std::remove_if(ops.begin(), ops.end(),
                             [](const host::Op& op) {
                                 auto* line = std::get_if<host::LineOp>(&op);
                                 return std::holds_alternative<host::ImageOp>(op) ||
                                        (line && line->x0 != line->x1 && line->y0 != line->y1);
                             }),
              ops.end());
    ops.push_back(host::LineOp{402, 100, 402, 1000, 3, {0, 0, 0}});
    job.pages.push_back(job.pages[0]);
    for (auto format : {host::SurfaceFormat::Rgb24, host::SurfaceFormat::Mono1}) {
        for (bool landscape : {false, true}) {
            job.surface.format = format;
            job.devmode.landscape = landscape;
            job.surface.banding = false;
            run(job);
            std::vector<std::vector<uint8_t>> whole = pagesOf(spooled);
            EXPECT_EQ(whole.size(), 2u);
            job.surface.banding = true;
            for (int bandHeight : {200, 100, 60}) {
                job.surface.bandHeight = bandHeight;
                run(job);
                EXPECT_TRUE(pagesOf(spooled) == whole)
                    << "band height " << bandHeight << (landscape ? ", landscape" : "")
                    << (format == host::SurfaceFormat::Mono1 ? ", 1 bpp" : ", 24 bpp");
            }
        }
    }
    expectAllocationsReturned();
}

}  // namespace
