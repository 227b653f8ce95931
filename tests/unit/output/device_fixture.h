// A device as the encoders see it: the driver's device object, the device record
// with its Config and text-marker page, a 24-bpp surface, and a helper interface
// that keeps whatever is spooled. Shared by the output and host tests.
#pragma once

#include "config/config.h"
#include "driver_uni.h"
#include "device/xpdv.h"
#include "page/textpage.h"

#include <cstdint>
#include <string>
#include <vector>

namespace fixtures {

// What the plug-in spools through the host's helper interface.
struct SpoolRecorder {
    std::vector<uint8_t> bytes;
    host::DriverUni uni{[this](const BYTE* data, DWORD size) {
        bytes.insert(bytes.end(), data, data + size);
        return true;
    }};
};

// One device with a white cx x cy surface at dpi dots per inch (rf = dpi / 20).
// The Config holds the defaults, with tone mapping made plain (no brightness
// or contrast) so a colour's dot value is easy to foresee: black 7, white 0, a
// braille marker 15.
class Device {
public:
    Device(unsigned cx, unsigned cy, short dpi = 100) : pixels(size_t(cx) * cy * 3, 255)
    {
        devmode.dmPrintQuality = devmode.dmYResolution = dpi;
        devobj.pdevOEM = &record;
        devobj.pPublicDM = &devmode;
        record.pConfig = &config;
        record.pUni = &spool.uni;
        record.pTextPage = TextPage_new(cx, cy, TEXTPAGE_TYPE_ZERO);
        surface.dhpdev = reinterpret_cast<DHPDEV>(&devobj);
        surface.sizlBitmap.cx = (LONG)cx;
        surface.sizlBitmap.cy = (LONG)cy;
        surface.pvScan0 = pixels.data();
        surface.lDelta = (LONG)(cx * 3);
        surface.iBitmapFormat = BMF_24BPP;

        px_wcscpy(config.printerName, NAME_CHARS, u"Pumex Embosser");
        px_wcscpy(config.devName, NAME_CHARS, u"Quorvane Professional");
        Config_setDefaults(&config);
        config.Brightness = config.Contrast = 0;
    }
    ~Device() { TextPage_delete(record.pTextPage); }
    Device(const Device&) = delete;
    Device& operator=(const Device&) = delete;

    // Paints device pixels [x0, x1) x [y0, y1) one grey.
    void paint(unsigned x0, unsigned y0, unsigned x1, unsigned y1, uint8_t grey)
    {
        for (unsigned y = y0; y < y1; ++y)
            for (unsigned x = x0; x < x1; ++x)
                for (int i = 0; i < 3; ++i)
                    pixels[(size_t(y) * surface.sizlBitmap.cx + x) * 3 + i] = grey;
    }
    // Sets text markers over device pixels [x0, x1) x [y0, y1).
    void mark(unsigned x0, unsigned y0, unsigned x1, unsigned y1, uint8_t marker)
    {
        for (unsigned y = y0; y < y1; ++y)
            for (unsigned x = x0; x < x1; ++x)
                TextPage_setPixel(record.pTextPage, x, y, marker);
    }

    std::vector<uint8_t> pixels;
    DEVMODEW devmode = {};
    DEVOBJ devobj = {};
    XPDV record = {};
    Config config = {};
    SpoolRecorder spool;
    SURFOBJ surface = {};
};

}  // namespace fixtures
