// Fuzz target: the one-shot control string, stored as the printer's binary
// "ControlFlags" value and read, erased and applied as a document start does.
#include "config/config.h"
#include "fuzz_root.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const bool made = fuzzroot::write(
        "printers/Fuzz.json",
        "{\"name\": \"Fuzz\", \"driver\": \"Pumex Pro\", \"data\": {\"Config\": "
        "{\"OutputVersion\": {\"type\": \"dword\", \"value\": 3}}}}\n");
    WCHAR name[] = WSTR("Fuzz");
    HANDLE printer = nullptr;
    if (!made || !OpenPrinterW(name, &printer, nullptr))
        return 0;
    SetPrinterDataExW(printer, CONFIG_KEY, WSTR("ControlFlags"), REG_BINARY, const_cast<BYTE*>(data), (DWORD)size);
    Config config{};
    config.hPrinter = printer;
    Config_setDefaults(&config);
    Config_readControlFlags(&config, name);
    ClosePrinter(printer);
    fuzzroot::dropLog();
    return 0;
}
