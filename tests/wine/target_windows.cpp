// The run under Windows (Wine): the printer made known to the spooler through
// the registry, and the DLL's string table and version resource read back as
// the driver reads them.
#include "driver_check.h"
#include "resources/strings.h"

#include <cstdio>
#include <string>

namespace {

const WCHAR kPrintersKey[] = L"System\\CurrentControlSet\\Control\\Print\\Printers\\";

bool setText(HKEY key, const WCHAR* name, const WCHAR* text)
{
    DWORD bytes = (DWORD)((px_wcslen(text) + 1) * sizeof(WCHAR));
    return RegSetValueExW(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text), bytes) == ERROR_SUCCESS;
}

// One block of sixteen counted strings, checked against the table.
void checkBlock(HMODULE module, const StringLanguage& entry, UINT block, CheckLog& log)
{
    char text[64];
    std::snprintf(text, sizeof text, "language 0x%04X block %u", (unsigned)entry.langId, block);
    const std::string where = text;
    HRSRC found = FindResourceExW(module, RT_STRING, MAKEINTRESOURCEW(block), entry.langId);
    HGLOBAL loaded = found ? LoadResource(module, found) : nullptr;
    const WCHAR* p = loaded ? static_cast<const WCHAR*>(LockResource(loaded)) : nullptr;
    if (!p) {
        log.fail(where + ": not found");
        return;
    }
    const WCHAR* end = p + SizeofResource(module, found) / sizeof(WCHAR);
    for (UINT i = 0; i < 16; ++i) {
        UINT number = (block - 1) * 16 + i;
        std::wstring expected = StringTable_text(&entry, number);
        if (p >= end || p + 1 + *p > end) {
            log.fail(where + ": ends before number " + std::to_string(number));
            return;
        }
        std::wstring actual(p + 1, *p);
        log.expect(actual == expected, where + ": number " + std::to_string(number) + " differs");
        p += 1 + *p;
    }
}

BOOL CALLBACK countLanguage(HMODULE, LPCWSTR, LPCWSTR, WORD, LONG_PTR count)
{
    ++*reinterpret_cast<int*>(count);
    return TRUE;
}

void checkVersion(HMODULE module, CheckLog& log)
{
    WCHAR path[MAX_PATH];
    GetModuleFileNameW(module, path, MAX_PATH);
    DWORD handle = 0, size = GetFileVersionInfoSizeW(path, &handle);
    std::string block(size, '\0');
    if (!size || !GetFileVersionInfoW(path, 0, size, &block[0])) {
        log.fail("GetFileVersionInfoW finds no version resource");
        return;
    }
    VS_FIXEDFILEINFO* fixed = nullptr;
    UINT length = 0;
    log.expect(VerQueryValueW(&block[0], L"\\", reinterpret_cast<void**>(&fixed), &length) && fixed &&
                   fixed->dwSignature == 0xFEEF04BD && fixed->dwFileType == VFT_DLL &&
                   fixed->dwFileOS == VOS_NT_WINDOWS32,
               "version resource: a DLL for VOS_NT_WINDOWS32");
    WCHAR* product = nullptr;
    log.expect(VerQueryValueW(&block[0], L"\\StringFileInfo\\040904B0\\ProductName",
                              reinterpret_cast<void**>(&product), &length) &&
                   product && std::wstring(product) == L"PumexPro",
               "version resource: ProductName is PumexPro");
}

}  // namespace

bool preparePrinter(const WCHAR* printerName)
{
    std::wstring path = std::wstring(kPrintersKey) + printerName;
    HKEY key = nullptr;
    if (RegCreateKeyExW(HKEY_LOCAL_MACHINE, path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr) !=
        ERROR_SUCCESS)
        return false;
    DWORD zero = 0;
    bool ok = setText(key, L"Name", printerName) && setText(key, L"Port", L"FILE:") &&
              setText(key, L"Printer Driver", L"Pumex Pro") && setText(key, L"Print Processor", L"winprint") &&
              setText(key, L"Datatype", L"RAW") &&
              RegSetValueExW(key, L"Attributes", 0, REG_DWORD, reinterpret_cast<BYTE*>(&zero), sizeof zero) ==
                  ERROR_SUCCESS;
    RegCloseKey(key);
    return ok;
}

void checkResources(HMODULE module, CheckLog& log)
{
    for (UINT block : {1u, 17u, 72u}) {
        int languages = 0;
        EnumResourceLanguagesW(module, RT_STRING, MAKEINTRESOURCEW(block), countLanguage,
                               reinterpret_cast<LONG_PTR>(&languages));
        log.expect(languages == (int)kStringLanguageCount,
                   "block " + std::to_string(block) + " is stored in every language entry");
        for (size_t i = 0; i < kStringLanguageCount; ++i)
            checkBlock(module, kStringLanguages[i], block, log);
    }
    log.expect(FindResourceExW(module, RT_STRING, MAKEINTRESOURCEW(2), 0x0409) == nullptr,
               "no string block beyond 1, 17 and 72");
    checkVersion(module, log);
}
