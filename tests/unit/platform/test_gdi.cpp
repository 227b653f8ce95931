// The GDI text calls fail with a last error when no text services are
// registered (the host's text jobs go through registered ones).
#include "px/posix.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>

namespace {

constexpr DWORD kMagic = 0xdeadbeef;

// Calls with their failure result judged: true when the call answered as a
// failure does. One of each way of failing: out-values cleared, a null, an
// error value, FALSE.
const std::pair<const char*, std::function<bool()>> kCalls[] = {
    {"STROBJ_bEnum",
     [] {
         ULONG c = 7;
         PGLYPHPOS pgp = reinterpret_cast<PGLYPHPOS>(&c);
         return !STROBJ_bEnum(nullptr, &c, &pgp) && c == 0 && pgp == nullptr;
     }},
    {"BRUSHOBJ_ulGetBrushColor", [] { return BRUSHOBJ_ulGetBrushColor(nullptr) == 0xFFFFFFFFu; }},
    {"CreateDCW", [] { return CreateDCW(u"DISPLAY", nullptr, nullptr, nullptr) == nullptr; }},
    {"DeleteDC", [] { return !DeleteDC(nullptr); }},
};

// No table registered, or a table without entries: every call fails.
TEST(TextServices, EveryCallFailsCleanlyWithoutAHost)
{
    static const PxTextServices empty{};
    const PxTextServices* before = PxRegisterTextServices(nullptr);
    for (const PxTextServices* table : {(const PxTextServices*)nullptr, &empty}) {
        PxRegisterTextServices(table);
        for (const auto& [name, call] : kCalls) {
            SetLastError(kMagic);
            EXPECT_TRUE(call()) << name << (table ? " (empty table)" : "");
            EXPECT_EQ(GetLastError(), (DWORD)ERROR_NOT_SUPPORTED) << name << (table ? " (empty table)" : "");
        }
        SetLastError(kMagic);
        STROBJ_vEnumStart(nullptr);
        EXPECT_EQ(GetLastError(), (DWORD)ERROR_NOT_SUPPORTED);
    }
    EXPECT_EQ(PxRegisterTextServices(before), &empty) << "registering answers the table it replaced";
}

}  // namespace
