// The page as the driver renders it: the public device mode a job asks for,
// and the page surface's size in device pixels, which must be exactly the size
// the plug-in computes from that device mode.
#pragma once

#include "job_file.h"
#include "win32.h"

#include <string>

namespace host {

// Page surface size in device pixels; in landscape cx runs along the paper's length.
struct PageSize {
    int32_t cx = 0, cy = 0;
};

// The public device mode for the job (device name = printer, at most 31 characters).
DEVMODEW buildDevMode(const DevModeSpec& spec, const std::string& printer);

// The paper in tenths of a millimetre, looked up as the plug-in does: the
// explicit size, else the paper id in the printer's list, else the form, else
// Letter. hPrinter may be null; then only an explicit size counts.
SIZEL paperOf(const DEVMODEW& dm, HANDLE hPrinter, const std::u16string& printer);

// Width = print quality x paper width / 254, height = y resolution x paper
// length / 254 (truncated), exchanged for landscape.
PageSize pageSizeFor(const DEVMODEW& dm, SIZEL paper);

}  // namespace host
