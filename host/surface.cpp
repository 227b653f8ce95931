#include "surface.h"

#include "png_image.h"

#include <cstring>

namespace host {

namespace {

LONG rowBytes(int32_t cx, SurfaceFormat format)
{
    int64_t bits = (int64_t)cx * (format == SurfaceFormat::Rgb24 ? 24 : 1);
    return (LONG)(((bits + 31) / 32) * 4);
}

uint8_t* rowOf(const SURFOBJ* so, int32_t y)
{
    return static_cast<uint8_t*>(so->pvScan0) + (ptrdiff_t)y * so->lDelta;
}

}  // namespace

Surface::Surface(int32_t cx, int32_t cy, SurfaceFormat format)
{
    LONG delta = rowBytes(cx, format);
    bits_.assign((size_t)delta * (size_t)cy, 0xFF);
    so_.sizlBitmap = {cx, cy};
    so_.cjBits = (ULONG)bits_.size();
    so_.pvBits = bits_.data();
    so_.pvScan0 = bits_.data();
    so_.lDelta = delta;
    so_.iBitmapFormat = format == SurfaceFormat::Rgb24 ? BMF_24BPP : BMF_1BPP;
    so_.iType = 0;  // a bitmap the engine manages
}

Rgb Surface::pixel(int32_t x, int32_t y) const { return readPixel(&so_, x, y); }

void Surface::erase() { std::memset(bits_.data(), 0xFF, bits_.size()); }

SURFOBJ pictureSurface(const Picture& picture)
{
    SURFOBJ so{};
    so.sizlBitmap = {picture.width, picture.height};
    so.cjBits = (ULONG)picture.rgb.size();
    so.pvBits = const_cast<uint8_t*>(picture.rgb.data());
    so.pvScan0 = so.pvBits;
    so.lDelta = picture.width * 3;
    so.iBitmapFormat = BMF_24BPP;
    return so;
}

void eraseSurface(SURFOBJ* so)
{
    if (!so || !so->pvScan0)
        return;
    size_t bytes = so->iBitmapFormat == BMF_24BPP ? (size_t)so->sizlBitmap.cx * 3 : (size_t)(so->sizlBitmap.cx + 7) / 8;
    for (int32_t y = 0; y < so->sizlBitmap.cy; ++y)
        std::memset(rowOf(so, y), 0xFF, bytes);
}

bool isLight(Rgb c) { return c.r * 299 + c.g * 587 + c.b * 114 >= 128 * 1000; }

namespace {

// A picture on a 1-bpp band: each pixel's lightness, eight to a byte.
void thresholdRun(const uint8_t* from, uint8_t* row, int32_t dx, int32_t n)
{
    for (int32_t i = 0; i < n; ++i, from += 3) {
        int32_t x = dx + i;
        uint8_t bit = (uint8_t)(0x80 >> (x % 8));
        row[x / 8] = isLight({from[0], from[1], from[2]}) ? (uint8_t)(row[x / 8] | bit) : (uint8_t)(row[x / 8] & ~bit);
    }
}

}  // namespace

void copyRun(const SURFOBJ* src, int32_t sx, int32_t sy, SURFOBJ* dst, int32_t dx, int32_t dy, int32_t n)
{
    if (src->iBitmapFormat == BMF_24BPP && dst->iBitmapFormat == BMF_24BPP) {
        std::memcpy(rowOf(dst, dy) + 3 * (ptrdiff_t)dx, rowOf(src, sy) + 3 * (ptrdiff_t)sx, 3 * (size_t)n);
    } else if (src->iBitmapFormat == BMF_24BPP && dst->iBitmapFormat == BMF_1BPP) {
        thresholdRun(rowOf(src, sy) + 3 * (ptrdiff_t)sx, rowOf(dst, dy), dx, n);
    } else {
        for (int32_t i = 0; i < n; ++i)
            writePixel(dst, dx + i, dy, readPixel(src, sx + i, sy));
    }
}

Rgb readPixel(const SURFOBJ* so, int32_t x, int32_t y)
{
    const uint8_t* row = rowOf(so, y);
    if (so->iBitmapFormat == BMF_24BPP)
        return {row[3 * x], row[3 * x + 1], row[3 * x + 2]};
    if (so->iBitmapFormat == BMF_1BPP) {
        bool white = (row[x / 8] >> (7 - x % 8)) & 1;
        uint8_t v = white ? 255 : 0;
        return {v, v, v};
    }
    return {};
}

void writePixel(SURFOBJ* so, int32_t x, int32_t y, Rgb color)
{
    uint8_t* row = rowOf(so, y);
    if (so->iBitmapFormat == BMF_24BPP) {
        row[3 * x] = color.r;
        row[3 * x + 1] = color.g;
        row[3 * x + 2] = color.b;
    } else if (so->iBitmapFormat == BMF_1BPP) {
        uint8_t bit = (uint8_t)(0x80 >> (x % 8));
        row[x / 8] = isLight(color) ? (uint8_t)(row[x / 8] | bit) : (uint8_t)(row[x / 8] & ~bit);
    }
}

}  // namespace host
