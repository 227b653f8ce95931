// Text output: the hook GDI calls for every text run of a band.
#pragma once

#include "win32.h"

BOOL APIENTRY OEMTextOut(SURFOBJ*, STROBJ*, FONTOBJ*, CLIPOBJ*, RECTL*, RECTL*, BRUSHOBJ*, BRUSHOBJ*, POINTL*, MIX);
