// Surface pixel access and the weighted colour of one embossing cell.
//
// A cell's colour is not its plain mean: dark pixels weigh up to
// ThinLineIntensity x factor times as much as the lightest, so that a
// one-pixel line across a cell still raises a dot instead of averaging away
// into paper white. Ink pixels (5, 6, 7) are painted white as the cell is
// read, so drawing meant for sighted readers never becomes a dot.
#include "image.h"
#include "image/scanline.h"

#include "config/config.h"
#include "device/xpdv.h"
#include "page/textpage.h"

#include <cstdint>
#include <cstring>

namespace {

const PixelColor kWhite = {255, 255, 255};
const PixelColor kNoBits = {127, 127, 127};

// The text markers that stand for colours: a braille dot, and the grey
// background of simulated italics.
const BYTE kMarkerBraille = 1;
const BYTE kMarkerItalic = 2;
const PixelColor kBrailleColour = {BRAILLE_RED, BRAILLE_GREEN, BRAILLE_BLUE};
const PixelColor kItalicColour = {200, 200, 200};

// Brightness range of a pixel: red + green + blue.
const DWORD kBrightest = 765;

// Rows of a cell up to this many pixels may be summed a pixel at a time
// (most cells are 5 to 30 pixels a side), longer ones a run of one colour at
// a time.
const DWORD kShortRow = 64;

// Rows of a cell up to this many pixels are summed eight bytes at a time,
// whatever their runs: at most six steps.
const DWORD kVectorRow = 16;

// The bitmap's size; a negative size counts as none, so no read or write can
// leave the bits.
DWORD widthOf(const SURFOBJ* pso) { return pso->sizlBitmap.cx > 0 ? (DWORD)pso->sizlBitmap.cx : 0; }
DWORD heightOf(const SURFOBJ* pso) { return pso->sizlBitmap.cy > 0 ? (DWORD)pso->sizlBitmap.cy : 0; }

// The ink colour in either byte order.
inline bool isInk(uint32_t red, uint32_t green, uint32_t blue)
{
    return green == 6 && ((red == 5 && blue == 7) || (red == 7 && blue == 5));
}

inline bool isInk(const PixelColor& c) { return isInk(c.red, c.green, c.blue); }

// Whether the 24-bpp pixels at a and b are the same colour.
inline bool samePixel24(const BYTE* a, const BYTE* b) { return a[0] == b[0] && a[1] == b[1] && a[2] == b[2]; }

// The configuration's ThinLineIntensity, reached through the surface's device;
// a surface without a device record or configuration takes the default, 1.
DWORD thinLineIntensity(const SURFOBJ* pso)
{
    auto* pdevobj = reinterpret_cast<PDEVOBJ>(pso->dhpdev);
    auto* pdv = pdevobj ? static_cast<XPDV*>(pdevobj->pdevOEM) : nullptr;
    return pdv && pdv->pConfig ? pdv->pConfig->ThinLineIntensity : 1;
}

// The sums of a short row or a small cell (at most kShortRow pixels a side),
// as CellSums keeps them: 32 bits hold them, 765 x 255 x kShortRow x
// kShortRow being below 2^32.
struct ShortSums {
    uint32_t c[3] = {0, 0, 0};   // of each component
    uint32_t sc[3] = {0, 0, 0};  // of each component times the pixel's brightness
    DWORD lo = kBrightest, hi = 0;
};

#if PUMEX_WIDE_SSE2

// Those sums eight bytes of a row at a time, in 16-bit lanes: lane j of
// the step at byte o holds byte o + j, and the lanes whose byte begins a
// pixel (o + j a multiple of three) hold, in the three vectors read from o,
// o + 1 and o + 2, that pixel's red, green and blue. The other lanes are
// masked out. Rows are added one after another and the lanes totalled once,
// at the end. A pixel whose green is 6 may be ink, which the vector sums do
// not tell apart: maybeInk says one was met.
class VectorSums {
public:
    // The count pixels from p, times over (at most kShortRow: a row and the
    // equal rows below it); readable is how many bytes from p on may be
    // read, for the steps read a few past the row.
    void add(const BYTE* p, DWORD count, size_t readable, DWORD times)
    {
        if (times == 1)
            addRows<false>(p, count, readable, _mm_set1_epi16(1));
        else
            addRows<true>(p, count, readable, _mm_set1_epi16((short)times));
    }

    bool maybeInk() const { return !wide::isZero(ink_); }

    ShortSums totals() const
    {
        ShortSums sums;
        for (int i = 0; i < 3; ++i) {
            sums.c[i] = total32(c_[i]);
            sums.sc[i] = total32(sc_[i]);
        }
        __m128i lo = _mm_min_epi16(lo_, _mm_shuffle_epi32(lo_, 0x4E));
        lo = _mm_min_epi16(lo, _mm_shuffle_epi32(lo, 0xB1));
        lo = _mm_min_epi16(lo, _mm_shufflelo_epi16(lo, 0xB1));
        __m128i hi = _mm_max_epi16(hi_, _mm_shuffle_epi32(hi_, 0x4E));
        hi = _mm_max_epi16(hi, _mm_shuffle_epi32(hi, 0xB1));
        hi = _mm_max_epi16(hi, _mm_shufflelo_epi16(hi, 0xB1));
        sums.lo = (DWORD)(_mm_cvtsi128_si32(lo) & 0xFFFF);
        sums.hi = (DWORD)(_mm_cvtsi128_si32(hi) & 0xFFFF);
        return sums;
    }

private:
    const __m128i zero_ = _mm_setzero_si128(), top_ = _mm_set1_epi16(0x7FFF);
    __m128i c_[3] = {zero_, zero_, zero_}, sc_[3] = {zero_, zero_, zero_};
    __m128i lo_ = top_, hi_ = zero_, ink_ = zero_;

    // The lanes that begin a pixel, in a step that begins phase bytes into one.
    static __m128i lanes(int phase)
    {
        alignas(16) static const int16_t kPixelLanes[3][8] = {
            {-1, 0, 0, -1, 0, 0, -1, 0},
            {0, 0, -1, 0, 0, -1, 0, 0},
            {0, -1, 0, 0, -1, 0, 0, -1},
        };
        return _mm_load_si128(reinterpret_cast<const __m128i*>(kPixelLanes[phase]));
    }

    static uint32_t total32(__m128i v)
    {
        v = _mm_add_epi32(v, _mm_shuffle_epi32(v, 0x4E));
        v = _mm_add_epi32(v, _mm_shuffle_epi32(v, 0xB1));
        return (uint32_t)_mm_cvtsi128_si32(v);
    }

    static __m128i bytesAt(const BYTE* q)
    {
        return _mm_unpacklo_epi8(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(q)), _mm_setzero_si128());
    }

    // add, with repeat holding times in every lane.
    template <bool kRepeated>
    void addRows(const BYTE* p, DWORD count, size_t readable, __m128i repeat)
    {
        const size_t bytes = (size_t)count * 3;
        alignas(16) BYTE copy[kShortRow * 3 + 16];
        if (readable < bytes + 10) {
            // The last step reads ten bytes from its start: a row too near
            // the end of what may be read is summed from a copy.
            memset(copy, 0, sizeof copy);
            memcpy(copy, p, bytes);
            p = copy;
        }
        size_t o = 0;
        int phase = 0;  // o % 3
        for (; o + 8 <= bytes; o += 8, phase = phase == 0 ? 2 : phase - 1)
            step<kRepeated>(p + o, lanes(phase), repeat);
        if (o < bytes) {
            const __m128i index = _mm_setr_epi16(0, 1, 2, 3, 4, 5, 6, 7);
            const __m128i inRow = _mm_cmplt_epi16(index, _mm_set1_epi16((short)(bytes - o)));
            step<kRepeated>(p + o, _mm_and_si128(inRow, lanes(phase)), repeat);
        }
    }

    // Each product fits its 16-bit lane: a component times the repeat is at
    // most 255 x kShortRow, a brightness at most 765; and each 32-bit lane
    // holds part of a sum below 2^31. A row added once needs no multiplying.
    template <bool kRepeated>
    void step(const BYTE* q, __m128i lanes, __m128i repeat)
    {
        const __m128i six = _mm_set1_epi16(6);
        __m128i r = bytesAt(q), g = bytesAt(q + 1), b = bytesAt(q + 2);
        __m128i bright = _mm_and_si128(_mm_add_epi16(_mm_add_epi16(r, g), b), lanes);
        lo_ = _mm_min_epi16(lo_, _mm_or_si128(bright, _mm_andnot_si128(lanes, top_)));
        hi_ = _mm_max_epi16(hi_, bright);
        ink_ = _mm_or_si128(ink_, _mm_and_si128(_mm_cmpeq_epi16(g, six), lanes));
        __m128i times = _mm_and_si128(lanes, repeat);
        c_[0] = _mm_add_epi32(c_[0], _mm_madd_epi16(r, times));
        c_[1] = _mm_add_epi32(c_[1], _mm_madd_epi16(g, times));
        c_[2] = _mm_add_epi32(c_[2], _mm_madd_epi16(b, times));
        if (kRepeated) {
            r = _mm_mullo_epi16(r, repeat);
            g = _mm_mullo_epi16(g, repeat);
            b = _mm_mullo_epi16(b, repeat);
        }
        sc_[0] = _mm_add_epi32(sc_[0], _mm_madd_epi16(r, bright));
        sc_[1] = _mm_add_epi32(sc_[1], _mm_madd_epi16(g, bright));
        sc_[2] = _mm_add_epi32(sc_[2], _mm_madd_epi16(b, bright));
    }
};

#endif

// Sums over a cell, enough to give the weighted mean in one pass: with s a
// pixel's brightness and c one of its components, the weight
// k (max - s) + (s - min) makes
//   sum(w c) = k (max sum(c) - sum(s c)) + (sum(s c) - min sum(c))
//   sum(w)   = k (n max - sum(s))       + (sum(s) - n min).
// sum(s) is that of the three sum(c). Every sum here stays below
// 765 x 255 x n, so 64 bits hold them for any cell below 2^46 pixels; k is
// applied once per cell in 128 bits.
struct CellSums {
    uint64_t n = 0;
    uint64_t c[3] = {0, 0, 0};
    uint64_t sc[3] = {0, 0, 0};
    DWORD minS = kBrightest;
    DWORD maxS = 0;
    PixelColor last = kWhite;

    void add(const PixelColor& p)
    {
        DWORD bright = (DWORD)p.red + p.green + p.blue;
        if (bright < minS)
            minS = bright;
        if (bright > maxS)
            maxS = bright;
        n += 1;
        c[0] += p.red;
        c[1] += p.green;
        c[2] += p.blue;
        sc[0] += (uint64_t)bright * p.red;
        sc[1] += (uint64_t)bright * p.green;
        sc[2] += (uint64_t)bright * p.blue;
        last = p;
    }

    // The count pixels of a 24-bpp scan line from p, one at a time, with no
    // branch that depends on them: the rows of a cell in a photograph change
    // colour every few pixels, in a grainy one at almost every pixel. False,
    // with nothing added, when one of them is ink, which addRow24 paints.
    bool addPixels24(const BYTE* p, DWORD count)
    {
        ShortSums row;
        bool ink = false;
        for (const BYTE* q = p; q < p + (size_t)count * 3; q += 3) {
            uint32_t r = q[0], g = q[1], b = q[2], bright = r + g + b;
            ink |= isInk(r, g, b);
            row.lo = bright < row.lo ? bright : row.lo;
            row.hi = bright > row.hi ? bright : row.hi;
            row.c[0] += r;
            row.c[1] += g;
            row.c[2] += b;
            row.sc[0] += bright * r;
            row.sc[1] += bright * g;
            row.sc[2] += bright * b;
        }
        if (ink)
            return false;
        addShort(count, row, p + (size_t)count * 3);
        return true;
    }

    // Sums of count pixels taken as ShortSums, the last of them just before end.
    void addShort(uint64_t count, const ShortSums& sums, const BYTE* end)
    {
        addTotals(count, sums.lo < minS ? sums.lo : minS, sums.hi > maxS ? sums.hi : maxS, sums.c[0], sums.c[1],
                  sums.c[2], sums.sc[0], sums.sc[1], sums.sc[2], end);
    }

    // The count pixels of a 24-bpp scan line from p, ink painted white as it is
    // met: the same sums as add for each, a run of one colour at once, with
    // the running totals kept in registers for the row. Shapes, strokes and
    // smooth pictures are mostly runs; noise costs one comparison more per pixel.
    bool addRow24(BYTE* p, DWORD count)
    {
        // A short row whose first two pixels differ is summed a pixel at a
        // time; one whose first pixels repeat, as in smooth pictures and
        // shapes, is likelier to be a few runs.
        bool repeatsAtOnce = count >= 2 && samePixel24(p, p + 3);
        if (count <= kShortRow && !repeatsAtOnce && addPixels24(p, count))
            return false;
        bool inked = false;
        uint64_t c0 = 0, c1 = 0, c2 = 0, sc0 = 0, sc1 = 0, sc2 = 0;
        DWORD lo = minS, hi = maxS;
        const size_t bytes = (size_t)count * 3;
        size_t at = 0;
        while (at < bytes) {
            BYTE* q = p + at;
            size_t runEnd = at + 3 == bytes || !samePixel24(q, q + 3)
                                ? at + 3
                                : runEndBytes24(p, at + 6, bytes) / 3 * 3;
            uint64_t copies = (runEnd - at) / 3;
            if (isInk(q[0], q[1], q[2])) {
                memset(q, 0xFF, runEnd - at);  // ink
                inked = true;
            }
            DWORD r = q[0], g = q[1], b = q[2], bright = r + g + b;
            lo = bright < lo ? bright : lo;
            hi = bright > hi ? bright : hi;
            c0 += r * copies;
            c1 += g * copies;
            c2 += b * copies;
            sc0 += bright * r * copies;
            sc1 += bright * g * copies;
            sc2 += bright * b * copies;
            at = runEnd;
        }
        addTotals(count, lo, hi, c0, c1, c2, sc0, sc1, sc2, p + bytes);
        return inked;
    }

    // Totals of count pixels, a row's as addPixels24 and addRow24 sum them or
    // a small cell's, added to the cell's: the last pixel is just before end.
    void addTotals(uint64_t count, DWORD lo, DWORD hi, uint64_t r, uint64_t g, uint64_t b, uint64_t sr, uint64_t sg,
                   uint64_t sb, const BYTE* end)
    {
        minS = lo;
        maxS = hi;
        n += count;
        c[0] += r;
        c[1] += g;
        c[2] += b;
        sc[0] += sr;
        sc[1] += sg;
        sc[2] += sb;
        last = PixelColor{end[-3], end[-2], end[-1]};
    }

    // The pixels summed in other, after these.
    void merge(const CellSums& other)
    {
        n += other.n;
        for (int i = 0; i < 3; ++i) {
            c[i] += other.c[i];
            sc[i] += other.sc[i];
        }
        minS = other.minS < minS ? other.minS : minS;
        maxS = other.maxS > maxS ? other.maxS : maxS;
        last = other.last;
    }

    // The sums of `times` copies of what was added so far.
    void repeat(uint64_t times)
    {
        n *= times;
        for (int i = 0; i < 3; ++i) {
            c[i] *= times;
            sc[i] *= times;
        }
    }
};

__extension__ typedef unsigned __int128 Wide;

// The weighted mean of the summed cell with weight factor k, each component
// truncated; the last pixel when all weights are zero.
PixelColor weightedMean(const CellSums& sums, uint64_t k)
{
    uint64_t brightness = sums.c[0] + sums.c[1] + sums.c[2];  // sum(s)
    Wide lightWeights = sums.n * sums.maxS - brightness;       // sum(max - s)
    Wide darkWeights = brightness - sums.n * sums.minS;        // sum(s - min)
    Wide total = (Wide)k * lightWeights + darkWeights;
    if (total == 0)
        return sums.last;
    BYTE out[3];
    for (int i = 0; i < 3; ++i) {
        uint64_t light = sums.maxS * sums.c[i] - sums.sc[i];
        uint64_t dark = sums.sc[i] - sums.minS * sums.c[i];
        // Each weighted sum is at most 255 times the total: below 2^56 the
        // whole quotient fits 64 bits, the common case.
        if ((total >> 56) == 0)
            out[i] = (BYTE)((k * light + dark) / (uint64_t)total);
        else
            out[i] = (BYTE)(((Wide)k * light + dark) / total);
    }
    return PixelColor{out[0], out[1], out[2]};
}

// The weight factor of a cell factor pixels on a side: the true product, which
// 64 bits hold for any setting; 0 counts as 1.
uint64_t weightFactor(const SURFOBJ* pso, DWORD factor)
{
    uint64_t k = (uint64_t)thinLineIntensity(pso) * factor;
    return k == 0 ? 1 : k;
}

// The colour of a summed cell: equally bright pixels are not mixed, the cell
// takes its bottom-right pixel; else the weighted mean.
PixelColor cellColour(const CellSums& sums, uint64_t k)
{
    return sums.minS == sums.maxS ? sums.last : weightedMean(sums, k);
}

// A 24-bpp cell of one colour, not ink, takes that colour: all its pixels
// are equally bright. Paper and solid shapes are found by comparing whole
// scan lines instead of summing pixels.
bool uniformCell24(const SURFOBJ* pso, DWORD x0, DWORD y0, DWORD x1, DWORD y1, PixelColor* color)
{
    if (!pso->pvScan0 || pso->iBitmapFormat != BMF_24BPP || x1 <= x0 || y1 <= y0)
        return false;
    size_t bytes = (size_t)(x1 - x0) * 3;
    const BYTE* first = scanLine(pso, y0) + (size_t)x0 * 3;
    PixelColor c = {first[0], first[1], first[2]};
    // Each pixel equal to the one before it: the line against itself one pixel on.
    if (isInk(c) || !sameBytes(first, first + 3, bytes - 3))
        return false;
    for (DWORD y = y0 + 1; y < y1; ++y)
        if (!sameBytes(scanLine(pso, y) + (size_t)x0 * 3, first, bytes))
            return false;
    *color = c;
    return true;
}

// Whether the first lines of the 24-bpp cell at (x, y), factor pixels
// wide, hold the same bytes as those of the cell to its left; the first
// differing line ends the look.
bool sameCells(const SURFOBJ* pso, DWORD x, DWORD y, DWORD factor, DWORD lines)
{
    size_t bytes = (size_t)factor * 3;
    for (DWORD j = 0; j < lines; ++j) {
        const BYTE* cell = scanLine(pso, y + j) + (size_t)x * 3;
        if (!sameBytes(cell, cell - bytes, bytes))
            return false;
    }
    return true;
}

// The runs of equal rows of the 24-bpp cell from (x0, y0), bytes wide, down
// to scan line y1 - 1: begin(row) at each run's first row, before the rows
// below are compared with it (a row whose ink begin paints white no longer
// matches a row that still holds it), then end(times) with the run's length.
// With compare false every row is a run of its own; a cell without rows has none.
template <typename Begin, typename End>
void forEachRowRun(const SURFOBJ* pso, DWORD x0, DWORD y0, DWORD y1, size_t bytes, bool compare, Begin begin, End end)
{
    if (y1 <= y0)
        return;
    BYTE* row = scanLine(pso, y0) + (size_t)x0 * 3;
    begin(row);
    DWORD times = 1;  // rows equal to row so far
    for (DWORD y = y0 + 1; y < y1; ++y) {
        BYTE* p = scanLine(pso, y) + (size_t)x0 * 3;
        if (compare && sameBytes(p, row, bytes)) {
            ++times;
            continue;
        }
        end(times);
        begin(p);
        row = p;
        times = 1;
    }
    end(times);
}

// A small 24-bpp cell (at most kShortRow pixels a side) added to sums in
// one go, when it holds no ink: its rows are summed eight bytes at a time,
// each run of equal rows once, times its length. Strokes, edges and smooth
// pictures repeat rows; grain, as in a scanned or compressed photograph,
// changes colour at every pixel along the row and down the cell, and its
// rows are not compared. Rows longer than kVectorRow of a cell that is not
// grain are more likely a few runs, which the row sums pass faster. False,
// with nothing added, for any other cell.
bool smallCell24(const SURFOBJ* pso, DWORD x0, DWORD y0, DWORD x1, DWORD y1, DWORD cx, CellSums& sums)
{
#if PUMEX_WIDE_SSE2
    DWORD width = x1 - x0, height = y1 - y0;
    if (width < 2 || width > kShortRow || height < 2 || height > kShortRow)
        return false;
    // The top-left pixel against the ones right of it and below it tells
    // grain from runs and repeated rows.
    const BYTE* topLeft = scanLine(pso, y0) + (size_t)x0 * 3;
    const BYTE* below = scanLine(pso, y0 + 1) + (size_t)x0 * 3;
    const bool grain = !samePixel24(topLeft, topLeft + 3) && !samePixel24(topLeft, below);
    if (!grain && width > kVectorRow)
        return false;
    const size_t readable = (size_t)(cx - x0) * 3;
    VectorSums vector;
    const BYTE* runRow = nullptr;  // the first row of the run of equal rows being walked
    forEachRowRun(
        pso, x0, y0, y1, (size_t)width * 3, !grain, [&](const BYTE* first) { runRow = first; },
        [&](DWORD times) { vector.add(runRow, width, readable, times); });
    if (vector.maybeInk())
        return false;
    sums.addShort((uint64_t)width * height, vector.totals(), scanLine(pso, y1 - 1) + (size_t)x1 * 3);
    return true;
#else
    (void)pso, (void)x0, (void)y0, (void)x1, (void)y1, (void)cx, (void)sums;
    return false;
#endif
}

}  // namespace

// Reads one pixel as a colour triple.
void getSurfacePixel(SURFOBJ* pso, DWORD x, DWORD y, PixelColor* color, DWORD height)
{
    if (!pso || y >= height) {
        *color = kWhite;
        return;
    }
    if (!pso->pvScan0) {
        *color = kNoBits;
        return;
    }
    // Outside the bitmap (a caller's height larger than the bitmap's included)
    // there are no bits to read: paper white.
    if (x >= widthOf(pso) || y >= heightOf(pso)) {
        *color = kWhite;
        return;
    }
    *color = scanPixel(scanLine(pso, y), x, pso->iBitmapFormat);
}

// Writes one pixel in the surface's format.
void setSurfacePixel(SURFOBJ* pso, LONG x, LONG y, const PixelColor* color)
{
    if (!pso || !pso->pvScan0 || x < 0 || y < 0 || x >= pso->sizlBitmap.cx || y >= pso->sizlBitmap.cy)
        return;
    putScanPixel(scanLine(pso, (DWORD)y), (DWORD)x, pso->iBitmapFormat, *color);
}

// Paints the bitmap white, row by row. Only the bitmap's own pixels change:
// the padding at the end of each scan line keeps its bytes.
void EraseSurface(SURFOBJ* pso)
{
    if (!pso || !pso->pvScan0)
        return;
    DWORD cx = widthOf(pso);
    DWORD cy = heightOf(pso);
    for (DWORD y = 0; y < cy; ++y) {
        BYTE* line = scanLine(pso, y);
        if (pso->iBitmapFormat == BMF_24BPP) {
            memset(line, 0xFF, (size_t)cx * 3);
        } else if (pso->iBitmapFormat == BMF_1BPP) {
            memset(line, 0xFF, cx / 8);
            if (cx % 8)
                line[cx / 8] |= (BYTE)(0xFF << (8 - cx % 8));
        }
    }
}

// The colour of the cell at (x, y), factor pixels on a side.
void getSampleColor(SURFOBJ* pso, DWORD x, DWORD y, DWORD factor, PixelColor* color)
{
    if (factor != 1) {
        getAreaColor(pso, x, y, x + factor, y + factor, color, factor);
        return;
    }
    if (!pso || x >= widthOf(pso)) {
        *color = kWhite;
        return;
    }
    getSurfacePixel(pso, x, y, color, heightOf(pso));
}

// The weighted colour of one cell, ink removed from the surface on the way.
void getAreaColor(SURFOBJ* pso, DWORD x0, DWORD y0, DWORD x1, DWORD y1, PixelColor* color, DWORD factor)
{
    *color = kWhite;
    if (!pso)
        return;
    DWORD cx = widthOf(pso);
    DWORD cy = heightOf(pso);
    // A cell reaching past the bitmap, even partly, is paper.
    if (x0 > cx || x1 > cx || y1 > cy || y0 > cy)
        return;

    if (uniformCell24(pso, x0, y0, x1, y1, color))
        return;
    CellSums sums;
    if (!pso->pvScan0) {
        for (DWORD y = y0; y < y1; ++y)
            for (DWORD x = x0; x < x1; ++x)
                sums.add(kNoBits);
    } else if (pso->iBitmapFormat == BMF_24BPP && x1 > x0 && smallCell24(pso, x0, y0, x1, y1, cx, sums)) {
        // summed at once
    } else if (pso->iBitmapFormat == BMF_24BPP && x1 > x0) {
        // A row the same as the one above it (its ink already painted) adds
        // the same sums: strokes, edges and smooth pictures repeat rows, and
        // each run of equal rows is added once, times its length.
        CellSums row;
        forEachRowRun(
            pso, x0, y0, y1, (size_t)(x1 - x0) * 3, true,
            [&](BYTE* first) {
                row = CellSums();
                row.addRow24(first, x1 - x0);
            },
            [&](DWORD times) {
                row.repeat(times);
                sums.merge(row);
            });
    } else {
        ULONG format = pso->iBitmapFormat;
        for (DWORD y = y0; y < y1; ++y) {
            const BYTE* line = scanLine(pso, y);
            for (DWORD x = x0; x < x1; ++x) {
                PixelColor p = scanPixel(line, x, format);
                if (format == BMF_24BPP && isInk(p)) {
                    setSurfacePixel(pso, (LONG)x, (LONG)y, &kWhite);
                    p = kWhite;
                }
                sums.add(p);
            }
        }
    }

    // The configuration is looked up only for a cell whose pixels are mixed.
    *color = sums.minS == sums.maxS ? sums.last : cellColour(sums, weightFactor(pso, factor));
}

// A strip of scan lines that are byte for byte the same over the cells holds
// cells whose rows all repeat their first: such a cell sums its first row
// once, times factor (a row with ink excepted, which every row then holds).
// Paper, vertical strokes and the sides of shapes are mostly such strips, and
// one comparison of whole scan lines finds them.
void getSampleRow(SURFOBJ* pso, DWORD x, DWORD y, DWORD factor, DWORD count, const BYTE* skip, PixelColor* colours)
{
    DWORD cx = pso ? widthOf(pso) : 0, cy = pso ? heightOf(pso) : 0;
    bool strips = pso && pso->pvScan0 && pso->iBitmapFormat == BMF_24BPP && factor > 1 && count > 0 &&
                  (uint64_t)y + factor <= cy && (uint64_t)x + (uint64_t)count * factor <= UINT32_MAX;
    if (!strips) {
        for (DWORD i = 0; i < count; ++i)
            if (!skip[i])
                getSampleColor(pso, x + i * factor, y, factor, &colours[i]);
        return;
    }
    // The cells that lie inside the bitmap: the rest are paper.
    DWORD inside = x >= cx ? 0 : (cx - x) / factor;
    inside = inside < count ? inside : count;
    BYTE* first = scanLine(pso, y) + (size_t)x * 3;
    size_t bytes = (size_t)inside * factor * 3;
    // The last line first: a strip that changes down its cells, as a
    // picture does, mostly ends different from how it began.
    bool repeats = sameBytes(scanLine(pso, y + factor - 1) + (size_t)x * 3, first, bytes);
    for (DWORD j = 1; j + 1 < factor && repeats; ++j)
        repeats = sameBytes(scanLine(pso, y + j) + (size_t)x * 3, first, bytes);
    uint64_t k = weightFactor(pso, factor);
    DWORD sampled = count;  // the cell before, when it was sampled here
    for (DWORD i = 0; i < count; ++i) {
        if (skip[i])
            continue;
        if (i >= inside) {
            colours[i] = kWhite;
            continue;
        }
        DWORD x0 = x + i * factor;
        // A cell byte for byte the same as the one before it, as sampling
        // left that one (its ink painted), holds no ink and takes its colour:
        // ruled lines and the rows of a pattern repeat cells along the strip.
        // Where the strip's lines repeat, its first line says it.
        if (sampled + 1 == i && sameCells(pso, x0, y, factor, repeats ? 1 : factor)) {
            colours[i] = colours[sampled];
            sampled = i;
            continue;
        }
        sampled = i;
        if (repeats) {
            BYTE* row = first + (size_t)i * factor * 3;
            PixelColor c = {row[0], row[1], row[2]};
            if (!isInk(c) && sameBytes(row, row + 3, (size_t)(factor - 1) * 3)) {
                colours[i] = c;  // one colour: paper or the inside of a shape
                continue;
            }
            CellSums sums;
            if (!sums.addRow24(row, factor)) {
                sums.repeat(factor);
                colours[i] = cellColour(sums, k);
                continue;
            }
        }
        getAreaColor(pso, x0, y, x0 + factor, y + factor, &colours[i], factor);
    }
}

namespace {

// The cells among count (at most kCellsAtOnce) whose largest marker stands
// for a colour take it, and are noted in marked. A strip without markers,
// the usual case, is passed by one look at its bytes.
void colourMarkedCells(const TextPage* markers, DWORD x, DWORD y, DWORD factor, DWORD count, PixelColor* colours,
                       BYTE* marked)
{
    if ((uint64_t)count * factor <= UINT32_MAX && TextPage_isClear(markers, x, y, count * factor, factor))
        return;
    for (DWORD i = 0; i < count; ++i) {
        BYTE m = TextPage_getMax(markers, x + i * factor, y, factor, factor);
        if (m == kMarkerBraille)
            colours[i] = kBrailleColour;
        else if (m == kMarkerItalic)
            colours[i] = kItalicColour;
        marked[i] = m == kMarkerBraille || m == kMarkerItalic;
    }
}

}  // namespace

void getCellColours(SURFOBJ* pso, const TextPage* markers, DWORD x, DWORD y, DWORD factor, DWORD count,
                    PixelColor* colours)
{
    BYTE marked[kCellsAtOnce] = {};
    count = count < kCellsAtOnce ? count : kCellsAtOnce;
    colourMarkedCells(markers, x, y, factor, count, colours, marked);
    getSampleRow(pso, x, y, factor, count, marked, colours);
}

void getPlainCellColours(const TextPage* markers, DWORD x, DWORD y, DWORD factor, DWORD count,
                         const PixelColor* colour, PixelColor* colours)
{
    BYTE marked[kCellsAtOnce] = {};
    count = count < kCellsAtOnce ? count : kCellsAtOnce;
    colourMarkedCells(markers, x, y, factor, count, colours, marked);
    for (DWORD i = 0; i < count; ++i)
        if (!marked[i])
            colours[i] = *colour;
}
