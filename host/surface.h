// The surfaces GDI hands the driver: a page or band bitmap in 24 bits per
// pixel (bytes red, green, blue) or 1 bit per pixel (a set bit is white),
// rows padded to 32 bits as GDI lays them out, described by a SURFOBJ.
#pragma once

#include "job_file.h"
#include "win32.h"

#include <vector>

namespace host {

struct Picture;

class Surface {
public:
    Surface(int32_t cx, int32_t cy, SurfaceFormat format);
    Surface(const Surface&) = delete;
    Surface& operator=(const Surface&) = delete;

    SURFOBJ* obj() { return &so_; }
    const SURFOBJ* obj() const { return &so_; }
    int32_t width() const { return so_.sizlBitmap.cx; }
    int32_t height() const { return so_.sizlBitmap.cy; }
    Rgb pixel(int32_t x, int32_t y) const;
    // Every pixel white, as a fresh page.
    void erase();

private:
    SURFOBJ so_{};
    std::vector<uint8_t> bits_;
};

// A 24-bpp source surface over a picture's pixels (no copy; the picture must
// outlive it).
SURFOBJ pictureSurface(const Picture& picture);

// Every pixel of the surface white.
void eraseSurface(SURFOBJ* so);

// Pixel access on any SURFOBJ of the two formats; other formats read black
// and are not written.
Rgb readPixel(const SURFOBJ* so, int32_t x, int32_t y);
void writePixel(SURFOBJ* so, int32_t x, int32_t y, Rgb color);

// Copies n pixels from (sx, sy) of src to (dx, dy) of dst, each landing as
// writePixel(readPixel(...)) would put it, a scan line at a time where the
// two formats allow. The two runs must not share any bytes.
void copyRun(const SURFOBJ* src, int32_t sx, int32_t sy, SURFOBJ* dst, int32_t dx, int32_t dy, int32_t n);

// How a colour lands on a 1-bpp surface: white when it is light.
bool isLight(Rgb color);

}  // namespace host
