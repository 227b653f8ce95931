// Wide text and bounded formatting, identical on every OS.
//
// Wide text is UTF-16 everywhere (WCHAR). Wide literals are written WSTR("...").
// The C library's wide functions are never used: on POSIX their wchar_t is 32-bit.
#pragma once

#include <cstdarg>
#include <cstddef>

#ifndef PUMEX_WIN32_INCLUDED
#error "include win32.h instead"
#endif

#ifdef _WIN32
#define PX_WIDEN_(s) L##s
#define PX_TEXT_API
#else
#define PX_WIDEN_(s) u##s
#define PX_TEXT_API PX_API
#endif
#define WSTR(s) PX_WIDEN_(s)

// Number of code units before the terminator; 0 for null.
PX_TEXT_API size_t px_wcslen(const WCHAR* s);
// Copies src into dst (capacity cap units), cut to fit, always terminated when cap > 0.
// Returns the number of units copied, without the terminator.
PX_TEXT_API size_t px_wcscpy(WCHAR* dst, size_t cap, const WCHAR* src);
// Appends src to the text in dst, cut to fit, always terminated when cap > 0.
PX_TEXT_API size_t px_wcscat(WCHAR* dst, size_t cap, const WCHAR* src);
// Code unit by code unit comparison, like strcmp; null sorts before everything.
PX_TEXT_API int px_wcscmp(const WCHAR* a, const WCHAR* b);
// Copies 8-bit ASCII/UTF-8 text into UTF-16, cut to fit, always terminated when cap > 0.
PX_TEXT_API size_t px_utf8_to_wide(WCHAR* dst, size_t cap, const char* src);
// Converts UTF-16 to UTF-8, never splitting a character, always terminated when cap > 0.
// Unpaired surrogates become '?'. Returns the number of bytes written.
PX_TEXT_API size_t px_wide_to_utf8(char* dst, size_t cap, const WCHAR* src);

// printf-style formatting into 8-bit text, the same bytes on every OS.
//   %d %i %u %x %X %o %c %p %%, with flags - 0 # + space, width and precision (also *);
//   h, l (32-bit, as on 64-bit Windows), ll, I64 and z size prefixes;
//   %s %hs: 8-bit text; %ws %ls %S: UTF-16 text written as UTF-8; "(null)" for null;
//   %p: 16 upper-case hex digits, as Windows prints pointers.
// Writes at most count - 1 bytes and always terminates (count > 0). Returns the bytes written.
PX_TEXT_API size_t px_vformat(char* buf, size_t count, const char* fmt, va_list ap);
PX_TEXT_API size_t px_format(char* buf, size_t count, const char* fmt, ...);

// A pointer as the 32-bit value a "%X" or "%x" log field shows on 64-bit Windows.
inline unsigned int px_low32(const void* p) { return (unsigned int)(ULONG_PTR)p; }
