// A device as the encoders see it: the driver's device object, the device
// record with its Config and text-marker page, a 24-bpp surface, and a
// helper interface that keeps whatever is spooled. Shared by the output and
// host tests.
#pragma once

#include "config/config.h"
#include "frame/xpdv.h"
#include "page/textpage.h"

#include <cstdint>
#include <string>
#include <vector>

namespace fixtures {

// The universal driver's helper interface, keeping every spooled byte.
class SpoolRecorder final : public IPrintOemDriverUni {
public:
    std::vector<uint8_t> bytes;
    int writes = 0;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void** ppv) override
    {
        *ppv = nullptr;
        return E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override { return 1; }
    ULONG STDMETHODCALLTYPE Release() override { return 1; }
    HRESULT STDMETHODCALLTYPE DrvGetDriverSetting(PVOID, PCSTR, PVOID, DWORD, PDWORD, PDWORD) override
    {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE DrvWriteSpoolBuf(PDEVOBJ, PVOID pBuffer, DWORD cbSize, DWORD* pdwResult) override
    {
        auto* p = static_cast<const uint8_t*>(pBuffer);
        bytes.insert(bytes.end(), p, p + cbSize);
        ++writes;
        if (pdwResult)
            *pdwResult = cbSize;
        return S_OK;
    }
    HRESULT STDMETHODCALLTYPE DrvXMoveTo(PDEVOBJ, INT, DWORD, INT*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE DrvYMoveTo(PDEVOBJ, INT, DWORD, INT*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE DrvGetStandardVariable(PDEVOBJ, DWORD, PVOID, DWORD, PDWORD) override
    {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE DrvGetGPDData(PDEVOBJ, DWORD, PVOID, PVOID, DWORD, PDWORD) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE DrvUniTextOut(SURFOBJ*, STROBJ*, FONTOBJ*, CLIPOBJ*, RECTL*, RECTL*, BRUSHOBJ*,
                                            BRUSHOBJ*, POINTL*, MIX) override
    {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE DrvWriteAbortBuf(PDEVOBJ, PVOID, DWORD, DWORD) override { return E_NOTIMPL; }
};

// One device with a white cx x cy surface at dpi dots per inch (rf = dpi / 20).
// The Config holds the defaults that matter to the encoders, with tone mapping
// made plain (no brightness or contrast) so a colour's dot value is easy to
// foresee: black 7, white 0, a braille marker 15.
class Device {
public:
    Device(unsigned cx, unsigned cy, short dpi = 100) : pixels(size_t(cx) * cy * 3, 255)
    {
        devmode.dmSize = sizeof devmode;
        devmode.dmPrintQuality = dpi;
        devmode.dmYResolution = dpi;
        devobj.dwSize = sizeof devobj;
        devobj.pdevOEM = &record;
        devobj.pPublicDM = &devmode;
        record.pConfig = &config;
        record.pUni = &spool;
        record.pTextPage = TextPage_new(cx, cy, TEXTPAGE_TYPE_ZERO);
        surface.dhpdev = reinterpret_cast<DHPDEV>(&devobj);
        surface.sizlBitmap.cx = (LONG)cx;
        surface.sizlBitmap.cy = (LONG)cy;
        surface.pvBits = pixels.data();
        surface.pvScan0 = pixels.data();
        surface.lDelta = (LONG)(cx * 3);
        surface.cjBits = (ULONG)pixels.size();
        surface.iBitmapFormat = BMF_24BPP;
        surface.iType = STYPE_BITMAP;

        px_wcscpy(config.printerName, NAME_CHARS, u"Pumex Embosser");
        px_wcscpy(config.devName, NAME_CHARS, u"Quorvane Professional");
        config.Magnification = 1;
        config.hPreviewFile = INVALID_HANDLE_VALUE;
        config.outputVersion = 3;
        config.compressed = TRUE;
        config.PaperSource = 7;
        config.saturationThreshold = 60;
        config.ThinLineIntensity = 1;
        config.PreviewPrnPath[0] = 0;
        config.dotHeight = 1;
        config.mediaType = MEDIA_BRAILLEPAPER;
        config.minCustPForce = 1;
        config.maxCustPForce = 17;
    }
    ~Device() { TextPage_delete(record.pTextPage); }
    Device(const Device&) = delete;
    Device& operator=(const Device&) = delete;

    // Paints device pixels [x0, x1) x [y0, y1) one colour.
    void paint(unsigned x0, unsigned y0, unsigned x1, unsigned y1, uint8_t r, uint8_t g, uint8_t b)
    {
        unsigned cx = (unsigned)surface.sizlBitmap.cx;
        for (unsigned y = y0; y < y1; ++y)
            for (unsigned x = x0; x < x1; ++x) {
                uint8_t* p = &pixels[(size_t(y) * cx + x) * 3];
                p[0] = r, p[1] = g, p[2] = b;
            }
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
