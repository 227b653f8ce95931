// Pixels to dots for one US Letter page: every cell of the page sampled from
// the rendered surface (getSampleColor, rf = dpi / 20) and mapped to its dot
// value (getDotHeight), as page encoding does it.
//
//   bench_image [--benchmark_filter=...]
//
// The page holds what embossed pages are made of: white paper, a photograph
// (a smooth grey and colour gradient), ruled one-pixel lines and solid
// shapes. The cell grid is the same at every resolution (170 x 220 cells);
// only the pixels per cell grow.
#include "config/config.h"
#include "device/xpdv.h"
#include "image/image.h"
#include "image/pattern.h"
#include "image/adjust.h"

#include <benchmark/benchmark.h>

#include <vector>

namespace {

const int kPageWidthTenthsOfInch = 85;   // 8.5 in
const int kPageHeightTenthsOfInch = 110;  // 11 in

// A 24-bpp page surface over its own buffer, with the device chain that
// carries the configuration to the sampler.
struct Page {
    std::vector<BYTE> bits;
    SURFOBJ so{};
    Config config{};
    XPDV xpdv{};
    DEVOBJ devobj{};
    DWORD rf;

    explicit Page(int dpi) : rf((DWORD)dpi / 20)
    {
        LONG cx = kPageWidthTenthsOfInch * dpi / 10;
        LONG cy = kPageHeightTenthsOfInch * dpi / 10;
        LONG stride = (cx * 3 + 3) & ~3;  // scan lines on 4-byte boundaries, as GDI's
        bits.assign((size_t)stride * cy, 0xFF);
        so.sizlBitmap.cx = cx;
        so.sizlBitmap.cy = cy;
        so.iBitmapFormat = BMF_24BPP;
        so.pvBits = so.pvScan0 = bits.data();
        so.lDelta = stride;
        so.cjBits = (ULONG)bits.size();

        // The settings of a new document.
        config.Brightness = 6;
        config.Contrast = 5;
        config.saturationThreshold = 60;
        config.ThinLineIntensity = 1;
        xpdv.pConfig = &config;
        devobj.pdevOEM = &xpdv;
        so.dhpdev = reinterpret_cast<DHPDEV>(&devobj);
        draw(dpi);
    }
    Page(const Page&) = delete;
    Page& operator=(const Page&) = delete;

    void put(LONG x, LONG y, BYTE r, BYTE g, BYTE b)
    {
        PixelColor c = {r, g, b};
        setSurfacePixel(&so, x, y, &c);
    }

    void draw(int dpi)
    {
        LONG cx = so.sizlBitmap.cx, cy = so.sizlBitmap.cy;
        // A photograph over the middle third: smooth gradients in grey and colour.
        for (LONG y = cy / 3; y < 2 * cy / 3; ++y)
            for (LONG x = cx / 8; x < 7 * cx / 8; ++x)
                put(x, y, (BYTE)(x * 255 / cx), (BYTE)(y * 255 / cy), (BYTE)((x + y) * 127 / (cx + cy) + 64));
        // Ruled one-pixel lines above it, every tenth of an inch.
        for (LONG y = dpi / 2; y < cy / 3 - dpi / 10; y += dpi / 10)
            for (LONG x = cx / 10; x < 9 * cx / 10; ++x)
                put(x, y, 0, 0, 0);
        // Solid shapes below it: a red and a blue block, a grey frame.
        for (LONG y = 2 * cy / 3 + dpi / 4; y < 2 * cy / 3 + dpi; ++y)
            for (LONG x = cx / 8; x < cx / 2; ++x)
                put(x, y, x < cx / 3 ? 255 : 0, 0, x < cx / 3 ? 0 : 255);
        for (LONG y = 5 * cy / 6; y < 5 * cy / 6 + 3; ++y)
            for (LONG x = cx / 8; x < 7 * cx / 8; ++x)
                put(x, y, 128, 128, 128);
    }

    // Every cell of the page, sampled and mapped; returns the sum of the dot
    // values so nothing is optimised away.
    int64_t toDots()
    {
        DWORD cellsAcross = (DWORD)so.sizlBitmap.cx / rf;
        DWORD cellsDown = (DWORD)so.sizlBitmap.cy / rf;
        int64_t sum = 0;
        for (DWORD y = 0; y < cellsDown; ++y)
            for (DWORD x = 0; x < cellsAcross; ++x) {
                PixelColor c;
                getSampleColor(&so, x * rf, y * rf, rf, &c);
                sum += getDotHeight(&config, x, y, &c);
            }
        return sum;
    }
};

void setCounters(benchmark::State& state, const Page& page)
{
    double cells = (double)(page.so.sizlBitmap.cx / page.rf) * (page.so.sizlBitmap.cy / page.rf);
    double pixels = (double)page.so.sizlBitmap.cx * page.so.sizlBitmap.cy;
    state.counters["cells/s"] = benchmark::Counter(cells, benchmark::Counter::kIsIterationInvariantRate);
    state.counters["Mpixels/s"] = benchmark::Counter(pixels / 1e6, benchmark::Counter::kIsIterationInvariantRate);
}

// Area sampling and tone mapping of every cell, straight quantisation.
void BM_PageToDots(benchmark::State& state)
{
    Page page((int)state.range(0));
    for (auto _ : state)
        benchmark::DoNotOptimize(page.toDots());
    setCounters(state, page);
}
BENCHMARK(BM_PageToDots)->Arg(100)->Arg(300)->Arg(600)->Unit(benchmark::kMillisecond);

// The same with the ordered dither and the strongest thin-line weighting.
void BM_PageToDotsDithered(benchmark::State& state)
{
    Page page((int)state.range(0));
    page.config.dithering = 1;
    page.config.ThinLineIntensity = 6;
    for (auto _ : state)
        benchmark::DoNotOptimize(page.toDots());
    setCounters(state, page);
}
BENCHMARK(BM_PageToDotsDithered)->Arg(100)->Arg(300)->Arg(600)->Unit(benchmark::kMillisecond);

// Bitmap adjustment (page room) followed by the cells, as a whole page is
// reduced at page send. Each round starts from a fresh copy of the page; the
// copy is not timed.
void BM_AdjustBitMapThenPageToDots(benchmark::State& state)
{
    Page page((int)state.range(0));
    std::vector<BYTE> original = page.bits;
    for (auto _ : state) {
        state.PauseTiming();
        page.bits = original;
        state.ResumeTiming();
        adjustBitMap(&page.so, (INT)page.rf);
        benchmark::DoNotOptimize(page.toDots());
    }
    setCounters(state, page);
}
BENCHMARK(BM_AdjustBitMapThenPageToDots)->Arg(100)->Arg(300)->Arg(600)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
