// Wide text helpers and the one formatter the log and command lines use.
#include "win32.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>

size_t px_wcslen(const WCHAR* s)
{
    size_t n = 0;
    if (s)
        while (s[n])
            ++n;
    return n;
}

size_t px_wcscpy(WCHAR* dst, size_t cap, const WCHAR* src)
{
    if (!dst || cap == 0)
        return 0;
    size_t n = 0;
    if (src)
        for (; n + 1 < cap && src[n]; ++n)
            dst[n] = src[n];
    dst[n] = 0;
    return n;
}

size_t px_wcscat(WCHAR* dst, size_t cap, const WCHAR* src)
{
    if (!dst || cap == 0)
        return 0;
    size_t used = 0;
    while (used < cap && dst[used])
        ++used;
    if (used == cap) {  // not terminated: terminate at the end
        dst[cap - 1] = 0;
        return cap - 1;
    }
    return used + px_wcscpy(dst + used, cap - used, src);
}

int px_wcscmp(const WCHAR* a, const WCHAR* b)
{
    if (!a || !b)
        return (a ? 1 : 0) - (b ? 1 : 0);
    while (*a && *a == *b) {
        ++a;
        ++b;
    }
    return (int)(uint16_t)*a - (int)(uint16_t)*b;
}

namespace {

// Decodes one UTF-8 sequence; returns its length and the code point (0xFFFD when malformed).
size_t utf8Decode(const unsigned char* s, uint32_t* cp)
{
    unsigned char c = s[0];
    int extra = c < 0x80 ? 0 : (c >> 5) == 6 ? 1 : (c >> 4) == 14 ? 2 : (c >> 3) == 30 ? 3 : -1;
    if (extra < 0) {
        *cp = 0xFFFD;
        return 1;
    }
    uint32_t v = extra == 0 ? c : c & (0x3F >> extra);
    for (int i = 1; i <= extra; ++i) {
        if ((s[i] & 0xC0) != 0x80) {
            *cp = 0xFFFD;
            return (size_t)i;
        }
        v = (v << 6) | (s[i] & 0x3F);
    }
    *cp = v > 0x10FFFF ? 0xFFFD : v;
    return (size_t)extra + 1;
}

// Encodes one code point; returns its length in bytes.
size_t utf8Encode(uint32_t cp, char out[4])
{
    if (cp < 0x80) {
        out[0] = (char)cp;
        return 1;
    }
    if (cp < 0x800) {
        out[0] = (char)(0xC0 | (cp >> 6));
        out[1] = (char)(0x80 | (cp & 0x3F));
        return 2;
    }
    if (cp < 0x10000) {
        out[0] = (char)(0xE0 | (cp >> 12));
        out[1] = (char)(0x80 | ((cp >> 6) & 0x3F));
        out[2] = (char)(0x80 | (cp & 0x3F));
        return 3;
    }
    out[0] = (char)(0xF0 | (cp >> 18));
    out[1] = (char)(0x80 | ((cp >> 12) & 0x3F));
    out[2] = (char)(0x80 | ((cp >> 6) & 0x3F));
    out[3] = (char)(0x80 | (cp & 0x3F));
    return 4;
}

// Reads the next code point of UTF-16 text; unpaired surrogates read as '?'.
uint32_t utf16Next(const WCHAR*& s)
{
    uint32_t u = (uint16_t)*s++;
    if (u >= 0xD800 && u <= 0xDBFF) {
        uint32_t lo = (uint16_t)*s;
        if (lo >= 0xDC00 && lo <= 0xDFFF) {
            ++s;
            return 0x10000 + ((u - 0xD800) << 10) + (lo - 0xDC00);
        }
        return '?';
    }
    if (u >= 0xDC00 && u <= 0xDFFF)
        return '?';
    return u;
}

}  // namespace

size_t px_utf8_to_wide(WCHAR* dst, size_t cap, const char* src)
{
    if (!dst || cap == 0)
        return 0;
    size_t n = 0;
    const unsigned char* s = (const unsigned char*)(src ? src : "");
    while (*s) {
        uint32_t cp;
        s += utf8Decode(s, &cp);
        size_t need = cp >= 0x10000 ? 2 : 1;
        if (n + need >= cap)
            break;
        if (need == 2) {
            cp -= 0x10000;
            dst[n++] = (WCHAR)(0xD800 + (cp >> 10));
            dst[n++] = (WCHAR)(0xDC00 + (cp & 0x3FF));
        } else {
            dst[n++] = (WCHAR)cp;
        }
    }
    dst[n] = 0;
    return n;
}

size_t px_wide_to_utf8(char* dst, size_t cap, const WCHAR* src)
{
    if (!dst || cap == 0)
        return 0;
    size_t n = 0;
    if (src) {
        while (*src) {
            char enc[4];
            size_t len = utf8Encode(utf16Next(src), enc);
            if (n + len >= cap)
                break;
            for (size_t i = 0; i < len; ++i)
                dst[n++] = enc[i];
        }
    }
    dst[n] = 0;
    return n;
}

namespace {

// Output of the formatter: a bounded buffer that never splits a UTF-8 character.
struct Sink {
    char* buf;
    size_t cap;  // bytes available for text (count - 1)
    size_t len;

    bool full() const { return len >= cap; }
    void put(char c)
    {
        if (len < cap)
            buf[len++] = c;
    }
    void putRepeat(char c, int n)
    {
        for (int i = 0; i < n && len < cap; ++i)  // a huge width costs no more than the buffer
            put(c);
    }
    void putBytes(const char* s, size_t n)
    {
        for (size_t i = 0; i < n; ++i)
            put(s[i]);
    }
    // A whole character or nothing.
    void putChar(const char* enc, size_t n)
    {
        if (len + n <= cap)
            putBytes(enc, n);
        else
            cap = len;  // nothing after a cut character
    }
};

// Widths and precisions past this are taken as this: no buffer is that large.
constexpr int kMaxWidth = 100000;

struct FieldFormat {
    bool left = false, zero = false, alt = false, plus = false, space = false;
    int width = 0;
    int precision = -1;
};

size_t utf8Length(const char* s, int precision)
{
    size_t n = 0;
    while ((precision < 0 || n < (size_t)precision) && s[n])  // text of exactly precision units needs no end
        ++n;
    return n;
}

void putNarrow(Sink& out, const FieldFormat& field, const char* s)
{
    if (!s)
        s = "(null)";
    size_t n = utf8Length(s, field.precision);
    int pad = field.width > (int)n ? field.width - (int)n : 0;
    if (!field.left)
        out.putRepeat(' ', pad);
    out.putBytes(s, n);
    if (field.left)
        out.putRepeat(' ', pad);
}

void putWide(Sink& out, const FieldFormat& field, const WCHAR* s)
{
    if (!s) {
        putNarrow(out, field, nullptr);
        return;
    }
    // Width and precision count UTF-16 code units, as on Windows.
    size_t units = 0;
    while ((field.precision < 0 || units < (size_t)field.precision) && s[units])
        ++units;
    int pad = field.width > (int)units ? field.width - (int)units : 0;
    if (!field.left)
        out.putRepeat(' ', pad);
    const WCHAR* end = s + units;
    while (s < end) {
        char enc[4];
        // A pair cut by the precision is half a character: its second unit lies beyond the text.
        uint32_t cp = (s + 1 == end && *s >= 0xD800 && *s <= 0xDBFF) ? (++s, (uint32_t)'?') : utf16Next(s);
        out.putChar(enc, utf8Encode(cp, enc));
    }
    if (field.left)
        out.putRepeat(' ', pad);
}

void putInteger(Sink& out, const FieldFormat& field, uint64_t magnitude, bool negative, unsigned base, bool upper,
                bool isSigned)
{
    const char* digits = upper ? "0123456789ABCDEF" : "0123456789abcdef";
    char tmp[24];
    int n = 0;
    do {
        tmp[n++] = digits[magnitude % base];
        magnitude /= base;
    } while (magnitude);
    bool zeroValue = (n == 1 && tmp[0] == '0');
    if (field.precision == 0 && zeroValue)
        n = 0;
    int precisionZeros = field.precision > n ? field.precision - n : 0;

    char prefix[3];
    int np = 0;
    if (isSigned && negative)
        prefix[np++] = '-';
    else if (isSigned && field.plus)
        prefix[np++] = '+';
    else if (isSigned && field.space)
        prefix[np++] = ' ';
    if (field.alt && !zeroValue && base == 16) {
        prefix[np++] = '0';
        prefix[np++] = upper ? 'X' : 'x';
    } else if (field.alt && base == 8 && precisionZeros == 0 && (n == 0 || tmp[n - 1] != '0')) {
        precisionZeros = 1;  // the alternate octal form always starts with 0, even for %#.0o of 0
    }

    int body = np + precisionZeros + n;
    int pad = field.width > body ? field.width - body : 0;
    bool zeroPad = field.zero && !field.left && field.precision < 0;
    if (!field.left && !zeroPad)
        out.putRepeat(' ', pad);
    out.putBytes(prefix, (size_t)np);
    if (zeroPad)
        out.putRepeat('0', pad);
    out.putRepeat('0', precisionZeros);
    while (n > 0)
        out.put(tmp[--n]);
    if (field.left)
        out.putRepeat(' ', pad);
}

enum class Size { Int, Short, Char, Long, LongLong, SizeT };

}  // namespace

size_t px_vformat(char* buf, size_t count, const char* fmt, va_list ap)
{
    if (!buf || count == 0)
        return 0;
    Sink out{buf, count - 1, 0};
    va_list args;
    va_copy(args, ap);
    const char* p = fmt ? fmt : "";
    while (*p && !out.full()) {
        if (*p != '%') {
            out.put(*p++);
            continue;
        }
        const char* start = p++;
        FieldFormat field;
        for (;; ++p) {
            if (*p == '-')
                field.left = true;
            else if (*p == '0')
                field.zero = true;
            else if (*p == '#')
                field.alt = true;
            else if (*p == '+')
                field.plus = true;
            else if (*p == ' ')
                field.space = true;
            else
                break;
        }
        if (*p == '*') {
            int width = va_arg(args, int);
            field.left = field.left || width < 0;
            // INT_MIN has no positive; any width past the limit pads no further.
            field.width = width < 0 ? (width < -kMaxWidth ? kMaxWidth : -width) : std::min(width, kMaxWidth);
            ++p;
        } else {
            while (*p >= '0' && *p <= '9' && field.width < kMaxWidth)
                field.width = field.width * 10 + (*p++ - '0');
            while (*p >= '0' && *p <= '9')
                ++p;
        }
        if (*p == '.') {
            ++p;
            field.precision = 0;
            if (*p == '*') {
                int precision = va_arg(args, int);
                field.precision = precision < 0 ? -1 : std::min(precision, kMaxWidth);  // negative: none given
                ++p;
            } else {
                while (*p >= '0' && *p <= '9' && field.precision < kMaxWidth)
                    field.precision = field.precision * 10 + (*p++ - '0');
                while (*p >= '0' && *p <= '9')
                    ++p;
            }
        }
        Size size = Size::Int;
        bool wide = false, narrow = false;
        if (p[0] == 'h' && p[1] == 'h') {
            size = Size::Char;
            p += 2;
        } else if (*p == 'h') {
            size = Size::Short;
            narrow = true;
            ++p;
        } else if (p[0] == 'l' && p[1] == 'l') {
            size = Size::LongLong;
            p += 2;
        } else if (*p == 'l') {
            size = Size::Long;
            wide = true;
            ++p;
        } else if (*p == 'w') {
            wide = true;
            ++p;
        } else if (p[0] == 'I' && p[1] == '6' && p[2] == '4') {
            size = Size::LongLong;
            p += 3;
        } else if (*p == 'z' || *p == 'I') {
            size = Size::SizeT;
            ++p;
        }

        char conv = *p;
        if (conv)
            ++p;
        switch (conv) {
        case 'd':
        case 'i': {
            int64_t v;
            switch (size) {
            case Size::LongLong:
            case Size::SizeT: v = va_arg(args, long long); break;
            case Size::Short: v = (short)va_arg(args, int); break;
            case Size::Char: v = (signed char)va_arg(args, int); break;
            default: v = va_arg(args, int); break;  // int and LONG are both 32-bit
            }
            uint64_t mag = v < 0 ? (uint64_t)0 - (uint64_t)v : (uint64_t)v;
            putInteger(out, field, mag, v < 0, 10, false, true);
            break;
        }
        case 'u':
        case 'x':
        case 'X':
        case 'o': {
            uint64_t v;
            switch (size) {
            case Size::LongLong: v = va_arg(args, unsigned long long); break;
            case Size::SizeT: v = va_arg(args, size_t); break;
            case Size::Short: v = (unsigned short)va_arg(args, unsigned int); break;
            case Size::Char: v = (unsigned char)va_arg(args, unsigned int); break;
            default: v = va_arg(args, unsigned int); break;
            }
            unsigned base = conv == 'u' ? 10 : conv == 'o' ? 8 : 16;
            putInteger(out, field, v, false, base, conv == 'X', false);
            break;
        }
        case 'p': {
            FieldFormat ptr;
            ptr.width = 16;
            ptr.zero = true;
            putInteger(out, ptr, (uint64_t)(uintptr_t)va_arg(args, void*), false, 16, true, false);
            break;
        }
        case 'c': {
            if (wide) {
                WCHAR w[2] = {(WCHAR)va_arg(args, int), 0};
                putWide(out, field, w);
            } else {
                char c[2] = {(char)va_arg(args, int), 0};
                FieldFormat s = field;
                s.precision = 1;
                if (c[0] == 0) {
                    // a zero character is written as such
                    int pad = field.width > 1 ? field.width - 1 : 0;
                    if (!field.left)
                        out.putRepeat(' ', pad);
                    out.put('\0');
                    if (field.left)
                        out.putRepeat(' ', pad);
                } else {
                    putNarrow(out, s, c);
                }
            }
            break;
        }
        case 's':
            if (wide)
                putWide(out, field, va_arg(args, const WCHAR*));
            else
                putNarrow(out, field, va_arg(args, const char*));
            break;
        case 'S':
            if (narrow)
                putNarrow(out, field, va_arg(args, const char*));
            else
                putWide(out, field, va_arg(args, const WCHAR*));
            break;
        case '%': out.put('%'); break;
        default:
            // Unknown conversion: written as it stands.
            out.putBytes(start, (size_t)(p - start));
            break;
        }
    }
    va_end(args);
    buf[out.len] = 0;
    return out.len;
}

size_t px_format(char* buf, size_t count, const char* fmt, ...)
{
    va_list ap;
    va_start(ap, fmt);
    size_t n = px_vformat(buf, count, fmt, ap);
    va_end(ap);
    return n;
}
