// The straightforward cell colour, pixel by pixel, kept as the reference the
// fast sampling must match byte for byte.
#include "reference.h"

#include "config/config.h"
#include "device/xpdv.h"

#include <algorithm>
#include <vector>

namespace reference {

namespace {

const PixelColor kWhite = {255, 255, 255};

__extension__ typedef unsigned __int128 Wide;

DWORD brightness(const PixelColor& c) { return (DWORD)c.red + c.green + c.blue; }

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

}  // namespace

// The weighted colour of one cell, ink removed from the surface on the way.
void getAreaColor(SURFOBJ* pso, DWORD x0, DWORD y0, DWORD x1, DWORD y1, PixelColor* color, DWORD factor)
{
    *color = kWhite;
    if (!pso)
        return;
    // A negative size counts as none.
    DWORD cx = pso->sizlBitmap.cx > 0 ? (DWORD)pso->sizlBitmap.cx : 0;
    DWORD cy = pso->sizlBitmap.cy > 0 ? (DWORD)pso->sizlBitmap.cy : 0;
    // A cell reaching past the bitmap, even partly, is paper.
    if (x0 > cx || x1 > cx || y1 > cy || y0 > cy)
        return;

    // Every pixel of the cell, ink painted white on the way; no bits read grey.
    std::vector<PixelColor> cell;
    for (DWORD y = y0; y < y1; ++y)
        for (DWORD x = x0; x < x1; ++x) {
            PixelColor p;
            getSurfacePixel(pso, x, y, &p, cy);
            if (isInk(p)) {
                setSurfacePixel(pso, (LONG)x, (LONG)y, &kWhite);
                p = kWhite;
            }
            cell.push_back(p);
        }
    if (cell.empty())
        return;

    // Equally bright pixels are not mixed: the cell takes its bottom-right pixel.
    DWORD lo = 765, hi = 0;
    for (const PixelColor& p : cell) {
        lo = std::min(lo, brightness(p));
        hi = std::max(hi, brightness(p));
    }
    if (lo == hi) {
        *color = cell.back();
        return;
    }
    // Each pixel weighs k (hi - s) + (s - lo), s its brightness: the darkest
    // k times as much as the lightest. The sums are exact in 128 bits.
    Wide k = std::max<Wide>((Wide)thinLineIntensity(pso) * factor, 1);
    Wide total = 0, red = 0, green = 0, blue = 0;
    for (const PixelColor& p : cell) {
        Wide weight = k * (hi - brightness(p)) + (brightness(p) - lo);
        total += weight;
        red += weight * p.red;
        green += weight * p.green;
        blue += weight * p.blue;
    }
    *color = PixelColor{(BYTE)(red / total), (BYTE)(green / total), (BYTE)(blue / total)};
}

}  // namespace reference
