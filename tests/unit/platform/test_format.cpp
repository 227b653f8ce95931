// The formatter behind the log and command lines: the same bytes on every OS.
#include "testkit.h"

#include <gtest/gtest.h>

#include <string>

namespace {

template <typename... Args>
std::string fmt(const char* format, Args... args)
{
    char buf[256];
    px_format(buf, sizeof buf, format, args...);
    return buf;
}

TEST(Format, IntegersAsWindowsPrintsThem)
{
    EXPECT_EQ(fmt("%d|%u|%x|%X", -5, 4000000000u, 0xabcu, 0xabcu), "-5|4000000000|abc|ABC");
    EXPECT_EQ(fmt("%2d|%2d|%-3d|%03d", 7, 123, 7, 7), " 7|123|7  |007");
    EXPECT_EQ(fmt("%#x|%#X|%#x", 0x51504d53u, 0x51504d53u, 0u), "0x51504d53|0X51504D53|0");
    // l is 32-bit, as on 64-bit Windows.
    EXPECT_EQ(fmt("%ld|%lx|%#lx", (LONG)-2147483647 - 1, (ULONG)0xFFFFFFFFu, (ULONG)0x1234u),
              "-2147483648|ffffffff|0x1234");
    EXPECT_EQ(fmt("%lld|%I64u|%zu", -9000000000LL, 18000000000ULL, (size_t)42), "-9000000000|18000000000|42");
    EXPECT_EQ(fmt("%+d|% d|%.3d|%5.3d", 3, 3, 7, 7), "+3| 3|007|  007");
    EXPECT_EQ(fmt("%*d|%-*d|", 4, 1, 3, 2), "   1|2  |");
    EXPECT_EQ(fmt("100%%"), "100%");
}

TEST(Format, PointersAreSixteenUpperCaseDigits)
{
    EXPECT_EQ(fmt("%p", (void*)0x12ab), "00000000000012AB");
    EXPECT_EQ(fmt("%p", (void*)nullptr), "0000000000000000");
    EXPECT_EQ(fmt("%X", px_low32((void*)0x123456789abcdefULL)), "89ABCDEF");
}

TEST(Format, NarrowAndWideText)
{
    const WCHAR wide[] = WSTR("Pumex \u00e9");
    EXPECT_EQ(fmt("[%s][%hs]", "a", "b"), "[a][b]");
    EXPECT_EQ(fmt("[%ws][%ls][%S]", wide, wide, wide), "[Pumex \xc3\xa9][Pumex \xc3\xa9][Pumex \xc3\xa9]");
    EXPECT_EQ(fmt("[%hS]", "narrow"), "[narrow]");
    EXPECT_EQ(fmt("[%s][%ws]", (const char*)nullptr, (const WCHAR*)nullptr), "[(null)][(null)]");
    EXPECT_EQ(fmt("[%5s][%-5s][%.2s]", "ab", "ab", "abcd"), "[   ab][ab   ][ab]");
    EXPECT_EQ(fmt("[%6ws]", WSTR("ab")), "[    ab]");
    // A lone surrogate cannot be written as UTF-8: it becomes '?'.
    const WCHAR lone[] = {u'a', 0xD800, u'b', 0};
    EXPECT_EQ(fmt("%ws", lone), "a?b");
    const WCHAR pair[] = {0xD83D, 0xDE00, 0};
    EXPECT_EQ(fmt("%ws", pair), "\xF0\x9F\x98\x80");
}

TEST(Format, CutsToTheBufferAndAlwaysTerminates)
{
    char buf[8];
    EXPECT_EQ(px_format(buf, sizeof buf, "%s", "0123456789"), 7u);
    EXPECT_STREQ(buf, "0123456");
    EXPECT_EQ(px_format(buf, 1, "abc"), 0u);
    EXPECT_STREQ(buf, "");
    // A multi-byte character that does not fit whole is left out.
    const WCHAR e[] = WSTR("abcdef\u00e9");
    EXPECT_EQ(px_format(buf, sizeof buf, "%ws", e), 6u);
    EXPECT_STREQ(buf, "abcdef");
    // Huge widths are cut too, never written past the buffer.
    std::string big(4096, 'x');
    char out[4096];
    EXPECT_EQ(px_format(out, sizeof out, "%s%s", big.c_str(), "tail"), 4095u);
    EXPECT_EQ(std::string(out).size(), 4095u);
    EXPECT_EQ(px_format(out, sizeof out, "%99999999d", 1), 4095u);
}

TEST(Format, UnknownConversionsStandAsWritten)
{
    EXPECT_EQ(fmt("%q|%"), "%q|%");
}

TEST(WideText, CopyCatCompareAndConvert)
{
    WCHAR buf[6];
    EXPECT_EQ(px_wcscpy(buf, 6, WSTR("abcdefgh")), 5u);
    EXPECT_EQ(px_wcscmp(buf, WSTR("abcde")), 0);
    px_wcscpy(buf, 6, WSTR("ab"));
    EXPECT_EQ(px_wcscat(buf, 6, WSTR("cdefg")), 5u);
    EXPECT_EQ(px_wcscmp(buf, WSTR("abcde")), 0);
    EXPECT_LT(px_wcscmp(WSTR("Abc"), WSTR("abc")), 0);
    EXPECT_GT(px_wcscmp(WSTR("abcd"), WSTR("abc")), 0);
    EXPECT_EQ(px_wcslen(nullptr), 0u);

    WCHAR w[8];
    EXPECT_EQ(px_utf8_to_wide(w, 8, "a\xc3\xa9\xF0\x9F\x98\x80"), 4u);
    EXPECT_EQ(w[1], 0xE9);
    EXPECT_EQ(w[2], 0xD83D);
    char back[16];
    EXPECT_EQ(px_wide_to_utf8(back, sizeof back, w), 7u);
    EXPECT_STREQ(back, "a\xc3\xa9\xF0\x9F\x98\x80");
}

}  // namespace
