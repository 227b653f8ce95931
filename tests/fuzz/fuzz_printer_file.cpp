// Fuzz target: a printer file checked by the platform, then opened and read
// through the spooler and registry calls the plug-in makes.
#include "fuzz_root.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (!fuzzroot::write("printers/Fuzz.json", data, size))
        return 0;
    const std::string path = fuzzroot::root() + "/printers/Fuzz.json";
    char message[256];
    PxValidatePrinterFile(path.c_str(), message, sizeof message);
    WCHAR name[] = WSTR("Fuzz");
    HANDLE printer = nullptr;
    if (OpenPrinterW(name, &printer, nullptr)) {
        BYTE value[64];
        DWORD type = 0, needed = 0;
        GetPrinterDataExW(printer, WSTR("Config"), WSTR("ControlFlags"), &type, value, sizeof value, &needed);
        BYTE block[4096];
        GetPrinterW(printer, 2, block, sizeof block, &needed);
        ClosePrinter(printer);
    }
    HKEY key = nullptr;
    if (RegOpenKeyExW(HKEY_LOCAL_MACHINE, WSTR("SYSTEM\\CurrentControlSet\\Control\\Print\\Printers\\Fuzz\\FontList"),
                      0, KEY_READ, &key) == ERROR_SUCCESS)
        RegCloseKey(key);
    return 0;
}
