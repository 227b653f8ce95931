// Page geometry: the paper in device pixels and in embossing cells, and the
// resolution factor rf (device pixels per cell along either axis).
//
// Paper dimensions travel as (width, length) in tenths of a millimetre; when
// nothing better is known the paper is US Letter, 8.5 x 11 inches.
#pragma once

#include "win32.h"

// US Letter in tenths of a millimetre.
#define LETTER_WIDTH 2159
#define LETTER_LENGTH 2794

// Resolution factor used when the print quality gives none (-19 ... 19,
// which takes in the negative DMRES_ codes).
#define FALLBACK_RF 6

struct PaperDimension {
    DWORD width;   // tenths of a millimetre
    DWORD length;  // tenths of a millimetre
};

// Device pixels per embossing cell for the job's print quality.
INT getResolutionFactor(SURFOBJ* pso);
// The same for a device mode (null: none), without the log line.
INT resolutionFactorOf(const DEVMODEW* pDevMode);

// Fills the device record's paper geometry (gdiPaperWidth/Height,
// embossPageWidth/Height, bLandscape, rf) from the job's device mode. Always TRUE.
BOOL InitPaperSize(SURFOBJ* pso);

// The paper's (width, length) for a device mode (null: the printer's own), found
// from the explicit size, the driver's paper lists or the named form. TRUE when found.
BOOL GetPaperDimensionFromDevMode(HANDLE hPrinter, const DEVMODEW* pDevMode, PaperDimension* dimension);
