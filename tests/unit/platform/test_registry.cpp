// The printers' FontList keys.
#include "testkit.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

namespace {

TEST(FontListKey, ValuesComeInFileOrderWithTheirTypes)
{
    testkit::TempRoot root;
    root.writePrinter("Embosser", R"({"name": "Embosser", "driver": "Pumex Pro", "fontList": {"Zeta": "C:\\f\\z.dp",
        "Alpha": {"type": "dword", "value": 120}, "Empty": ""}})");
    const std::u16string under = u"SYSTEM\\CurrentControlSet\\Control\\Print\\Printers\\";
    HKEY key = nullptr;
    for (std::u16string path : {u"Other\\FontList", u"..\\FontList", u"Embosser\\PrinterDriverData"})
        EXPECT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, (under + path).c_str(), 0, KEY_READ, &key), ERROR_FILE_NOT_FOUND);
    ASSERT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, (under + u"Embosser\\FontList").c_str(), 0, KEY_READ, &key),
              ERROR_SUCCESS);
    DWORD values = 0, maxData = 0, chars = 32, type = 0, size = 64;
    RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &values, nullptr, &maxData, nullptr,
                     nullptr);
    EXPECT_TRUE(values == 3 && maxData == sizeof(u"C:\\f\\z.dp")) << values << " " << maxData;
    WCHAR name[32];
    BYTE data[64];
    std::vector<std::tuple<std::u16string, DWORD, std::u16string>> seen;  // name, type, data in UTF-16 units
    for (DWORD i = 0; RegEnumValueW(key, i, name, &chars, nullptr, &type, data, &size) == ERROR_SUCCESS; ++i) {
        seen.emplace_back(std::u16string(name, chars), type, std::u16string((char16_t*)data, size / 2));
        chars = 32, size = 64;
    }
    EXPECT_EQ(seen,
              (decltype(seen){
                  {u"Zeta", REG_SZ, {u"C:\\f\\z.dp", 10}}, {u"Alpha", REG_DWORD, {120, 0}}, {u"Empty", REG_SZ, {0}}}));
    chars = 4;  // too small: "Zeta" needs 5 with its terminator, and is not overrun
    EXPECT_EQ(RegEnumValueW(key, 0, name, &chars, nullptr, nullptr, nullptr, nullptr), ERROR_MORE_DATA);
    chars = 32, size = 4;
    EXPECT_TRUE(RegEnumValueW(key, 0, name, &chars, nullptr, nullptr, data, &size) == ERROR_MORE_DATA && size == 20);
    EXPECT_TRUE(RegCloseKey(key) == ERROR_SUCCESS && RegCloseKey(key) == ERROR_INVALID_HANDLE) << "a stale key";

    // A number no type holds is a printer that cannot be read, not an exception out of the call.
    root.writePrinter("Embosser", R"({"name": "Embosser", "driver": "Pumex Pro", "fontList": {"A": 1e999}})");
    key = (HKEY)&key;
    EXPECT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, (under + u"Embosser\\FontList").c_str(), 0, KEY_READ, &key),
              ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(key, nullptr);
}

}  // namespace
