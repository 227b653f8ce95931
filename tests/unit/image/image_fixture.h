// Surfaces over plain byte buffers, the device chain that carries a
// configuration to the sampler, and loaded pattern sets, for the image tests.
#pragma once

#include "config/config.h"
#include "frame/xpdv.h"
#include "image/image.h"
#include "image/pattern.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <ostream>
#include <string>
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

const PixelColor kWhite = {255, 255, 255}, kBlack = {0, 0, 0}, kGrey = {127, 127, 127};
const PixelColor kInk = {5, 6, 7}, kInkReversed = {7, 6, 5};

// A surface over its own bytes; scan lines may carry padding, and a bottom-up
// surface starts at its last line with a negative step, as GDI's do.
class Surface {
public:
    Surface(LONG cx, LONG cy, ULONG format, LONG padding = 0, bool bottomUp = false)
    {
        LONG stride = (format == BMF_24BPP ? cx * 3 : (cx + 7) / 8) + padding;
        bits_.assign((size_t)stride * (size_t)cy, 0);
        so_.sizlBitmap = {cx, cy};
        so_.iBitmapFormat = format;
        so_.lDelta = bottomUp ? -stride : stride;
        so_.pvScan0 = bottomUp ? bits_.data() + (size_t)stride * (size_t)(cy - 1) : bits_.data();
    }
    Surface(const Surface&) = delete;
    Surface& operator=(const Surface&) = delete;

    SURFOBJ* so() { return &so_; }
    std::vector<BYTE>& bits() { return bits_; }
    void set(LONG x, LONG y, const PixelColor& c) { setSurfacePixel(&so_, x, y, &c); }
    PixelColor get(DWORD x, DWORD y)
    {
        PixelColor c;
        getSurfacePixel(&so_, x, y, &c, (DWORD)so_.sizlBitmap.cy);
        return c;
    }

private:
    std::vector<BYTE> bits_;
    SURFOBJ so_{};
};

// dhpdev -> device object -> pdevOEM -> device record -> pConfig, as a hook finds it.
struct Device {
    Config config{};
    XPDV xpdv{};
    DEVOBJ devobj{};

    explicit Device(DWORD thinLineIntensity)
    {
        config.ThinLineIntensity = thinLineIntensity;
        xpdv.pConfig = &config;
        devobj.pdevOEM = &xpdv;
    }
    void attach(SURFOBJ* so) { so->dhpdev = reinterpret_cast<DHPDEV>(&devobj); }
};

// A configuration with a new document's tone settings; frees its pattern sets.
struct ToneConfig {
    Config config{};

    ToneConfig()
    {
        config.Brightness = 6;
        config.Contrast = 5;
        config.saturationThreshold = 60;
        config.ThinLineIntensity = 1;
    }
    ~ToneConfig()
    {
        ColorPatternSet_delete(config.customPattern);
        ColorPatternSet_delete(config.pattern3);
        ColorPatternSet_delete(config.pattern4);
    }
    ToneConfig(const ToneConfig&) = delete;
    ToneConfig& operator=(const ToneConfig&) = delete;
    Config* operator->() { return &config; }
    Config* get() { return &config; }
};

inline std::u16string widePath(const std::string& path)
{
    std::u16string out(path.size() + 1, u'\0');
    out.resize(px_utf8_to_wide(&out[0], out.size(), path.c_str()));
    return out;
}

// A bundled pattern file of the source tree.
inline std::string bundledPattern(const std::string& name)
{
    auto dir = std::filesystem::path(__FILE__).parent_path() / "../../../data/patterns";
    return (dir / name).lexically_normal().string();
}

// A set loaded for the length of a test.
struct LoadedSet {
    ColorPatternSet* set;
    explicit LoadedSet(const std::string& path) : set(ColorPatternSet_load(widePath(path).c_str())) {}
    ~LoadedSet() { ColorPatternSet_delete(set); }
    LoadedSet(const LoadedSet&) = delete;
    LoadedSet& operator=(const LoadedSet&) = delete;
    ColorPatternSet* operator->() const { return set; }
};

}  // namespace imagetest
