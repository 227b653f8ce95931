// One US Letter page from pixels to its embosser rows, at 100, 300 and 600
// dpi, beside a plain streaming read of the same surface in the same run.
//
//   bench_image [--benchmark_filter=...] [--benchmark_min_time=0.2]
//               [--benchmark_repetitions=5]
//
// After the usual table the program prints each figure as a ratio to the
// read of the same resolution: the read is what any program must at least do
// with a page, so the ratio says what the conversion costs on top, on this
// machine, today. Ratios are of CPU time, which other work on a shared
// machine disturbs less than the wall clock. With repetitions they are of
// the medians: one repetition can differ from the next by a fifth, as the
// memory a page lands in does.
//
// The page holds what embossed pages are made of: white paper, a photograph
// (a smooth grey and colour gradient), ruled one-pixel lines, small marks
// straddling cells, solid shapes, and a line of braille in the text markers.
// The cell grid is the same at every resolution (170 x 220 cells); only the
// pixels per cell grow. BM_BandGrainy is the same page with grain in the
// photograph, as a scanned or compressed photograph has: a smooth gradient
// ends a run every dozen pixels, a grainy one at almost every pixel.
// BM_BandDrawing is the page without its photograph.
#include "config/config.h"
#include "device/xpdv.h"
#include "image/adjust.h"
#include "image/image.h"
#include "image/pattern.h"
#include "job/job.h"
#include "output/stream.h"
#include "page/textpage.h"

#include <benchmark/benchmark.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <map>
#include <string>
#include <vector>

namespace {

const int kPageWidthTenthsOfInch = 85;   // 8.5 in
const int kPageHeightTenthsOfInch = 110;  // 11 in

// The photograph on the page: a smooth gradient, the same with grain, or none.
enum class Photo { smooth, grainy, none };

// A 24-bpp page surface over its own buffer, with the device chain the band
// conversion finds it through: devmode (resolution), device record, markers,
// page of dot values and configuration.
struct Page {
    std::vector<BYTE> bits;
    std::vector<BYTE> original;
    SURFOBJ so{};
    Config config{};
    XPDV xpdv{};
    DEVOBJ devobj{};
    DEVMODEW devmode{};
    DWORD rf;
    DWORD cellsAcross, cellsDown;

    explicit Page(int dpi, Photo photo = Photo::smooth) : rf((DWORD)dpi / 20)
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
        cellsAcross = (DWORD)cx / rf;
        cellsDown = (DWORD)cy / rf;

        // The settings of a new document.
        config.Brightness = 6;
        config.Contrast = 5;
        config.saturationThreshold = 60;
        config.ThinLineIntensity = 1;
        config.outputVersion = 2;
        config.compressed = 1;
        devmode.dmPrintQuality = (short)dpi;
        xpdv.pConfig = &config;
        xpdv.gdiPaperWidth = cx;
        xpdv.gdiPaperHeight = cy;
        xpdv.pTextPage = TextPage_new((DWORD)cx, (DWORD)cy, TEXTPAGE_TYPE_ZERO);
        xpdv.pEmbossPage = TextPage_new(cellsAcross, cellsDown, TEXTPAGE_TYPE_ZERO);
        devobj.pdevOEM = &xpdv;
        devobj.pPublicDM = &devmode;
        so.dhpdev = reinterpret_cast<DHPDEV>(&devobj);
        draw(dpi, photo);
        original = bits;
    }
    ~Page()
    {
        TextPage_delete(xpdv.pTextPage);
        TextPage_delete(xpdv.pEmbossPage);
    }
    Page(const Page&) = delete;
    Page& operator=(const Page&) = delete;

    static BYTE level(int v) { return (BYTE)(v < 0 ? 0 : v > 255 ? 255 : v); }

    void put(LONG x, LONG y, BYTE r, BYTE g, BYTE b)
    {
        PixelColor c = {r, g, b};
        setSurfacePixel(&so, x, y, &c);
    }

    void draw(int dpi, Photo photo)
    {
        LONG cx = so.sizlBitmap.cx, cy = so.sizlBitmap.cy;
        bool grainy = photo == Photo::grainy;
        // A photograph over the middle third: smooth gradients in grey and
        // colour, grainy when asked (up to 8 levels either way, the same in
        // each component, from a fixed pseudo-random sequence).
        uint32_t seed = 1;
        for (LONG y = cy / 3; y < 2 * cy / 3 && photo != Photo::none; ++y)
            for (LONG x = cx / 8; x < 7 * cx / 8; ++x) {
                int grain = 0;
                if (grainy) {
                    seed = seed * 1103515245u + 12345u;
                    grain = (int)(seed >> 16 & 15) - 8;
                }
                put(x, y, level((int)(x * 255 / cx) + grain), level((int)(y * 255 / cy) + grain),
                    level((int)((x + y) * 127 / (cx + cy) + 64) + grain));
            }
        // Ruled one-pixel lines above it, every tenth of an inch, and small
        // square marks between them that straddle cell boundaries.
        for (LONG y = dpi / 2; y < cy / 3 - dpi / 10; y += dpi / 10) {
            for (LONG x = cx / 10; x < 9 * cx / 10; ++x)
                put(x, y, 0, 0, 0);
            for (LONG x = cx / 10 + (LONG)rf / 2; x + (LONG)rf < 9 * cx / 10; x += 3 * (LONG)rf)
                for (LONG d = 0; d < (LONG)rf / 2 + 1; ++d)
                    for (LONG e = 0; e < (LONG)rf / 2 + 1; ++e)
                        put(x + d, y + dpi / 20 + e, 40, 40, 40);
        }
        // Solid shapes below it: a red and a blue block, a grey frame.
        for (LONG y = 2 * cy / 3 + dpi / 4; y < 2 * cy / 3 + dpi; ++y)
            for (LONG x = cx / 8; x < cx / 2; ++x)
                put(x, y, x < cx / 3 ? 255 : 0, 0, x < cx / 3 ? 0 : 255);
        for (LONG y = 5 * cy / 6; y < 5 * cy / 6 + 3; ++y)
            for (LONG x = cx / 8; x < 7 * cx / 8; ++x)
                put(x, y, 128, 128, 128);
        // A line of braille near the top, as text output marks it.
        for (DWORD cell = 20; cell < cellsAcross - 20; cell += 2)
            TextPage_setPixel(xpdv.pTextPage, cell * rf + rf / 2, (DWORD)dpi / 4, 1);
    }

    void restore() { memcpy(bits.data(), original.data(), bits.size()); }

    // Cells of the whole page into the page of dot values, then every row
    // through the row encoding; returns the encoded bytes so nothing is
    // optimised away.
    uint64_t cellsAndRows()
    {
        WriteBandToPage(&so, xpdv.pEmbossPage, 0, (INT)cellsAcross, (INT)cellsDown, 2);
        return rows();
    }

    // The band conversion as a drawn band goes through it: adjustment, then
    // cells, then the rows.
    uint64_t band()
    {
        convertBand(&so, (INT)rf, 0, (INT)cellsAcross, (INT)cellsDown);
        return rows();
    }

    uint64_t rows()
    {
        static BYTE out[2 * 1024];
        uint64_t bytes = 0;
        DWORD even = cellsAcross & ~1u;
        for (DWORD y = 0; y < cellsDown; ++y)
            bytes += encodeRow(xpdv.pEmbossPage->m_Image + (size_t)y * cellsAcross, even, out);
        return bytes;
    }
};

// The cost every program pays for a page: each byte of the surface read once, in order.
uint64_t readSurface(const Page& page)
{
    const uint64_t* p = reinterpret_cast<const uint64_t*>(page.bits.data());
    size_t words = page.bits.size() / sizeof(uint64_t);
    uint64_t sum = 0;
    for (size_t i = 0; i < words; ++i)
        sum += p[i];
    return sum;
}

void setCounters(benchmark::State& state, const Page& page)
{
    double pixels = (double)page.so.sizlBitmap.cx * page.so.sizlBitmap.cy;
    state.counters["Mpixels/s"] = benchmark::Counter(pixels / 1e6, benchmark::Counter::kIsIterationInvariantRate);
}

void BM_Read(benchmark::State& state)
{
    Page page((int)state.range(0));
    for (auto _ : state)
        benchmark::DoNotOptimize(readSurface(page));
    setCounters(state, page);
}

// Markers, sampling, tone mapping and the row encoding, without adjustment.
void BM_Cells(benchmark::State& state)
{
    Page page((int)state.range(0));
    for (auto _ : state)
        benchmark::DoNotOptimize(page.cellsAndRows());
    setCounters(state, page);
}

// The same with the ordered dither and the strongest thin-line weighting.
void BM_CellsDithered(benchmark::State& state)
{
    Page page((int)state.range(0));
    page.config.dithering = 1;
    page.config.ThinLineIntensity = 6;
    for (auto _ : state)
        benchmark::DoNotOptimize(page.cellsAndRows());
    setCounters(state, page);
}

// Rounds of bitmap adjustment, each from the page as drawn (the copy is not
// timed), or of the whole band conversion when asked.
void adjustRounds(benchmark::State& state, bool wholeBand, Photo photo = Photo::smooth)
{
    Page page((int)state.range(0), photo);
    for (auto _ : state) {
        state.PauseTiming();
        page.restore();
        state.ResumeTiming();
        if (wholeBand)
            benchmark::DoNotOptimize(page.band());
        else
            adjustBitMap(&page.so, (INT)page.rf);
    }
    setCounters(state, page);
}

// Bitmap adjustment alone.
void BM_Adjust(benchmark::State& state) { adjustRounds(state, false); }

// The whole band conversion of a one-band page: adjustment, markers,
// sampling, tone mapping, encoding.
void BM_Band(benchmark::State& state) { adjustRounds(state, true); }

// The same with a grainy photograph.
void BM_BandGrainy(benchmark::State& state) { adjustRounds(state, true, Photo::grainy); }

// The same page without the photograph: drawing, shapes and braille, as most
// embossed pages are.
void BM_BandDrawing(benchmark::State& state) { adjustRounds(state, true, Photo::none); }

BENCHMARK(BM_Read)->Arg(100)->Arg(300)->Arg(600)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Cells)->Arg(100)->Arg(300)->Arg(600)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_CellsDithered)->Arg(100)->Arg(300)->Arg(600)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Adjust)->Arg(100)->Arg(300)->Arg(600)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_Band)->Arg(100)->Arg(300)->Arg(600)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_BandGrainy)->Arg(100)->Arg(300)->Arg(600)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_BandDrawing)->Arg(100)->Arg(300)->Arg(600)->Unit(benchmark::kMillisecond);

// The console table, then every figure as a ratio to the read at its resolution.
class RatioReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override
    {
        ConsoleReporter::ReportRuns(runs);
        for (const Run& run : runs) {
            bool median = run.run_type == Run::RT_Aggregate && run.aggregate_name == "median";
            if ((run.run_type != Run::RT_Iteration && !median) || run.iterations == 0)
                continue;
            // The median comes after the repetitions it is taken over.
            std::string name = run.run_name.str();
            size_t slash = name.find('/');
            if (slash == std::string::npos)
                continue;
            times_[name.substr(0, slash)][name.substr(slash + 1)] = run.cpu_accumulated_time / (double)run.iterations;
        }
    }
    void Finalize() override
    {
        ConsoleReporter::Finalize();
        auto read = times_.find("BM_Read");
        if (read == times_.end())
            return;
        std::printf("\n%-18s", "ratio to BM_Read");
        for (const auto& [dpi, t] : read->second)
            std::printf(" %10s", (dpi + " dpi").c_str());
        std::printf("\n");
        for (const auto& [name, byDpi] : times_) {
            std::printf("%-18s", name.c_str());
            for (const auto& [dpi, t] : read->second) {
                auto it = byDpi.find(dpi);
                if (it == byDpi.end() || t <= 0)
                    std::printf(" %10s", "-");
                else
                    std::printf(" %9.1fx", it->second / t);
            }
            std::printf("\n");
        }
    }

private:
    std::map<std::string, std::map<std::string, double>> times_;
};

}  // namespace

int main(int argc, char** argv)
{
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv))
        return 2;
    RatioReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    benchmark::Shutdown();
    return 0;
}
