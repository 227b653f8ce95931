// The straightforward cell colour, pixel by pixel, kept as the reference the
// fast sampling must match byte for byte.
#include "reference.h"

#include "config/config.h"
#include "device/xpdv.h"

#include <cstddef>
#include <cstdint>

namespace reference {

namespace {

const PixelColor kWhite = {255, 255, 255};
const PixelColor kBlack = {0, 0, 0};
const PixelColor kNoBits = {127, 127, 127};

// Brightness range of a pixel: red + green + blue.
const DWORD kBrightest = 765;

// The bitmap's size; a negative size counts as none, so no read or write can
// leave the bits.
DWORD widthOf(const SURFOBJ* pso) { return pso->sizlBitmap.cx > 0 ? (DWORD)pso->sizlBitmap.cx : 0; }
DWORD heightOf(const SURFOBJ* pso) { return pso->sizlBitmap.cy > 0 ? (DWORD)pso->sizlBitmap.cy : 0; }

// Scan line y; lDelta is signed (bottom-up bitmaps step backwards).
inline BYTE* scanLine(const SURFOBJ* pso, DWORD y)
{
    return static_cast<BYTE*>(pso->pvScan0) + (ptrdiff_t)y * (ptrdiff_t)pso->lDelta;
}

// Pixel x of a scan line, in the surface's format; formats other than 24 bpp
// read as 1 bpp.
inline PixelColor readPixel(const BYTE* line, DWORD x, ULONG format)
{
    if (format == BMF_24BPP) {
        const BYTE* p = line + (size_t)x * 3;
        return PixelColor{p[0], p[1], p[2]};
    }
    return (line[x >> 3] >> (7 - (x & 7))) & 1 ? kWhite : kBlack;
}

// The ink colour in either byte order.
inline bool isInk(const PixelColor& c)
{
    return c.green == 6 && ((c.red == 5 && c.blue == 7) || (c.red == 7 && c.blue == 5));
}

// The configuration's ThinLineIntensity, reached through the surface's device;
// a surface without a device record or configuration takes the default, 1.
DWORD thinLineIntensity(const SURFOBJ* pso)
{
    auto* pdevobj = reinterpret_cast<PDEVOBJ>(pso->dhpdev);
    auto* pdv = pdevobj ? static_cast<XPDV*>(pdevobj->pdevOEM) : nullptr;
    return pdv && pdv->pConfig ? pdv->pConfig->ThinLineIntensity : 1;
}

// Sums over a cell, enough to give the weighted mean in one pass: with s a
// pixel's brightness and c one of its components, the weight
// k (max - s) + (s - min) makes
//   sum(w c) = k (max sum(c) - sum(s c)) + (sum(s c) - min sum(c))
//   sum(w)   = k (n max - sum(s))       + (sum(s) - n min).
// Every sum here stays below 765 x 255 x n, so 64 bits hold them for any cell
// below 2^46 pixels; k is applied once per cell in 128 bits.
struct CellSums {
    uint64_t n = 0;
    uint64_t s = 0;
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
        s += bright;
        c[0] += p.red;
        c[1] += p.green;
        c[2] += p.blue;
        sc[0] += (uint64_t)bright * p.red;
        sc[1] += (uint64_t)bright * p.green;
        sc[2] += (uint64_t)bright * p.blue;
        last = p;
    }
};

__extension__ typedef unsigned __int128 Wide;

// The weighted mean of the summed cell with weight factor k, each component
// truncated; the last pixel when all weights are zero.
PixelColor weightedMean(const CellSums& sums, uint64_t k)
{
    Wide lightWeights = sums.n * sums.maxS - sums.s;  // sum(max - s)
    Wide darkWeights = sums.s - sums.n * sums.minS;   // sum(s - min)
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

}  // namespace

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

    CellSums sums;
    if (!pso->pvScan0) {
        for (DWORD y = y0; y < y1; ++y)
            for (DWORD x = x0; x < x1; ++x)
                sums.add(kNoBits);
    } else {
        ULONG format = pso->iBitmapFormat;
        for (DWORD y = y0; y < y1; ++y) {
            const BYTE* line = scanLine(pso, y);
            for (DWORD x = x0; x < x1; ++x) {
                PixelColor p = readPixel(line, x, format);
                if (format == BMF_24BPP && isInk(p)) {
                    setSurfacePixel(pso, (LONG)x, (LONG)y, &kWhite);
                    p = kWhite;
                }
                sums.add(p);
            }
        }
    }

    // Equally bright pixels are not mixed: the cell takes its bottom-right pixel.
    if (sums.minS == sums.maxS) {
        *color = sums.last;
        return;
    }
    // The weight factor is the true product; 64 bits hold it for any setting.
    uint64_t k = (uint64_t)thinLineIntensity(pso) * factor;
    if (k == 0)
        k = 1;
    *color = weightedMean(sums, k);
}

}  // namespace reference
