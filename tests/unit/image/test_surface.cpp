// Surface pixel access and the weighted cell colour.
#include "image_fixture.h"

#include <algorithm>
#include <functional>
#include <random>

using namespace imagetest;

namespace {

TEST(Pixel, Coding)
{
    EXPECT_EQ(BMF_24BPP, 5) << "the number Unidrv tags 24-bpp surfaces with";

    Surface rgb(4, 2, BMF_24BPP, 1, true);  // bottom-up: row 0 is last in memory
    BYTE* p = rgb.bits().data() + 13 * 1 + 3 * 2;  // pixel (2, 0)
    p[0] = 10, p[1] = 20, p[2] = 30;
    EXPECT_EQ(rgb.get(2, 0), (PixelColor{10, 20, 30})) << "memory order is red, green, blue";
    rgb.set(1, 1, PixelColor{1, 2, 3});
    EXPECT_EQ(std::vector<BYTE>(rgb.bits().begin() + 3, rgb.bits().begin() + 6), (std::vector<BYTE>{1, 2, 3}));

    Surface mono(16, 1, BMF_1BPP);
    mono.bits() = {0xA0, 0x01};
    const std::pair<DWORD, PixelColor> reads[] = {{0, kWhite}, {1, kBlack}, {2, kWhite}, {7, kBlack}, {15, kWhite}};
    for (const auto& r : reads)
        EXPECT_EQ(mono.get(r.first, 0), r.second) << "bit of pixel " << r.first;

    // A bit is set exactly when red and green are full; blue is not consulted.
    const std::pair<PixelColor, bool> writes[] = {
        {{255, 255, 255}, true}, {{255, 255, 0}, true}, {{255, 254, 255}, false}, {{254, 255, 255}, false}};
    for (const auto& w : writes)
        for (BYTE before : {0x00, 0xFF}) {
            mono.bits()[1] = before;
            mono.set(13, 0, w.first);
            EXPECT_EQ(mono.bits()[1], w.second ? (before | 0x04) : (before & ~0x04)) << w.first;
        }

    for (ULONG format : {2u, 3u, 4u, 6u}) {  // other formats read as 1 bpp, are never written
        Surface other(8, 1, format);
        other.bits()[0] = 0x80;
        other.set(1, 0, kWhite);
        EraseSurface(other.so());
        EXPECT_EQ(other.bits()[0], 0x80) << format;
        EXPECT_EQ(other.get(0, 0), kWhite) << format;
    }
}

TEST(Pixel, OutsideTheBitmapAndWithoutBits)
{
    Surface s(4, 3, BMF_24BPP);
    struct Read {
        DWORD x, y, height;
        PixelColor expected;
    } reads[] = {{0, 3, 3, kWhite}, {0, 1, 1, kWhite}, {4, 0, 3, kWhite}, {0, 3, 100, kWhite}, {3, 2, 3, kBlack}};
    for (const Read& r : reads) {
        PixelColor c;
        getSurfacePixel(s.so(), r.x, r.y, &c, r.height);
        EXPECT_EQ(c, r.expected) << r.x << ", " << r.y << " height " << r.height;
    }
    for (POINTL p : {POINTL{-1, 0}, POINTL{4, 0}, POINTL{0, -1}, POINTL{0, 3}, POINTL{INT32_MIN, 1}})
        s.set(p.x, p.y, kWhite);
    EXPECT_EQ(s.bits(), std::vector<BYTE>(36, 0)) << "writes outside are dropped";

    s.so()->pvScan0 = nullptr;
    s.set(0, 0, kWhite);
    EraseSurface(s.so());
    EXPECT_EQ(s.get(2, 2), kGrey) << "no bits: grey inside the height";
    EXPECT_EQ(s.get(2, 3), kWhite) << "and white below it";
}

// Erasing writes white to every pixel and leaves the scan-line padding alone.
TEST(EraseSurface, MatchesWhiteWrittenToEveryPixel)
{
    std::mt19937 rng(17);
    for (ULONG format : {(ULONG)BMF_24BPP, (ULONG)BMF_1BPP})
        for (LONG cx : {1, 7, 8, 9, 13, 21}) {
            Surface erased(cx, 3, format, 3, cx % 2), reference(cx, 3, format, 3, cx % 2);
            for (size_t i = 0; i < erased.bits().size(); ++i)
                erased.bits()[i] = reference.bits()[i] = (BYTE)rng();
            EraseSurface(erased.so());
            for (LONG y = 0; y < 3; ++y)
                for (LONG x = 0; x < cx; ++x)
                    reference.set(x, y, kWhite);
            EXPECT_EQ(erased.bits(), reference.bits()) << "format " << format << ", width " << cx;
        }
}

// ---------------------------------------------------------------- cell colour

using Painter = std::function<PixelColor(LONG x, LONG y)>;

TEST(SampleColor, Cells)
{
    const PixelColor red = {255, 0, 0}, blue = {0, 0, 255}, green = {0, 255, 0};
    const Painter black = [](LONG, LONG) { return kBlack; };
    const Painter line = [](LONG, LONG y) { return y == 2 ? kBlack : kWhite; };  // across a 6 x 6 cell
    struct Case {
        const char* name;
        ULONG format;
        Painter paint;
        DWORD x, y, factor, thinLine;
        PixelColor expected;
    } cases[] = {
        {"factor 1 at x = cx", BMF_24BPP, black, 10, 0, 1, 1, kWhite},
        {"factor 1 at the last column", BMF_24BPP, black, 9, 0, 1, 1, kBlack},
        {"factor 1 takes ink as it is", BMF_24BPP, [](LONG, LONG) { return kInk; }, 0, 0, 1, 1, kInk},
        {"cell passing the right edge", BMF_24BPP, black, 8, 0, 3, 1, kWhite},
        {"cell passing the bottom edge", BMF_24BPP, black, 0, 8, 3, 1, kWhite},
        {"cell ending at the edge", BMF_24BPP, black, 7, 7, 3, 1, kBlack},
        {"pure ink", BMF_24BPP, [](LONG, LONG) { return kInk; }, 0, 0, 3, 1, kWhite},
        {"reversed ink", BMF_24BPP, [](LONG, LONG) { return kInkReversed; }, 0, 0, 3, 1, kWhite},
        {"near ink is a colour", BMF_24BPP, [](LONG, LONG) { return PixelColor{5, 6, 8}; }, 0, 0, 3, 1, {5, 6, 8}},
        {"uniform grey", BMF_24BPP, [](LONG, LONG) { return PixelColor{90, 90, 90}; }, 0, 0, 4, 6, {90, 90, 90}},
        {"red over blue: equal sums, bottom-right pixel", BMF_24BPP,
         [&](LONG, LONG y) { return y < 2 ? red : blue; }, 0, 0, 4, 6, blue},
        {"equal sums with a green corner", BMF_24BPP,
         [&](LONG x, LONG y) { return x == 3 && y == 3 ? green : y < 2 ? blue : red; }, 0, 0, 4, 6, green},
        {"thin line, ThinLineIntensity 1, factor 6", BMF_24BPP, line, 0, 0, 6, 1, {115, 115, 115}},
        {"thin line, ThinLineIntensity 0: plain mean", BMF_24BPP, line, 0, 0, 6, 0, {212, 212, 212}},
        {"thin line, ThinLineIntensity 2", BMF_24BPP, line, 0, 0, 6, 2, {75, 75, 75}},
        {"even weights, mean just under a whole number: 43 / 4", BMF_24BPP,
         [](LONG x, LONG y) { return PixelColor{10, 10, (BYTE)(x + y ? 11 : 10)}; }, 0, 0, 2, 0, {10, 10, 10}},
        {"1 bpp, one black pixel of 16", BMF_1BPP, [](LONG x, LONG y) { return x + y ? kWhite : kBlack; }, 0, 0, 4,
         1, {201, 201, 201}},
    };
    for (const Case& c : cases) {
        Surface s(10, 10, c.format);
        for (LONG y = 0; y < 10; ++y)
            for (LONG x = 0; x < 10; ++x)
                s.set(x, y, c.paint(x, y));
        Device device(c.thinLine);
        device.attach(s.so());
        PixelColor got;
        getSampleColor(s.so(), c.x, c.y, c.factor, &got);
        EXPECT_EQ(got, c.expected) << c.name;
    }

    Surface bare(6, 6, BMF_24BPP);  // no device record: ThinLineIntensity 1
    for (LONG x = 0; x < 6; ++x)
        bare.set(x, 0, kWhite);
    PixelColor got;
    getSampleColor(bare.so(), 0, 0, 6, &got);
    EXPECT_EQ(got, (PixelColor{8, 8, 8})) << "255 x 6 / (6 + 30 x 6)";
}

TEST(SampleColor, InkIsPaintedWhiteInsideTheCellOnly)
{
    Surface s(6, 6, BMF_24BPP);
    for (LONG y = 0; y < 6; ++y)
        for (LONG x = 0; x < 6; ++x)
            s.set(x, y, (x + y) % 2 ? kInk : kInkReversed);
    PixelColor got;
    getSampleColor(s.so(), 0, 0, 3, &got);
    for (DWORD y = 0; y < 6; ++y)
        for (DWORD x = 0; x < 6; ++x)
            EXPECT_EQ(s.get(x, y) == kWhite, x < 3 && y < 3) << x << ", " << y;
}

// ---------------------------------------------------------------- cross-check

// The cell colour the slow way: three passes through the access functions,
// every sum in 128 bits.
PixelColor slowAreaColor(SURFOBJ* so, DWORD x0, DWORD y0, DWORD x1, DWORD y1, DWORD factor, DWORD thinLine)
{
    __extension__ typedef unsigned __int128 U128;
    DWORD cx = (DWORD)so->sizlBitmap.cx, cy = (DWORD)so->sizlBitmap.cy;
    if (x0 > cx || x1 > cx || y1 > cy || y0 > cy)
        return kWhite;
    auto each = [&](const std::function<void(DWORD, DWORD, PixelColor, U128)>& visit) {
        for (DWORD y = y0; y < y1; ++y)
            for (DWORD x = x0; x < x1; ++x) {
                PixelColor c;
                getSurfacePixel(so, x, y, &c, cy);
                visit(x, y, c, (U128)c.red + c.green + c.blue);
            }
    };
    each([&](DWORD x, DWORD y, PixelColor c, U128) {
        if (c == kInk || c == kInkReversed)
            setSurfacePixel(so, (LONG)x, (LONG)y, &kWhite);
    });
    U128 lo = 765, hi = 0;
    PixelColor last = kWhite;
    each([&](DWORD, DWORD, PixelColor c, U128 s) { lo = std::min(lo, s), hi = std::max(hi, s), last = c; });
    if (lo == hi)
        return last;
    U128 k = std::max<U128>((U128)thinLine * factor, 1), w = 0, r = 0, g = 0, b = 0;
    each([&](DWORD, DWORD, PixelColor c, U128 s) {
        U128 weight = k * (hi - s) + (s - lo);
        w += weight, r += c.red * weight, g += c.green * weight, b += c.blue * weight;
    });
    return w ? PixelColor{(BYTE)(r / w), (BYTE)(g / w), (BYTE)(b / w)} : last;
}

// Page colours (ink among them), random colours, and colours a step or two
// from one base, whose small weights put quotients next to whole numbers.
PixelColor randomColour(std::mt19937& rng, PixelColor base)
{
    static const PixelColor palette[] = {kWhite, kBlack, kInk, kInkReversed, {200, 200, 200}, {0, 0, 1}};
    switch (rng() % 3) {
    case 0:
        return palette[rng() % 6];
    case 1:
        return PixelColor{(BYTE)rng(), (BYTE)rng(), (BYTE)rng()};
    default:
        return PixelColor{(BYTE)(base.red + rng() % 3), (BYTE)(base.green + rng() % 3), (BYTE)(base.blue + rng() % 3)};
    }
}

TEST(AreaColorCrossCheck, MatchesThreePassSampling)
{
    std::mt19937 rng(20240611);
    const DWORD thinLines[] = {0, 1, 2, 6, 1000, 0xFFFFFFFFu};
    for (int round = 0; round < 3000; ++round) {
        ULONG format = round % 4 ? (ULONG)BMF_24BPP : (ULONG)BMF_1BPP;
        bool large = round % 50 == 0;
        LONG cx = 1 + rng() % (large ? 200 : 40), cy = 1 + rng() % (large ? 200 : 40);
        Surface fast(cx, cy, format, rng() % 4), slow(cx, cy, format);
        PixelColor base = {(BYTE)(rng() % 250), (BYTE)(rng() % 250), (BYTE)(rng() % 250)};
        for (LONG y = 0; y < cy; ++y)
            for (LONG x = 0; x < cx; ++x) {
                PixelColor c = randomColour(rng, base);
                fast.set(x, y, c), slow.set(x, y, c);
            }
        DWORD factor = 1 + rng() % (large ? 200 : 16), thinLine = thinLines[rng() % 6];
        DWORD x0 = rng() % (cx + 2), y0 = rng() % (cy + 2), x1 = x0 + factor, y1 = y0 + factor;
        if (rng() % 4 == 0)
            x1 = x0 + rng() % 8, y1 = y0 + rng() % 8;  // uneven and empty areas
        Device device(thinLine);
        device.attach(fast.so());
        PixelColor got;
        getAreaColor(fast.so(), x0, y0, x1, y1, &got, factor);
        ASSERT_EQ(got, slowAreaColor(slow.so(), x0, y0, x1, y1, factor, thinLine))
            << "round " << round << ": (" << x0 << ", " << y0 << ")-(" << x1 << ", " << y1 << ") of " << cx
            << " x " << cy << ", factor " << factor << ", ThinLineIntensity " << thinLine;
        for (LONG y = 0; y < cy; ++y)
            for (LONG x = 0; x < cx; ++x)
                ASSERT_EQ(fast.get(x, y), slow.get(x, y)) << "round " << round << ": pixel " << x << ", " << y;
    }
}

// A component the same in every pixel is the mean itself, however large the
// weights grow (sums far past 64 bits).
TEST(AreaColorCrossCheck, SharedComponentComesBackExactly)
{
    std::mt19937 rng(7);
    for (DWORD factor : {2u, 15u, 120u, 300u})
        for (DWORD thinLine : {1u, 6u, 0xFFFFFFFFu}) {
            Surface s(factor, factor, BMF_24BPP);
            for (LONG y = 0; y < (LONG)factor; ++y)
                for (LONG x = 0; x < (LONG)factor; ++x)
                    s.set(x, y, PixelColor{100, (BYTE)(rng() % 2 ? 0 : 255), (BYTE)rng()});
            Device device(thinLine);
            device.attach(s.so());
            PixelColor got;
            getSampleColor(s.so(), 0, 0, factor, &got);
            EXPECT_EQ(got.red, 100) << "factor " << factor << ", ThinLineIntensity " << thinLine;
        }
}

}  // namespace
