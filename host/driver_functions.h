// The host's own driver functions: what the universal driver does for each
// DDI call the plug-in hooks and forwards. Drawing calls render into the
// surface with cairo; the document, page and band calls keep the band
// stepping the driver would do. A call the host cannot carry out records why
// on the device and answers FALSE, so a job never loses drawing silently.
#pragma once

#include "page_geometry.h"
#include "win32.h"

#include <string>
#include <vector>

namespace host {

// Raster operations and mixes GDI passes for the drawing a job does.
constexpr ROP4 kRopPatCopy = 0xF0F0;
constexpr ROP4 kRopSrcCopy = 0xCCCC;
constexpr ROP4 kRopBlackness = 0x0000;
constexpr ROP4 kRopWhiteness = 0xFFFF;
constexpr MIX kMixCopyPen = 0x0D0D;  // R2_COPYPEN for foreground and background
constexpr FLONG kLineGeometric = 0x00000001;  // LA_GEOMETRIC
constexpr FLONG kFillWinding = 0x00000002;    // FP_WINDINGMODE
constexpr ULONG kStretchHalftone = 4;         // HALFTONE
constexpr FLONG kEndDocAbort = 0x00000001;    // ED_ABORTDOC

// The device as the host's driver functions see it. It begins with the
// driver's device object: a surface's dhpdev points at it, and the plug-in
// finds its own record there (pdevOEM).
struct HostDevice : DEVOBJ {
    HostDevice() : DEVOBJ() { dwSize = sizeof(DEVOBJ); }
    PageSize page;          // the page surface in device pixels
    bool landscape = false;  // bands step along x (the paper's length)
    int32_t bandHeight = 0;  // band extent along the stepping direction
    POINTL nextBand{};       // where the host's own banding goes next
    std::string failure;     // the first thing the host could not do
};

HostDevice* deviceOf(DHPDEV dhpdev);
HostDevice* deviceOf(SURFOBJ* so);

// The host's path object: the driver functions receive back the object the
// host made, so they read its points directly.
struct HostPath : PATHOBJ {
    std::vector<POINTL> points;
};

// Solid brush colours travel as 0x00BBGGRR.
ULONG brushColor(uint8_t r, uint8_t g, uint8_t b);

// Every hooked DDI index with the host's function for it, as the driver's
// function list handed to EnablePDEV.
const DRVENABLEDATA& hostDriverFunctions();

}  // namespace host
