// The printers' FontList keys and the library calls.
#include "testkit.h"

#include <gtest/gtest.h>

#include <string>

namespace {

const char16_t kKey[] = u"SYSTEM\\CurrentControlSet\\Control\\Print\\Printers\\Embosser\\FontList";

class FontListKey : public ::testing::Test {
protected:
    void write(const std::string& fontList)
    {
        root.writePrinter("Embosser", "{ \"name\": \"Embosser\", \"driver\": \"Pumex Pro\", \"fontList\": " +
                                          fontList + " }");
    }
    testkit::TempRoot root;
};

TEST_F(FontListKey, ValuesComeInFileOrderWithTheirTypes)
{
    write("{ \"Zeta\": \"C:\\\\f\\\\z.dp\", \"Alpha\": { \"type\": \"dword\", \"value\": 120 }, \"Empty\": \"\" }");
    HKEY key = nullptr;
    ASSERT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, kKey, 0, KEY_READ, &key), ERROR_SUCCESS);
    DWORD values = 0, maxName = 0, maxData = 0;
    ASSERT_EQ(RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &values, &maxName,
                               &maxData, nullptr, nullptr),
              ERROR_SUCCESS);
    EXPECT_EQ(values, 3u);
    EXPECT_EQ(maxName, 5u);
    EXPECT_EQ(maxData, sizeof(u"C:\\f\\z.dp"));

    struct Expected {
        const char16_t* name;
        DWORD type;
        DWORD size;
    } expected[] = {{u"Zeta", REG_SZ, sizeof(u"C:\\f\\z.dp")}, {u"Alpha", REG_DWORD, 4}, {u"Empty", REG_SZ, 2}};
    for (DWORD i = 0; i < 3; ++i) {
        WCHAR name[32];
        DWORD nameChars = 32, type = 0, size = 64;
        BYTE data[64];
        ASSERT_EQ(RegEnumValueW(key, i, name, &nameChars, nullptr, &type, data, &size), ERROR_SUCCESS);
        EXPECT_EQ(std::u16string(name), expected[i].name);
        EXPECT_EQ(nameChars, std::u16string(expected[i].name).size());
        EXPECT_EQ(type, expected[i].type);
        EXPECT_EQ(size, expected[i].size);
    }
    WCHAR name[32];
    DWORD nameChars = 32;
    EXPECT_EQ(RegEnumValueW(key, 3, name, &nameChars, nullptr, nullptr, nullptr, nullptr), ERROR_NO_MORE_ITEMS);

    // Buffers too small are reported, not overrun.
    nameChars = 4;  // "Zeta" needs 5 with its terminator
    EXPECT_EQ(RegEnumValueW(key, 0, name, &nameChars, nullptr, nullptr, nullptr, nullptr), ERROR_MORE_DATA);
    BYTE small[4];
    DWORD size = sizeof small;
    nameChars = 32;
    EXPECT_EQ(RegEnumValueW(key, 0, name, &nameChars, nullptr, nullptr, small, &size), ERROR_MORE_DATA);
    EXPECT_EQ(size, sizeof(u"C:\\f\\z.dp"));

    DWORD number = 0, type = 0;
    size = sizeof number;
    EXPECT_EQ(RegQueryValueExW(key, u"alpha", nullptr, &type, (LPBYTE)&number, &size), ERROR_SUCCESS);
    EXPECT_EQ(number, 120u);
    EXPECT_EQ(RegQueryValueExW(key, u"Missing", nullptr, &type, nullptr, &size), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(RegCloseKey(key), ERROR_SUCCESS);
    EXPECT_EQ(RegCloseKey(key), ERROR_INVALID_HANDLE);
}

TEST_F(FontListKey, OtherKeysAndPrintersAreNotFound)
{
    write("{}");
    HKEY key = nullptr;
    const char16_t* missing[] = {
        u"SYSTEM\\CurrentControlSet\\Control\\Print\\Printers\\Other\\FontList",
        u"SYSTEM\\CurrentControlSet\\Control\\Print\\Printers\\Embosser\\PrinterDriverData",
        u"SYSTEM\\CurrentControlSet\\Control\\Print\\Printers\\..\\FontList",
        u"SOFTWARE\\Embosser\\FontList",
    };
    for (const char16_t* path : missing) {
        EXPECT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, path, 0, KEY_READ, &key), ERROR_FILE_NOT_FOUND);
        EXPECT_EQ(key, nullptr);
    }
    EXPECT_EQ(RegOpenKeyExW(HKEY_LOCAL_MACHINE, kKey, 0, KEY_READ, &key), ERROR_SUCCESS);
    DWORD values = 9;
    RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &values, nullptr, nullptr, nullptr,
                     nullptr);
    EXPECT_EQ(values, 0u);
    RegCloseKey(key);
    EXPECT_EQ(RegQueryValueExW(reinterpret_cast<HKEY>(0x1234), u"x", nullptr, nullptr, nullptr, nullptr),
              ERROR_INVALID_HANDLE);
}

TEST(Libraries, SystemDirectoryAndLoading)
{
    testkit::TempRoot root;
    WCHAR dir[MAX_PATH];
    EXPECT_EQ(GetSystemDirectoryW(dir, MAX_PATH), 19u);
    EXPECT_EQ(std::u16string(dir), u"C:\\windows\\system32");
    EXPECT_EQ(GetSystemDirectoryW(dir, 5), 20u);  // too small: the size needed

    SetLastError(0);
    EXPECT_EQ(LoadLibraryW(u"C:\\windows\\system32\\nothing.dll"), nullptr);
    EXPECT_EQ(GetLastError(), (DWORD)ERROR_MOD_NOT_FOUND);
    EXPECT_EQ(LoadLibraryW(nullptr), nullptr);
    EXPECT_FALSE(FreeLibrary(nullptr));
}

}  // namespace
