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

TEST(Format, ConversionsAsWindowsPrintsThem)
{
    EXPECT_EQ(fmt("%d|%u|%X|%#x|%-3d|%03d|%+d|%5.3d|%*d|%q", -5, 4000000000u, 0xabcu, 0x51504d53u, 7, 7, 3, 7, 4, 1),
              "-5|4000000000|ABC|0x51504d53|7  |007|+3|  007|   1|%q");
    // l is 32-bit, as on 64-bit Windows; pointers are sixteen upper-case digits.
    EXPECT_EQ(fmt("%ld|%lx|%lld|%zu", (LONG)-2147483647 - 1, (ULONG)0xFFFFFFFFu, -9000000000LL, (size_t)42),
              "-2147483648|ffffffff|-9000000000|42");
    EXPECT_EQ(fmt("%p|%X", (void*)0x12ab, px_low32((void*)0x123456789abcdefULL)), "00000000000012AB|89ABCDEF");
    // Wide text becomes UTF-8; a lone surrogate cannot, and becomes '?'.
    const WCHAR wide[] = WSTR("Pumex \u00e9"), lone[] = {u'a', 0xD800, u'b', 0}, pair[] = {0xD83D, 0xDE00, 0};
    EXPECT_EQ(fmt("[%s][%ws][%ls][%S][%6ws]", "a", wide, wide, wide, WSTR("ab")),
              "[a][Pumex \xc3\xa9][Pumex \xc3\xa9][Pumex \xc3\xa9][    ab]");
    EXPECT_EQ(fmt("%s|%ws|%ws|%ws", (const char*)nullptr, (const WCHAR*)nullptr, lone, pair),
              "(null)|(null)|a?b|\xF0\x9F\x98\x80");
}

TEST(Format, CutsToTheBufferAndAlwaysTerminates)
{
    char buf[8], out[4096];
    EXPECT_EQ(px_format(buf, sizeof buf, "%s", "0123456789"), 7u);
    EXPECT_STREQ(buf, "0123456");
    EXPECT_TRUE(px_format(buf, 1, "abc") == 0 && buf[0] == '\0');
    // A multi-byte character that does not fit whole is left out; huge widths are cut too.
    EXPECT_EQ(px_format(buf, sizeof buf, "%ws", WSTR("abcdef\u00e9")), 6u);
    EXPECT_STREQ(buf, "abcdef");
    EXPECT_EQ(px_format(out, sizeof out, "%s%s", std::string(4096, 'x').c_str(), "tail"), 4095u);
    EXPECT_EQ(px_format(out, sizeof out, "%99999999d", 1), 4095u);
    EXPECT_EQ(std::string(out).size(), 4095u);
}

}  // namespace
