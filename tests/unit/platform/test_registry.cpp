// The printers' FontList keys.
#include "testkit.h"

#include <gtest/gtest.h>

#include <string>

namespace {

// Values in file order with their types are read by the font list tests of
// the braille fonts; here, the key's bounds.
TEST(FontListKey, OnlyTheFontListOfAPrinterAndNoBufferOverrun)
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
    DWORD values = 0, maxData = 0;
    RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &values, nullptr, &maxData, nullptr,
                     nullptr);
    EXPECT_TRUE(values == 3 && maxData == sizeof(u"C:\\f\\z.dp")) << values << " " << maxData;
    WCHAR name[32];
    BYTE data[64];
    DWORD chars = 4, size = 4;  // too small: "Zeta" needs 5 with its terminator, and is not overrun
    EXPECT_EQ(RegEnumValueW(key, 0, name, &chars, nullptr, nullptr, nullptr, nullptr), ERROR_MORE_DATA);
    chars = 32;
    EXPECT_TRUE(RegEnumValueW(key, 0, name, &chars, nullptr, nullptr, data, &size) == ERROR_MORE_DATA && size == 20);
    EXPECT_TRUE(RegCloseKey(key) == ERROR_SUCCESS && RegCloseKey(key) == ERROR_INVALID_HANDLE) << "a stale key";
}

}  // namespace
