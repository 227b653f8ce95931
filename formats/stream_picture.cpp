// Drawing decoded embosser pages.
#include "stream_picture.h"

#include <algorithm>

namespace formats {

const Rgb kPaperColour = {255, 255, 255};
const Rgb kEdgeColour = {40, 40, 40};
const Rgb kTableColour = {150, 150, 150};

namespace {

const Rgb kBrailleColour = {20, 90, 220};
const Rgb kOutsideColour = {255, 236, 170};
const Rgb kStrangeColour = {230, 0, 160};
const Rgb kPackedDotColour = {70, 70, 70};
const Rgb kUnkeptColour = {220, 220, 220};

constexpr unsigned kGap = 24;   // table between pages and around them
constexpr unsigned kEdge = 2;   // page edge, drawn outside the page

struct Layout {
    unsigned scale = 1;
    unsigned columns = 0;  // pages per row
    std::vector<unsigned> rowHeight, colWidth;  // in pixels, pages only
    unsigned width = 0, height = 0;
};

unsigned pageWidth(const DecodedPage& p) { return p.form == BodyForm::None ? p.header.width : p.columns; }

Layout layOut(const DecodedStream& stream, unsigned scale, unsigned perRow)
{
    Layout l;
    l.scale = scale;
    size_t n = stream.pages.size();
    l.columns = (unsigned)std::min<size_t>(std::max(perRow, 1u), std::max<size_t>(n, 1));
    size_t rows = (n + l.columns - 1) / l.columns;
    l.colWidth.assign(l.columns, 0);
    l.rowHeight.assign(rows, 0);
    for (size_t i = 0; i < n; ++i) {
        const DecodedPage& p = stream.pages[i];
        unsigned& w = l.colWidth[i % l.columns];
        unsigned& h = l.rowHeight[i / l.columns];
        w = std::max(w, pageWidth(p) * scale);
        h = std::max(h, (unsigned)p.header.height * scale);
    }
    uint64_t width = kGap, height = kGap;
    for (unsigned w : l.colWidth)
        width += w + kGap;
    for (unsigned h : l.rowHeight)
        height += h + kGap;
    l.width = (unsigned)std::min<uint64_t>(width, UINT32_MAX);
    l.height = (unsigned)std::min<uint64_t>(height, UINT32_MAX);
    return l;
}

class Canvas {
public:
    explicit Canvas(Picture& p) : p_(p) {}
    void fill(unsigned x0, unsigned y0, unsigned w, unsigned h, Rgb c)
    {
        for (unsigned y = y0; y < y0 + h && y < p_.height; ++y)
            for (unsigned x = x0; x < x0 + w && x < p_.width; ++x)
                put(x, y, c);
    }
    void put(unsigned x, unsigned y, Rgb c)
    {
        uint8_t* px = &p_.rgb[((size_t)y * p_.width + x) * 3];
        px[0] = c.r, px[1] = c.g, px[2] = c.b;
    }

private:
    Picture& p_;
};

// A braille dot: a disc inside its cell, so it reads as round next to the square graphic dots.
void drawDisc(Canvas& canvas, unsigned x0, unsigned y0, unsigned s, Rgb c)
{
    if (s < 3) {
        canvas.fill(x0, y0, s, s, c);
        return;
    }
    double r = s / 2.0 - 0.25, centre = s / 2.0;
    for (unsigned j = 0; j < s; ++j)
        for (unsigned i = 0; i < s; ++i) {
            double dx = i + 0.5 - centre, dy = j + 0.5 - centre;
            if (dx * dx + dy * dy <= r * r)
                canvas.put(x0 + i, y0 + j, c);
        }
}

void drawPage(Canvas& canvas, const DecodedPage& page, unsigned x0, unsigned y0, unsigned s)
{
    unsigned w = pageWidth(page) * s, h = page.header.height * s;
    canvas.fill(x0 - kEdge, y0 - kEdge, w + 2 * kEdge, h + 2 * kEdge, kEdgeColour);
    canvas.fill(x0, y0, w, h, page.cellsKept || page.form == BodyForm::None ? kPaperColour : kUnkeptColour);
    if (!page.cellsKept)
        return;
    // Graphic dots leave a one-pixel gutter when cells are large enough, so neighbours stay apart.
    unsigned dot = s >= 3 ? s - 1 : s;
    for (unsigned y = 0; y < page.header.height; ++y)
        for (unsigned x = 0; x < page.columns; ++x) {
            unsigned v = page.cells[(size_t)y * page.columns + x];
            if (v == 0)
                continue;
            unsigned px = x0 + x * s, py = y0 + y * s;
            if (v == 15 && page.form != BodyForm::Packed)
                drawDisc(canvas, px, py, s, kBrailleColour);
            else if ((v >= 1 && v <= 7) || page.form == BodyForm::Packed)
                canvas.fill(px, py, dot, dot, cellColour(v, page.form));
            else
                canvas.fill(px, py, s, s, cellColour(v, page.form));
        }
}

}  // namespace

Rgb cellColour(unsigned value, BodyForm form)
{
    if (value == 0)
        return kPaperColour;
    if (form == BodyForm::Packed)
        return kPackedDotColour;
    if (value <= 7) {
        uint8_t g = (uint8_t)(215 - (value - 1) * 30);  // 215 for the lowest dot down to 35 for the tallest
        return {g, g, g};
    }
    if (value == 15)
        return kBrailleColour;
    if (value == 255)
        return kOutsideColour;
    return kStrangeColour;
}

namespace {

bool fits(const Layout& l, const PictureOptions& options)
{
    return l.width <= options.maxSide && l.height <= options.maxSide &&
           (uint64_t)l.width * l.height <= options.maxPixels;
}

// The pages per row that would let the pages be drawn at one pixel a cell; 0 when none would.
unsigned perRowThatFits(const DecodedStream& stream, const PictureOptions& options)
{
    for (unsigned perRow = 1; perRow <= 100; ++perRow)
        if (fits(layOut(stream, 1, perRow), options))
            return perRow;
    return 0;
}

}  // namespace

bool drawStream(const DecodedStream& stream, const PictureOptions& options, Picture& picture, std::string& error)
{
    Layout l;
    unsigned scale = std::max(options.scale, 1u);
    for (;; --scale) {
        l = layOut(stream, scale, options.pagesPerRow);
        if (fits(l, options) || scale == 1)
            break;
    }
    if (!fits(l, options)) {
        unsigned perRow = perRowThatFits(stream, options);
        error = "the pages are too large to draw (" + std::to_string(l.width) + " x " + std::to_string(l.height) +
                " pixels at one pixel a cell, at most " + std::to_string(options.maxSide) + " a side and " +
                std::to_string(options.maxPixels >> 20) + " Mpixels)" +
                (perRow ? "; try --per-row " + std::to_string(perRow) : "");
        return false;
    }
    picture.width = l.width;
    picture.height = l.height;
    picture.rgb.assign((size_t)l.width * l.height * 3, 0);
    Canvas canvas(picture);
    canvas.fill(0, 0, l.width, l.height, kTableColour);
    unsigned y0 = kGap;
    for (size_t row = 0; row < l.rowHeight.size(); ++row) {
        unsigned x0 = kGap;
        for (unsigned col = 0; col < l.columns; ++col) {
            size_t i = row * l.columns + col;
            if (i < stream.pages.size())
                drawPage(canvas, stream.pages[i], x0, y0, l.scale);
            x0 += l.colWidth[col] + kGap;
        }
        y0 += l.rowHeight[row] + kGap;
    }
    return true;
}

}  // namespace formats
