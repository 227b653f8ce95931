// MulDiv: the kernel's rounded multiply-divide.
#include "px/winmath.h"

#include <climits>

INT MulDiv(INT nNumber, INT nNumerator, INT nDenominator)
{
    if (nDenominator == 0)
        return -1;
    // Work with a positive divisor; the product of two 32-bit numbers and its
    // negation both fit in 64 bits.
    int64_t product = (int64_t)nNumber * nNumerator;
    int64_t divisor = nDenominator;
    if (divisor < 0) {
        product = -product;
        divisor = -divisor;
    }
    // Adding (or, below zero, taking away) half the divisor before the
    // truncating division rounds halves away from zero.
    int64_t half = divisor / 2;
    int64_t result = product >= 0 ? (product + half) / divisor : (product - half) / divisor;
    if (result > INT_MAX || result < INT_MIN)
        return -1;
    return (INT)result;
}
