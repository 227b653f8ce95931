// The one entry to the Windows surface the plug-in uses.
//
// On Windows: the system's own headers (mingw-w64). Elsewhere: our declarations
// of exactly the subset the plug-in calls, implemented by the platform library.
// Either way: the driver plug-in interfaces and the wide-text helpers.
#pragma once
#define PUMEX_WIN32_INCLUDED 1

#ifdef _WIN32
#include <windows.h>
#include <winddi.h>
#include <winspool.h>
#include <shlobj.h>
#include <sys/stat.h>
#include <sys/types.h>
#include <cstdio>
#else
#include "px/wintypes.h"
#include "px/winddi.h"
#include "px/winapi.h"
#endif

#include <cstddef>

#include "oemuni.h"
#include "pxtext.h"

// The x64 layouts the driver and the plug-in share, asserted against
// mingw-w64's headers on Windows and against our declarations elsewhere.
static_assert(sizeof(LOGFONTW) == 92, "LOGFONTW");
static_assert(offsetof(DEVMODEW, dmFields) == 72, "DEVMODEW.dmFields");
static_assert(offsetof(DEVMODEW, dmCollate) == 100, "DEVMODEW.dmCollate");
static_assert(sizeof(PRINTER_INFO_2W) == 136, "PRINTER_INFO_2W");
static_assert(sizeof(FORM_INFO_1W) == 40, "FORM_INFO_1W");
static_assert(sizeof(DEVMODEW) == 220, "DEVMODEW");
static_assert(sizeof(SURFOBJ) == 80, "SURFOBJ");
static_assert(offsetof(SURFOBJ, pvScan0) == 56, "SURFOBJ.pvScan0");
static_assert(sizeof(STROBJ) == 48, "STROBJ");
static_assert(sizeof(GLYPHPOS) == 24, "GLYPHPOS");
static_assert(sizeof(GLYPHBITS) == 20, "GLYPHBITS");
static_assert(sizeof(FONTOBJ) == 64, "FONTOBJ");
static_assert(sizeof(IFIMETRICS) == 192, "IFIMETRICS");
static_assert(offsetof(IFIMETRICS, dpwszFaceName) == 16, "IFIMETRICS.dpwszFaceName");
static_assert(sizeof(BRUSHOBJ) == 24, "BRUSHOBJ");
static_assert(sizeof(CLIPOBJ) == 24, "CLIPOBJ");
static_assert(sizeof(XLATEOBJ) == 24, "XLATEOBJ");
static_assert(sizeof(DRVFN) == 16, "DRVFN");
static_assert(sizeof(DRVENABLEDATA) == 16, "DRVENABLEDATA");
static_assert(sizeof(GDIINFO) == 320, "GDIINFO");
static_assert(sizeof(DEVINFO) == 312, "DEVINFO");
static_assert(sizeof(LONG) == 4 && sizeof(DWORD) == 4, "LLP64");
