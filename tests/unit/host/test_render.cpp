// Drawing through the host's own driver functions: rectangles, pictures at
// their own size and lines land on exactly the pixels the job names, on
// 24-bpp and 1-bpp surfaces; a page drawn band by band equals the page drawn
// whole; what the host cannot draw is an error, never silence.
#include "host_fixture.h"

#include "cairo_render.h"

#include <gtest/gtest.h>

namespace {

using hosttest::drawBand;
using hosttest::Folder;
using host::Rgb;

const Rgb kWhite{255, 255, 255}, kBlack{0, 0, 0};

host::JobSpec onePage(std::vector<host::Op> ops, host::SurfaceFormat format = host::SurfaceFormat::Rgb24)
{
    host::JobSpec job;
    job.source = "job.json";
    job.surface.format = format;
    job.pages.push_back({std::move(ops)});
    return job;
}

// Every pixel of the surface against what `expected` says it must be.
template <typename Fn>
int mismatches(const host::Surface& s, Fn expected)
{
    int bad = 0;
    for (int y = 0; y < s.height(); ++y)
        for (int x = 0; x < s.width(); ++x)
            if (!(s.pixel(x, y) == expected(x, y)) && bad++ < 5)
                ADD_FAILURE() << "pixel (" << x << ", " << y << ")";
    return bad;
}

TEST(Render, ARectangleCoversExactlyItsHalfOpenArea)
{
    struct Case {
        host::SurfaceFormat format;
        Rgb fill, expected;
    } cases[] = {
        {host::SurfaceFormat::Rgb24, {200, 10, 30}, {200, 10, 30}},
        {host::SurfaceFormat::Mono1, {20, 20, 20}, kBlack},
        {host::SurfaceFormat::Mono1, {230, 230, 230}, kWhite},
    };
    for (const Case& c : cases) {
        auto s = drawBand(onePage({host::RectOp{10, 20, 30, 25, c.fill}, host::RectOp{60, 60, 90, 90, c.fill}},
                                  c.format),
                          0, {0, 0}, 64, 64);
        EXPECT_EQ(mismatches(*s, [&](int x, int y) {
                      bool in = (x >= 10 && x < 30 && y >= 20 && y < 25) || (x >= 60 && y >= 60);
                      return in ? c.expected : kWhite;
                  }),
                  0);
    }
}

TEST(Render, APictureAtItsOwnSizeLandsPixelForPixel)
{
    Folder dir;
    host::JobSpec job = onePage({});
    job.images.push_back({dir.writePicture("pic.png", 7, 5), 7, 5});
    struct Case {
        int x, y;  // partly off the surface in the last two
    } cases[] = {{3, 4}, {-2, 1}, {60, 62}};
    for (const Case& c : cases) {
        job.pages[0].ops = {host::ImageOp{0, c.x, c.y, 7, 5}};
        auto s = drawBand(job, 0, {0, 0}, 64, 64);
        EXPECT_EQ(mismatches(*s, [&](int x, int y) {
                      int i = x - c.x, j = y - c.y;
                      return i >= 0 && i < 7 && j >= 0 && j < 5 ? hosttest::pictureColor(i, j) : kWhite;
                  }),
                  0)
            << c.x << ", " << c.y;
    }
}

TEST(Render, LinesCoverTheirWidthAboutTheirCentre)
{
    struct Case {
        int width;
        host::SurfaceFormat format;
        int top, bottom;  // rows covered, inclusive
    } cases[] = {
        {1, host::SurfaceFormat::Rgb24, 30, 30},
        {3, host::SurfaceFormat::Rgb24, 29, 31},
        {5, host::SurfaceFormat::Mono1, 28, 32},
    };
    for (const Case& c : cases) {
        auto s = drawBand(onePage({host::LineOp{10, 30, 50, 30, c.width, {0, 0, 0}},
                                   host::LineOp{5, 40, 5, 60, c.width, {0, 0, 0}}},
                                  c.format),
                          0, {0, 0}, 64, 64);
        int half = c.width / 2;
        EXPECT_EQ(mismatches(*s, [&](int x, int y) {
                      bool across = x >= 10 && x < 50 && y >= c.top && y <= c.bottom;
                      bool down = y >= 40 && y < 60 && x >= 5 - half && x <= 5 + half;
                      return across || down ? kBlack : kWhite;
                  }),
                  0)
            << "width " << c.width;
    }
}

// The same page whole and in bands of several heights, portrait and
// landscape: every band pixel equals the page pixel under it.
TEST(Render, BandsReplayedAtTheirOriginsGiveThePagePixels)
{
    Folder dir;
    host::JobSpec job = onePage({});
    job.images.push_back({dir.writePicture("pic.png", 13, 9), 13, 9});
    job.pages[0].ops = {
        host::RectOp{5, 5, 150, 90, {180, 180, 180}},
        host::ImageOp{0, 20, 33, 13, 9},
        host::ImageOp{0, 40, 70, 100, 57},  // stretched across several bands
        host::LineOp{0, 0, 159, 119, 1, {0, 0, 0}},
        host::LineOp{150, 10, 10, 110, 4, {10, 20, 30}},
        host::RectOp{0, 99, 160, 101, {0, 0, 255}},
    };
    for (auto format : {host::SurfaceFormat::Rgb24, host::SurfaceFormat::Mono1}) {
        job.surface.format = format;
        auto page = drawBand(job, 0, {0, 0}, 160, 120);
        for (int band : {7, 32, 50}) {
            for (int at = 0; at < 120; at += band) {  // portrait: bands down the page
                auto s = drawBand(job, 0, {0, at}, 160, band, {160, 120});
                EXPECT_EQ(mismatches(*s, [&](int x, int y) { return y + at < 120 ? page->pixel(x, y + at) : kWhite; }),
                          0)
                    << "band " << band << " at y " << at;
            }
            for (int at = 0; at < 160; at += band) {  // landscape: bands along x
                auto s = drawBand(job, 0, {at, 0}, band, 120, {160, 120});
                EXPECT_EQ(mismatches(*s, [&](int x, int y) { return x + at < 160 ? page->pixel(x + at, y) : kWhite; }),
                          0)
                    << "band " << band << " at x " << at;
            }
        }
    }
}

// A surface whose every pixel differs from its neighbours (and, on 1 bpp,
// alternates irregularly), so a pixel landing one place off or not at all shows.
std::unique_ptr<host::Surface> patterned(int cx, int cy, host::SurfaceFormat format, int seed)
{
    auto s = std::make_unique<host::Surface>(cx, cy, format);
    for (int y = 0; y < cy; ++y)
        for (int x = 0; x < cx; ++x)
            host::writePixel(s->obj(), x, y,
                             {(uint8_t)(x * 7 + y * 3 + seed), (uint8_t)(x * y + seed * 5), (uint8_t)(x ^ (y * 11))});
    return s;
}

// What a copy at its own size must leave: inside the clip and the copied
// rectangle, the source pixel as the target's format stores it (a 1-bpp
// target keeps whether it is light); everywhere else the target as it was.
host::Rgb copiedPixel(const host::Surface& before, const host::Surface& src, const RECTL& clip, const RECTL& to,
                      POINTL from, int x, int y)
{
    int sx = x - to.left + from.x, sy = y - to.top + from.y;
    bool in = x >= clip.left && x < clip.right && y >= clip.top && y < clip.bottom && x >= to.left && x < to.right &&
              y >= to.top && y < to.bottom && sx >= 0 && sx < src.width() && sy >= 0 && sy < src.height();
    if (!in)
        return before.pixel(x, y);
    host::Surface one(1, 1, before.obj()->iBitmapFormat == BMF_24BPP ? host::SurfaceFormat::Rgb24
                                                                       : host::SurfaceFormat::Mono1);
    host::writePixel(one.obj(), 0, 0, src.pixel(sx, sy));
    return one.pixel(0, 0);
}

// Source copies between every pair of formats, at odd sizes and offsets,
// clipped on each side and reaching past the source's edges.
TEST(Render, ACopyAtItsOwnSizeLandsEachPixelInTheTargetsFormat)
{
    struct Case {
        RECTL clip, to;
        POINTL from;
    } cases[] = {
        {{0, 0, 45, 31}, {0, 0, 45, 31}, {0, 0}},      // the whole source
        {{0, 0, 45, 31}, {3, 5, 40, 30}, {1, 2}},      // inside, odd offsets
        {{7, 2, 30, 29}, {-4, -3, 50, 40}, {0, 0}},    // cut by the clip on every side
        {{0, 0, 45, 31}, {9, 1, 45, 31}, {30, 25}},    // the source runs out first
        {{0, 0, 45, 31}, {-17, 13, 28, 31}, {5, -6}},  // starts before the source
        {{11, 0, 12, 31}, {0, 0, 45, 31}, {1, 0}},     // one column
        {{0, 0, 45, 31}, {40, 30, 41, 31}, {0, 0}},    // one pixel
        {{0, 0, 45, 31}, {0, 0, 45, 31}, {60, 0}},     // nothing of the source
    };
    for (auto srcFormat : {host::SurfaceFormat::Rgb24, host::SurfaceFormat::Mono1})
        for (auto dstFormat : {host::SurfaceFormat::Rgb24, host::SurfaceFormat::Mono1})
            for (const Case& c : cases) {
                auto src = patterned(37, 29, srcFormat, 1);
                auto before = patterned(45, 31, dstFormat, 2);
                auto dst = patterned(45, 31, dstFormat, 2);
                host::copyRect(dst->obj(), c.clip, c.to, src->obj(), c.from);
                EXPECT_EQ(mismatches(*dst, [&](int x, int y) {
                              return copiedPixel(*before, *src, c.clip, c.to, c.from, x, y);
                          }),
                          0)
                    << "formats " << (int)srcFormat << " to " << (int)dstFormat << ", target (" << c.to.left << ", "
                    << c.to.top << "), source (" << c.from.x << ", " << c.from.y << ")";
            }
}

// A copy within one surface reads the source as it was before the copy,
// whichever way the two rectangles overlap.
TEST(Render, ACopyOntoItsOwnSurfaceReadsTheSourceAsItWas)
{
    const POINTL shifts[] = {{3, 2}, {-3, -2}, {5, -1}, {-1, 4}, {0, 1}, {1, 0}};
    for (auto format : {host::SurfaceFormat::Rgb24, host::SurfaceFormat::Mono1})
        for (POINTL shift : shifts) {
            auto surface = patterned(41, 27, format, 3);
            auto source = patterned(41, 27, format, 3);
            RECTL to{6 + shift.x, 4 + shift.y, 33 + shift.x, 22 + shift.y}, all{0, 0, 41, 27};
            auto expected = patterned(41, 27, format, 3);
            host::copyRect(expected->obj(), all, to, source->obj(), {6, 4});
            host::copyRect(surface->obj(), all, to, surface->obj(), {6, 4});
            EXPECT_EQ(mismatches(*surface, [&](int x, int y) { return expected->pixel(x, y); }), 0)
                << "format " << (int)format << ", shift (" << shift.x << ", " << shift.y << ")";
        }
}

// Drawing reaches only the pixels it covers: the rest of the area it works
// in comes back exactly as it was, in either format.
TEST(Render, DrawingLeavesThePixelsBesideItAsTheyWere)
{
    for (auto format : {host::SurfaceFormat::Rgb24, host::SurfaceFormat::Mono1}) {
        auto s = patterned(40, 30, format, 4);
        auto before = patterned(40, 30, format, 4);
        RECTL all{0, 0, 40, 30};
        host::strokePolyline(s->obj(), all, {{2, 10}, {37, 10}}, 1.0, kBlack);
        host::fillRect(s->obj(), all, {5, 20, 9, 25}, kWhite);
        EXPECT_EQ(mismatches(*s, [&](int x, int y) {
                      if (y == 10 && x >= 2 && x < 37)
                          return kBlack;
                      return x >= 5 && x < 9 && y >= 20 && y < 25 ? kWhite : before->pixel(x, y);
                  }),
                  0)
            << "format " << (int)format;
    }
}

// Calls the plug-in could forward that the host does not carry out: each
// fails, and the device records why.
TEST(Render, WhatTheHostCannotDrawIsAnErrorNamingTheCall)
{
    host::Surface surface(8, 8, host::SurfaceFormat::Rgb24);
    host::HostDevice device;
    hosttest::attach(surface, device);
    SURFOBJ* so = surface.obj();
    host::DriverTable table;
    RECTL r{0, 0, 4, 4};
    auto refused = [&](BOOL result, const char* failure) {  // called once the call has been made
        EXPECT_FALSE(result) << failure;
        EXPECT_EQ(device.failure, failure);
        device.failure.clear();
    };
    refused(table.get<PFN_DrvBitBlt>(INDEX_DrvBitBlt)(so, nullptr, nullptr, nullptr, nullptr, &r, nullptr, nullptr,
                                                      nullptr, nullptr, 0x5A5A),
            "raster operation 0x5A5A is not supported");
    refused(table.get<PFN_DrvPlgBlt>(INDEX_DrvPlgBlt)(so, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr,
                                                      nullptr, nullptr, 0),
            "parallelogram transfers are not supported");
    refused(table.get<PFN_DrvGradientFill>(INDEX_DrvGradientFill)(so, nullptr, nullptr, nullptr, 0, nullptr, 0, nullptr,
                                                                  nullptr, 0),
            "gradient fills are not supported");
    refused(table.get<PFN_DrvAlphaBlend>(INDEX_DrvAlphaBlend)(so, nullptr, nullptr, nullptr, &r, &r, nullptr),
            "alpha blending is not supported");
}

TEST(Render, TheHostsOwnBandsStepDownOrAlongThePageUntilItsEnd)
{
    for (bool landscape : {false, true}) {
        host::Surface surface(landscape ? 300 : 850, landscape ? 850 : 300, host::SurfaceFormat::Mono1);
        host::HostDevice device;
        device.page = landscape ? host::PageSize{600, 850} : host::PageSize{850, 1000};
        device.landscape = landscape;
        device.bandHeight = 300;
        hosttest::attach(surface, device);
        host::DriverTable table;
        POINTL origin{};
        ASSERT_TRUE(table.get<PFN_DrvStartBanding>(INDEX_DrvStartBanding)(surface.obj(), &origin));
        std::string seen = std::to_string(origin.x) + "," + std::to_string(origin.y);
        for (int band = 0; origin.x != -1 && band < 10; ++band) {
            ASSERT_TRUE(table.get<PFN_DrvNextBand>(INDEX_DrvNextBand)(surface.obj(), &origin));
            seen += " " + std::to_string(origin.x) + "," + std::to_string(origin.y);
        }
        EXPECT_EQ(seen, landscape ? "0,0 300,0 -1,-1" : "0,0 0,300 0,600 0,900 -1,-1");
    }
}

}  // namespace
