// Byte comparisons sixteen at a time, for the image room's scans over scan
// lines: whether two stretches are the same, where they first differ, whether
// a stretch is all one byte value. x86-64 always has SSE2, so both the Linux
// and the Windows build take the vector path; another processor takes the
// same answers eight bytes at a time.
//
// Every function reads exactly the n bytes it is given, never past them: the
// last vector overlaps the ones before it instead.
#pragma once

#include "win32.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

// PUMEX_WIDE_PORTABLE asks for the eight-byte versions on any processor, so
// that a test program can hold them to the same answers.
#if (defined(__SSE2__) || defined(_M_X64)) && !defined(PUMEX_WIDE_PORTABLE)
#include <emmintrin.h>
#define PUMEX_WIDE_SSE2 1
#endif

namespace wide {

inline uint64_t load8(const BYTE* p)
{
    uint64_t word;
    memcpy(&word, p, 8);
    return word;
}

// The first byte from i below n where a and b differ, n when none, eight
// bytes at a time (the lowest byte of a word is the first in memory).
inline size_t firstDifferenceFrom(const BYTE* a, const BYTE* b, size_t i, size_t n)
{
    for (; i + 8 <= n; i += 8) {
        uint64_t diff = load8(a + i) ^ load8(b + i);
        if (diff)
            return i + (size_t)__builtin_ctzll(diff) / 8;
    }
    for (; i < n; ++i)
        if (a[i] != b[i])
            return i;
    return n;
}

#if PUMEX_WIDE_SSE2

inline __m128i load16(const BYTE* p) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p)); }

// A bit per byte of 16, set where a and b hold the same byte.
inline unsigned equalMask(const BYTE* a, const BYTE* b)
{
    return (unsigned)_mm_movemask_epi8(_mm_cmpeq_epi8(load16(a), load16(b)));
}

// A bit per byte of 16, set where the byte's top bit is (a mask of 0xFF and 0).
inline unsigned setMask(const BYTE* p) { return (unsigned)_mm_movemask_epi8(load16(p)); }

// The first byte below n where a and b differ, n when none.
inline size_t firstDifference(const BYTE* a, const BYTE* b, size_t n)
{
    size_t i = 0;
    if (n >= 16) {
        for (; i + 16 <= n; i += 16) {
            unsigned same = equalMask(a + i, b + i);
            if (same != 0xFFFF)
                return i + (size_t)__builtin_ctz(~same);
        }
        if (i == n)
            return n;
        // The last sixteen, overlapping bytes already known to be the same.
        i = n - 16;
        unsigned same = equalMask(a + i, b + i);
        return same == 0xFFFF ? n : i + (size_t)__builtin_ctz(~same);
    }
    return firstDifferenceFrom(a, b, 0, n);
}

// Whether all sixteen bytes of v are zero.
inline bool isZero(__m128i v) { return _mm_movemask_epi8(_mm_cmpeq_epi8(v, _mm_setzero_si128())) == 0xFFFF; }

// Whether the sixteen-byte differences diff(i) of n bytes (n at least 16) are
// all zero: or-ed together, with a look every sixty-four bytes, so that long
// stretches which differ early (a scan line against another) stop there; the
// last sixteen overlap the ones before.
template <typename Diff>
inline bool noDifference(size_t n, Diff diff)
{
    __m128i any = _mm_setzero_si128();
    size_t i = 0;
    for (; i + 64 <= n; i += 64) {
        any = _mm_or_si128(_mm_or_si128(diff(i), diff(i + 16)), _mm_or_si128(diff(i + 32), diff(i + 48)));
        if (!isZero(any))
            return false;
    }
    for (; i + 16 <= n; i += 16)
        any = _mm_or_si128(any, diff(i));
    return isZero(_mm_or_si128(any, diff(n - 16)));
}

// The differences of the sixteen bytes at a + i and b + i: zero where they are the same.
inline __m128i differenceAt(const BYTE* a, const BYTE* b, size_t i) { return _mm_xor_si128(load16(a + i), load16(b + i)); }

// same for stretches longer than 96 bytes (scan lines, mostly), kept out of
// line: they are compared a few times per line, not per cell.
__attribute__((noinline)) inline bool sameLong(const BYTE* a, const BYTE* b, size_t n)
{
    return noDifference(n, [a, b](size_t i) { return differenceAt(a, b, i); });
}

// Whether the n bytes at a and b are the same. The rows of a cell, up to 96
// bytes (32 pixels), are compared by the dozen for each cell: in one go,
// without a look between the vectors, and written in where they are asked.
inline bool same(const BYTE* a, const BYTE* b, size_t n)
{
    if (n < 16) {
        if (n < 8)
            return memcmp(a, b, n) == 0;
        return ((load8(a) ^ load8(b)) | (load8(a + n - 8) ^ load8(b + n - 8))) == 0;
    }
    if (n > 96)
        return sameLong(a, b, n);
    __m128i any = _mm_or_si128(differenceAt(a, b, 0), differenceAt(a, b, n - 16));
    for (size_t i = 16; i + 16 < n; i += 16)
        any = _mm_or_si128(any, differenceAt(a, b, i));
    return isZero(any);
}

// Whether the n bytes at p all hold value.
inline bool allEqualTo(const BYTE* p, size_t n, BYTE value)
{
    if (n < 16) {
        for (size_t i = 0; i < n; ++i)
            if (p[i] != value)
                return false;
        return true;
    }
    const __m128i v = _mm_set1_epi8((char)value);
    return noDifference(n, [p, v](size_t i) { return _mm_xor_si128(load16(p + i), v); });
}

#else

inline unsigned equalMask(const BYTE* a, const BYTE* b)
{
    unsigned mask = 0;
    for (unsigned i = 0; i < 16; ++i)
        mask |= (unsigned)(a[i] == b[i]) << i;
    return mask;
}

inline unsigned setMask(const BYTE* p)
{
    unsigned mask = 0;
    for (unsigned i = 0; i < 16; ++i)
        mask |= (unsigned)(p[i] >> 7) << i;
    return mask;
}

inline size_t firstDifference(const BYTE* a, const BYTE* b, size_t n) { return firstDifferenceFrom(a, b, 0, n); }

inline bool same(const BYTE* a, const BYTE* b, size_t n)
{
    if (n < 8)
        return memcmp(a, b, n) == 0;
    uint64_t diff = 0;
    for (size_t i = 0; i + 8 <= n; i += 8)
        diff |= load8(a + i) ^ load8(b + i);
    return (diff | (load8(a + n - 8) ^ load8(b + n - 8))) == 0;
}

inline bool allEqualTo(const BYTE* p, size_t n, BYTE value)
{
    for (size_t i = 0; i < n; ++i)
        if (p[i] != value)
            return false;
    return true;
}

#endif

}  // namespace wide
