// The registry keys of printers, as the spooler keeps them:
// HKEY_LOCAL_MACHINE\SYSTEM\CurrentControlSet\Control\Print\Printers\<name>\FontList
// is the "fontList" object of the printer's file, its values in file order.
#include "printer_file.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <new>

namespace {

const char kPrintersKey[] = "SYSTEM\\CurrentControlSet\\Control\\Print\\Printers\\";

struct RegistryKey : px::HandleHeader {
    std::vector<std::pair<std::u16string, px::PrinterValue>> values;  // a snapshot taken at open
};

RegistryKey* keyOf(HKEY h) { return px::handleAs<RegistryKey>(h, px::HandleKind::RegistryKey); }

std::u16string wide(const std::string& s)
{
    std::u16string out(s.size() + 1, u'\0');
    out.resize(px_utf8_to_wide(&out[0], out.size(), s.c_str()));
    return out;
}

// Splits "<printers key><name>\FontList" into the printer's name; false for any other key.
bool fontListPrinter(const std::string& path, std::string& printer)
{
    size_t prefix = sizeof kPrintersKey - 1;
    if (path.size() <= prefix || !px::sameName(path.substr(0, prefix), kPrintersKey))
        return false;
    size_t slash = path.find('\\', prefix);
    if (slash == std::string::npos || !px::sameName(path.substr(slash + 1), "FontList"))
        return false;
    printer = path.substr(prefix, slash - prefix);
    return px::isPrinterName(printer);
}

// Copies a value's name and data out as RegEnumValueW and RegQueryValueExW do.
LSTATUS copyValue(const std::u16string* name, const px::PrinterValue& value, LPWSTR nameOut, LPDWORD nameChars,
                  LPDWORD type, LPBYTE data, LPDWORD cbData)
{
    if (name) {
        if (!nameOut || !nameChars || *nameChars <= name->size())
            return ERROR_MORE_DATA;
        px_wcscpy(nameOut, *nameChars, name->c_str());
        *nameChars = (DWORD)name->size();
    }
    if (type)
        *type = value.type;
    DWORD size = (DWORD)value.bytes.size();
    if (data) {
        if (!cbData)
            return ERROR_INVALID_PARAMETER;
        if (*cbData < size) {
            *cbData = size;
            return ERROR_MORE_DATA;
        }
        std::copy(value.bytes.begin(), value.bytes.end(), data);
    }
    if (cbData)
        *cbData = size;
    return ERROR_SUCCESS;
}

// Opens the FontList key of the printer a path names: a snapshot of the file's "fontList".
LSTATUS openFontList(const std::string& path, PHKEY result)
{
    std::string printer;
    if (!fontListPrinter(path, printer))
        return ERROR_FILE_NOT_FOUND;
    px::PrinterDoc doc;
    std::string problem;
    px::PrinterLoad load = px::loadPrinterFile(px::printerFilePath(printer), doc, problem);
    if (load != px::PrinterLoad::Ok) {
        if (load != px::PrinterLoad::Missing)  // say why a printer that is there cannot be read
            std::fprintf(stderr, "pumex platform: %s\n", problem.c_str());
        return ERROR_FILE_NOT_FOUND;
    }
    auto key = std::make_unique<RegistryKey>();
    key->kind = px::HandleKind::RegistryKey;
    if (doc.contains("fontList"))
        for (auto& item : doc["fontList"].items())
            key->values.emplace_back(wide(item.key()), px::decodePrinterValue(item.value()));
    px::registerHandle(key.get());
    *result = reinterpret_cast<HKEY>(static_cast<px::HandleHeader*>(key.release()));
    return ERROR_SUCCESS;
}

}  // namespace

LSTATUS RegOpenKeyExW(HKEY hKey, LPCWSTR lpSubKey, DWORD, REGSAM, PHKEY phkResult)
{
    if (!phkResult)
        return ERROR_INVALID_PARAMETER;
    *phkResult = nullptr;
    if (hKey != HKEY_LOCAL_MACHINE || !lpSubKey)
        return ERROR_FILE_NOT_FOUND;
    try {
        return openFontList(px::narrow(lpSubKey), phkResult);
    } catch (const std::bad_alloc&) {
        return ERROR_NOT_ENOUGH_MEMORY;
    } catch (...) {
        return ERROR_INVALID_DATA;  // no C++ exception leaves a Windows call
    }
}

LSTATUS RegQueryInfoKeyW(HKEY hKey, LPWSTR, LPDWORD lpcchClass, LPDWORD, LPDWORD lpcSubKeys,
                         LPDWORD lpcbMaxSubKeyLen, LPDWORD lpcbMaxClassLen, LPDWORD lpcValues,
                         LPDWORD lpcbMaxValueNameLen, LPDWORD lpcbMaxValueLen, LPDWORD lpcbSecurityDescriptor,
                         PFILETIME lpftLastWriteTime)
{
    RegistryKey* key = keyOf(hKey);
    if (!key)
        return ERROR_INVALID_HANDLE;
    DWORD maxName = 0, maxData = 0;
    for (const auto& v : key->values) {
        maxName = std::max(maxName, (DWORD)v.first.size());
        maxData = std::max(maxData, (DWORD)v.second.bytes.size());
    }
    for (LPDWORD zero : {lpcchClass, lpcSubKeys, lpcbMaxSubKeyLen, lpcbMaxClassLen, lpcbSecurityDescriptor})
        if (zero)
            *zero = 0;
    if (lpcValues)
        *lpcValues = (DWORD)key->values.size();
    if (lpcbMaxValueNameLen)
        *lpcbMaxValueNameLen = maxName;
    if (lpcbMaxValueLen)
        *lpcbMaxValueLen = maxData;
    if (lpftLastWriteTime)
        *lpftLastWriteTime = FILETIME{0, 0};
    return ERROR_SUCCESS;
}

LSTATUS RegEnumValueW(HKEY hKey, DWORD dwIndex, LPWSTR lpValueName, LPDWORD lpcchValueName, LPDWORD,
                      LPDWORD lpType, LPBYTE lpData, LPDWORD lpcbData)
{
    RegistryKey* key = keyOf(hKey);
    if (!key)
        return ERROR_INVALID_HANDLE;
    if (dwIndex >= key->values.size())
        return ERROR_NO_MORE_ITEMS;
    const auto& entry = key->values[dwIndex];
    return copyValue(&entry.first, entry.second, lpValueName, lpcchValueName, lpType, lpData, lpcbData);
}

LSTATUS RegQueryValueExW(HKEY hKey, LPCWSTR lpValueName, LPDWORD, LPDWORD lpType, LPBYTE lpData, LPDWORD lpcbData)
{
    RegistryKey* key = keyOf(hKey);
    if (!key)
        return ERROR_INVALID_HANDLE;
    std::string wanted = px::narrow(lpValueName ? lpValueName : WSTR(""));
    for (const auto& entry : key->values)
        if (px::sameName(px::narrow(entry.first.c_str()), wanted))
            return copyValue(nullptr, entry.second, nullptr, nullptr, lpType, lpData, lpcbData);
    return ERROR_FILE_NOT_FOUND;
}

LSTATUS RegCloseKey(HKEY hKey)
{
    RegistryKey* key = keyOf(hKey);
    if (!key)
        return ERROR_INVALID_HANDLE;
    px::unregisterHandle(key);
    delete key;
    return ERROR_SUCCESS;
}
