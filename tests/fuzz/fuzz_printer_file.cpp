// Fuzz target: a printer file checked by the platform, then opened and read
// through the spooler and registry calls the plug-in makes.
#include "px/posix.h"

#include <cstdio>
#include <cstdlib>
#include <string>
#include <unistd.h>

namespace {

// A system root of this process's own, made once.
std::string fuzzRoot()
{
    static std::string root = [] {
        char tmpl[] = "/tmp/pumex-fuzz-XXXXXX";
        std::string made = mkdtemp(tmpl) ? tmpl : "/tmp";
        PxSetSystemRoot(made.c_str());
        return made;
    }();
    return root;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const std::string path = fuzzRoot() + "/printers/Fuzz.json";
    FILE* file = std::fopen(path.c_str(), "wb");
    if (!file)
        return 0;
    std::fwrite(data, 1, size, file);
    std::fclose(file);
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
