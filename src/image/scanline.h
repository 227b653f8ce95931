// Scan-line access shared by the image room's fast paths: a pixel of a scan
// line read and written in the surface's own format, with no bounds checks.
// Callers check bounds once per line or cell, not once per pixel.
#pragma once

#include "image/image.h"
#include "image/wide.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

// Scan line y; lDelta is signed (bottom-up bitmaps step backwards).
inline BYTE* scanLine(const SURFOBJ* pso, DWORD y)
{
    return static_cast<BYTE*>(pso->pvScan0) + (ptrdiff_t)y * (ptrdiff_t)pso->lDelta;
}

// Pixel x of a scan line; formats other than 24 bpp read as 1 bpp.
inline PixelColor scanPixel(const BYTE* line, DWORD x, ULONG format)
{
    if (format == BMF_24BPP) {
        const BYTE* p = line + (size_t)x * 3;
        return PixelColor{p[0], p[1], p[2]};
    }
    BYTE v = (line[x >> 3] >> (7 - (x & 7))) & 1 ? 255 : 0;
    return PixelColor{v, v, v};
}

// Writes pixel x of a scan line in a 24-bpp or 1-bpp surface (other formats
// take no writes): a 1-bpp pixel is set exactly when red and green are both 255.
inline void putScanPixel(BYTE* line, DWORD x, ULONG format, const PixelColor& c)
{
    if (format == BMF_24BPP) {
        BYTE* p = line + (size_t)x * 3;
        p[0] = c.red;
        p[1] = c.green;
        p[2] = c.blue;
    } else if (format == BMF_1BPP) {
        BYTE bit = (BYTE)(0x80 >> (x & 7));
        if (2 * c.red + c.green == 765)
            line[x >> 3] |= bit;
        else
            line[x >> 3] &= (BYTE)~bit;
    }
}

// Whether n bytes at a and b are the same.
inline bool sameBytes(const BYTE* a, const BYTE* b, size_t n) { return wide::same(a, b, n); }

// Whether n bytes at p are all 255 (24-bpp paper).
inline bool allWhite(const BYTE* p, size_t n) { return wide::allEqualTo(p, n, 255); }

// The first byte from `from` on (below `to`) that differs from the byte three
// before it, `to` when none: at 24 bpp, where a run of one colour ends.
inline size_t runEndBytes24(const BYTE* line, size_t from, size_t to)
{
    return from + wide::firstDifference(line + from, line + from - 3, to - from);
}
