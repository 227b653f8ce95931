// The document flow: document start, pages, bands, page send, page store and
// document end, as the driver calls them.
#pragma once

#include "win32.h"

struct TextPage;

BOOL APIENTRY OEMStartPage(SURFOBJ*);
BOOL APIENTRY OEMSendPage(SURFOBJ*);
BOOL APIENTRY OEMStartDoc(SURFOBJ*, PWSTR, DWORD);
BOOL APIENTRY OEMEndDoc(SURFOBJ*, FLONG);
BOOL APIENTRY OEMNextBand(SURFOBJ*, POINTL*);
BOOL APIENTRY OEMStartBanding(SURFOBJ*, POINTL*);
