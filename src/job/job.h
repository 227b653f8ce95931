// The document flow, as the driver calls it: document start, page start,
// bands (each converted to dot values as soon as it is drawn), page send for
// pages that arrive whole, the page store for pages kept until the end, and
// the document end that writes the kept pages in their order.
#pragma once

#include "win32.h"

struct TextPage;
struct XPDV;

// The document hooks, with the driver functions' own signatures.
BOOL APIENTRY OEMStartDoc(SURFOBJ* pso, PWSTR pwszDocName, DWORD dwJobId);
BOOL APIENTRY OEMStartPage(SURFOBJ* pso);
BOOL APIENTRY OEMStartBanding(SURFOBJ* pso, POINTL* pptl);
BOOL APIENTRY OEMNextBand(SURFOBJ* pso, POINTL* pptl);
BOOL APIENTRY OEMSendPage(SURFOBJ* pso);
BOOL APIENTRY OEMEndDoc(SURFOBJ* pso, FLONG fl);

// Converts height page rows of width cells, from page row yOffset on, out of
// the band surface into pPage. type is logged only.
void WriteBandToPage(SURFOBJ* pso, TextPage* pPage, INT yOffset, INT width, INT height, INT type);
// A drawn band into the device's page of dot values: adjustBitMap, then
// WriteBandToPage (type 2), with the cells' colours taken during the
// adjustment while the band's lines are still in cache.
void convertBand(SURFOBJ* pso, INT rf, INT yOffset, INT width, INT height);
// Encodes a finished page of dot values and appends it, with blank pages
// around it where asked, to the page store.
void StorePageToBuffer(SURFOBJ* pso, TextPage* pPage);

// The page store. Room for a page and the two blank pages that may come with it.
#define PAGE_STORE_HEADROOM 3

// Appends one entry at PagCount and counts it.
void PageStore_append(XPDV* pdv, BYTE* data, DWORD size, DWORD owned);
// Appends an encoded page (owned) where there is room, between blank pages
// when it holds graphics and blank pages are wanted; aloneLog is logged when
// the page goes in alone. Returns FALSE (the block released) when the store is full.
BOOL PageStore_addPage(XPDV* pdv, BYTE* data, DWORD size, const char* aloneLog);
// Frees every owned page, the shared blank page and the store itself.
void PageStore_release(XPDV* pdv);
