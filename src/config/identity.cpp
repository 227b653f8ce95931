// Which printer and which embosser model a document goes to, the job's
// collation wish, and the repair of a printer's missing keys.
#include "config.h"

#include "diag/diag.h"

namespace {

const WCHAR* const kProfessionalModels[] = {WSTR("Quorvane Professional"), WSTR("Quorvane Pro Ink")};

typedef void(CALLBACK* InstallPeripheralsFn)(HWND, HINSTANCE, LPSTR, int);

// Copies the name a spooler record holds into dest; 0 when it cannot be had.
template <typename Info, typename Query>
BOOL copyNameFrom(Query query, LPWSTR dest, DWORD destChars, const char* line)
{
    DWORD needed = 0;
    query(nullptr, 0, &needed);
    if (needed == 0) {
        LogDetail("mymalloc(): oops, LPVOID=NULL\n");
        return 0;
    }
    auto* buffer = static_cast<BYTE*>(mymalloc(needed));
    if (!buffer)
        return 0;
    BOOL ok = query(buffer, needed, &needed) && reinterpret_cast<Info*>(buffer)->pName;
    if (ok) {
        px_wcscpy(dest, destChars < NAME_CHARS ? destChars : NAME_CHARS, reinterpret_cast<Info*>(buffer)->pName);
        LogMessage(line, dest);
    }
    myfree(buffer);
    return ok ? 1 : 0;
}

}  // namespace

BOOL getPrinterName(HANDLE hPrinter, LPWSTR dest, DWORD destChars)
{
    LogMessage("getPrinterName(hPrinter: 0x%X, devName: 0x%X)\n", px_low32(hPrinter), px_low32(dest));
    return copyNameFrom<PRINTER_INFO_1W>(
        [hPrinter](LPBYTE buf, DWORD cb, LPDWORD needed) { return GetPrinterW(hPrinter, 1, buf, cb, needed); },
        dest, destChars, "\tprinterName: %S\n");
}

BOOL getDeviceName(HANDLE hPrinter, LPWSTR dest, DWORD destChars)
{
    LogMessage("getDeviceName(hPrinter: 0x%X, devName: 0x%X)\n", px_low32(hPrinter), px_low32(dest));
    return copyNameFrom<DRIVER_INFO_1W>(
        [hPrinter](LPBYTE buf, DWORD cb, LPDWORD needed) {
            return GetPrinterDriverW(hPrinter, nullptr, 1, buf, cb, needed);
        },
        dest, destChars, "\tdevName: %S\n");
}

// 1 for the two professional models, by exact name.
BOOL IsPumexProfessional(const Config* config)
{
    BOOL professional = 0;
    for (const WCHAR* model : kProfessionalModels)
        if (px_wcscmp(config->devName, model) == 0)
            professional = 1;
    LogMessage("IsPumexProfessional(): bRet=%u, %ws\n", professional, config->devName);
    return professional;
}

// Takes the job's collation wish; the copy count stays with the driver.
void Config_updateFromDevMode(Config* config, PDEVMODEW publicDevmode)
{
    if (!publicDevmode) {
        LogMessage("Config_updateFromDevMode(): pPublicDM=NULL\n");
        return;
    }
    LogMessage("Config_updateFromDevMode(): update settings from pPublicDM\n");
    LogMessage("Config_updateFromDevMode(): dmFields=0x%p\n", (void*)(ULONG_PTR)publicDevmode->dmFields);
    if (publicDevmode->dmFields & DM_COLLATE) {
        config->Collate = publicDevmode->dmCollate == DMCOLLATE_TRUE ? 1 : 0;
        LogMessage("Config_updateFromDevMode(): dwCollate=%u\n", config->Collate);
    }
    if (publicDevmode->dmFields & DM_COPIES)
        LogMessage("Config_updateFromDevMode(): dmCopies=%u\n", publicDevmode->dmCopies);
}

// Asks the model's peripheral-installer library to recreate the printer's keys.
// The printer's name travels as UTF-8, cut at a character boundary to fit 259
// bytes; names in plain ASCII, as the installer creates them, pass unchanged.
INT Config_restorePrinterKeys(Config* config)
{
    WCHAR path[NAME_CHARS] = {0};
    GetSystemDirectoryW(path, NAME_CHARS);
    px_wcscat(path, NAME_CHARS, IsPumexProfessional(config) ? WSTR("\\qruxinpi.dll") : WSTR("\\qruxprpi.dll"));
    HMODULE module = LoadLibraryW(path);
    LogMessage("Config_restorePrinterKeys(): hModule=0x%p\n", (void*)module);
    if (!module)
        return 0;
    auto install = reinterpret_cast<InstallPeripheralsFn>(
        reinterpret_cast<void (*)()>(GetProcAddress(module, "InstallPumexPeripherals")));
    LogMessage("Config_restorePrinterKeys(): pfnInstallPumexPeripherals=0x%p\n",
               reinterpret_cast<void*>(install));
    if (install) {
        char printer[NAME_CHARS] = {0};
        px_wide_to_utf8(printer, sizeof printer, config->printerName);
        install(nullptr, nullptr, printer, SW_SHOW);
    }
    FreeLibrary(module);
    return 0;
}
