// Bitmap adjustment: before a band or a whole page is reduced to embossing
// cells of rf x rf device pixels, small marks and thin strokes that straddle
// a cell boundary are moved into whole cells, so that they come out as one
// firm dot or line instead of two weak ones. Only pixels move; nothing is
// scaled.
#pragma once

#include "win32.h"

#include "image/image.h"

// Snaps small isolated marks into one cell each way, then shifts the short
// runs of every column and every row to the side of the cell boundary where
// most of them lie. A surface without bits is left alone.
void adjustBitMap(SURFOBJ* pso, INT rf);

// The colours getCellColours gives a surface's whole cells, taken by the
// adjustment as it finishes each cell row: its scan lines are then still in
// cache, and the band conversion need not read the surface from memory again.
struct CellColours {
    const TextPage* markers;  // the text markers at the surface's resolution
    DWORD rf;                 // pixels on a cell's side
    DWORD across, down;       // the cells from the surface's top left, at most cx / rf by cy / rf
    PixelColor* colours;      // across x down, row after row
    BOOL taken;               // every cell's colour is in colours
};

// adjustBitMap, which also fills cells (all but taken set by the caller)
// when it can do so on the way; cells->taken says whether it did. Sampling
// paints the cells' ink white, as getCellColours does. Any change to the
// surface or the markers afterwards makes the colours stale.
void adjustBitMapSampling(SURFOBJ* pso, INT rf, CellColours* cells);

// Snaps marks of at most rf + 1 pixels each way that sit alone in a window
// of 2 x 2 cells into one cell column and one cell row.
void adjustBraille(SURFOBJ* pso, INT rf);

// One run of a column or row scan: the pixels from start on whose colour is
// colour. Right after a shift the run can be empty (length 0, end = start - 1).
struct PixelRun {
    DWORD start;          // first pixel
    DWORD end;            // last pixel, inclusive
    DWORD length;         // end - start + 1
    DWORD inFirst;        // pixels of the run in the cell of its first pixel
    PixelColor colour;    // the run's colour
    PixelColor previous;  // colour of the run before it (the first run: its own)
    PixelColor next;      // colour of the pixel that ended it (at the edge: its own)
};

// Shifts one run of at most rf pixels across the cell boundary it straddles,
// in column x (lineLength = cy) or row y (lineLength = cx). Returns the
// position at which the scan continues.
DWORD shiftRunAlongColumn(SURFOBJ* pso, DWORD x, const PixelRun& run, DWORD lineLength, INT rf);
DWORD shiftRunAlongRow(SURFOBJ* pso, DWORD y, const PixelRun& run, DWORD lineLength, INT rf);
