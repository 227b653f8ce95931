// The host's drawing on 24-bpp and 1-bpp surfaces: copies and fills reach
// exactly their pixels and every pixel beside them stays as it was, and the
// host's own bands step over the page. (Pages given in bands against pages
// given whole are the text job test's; pictures across bands, the picture
// reader's.)
#include "host_fixture.h"

#include "cairo_render.h"

#include <gtest/gtest.h>

namespace {

using host::Rgb;

const Rgb kWhite{255, 255, 255}, kBlack{0, 0, 0};

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

// Rectangles and lines cover exactly their pixels, in the colour the
// surface's format stores (on 1 bpp: dark is black, light is white), up to
// the surface's edge; every pixel beside them stays as it was.
TEST(Render, DrawingCoversExactlyItsPixelsAndLeavesTheRest)
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
        auto s = patterned(40, 30, c.format, 4);
        auto before = patterned(40, 30, c.format, 4);
        RECTL all{0, 0, 40, 30};
        host::strokePolyline(s->obj(), all, {{2, 10}, {37, 10}}, 1.0, kBlack);
        host::fillRect(s->obj(), all, {5, 20, 9, 25}, c.fill);
        host::fillRect(s->obj(), all, {33, 26, 45, 35}, c.fill);  // past the surface's corner
        EXPECT_EQ(mismatches(*s, [&](int x, int y) {
                      if (y == 10 && x >= 2 && x < 37)
                          return kBlack;
                      bool in = (x >= 5 && x < 9 && y >= 20 && y < 25) || (x >= 33 && y >= 26);
                      return in ? c.expected : before->pixel(x, y);
                  }),
                  0)
            << "format " << (int)c.format << ", fill " << (int)c.fill.r;
    }
}

// The host's own band stepping, the universal driver's part for a device
// whose banding nothing hooks: down the page, or along it in landscape.
TEST(Render, TheHostsOwnBandsStepDownOrAlongThePageUntilItsEnd)
{
    struct Case {
        bool landscape;
        std::vector<POINTL> origins;
    } cases[] = {
        {false, {{0, 0}, {0, 300}, {0, 600}, {0, 900}, {-1, -1}}},
        {true, {{0, 0}, {300, 0}, {-1, -1}}},
    };
    for (const Case& c : cases) {
        host::Surface surface(c.landscape ? 300 : 850, c.landscape ? 850 : 300, host::SurfaceFormat::Mono1);
        host::HostDevice device;
        device.page = c.landscape ? host::PageSize{600, 850} : host::PageSize{850, 1000};
        device.landscape = c.landscape;
        device.bandHeight = 300;
        surface.obj()->dhpdev = reinterpret_cast<DHPDEV>(static_cast<DEVOBJ*>(&device));
        host::DriverTable table;
        std::vector<POINTL> seen(1);
        ASSERT_TRUE(table.get<PFN_DrvStartBanding>(INDEX_DrvStartBanding)(surface.obj(), &seen[0]));
        while (seen.back().x != -1 && seen.size() < 10) {
            seen.emplace_back();
            ASSERT_TRUE(table.get<PFN_DrvNextBand>(INDEX_DrvNextBand)(surface.obj(), &seen.back()));
        }
        ASSERT_EQ(seen.size(), c.origins.size());
        for (size_t i = 0; i < seen.size(); ++i)
            EXPECT_TRUE(seen[i].x == c.origins[i].x && seen[i].y == c.origins[i].y) << i;
    }
}

}  // namespace
