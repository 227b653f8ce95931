// TextPage: a rectangle of bytes, one per position, with bounds-checked
// writes and an area read that takes the largest value.
//
// The one page-of-bytes type of the driver: the text-marker page at surface
// resolution (markers 1 and 2 where braille text was set), the page of dot
// values at the embosser's resolution, and the blank page encoded once per
// document. Reads outside the page report 255.
#pragma once

#include "win32.h"

// Fill rule of every page: clearing writes 0.
#define TEXTPAGE_TYPE_ZERO 2

// Positions outside the page read as this value.
#define TEXTPAGE_OUTSIDE 255

// One allocation: this header, then the image, row-major with a stride of
// width, then slack worth 64 more rows and columns that nothing addresses.
struct TextPage {
    DWORD size;    // bytes of the whole allocation: header + (width + 64) x (height + 64)
    DWORD width;   // positions per row
    DWORD height;  // rows
    DWORD type;    // fill rule of TextPage_clear
    BYTE* m_Image; // first image byte, just behind the header
};

// A cleared page of width x height positions, or null.
TextPage* TextPage_new(DWORD width, DWORD height, DWORD type);
// Frees a page; null is ignored.
void TextPage_delete(TextPage* pTP);
// Writes one byte; positions outside the page are dropped.
void TextPage_setPixel(TextPage* pTP, DWORD x, DWORD y, BYTE value);
// Sets every byte of the image to 0.
void TextPage_clear(TextPage* pTP);
// The largest byte of the w x h area at (x, y); 255 when the area reaches
// outside the page, 0 for an empty area or a null page.
BYTE TextPage_getMax(const TextPage* pTP, DWORD x, DWORD y, DWORD w, DWORD h);
// Whether the w x h area at (x, y) lies inside the page and holds only zeros
// (w and h at least 1): the area's largest byte is then 0.
BOOL TextPage_isClear(const TextPage* pTP, DWORD x, DWORD y, DWORD w, DWORD h);
