// Drawing into GDI surfaces with cairo. Each call copies the part of the
// surface it may touch into a cairo scratch image, draws there without
// antialiasing (a printer surface has no partial pixels), and copies the
// result back in the surface's own format. Integer translations give the
// same pixels, so a page drawn band by band matches the page drawn whole.
#pragma once

#include "job_file.h"
#include "win32.h"

#include <vector>

namespace host {

// The rectangle a drawing call may touch: the surface, cut by the clip
// object's bounds unless the clip is trivial.
RECTL clipRect(const SURFOBJ* so, const CLIPOBJ* pco);
RECTL intersect(const RECTL& a, const RECTL& b);
bool isEmpty(const RECTL& r);

// Fills left <= x < right, top <= y < bottom.
void fillRect(SURFOBJ* dst, const RECTL& clip, const RECTL& rect, Rgb color);
// Copies src pixels from srcOrigin on to dstRect at their own size.
void copyRect(SURFOBJ* dst, const RECTL& clip, const RECTL& dstRect, const SURFOBJ* src, POINTL srcOrigin);
// Scales srcRect of src on to dstRect (both with positive extents).
void stretchRect(SURFOBJ* dst, const RECTL& clip, const RECTL& dstRect, const SURFOBJ* src, const RECTL& srcRect);
// A line through the points' pixel centres, width pixels wide.
void strokePolyline(SURFOBJ* dst, const RECTL& clip, const std::vector<POINTL>& points, double width, Rgb color);
// The polygon's inside, by the winding rule or else alternate (even-odd).
void fillPolygon(SURFOBJ* dst, const RECTL& clip, const std::vector<POINTL>& points, bool winding, Rgb color);
// A 1-bpp glyph bitmap (set bits drawn, clear bits left) whose origin is at
// `at`, pixel for pixel.
void drawGlyphBits(SURFOBJ* dst, const RECTL& clip, POINTL at, const GLYPHBITS* bits, Rgb color);

}  // namespace host
