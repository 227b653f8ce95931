// Surfaces, the device chain to the configuration, and tone settings, for the image tests.
#pragma once

#include "config/config.h"
#include "device/xpdv.h"
#include "image/image.h"
#include "image/pattern.h"

#include <gtest/gtest.h>

#include <ostream>
#include <vector>

inline bool operator==(const PixelColor& a, const PixelColor& b)
{
    return a.red == b.red && a.green == b.green && a.blue == b.blue;
}
inline std::ostream& operator<<(std::ostream& out, const PixelColor& c)
{
    return out << "(" << int(c.red) << ", " << int(c.green) << ", " << int(c.blue) << ")";
}

namespace imagetest {

const PixelColor kWhite = {255, 255, 255}, kBlack = {0, 0, 0}, kInk = {5, 6, 7}, kInkReversed = {7, 6, 5};

// A surface over its own bytes; scan lines may carry padding, and a bottom-up
// surface starts at its last line with a negative step, as GDI's do.
struct Surface {
    std::vector<BYTE> bits;
    SURFOBJ so{};

    Surface(LONG cx, LONG cy, ULONG format, LONG padding = 0, bool bottomUp = false)
    {
        LONG stride = (format == BMF_24BPP ? cx * 3 : (cx + 7) / 8) + padding;
        bits.assign((size_t)stride * (size_t)cy, 0);
        so.sizlBitmap = {cx, cy}, so.iBitmapFormat = format, so.lDelta = bottomUp ? -stride : stride;
        so.pvScan0 = bottomUp ? bits.data() + (size_t)stride * (size_t)(cy - 1) : bits.data();
    }
    void set(LONG x, LONG y, const PixelColor& c) { setSurfacePixel(&so, x, y, &c); }
    PixelColor get(DWORD x, DWORD y)
    {
        PixelColor c;
        getSurfacePixel(&so, x, y, &c, (DWORD)so.sizlBitmap.cy);
        return c;
    }
};

// dhpdev -> device object -> pdevOEM -> device record -> pConfig, as a hook finds it.
struct Device {
    Config config{};
    XPDV xpdv{};
    DEVOBJ devobj{};
    Device(DWORD thinLineIntensity, SURFOBJ* so)
    {
        config.ThinLineIntensity = thinLineIntensity, xpdv.pConfig = &config, devobj.pdevOEM = &xpdv;
        so->dhpdev = reinterpret_cast<DHPDEV>(&devobj);
    }
};

// A configuration with a new document's tone settings; frees its pattern sets.
struct ToneConfig {
    Config config{};
    ToneConfig() { config.Brightness = 6, config.Contrast = 5, config.saturationThreshold = 60; }
    ~ToneConfig()
    {
        ColorPatternSet_delete(config.customPattern);
        ColorPatternSet_delete(config.pattern3);
        ColorPatternSet_delete(config.pattern4);
    }
    Config* operator->() { return &config; }
    Config* get() { return &config; }
};

}  // namespace imagetest
