// Scan-line access shared by the image room's fast paths: a pixel of a scan
// line read and written in the surface's own format, with no bounds checks.
// Callers check bounds once per line or cell, not once per pixel.
#pragma once

#include "image/image.h"

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

inline uint64_t loadWord(const BYTE* p)
{
    uint64_t word;
    memcpy(&word, p, 8);
    return word;
}

// Whether n bytes at a and b are the same: eight at a time, the last eight
// overlapping the ones before. The runs compared here (a scan line of a cell
// or a stretch) are short, where a call to memcmp costs more than the work.
inline bool sameBytes(const BYTE* a, const BYTE* b, size_t n)
{
    if (n < 8)
        return memcmp(a, b, n) == 0;
    uint64_t diff = 0;
    for (size_t i = 0; i + 8 <= n; i += 8)
        diff |= loadWord(a + i) ^ loadWord(b + i);
    return (diff | (loadWord(a + n - 8) ^ loadWord(b + n - 8))) == 0;
}

// Whether n bytes at p are all 255 (24-bpp paper), the same way.
inline bool allWhite(const BYTE* p, size_t n)
{
    if (n < 8) {
        for (size_t i = 0; i < n; ++i)
            if (p[i] != 255)
                return false;
        return true;
    }
    uint64_t all = UINT64_MAX;
    for (size_t i = 0; i + 8 <= n; i += 8)
        all &= loadWord(p + i);
    return (all & loadWord(p + n - 8)) == UINT64_MAX;
}

// The first byte from `from` on (below `to`) that differs from the byte three
// before it, `to` when none: at 24 bpp, where a run of one colour ends. Eight
// bytes at a time; x86 is little-endian, so the lowest set bit of the
// difference is the first differing byte.
inline size_t runEndBytes24(const BYTE* line, size_t from, size_t to)
{
    size_t k = from;
    for (; k + 8 <= to; k += 8) {
        uint64_t diff = loadWord(line + k) ^ loadWord(line + k - 3);
        if (diff)
            return k + (size_t)__builtin_ctzll(diff) / 8;
    }
    for (; k < to; ++k)
        if (line[k] != line[k - 3])
            return k;
    return to;
}
