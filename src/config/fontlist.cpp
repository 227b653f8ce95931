// The printer's braille font list: the registry key "FontList" maps source
// font faces to braille font files.
#include "config.h"

#include "diag/diag.h"

#include <cstring>

namespace {

const WCHAR kPrintersKey[] = WSTR("SYSTEM\\CurrentControlSet\\Control\\Print\\Printers");
#define KEY_PATH_CHARS 4096
#define VALUE_NAME_CHARS 16383

// The decimal text of a REG_DWORD file name. Eight characters at most hold
// every value from -999999 to 9999999; a longer number cannot name a font
// file here and leaves the slot without a file.
WCHAR* dwordFileName(const BYTE* data, DWORD size)
{
    if (size < sizeof(DWORD))
        return nullptr;
    INT number;
    std::memcpy(&number, data, sizeof number);
    char digits[16];
    size_t length = px_format(digits, sizeof digits, "%d", number);
    if (length > 7)
        return nullptr;
    WCHAR text[8];
    px_utf8_to_wide(text, 8, digits);
    return mystrdup(text);
}

// The text of a REG_SZ file name, up to its first zero or the end of the data.
WCHAR* textFileName(const BYTE* data, DWORD size)
{
    DWORD chars = 0;
    const DWORD limit = size / sizeof(WCHAR);
    for (; chars < limit; ++chars) {
        WCHAR c;
        std::memcpy(&c, data + chars * sizeof(WCHAR), sizeof c);
        if (c == 0)
            break;
    }
    if (chars == 0)
        return nullptr;
    auto* text = static_cast<WCHAR*>(mymalloc((chars + 1) * sizeof(WCHAR)));
    if (text)
        std::memcpy(text, data, chars * sizeof(WCHAR));  // zero-filled: the terminator is there
    return text;
}

void freeArray(WCHAR**& names)
{
    if (names)
        myfree(names);
    names = nullptr;
}

}  // namespace

// Fills the two name arrays from the key, slot k for the k-th usable value;
// fontCount counts every value of the key, usable or not.
void Config_readRegistry(Config* config, WCHAR*** srcFontNames, WCHAR*** dpFontNames, INT* fontCount)
{
    WCHAR path[KEY_PATH_CHARS] = {0};
    px_wcscpy(path, KEY_PATH_CHARS, kPrintersKey);
    px_wcscat(path, KEY_PATH_CHARS, WSTR("\\"));
    px_wcscat(path, KEY_PATH_CHARS, config->printerName);
    px_wcscat(path, KEY_PATH_CHARS, WSTR("\\FontList"));
    LogMessage("Config_readRegistry(): open registry key: %S\n", path);

    HKEY key = nullptr;
    if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, path, 0, KEY_READ, &key) != ERROR_SUCCESS) {
        LogMessage("Config_readRegistry(): Failed to open registry key\n");
        return;
    }
    DWORD values = 0, maxData = 0;
    RegQueryInfoKeyW(key, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, &values, nullptr, &maxData, nullptr,
                     nullptr);
    if (values == 0) {
        *fontCount = 0;
        LogMessage("\tRegQueryInfoKey() returns 0 values under the subkey. Exit now.\n");
        RegCloseKey(key);
        return;
    }
    *fontCount = (INT)values;
    LogMessage("\tRegQueryInfoKey() returns %d values under the subkey.  Max data len is %d.  Enum now.\n", values,
               maxData);

    *srcFontNames = static_cast<WCHAR**>(mymalloc(values * sizeof(WCHAR*)));
    *dpFontNames = static_cast<WCHAR**>(mymalloc(values * sizeof(WCHAR*)));
    if (!*srcFontNames || !*dpFontNames) {
        LogMessage("\tCannot allocate enough memory for either the value names or the values. Exit now.\n");
        freeArray(*srcFontNames);
        freeArray(*dpFontNames);
        *fontCount = 0;
        RegCloseKey(key);
        return;
    }
    auto* data = static_cast<BYTE*>(mymalloc(maxData));
    if (!data) {
        LogMessage("\tcannot allocate enough memory for lpData.  Exit now.\n");
        freeArray(*srcFontNames);
        freeArray(*dpFontNames);
        *fontCount = 0;
        RegCloseKey(key);
        return;
    }

    WCHAR name[VALUE_NAME_CHARS + 1];  // registry value names go up to 16383 characters
    INT k = 0;
    for (DWORD i = 0; i < values; ++i) {
        DWORD nameChars = VALUE_NAME_CHARS + 1, type = 0, size = maxData;
        LSTATUS rc = RegEnumValueW(key, i, name, &nameChars, nullptr, &type, data, &size);
        if (rc != ERROR_SUCCESS) {
            LogMessage("\ti = %2d: failed to get this entry.   Err = %d\n", i, rc);
            continue;
        }
        if (nameChars == 0 || size == 0)
            continue;
        (*srcFontNames)[k] = mystrdup(name);
        if (type == REG_DWORD)
            (*dpFontNames)[k] = dwordFileName(data, size);
        else if (type == REG_SZ)
            (*dpFontNames)[k] = textFileName(data, size);
        LogMessage("\ti = %2d, count = %d:\t%ws -> %ws\n", i, k, (*srcFontNames)[k], (*dpFontNames)[k]);
        ++k;
    }
    myfree(data);
    RegCloseKey(key);
}
