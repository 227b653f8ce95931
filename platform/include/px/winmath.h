// MulDiv, the kernel's rounded multiply-divide, for hosts without Windows.
#pragma once

#include "px/wintypes.h"

#ifndef _WIN32

// number × numerator / denominator with a 64-bit intermediate product, rounded
// to the nearest integer with halves away from zero. Returns -1 when the
// denominator is 0 or the result does not fit a signed 32-bit integer.
PX_API INT MulDiv(INT nNumber, INT nNumerator, INT nDenominator);

#endif
