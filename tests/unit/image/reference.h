// The straightforward per-page image work, kept beside the fast versions the
// plug-in runs, and random surfaces to compare them on.
#pragma once

#include "image_fixture.h"

#include <random>

namespace reference {

void adjustBitMap(SURFOBJ* pso, INT rf);
void getAreaColor(SURFOBJ* pso, DWORD x0, DWORD y0, DWORD x1, DWORD y1, PixelColor* color, DWORD factor);

}  // namespace reference

namespace imagetest {

// Surfaces of what pages are made of, at odd sizes, in every format, top-down
// and bottom-up, with padding: paper, noise, thin lines, marks straddling
// cells, ink, the braille colour, and colours of equal brightness.
struct RandomSurfaces {
    std::mt19937 rng;
    explicit RandomSurfaces(unsigned seed) : rng(seed) {}

    int below(int n) { return (int)(rng() % (unsigned)n); }

    PixelColor colour()
    {
        static const PixelColor palette[] = {{0, 0, 0},     {128, 128, 128}, {255, 0, 0},   {0, 0, 255},
                                             {0, 0, 1},     {200, 200, 200}, {5, 6, 7},     {7, 6, 5},
                                             {254, 255, 255}, {40, 40, 40}};
        if (below(4) == 0)
            return PixelColor{(BYTE)rng(), (BYTE)rng(), (BYTE)rng()};
        return palette[below(10)];
    }

    Surface make(int rf)
    {
        static const ULONG formats[] = {BMF_24BPP, BMF_24BPP, BMF_24BPP, BMF_1BPP, 3 /* 8 bpp */};
        LONG cx = below(70) + 1, cy = below(70) + 1;
        Surface s(cx, cy, formats[below(5)], below(5), below(3) == 0);
        if (below(8) == 0) {
            for (BYTE& b : s.bits)
                b = (BYTE)rng();  // noise, padding included
            return s;
        }
        for (BYTE& b : s.bits)
            b = 0xFF;
        int side = rf > 0 ? rf : 4;
        for (int n = below(14); n > 0; --n) {
            LONG x = below(cx), y = below(cy), w = below(side + 2) + 1, h = below(side + 2) + 1;
            if (below(3) == 0)
                (below(2) ? w : h) = below(2) ? 1 << 16 : 1;  // a thin line across the surface
            fill(s, x, y, w, h, colour());
        }
        for (int n = below(30); n > 0; --n)
            s.set(below(cx), below(cy), colour());
        return s;
    }

    // A page-sized picture, drawn as pages are: smooth gradients whose runs
    // are a few pixels long either way (so most runs straddle a cell boundary
    // and many shift), some of them grainy (runs of a pixel or two, a few
    // joining pixels across a boundary), paper, ruled lines and small marks.
    Surface picture(LONG cx, LONG cy, int rf)
    {
        Surface s(cx, cy, BMF_24BPP, below(5), below(2) == 0);
        int xStep = below(12) + 1, yStep = below(12) + 1, diagonal = below(40) + 5;
        int grain = below(2) ? 1 : below(4) + 2;
        for (LONG y = 0; y < cy; ++y)
            for (LONG x = 0; x < cx; ++x) {
                BYTE noise = (BYTE)below(grain);
                s.set(x, y, PixelColor{(BYTE)(x / xStep * 7 + noise), (BYTE)(y / yStep * 5 + noise),
                                       (BYTE)((x + y) / diagonal * 3 + noise)});
            }
        fill(s, below(cx), 0, below(cx / 2) + 1, cy, kWhite);
        int side = rf > 0 ? rf : 4;
        for (int n = below(20); n > 0; --n) {
            if (below(2))
                fill(s, 0, below(cy), cx, below(2) + 1, kBlack);
            else
                fill(s, below(cx), below(cy), below(side + 2) + 1, below(side + 2) + 1, colour());
        }
        return s;
    }

    static void fill(Surface& s, LONG x0, LONG y0, LONG w, LONG h, const PixelColor& c)
    {
        for (LONG y = y0; y < y0 + h && y < s.so.sizlBitmap.cy; ++y)
            for (LONG x = x0; x < x0 + w && x < s.so.sizlBitmap.cx; ++x)
                s.set(x, y, c);
    }
};

}  // namespace imagetest
