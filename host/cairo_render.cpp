#include "cairo_render.h"

#include "surface.h"

#include <cairo.h>

#include <algorithm>
#include <cmath>

namespace host {

namespace {

uint32_t toCairo(Rgb c) { return (uint32_t)c.r << 16 | (uint32_t)c.g << 8 | c.b; }
Rgb fromCairo(uint32_t v) { return {(uint8_t)(v >> 16), (uint8_t)(v >> 8), (uint8_t)v}; }

// An RGB24 image of the surface's pixels in area (which lies inside it).
cairo_surface_t* imageOf(const SURFOBJ* so, const RECTL& area)
{
    int w = area.right - area.left, h = area.bottom - area.top;
    cairo_surface_t* image = cairo_image_surface_create(CAIRO_FORMAT_RGB24, w, h);
    unsigned char* data = cairo_image_surface_get_data(image);
    int stride = cairo_image_surface_get_stride(image);
    for (int y = 0; y < h; ++y) {
        auto* row = reinterpret_cast<uint32_t*>(data + (ptrdiff_t)y * stride);
        for (int x = 0; x < w; ++x)
            row[x] = toCairo(readPixel(so, area.left + x, area.top + y));
    }
    cairo_surface_mark_dirty(image);
    return image;
}

void storeImage(cairo_surface_t* image, SURFOBJ* so, const RECTL& area)
{
    cairo_surface_flush(image);
    const unsigned char* data = cairo_image_surface_get_data(image);
    int stride = cairo_image_surface_get_stride(image);
    for (int y = 0; y < area.bottom - area.top; ++y) {
        auto* row = reinterpret_cast<const uint32_t*>(data + (ptrdiff_t)y * stride);
        for (int x = 0; x < area.right - area.left; ++x)
            writePixel(so, area.left + x, area.top + y, fromCairo(row[x]));
    }
}

// A cairo context over the surface's pixels in area, in surface coordinates,
// clipped to area; the pixels go back to the surface when it ends.
class Scratch {
public:
    Scratch(SURFOBJ* so, const RECTL& area) : so_(so), area_(area), image_(imageOf(so, area))
    {
        cr_ = cairo_create(image_);
        cairo_translate(cr_, -area.left, -area.top);
        cairo_rectangle(cr_, area.left, area.top, area.right - area.left, area.bottom - area.top);
        cairo_clip(cr_);
        cairo_set_antialias(cr_, CAIRO_ANTIALIAS_NONE);
    }
    ~Scratch()
    {
        cairo_destroy(cr_);
        storeImage(image_, so_, area_);
        cairo_surface_destroy(image_);
    }
    Scratch(const Scratch&) = delete;
    Scratch& operator=(const Scratch&) = delete;
    cairo_t* cr() const { return cr_; }

private:
    SURFOBJ* so_;
    RECTL area_;
    cairo_surface_t* image_;
    cairo_t* cr_;
};

void setColor(cairo_t* cr, Rgb c) { cairo_set_source_rgb(cr, c.r / 255.0, c.g / 255.0, c.b / 255.0); }

RECTL boundsOf(const SURFOBJ* so) { return {0, 0, so->sizlBitmap.cx, so->sizlBitmap.cy}; }

RECTL offset(const RECTL& r, LONG dx, LONG dy) { return {r.left + dx, r.top + dy, r.right + dx, r.bottom + dy}; }

// The pixels a path of these points could touch, with margin for its width.
RECTL pathBounds(const std::vector<POINTL>& points, double width)
{
    RECTL r{points[0].x, points[0].y, points[0].x, points[0].y};
    for (const POINTL& p : points) {
        r.left = std::min(r.left, p.x);
        r.top = std::min(r.top, p.y);
        r.right = std::max(r.right, p.x);
        r.bottom = std::max(r.bottom, p.y);
    }
    LONG m = (LONG)std::ceil(width / 2) + 2;
    return {r.left - m, r.top - m, r.right + m + 1, r.bottom + m + 1};
}

// pixman samples in 16.16 fixed point. A scale step that is an exact even
// number of 1/65536 makes every sample position an exact product of the
// pixel's distance from the target's corner, so a band draws the same pixels
// as the whole page however its own origin falls.
double exactStep(double step) { return std::max(1.0, std::round(step * 32768)) / 32768; }

}  // namespace

RECTL intersect(const RECTL& a, const RECTL& b)
{
    return {std::max(a.left, b.left), std::max(a.top, b.top), std::min(a.right, b.right),
            std::min(a.bottom, b.bottom)};
}

bool isEmpty(const RECTL& r) { return r.left >= r.right || r.top >= r.bottom; }

RECTL clipRect(const SURFOBJ* so, const CLIPOBJ* pco)
{
    RECTL clip = boundsOf(so);
    if (pco && pco->iDComplexity != DC_TRIVIAL)
        clip = intersect(clip, pco->rclBounds);
    return clip;
}

void fillRect(SURFOBJ* dst, const RECTL& clip, const RECTL& rect, Rgb color)
{
    RECTL area = intersect(clip, rect);
    if (isEmpty(area))
        return;
    Scratch s(dst, area);
    setColor(s.cr(), color);
    cairo_paint(s.cr());
}

// A copy at its own size needs no drawing library: each scan line of the
// source goes straight into the target's format. A copy within one surface
// first takes its source aside, so it reads the pixels as they were.
void copyRect(SURFOBJ* dst, const RECTL& clip, const RECTL& dstRect, const SURFOBJ* src, POINTL srcOrigin)
{
    LONG dx = dstRect.left - srcOrigin.x, dy = dstRect.top - srcOrigin.y;  // source to target
    RECTL area = intersect(intersect(clip, dstRect), offset(boundsOf(src), dx, dy));
    if (isEmpty(area))
        return;
    LONG w = area.right - area.left, h = area.bottom - area.top;
    if (src->pvScan0 == dst->pvScan0) {
        Surface aside(w, h, src->iBitmapFormat == BMF_1BPP ? SurfaceFormat::Mono1 : SurfaceFormat::Rgb24);
        copyRect(aside.obj(), boundsOf(aside.obj()), boundsOf(aside.obj()), src, {area.left - dx, area.top - dy});
        copyRect(dst, area, area, aside.obj(), {0, 0});
        return;
    }
    for (LONG y = area.top; y < area.bottom; ++y)
        copyRun(src, area.left - dx, y - dy, dst, area.left, y, w);
}

void stretchRect(SURFOBJ* dst, const RECTL& clip, const RECTL& dstRect, const SURFOBJ* src, const RECTL& srcRect)
{
    RECTL area = intersect(clip, dstRect);
    RECTL from = intersect(srcRect, boundsOf(src));
    if (isEmpty(area) || isEmpty(from))
        return;
    cairo_surface_t* picture = imageOf(src, from);
    {
        Scratch s(dst, area);
        cairo_pattern_t* pattern = cairo_pattern_create_for_surface(picture);
        double sx = exactStep((double)(srcRect.right - srcRect.left) / (dstRect.right - dstRect.left));
        double sy = exactStep((double)(srcRect.bottom - srcRect.top) / (dstRect.bottom - dstRect.top));
        cairo_matrix_t m;
        cairo_matrix_init_translate(&m, srcRect.left - from.left, srcRect.top - from.top);
        cairo_matrix_scale(&m, sx, sy);
        cairo_matrix_translate(&m, -dstRect.left, -dstRect.top);
        cairo_pattern_set_matrix(pattern, &m);
        cairo_pattern_set_extend(pattern, CAIRO_EXTEND_PAD);
        cairo_pattern_set_filter(pattern, sx > 1 || sy > 1 ? CAIRO_FILTER_GOOD : CAIRO_FILTER_BILINEAR);
        cairo_set_source(s.cr(), pattern);
        cairo_paint(s.cr());
        cairo_pattern_destroy(pattern);
    }
    cairo_surface_destroy(picture);
}

void strokePolyline(SURFOBJ* dst, const RECTL& clip, const std::vector<POINTL>& points, double width, Rgb color)
{
    if (points.empty())
        return;
    RECTL area = intersect(clip, pathBounds(points, width));
    if (isEmpty(area))
        return;
    Scratch s(dst, area);
    cairo_t* cr = s.cr();
    cairo_move_to(cr, points[0].x + 0.5, points[0].y + 0.5);
    for (size_t i = 1; i < points.size(); ++i)
        cairo_line_to(cr, points[i].x + 0.5, points[i].y + 0.5);
    cairo_set_line_width(cr, width);
    cairo_set_line_cap(cr, CAIRO_LINE_CAP_BUTT);
    setColor(cr, color);
    cairo_stroke(cr);
}

void fillPolygon(SURFOBJ* dst, const RECTL& clip, const std::vector<POINTL>& points, bool winding, Rgb color)
{
    if (points.size() < 3)
        return;
    RECTL area = intersect(clip, pathBounds(points, 0));
    if (isEmpty(area))
        return;
    Scratch s(dst, area);
    cairo_t* cr = s.cr();
    cairo_move_to(cr, points[0].x, points[0].y);
    for (size_t i = 1; i < points.size(); ++i)
        cairo_line_to(cr, points[i].x, points[i].y);
    cairo_close_path(cr);
    cairo_set_fill_rule(cr, winding ? CAIRO_FILL_RULE_WINDING : CAIRO_FILL_RULE_EVEN_ODD);
    setColor(cr, color);
    cairo_fill(cr);
}

// Cairo's 1-bit masks pack pixels into 32-bit words, first pixel in the
// least significant bit on this (little-endian) machine; GDI's glyph rows are
// bytes, first pixel in the most significant bit.
void drawGlyphBits(SURFOBJ* dst, const RECTL& clip, POINTL at, const GLYPHBITS* bits, Rgb color)
{
    LONG cx = bits->sizlBitmap.cx, cy = bits->sizlBitmap.cy;
    RECTL place{at.x + bits->ptlOrigin.x, at.y + bits->ptlOrigin.y, 0, 0};
    place.right = place.left + cx;
    place.bottom = place.top + cy;
    RECTL area = intersect(intersect(clip, boundsOf(dst)), place);
    if (isEmpty(area))
        return;
    cairo_surface_t* mask = cairo_image_surface_create(CAIRO_FORMAT_A1, cx, cy);
    cairo_surface_flush(mask);
    unsigned char* data = cairo_image_surface_get_data(mask);
    int stride = cairo_image_surface_get_stride(mask);
    LONG rowBytes = (cx + 7) / 8;
    for (LONG y = 0; y < cy; ++y) {
        auto* row = reinterpret_cast<uint32_t*>(data + (ptrdiff_t)y * stride);
        for (LONG x = 0; x < cx; ++x)
            if (bits->aj[y * rowBytes + x / 8] & (0x80 >> (x % 8)))
                row[x / 32] |= 1u << (x % 32);
    }
    cairo_surface_mark_dirty(mask);
    Scratch s(dst, area);
    setColor(s.cr(), color);
    cairo_mask_surface(s.cr(), mask, place.left, place.top);
    cairo_surface_destroy(mask);
}

}  // namespace host
