// Fuzz target: the settings read from a printer at document start, every
// "Config" value and the font list, from a printer file of any content.
#include "config/config.h"
#include "fuzz_root.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (!fuzzroot::write("printers/Fuzz.json", data, size))
        return 0;
    WCHAR name[] = WSTR("Fuzz");
    HANDLE printer = nullptr;
    if (!OpenPrinterW(name, &printer, nullptr))
        return 0;
    DEVMODEW devmode{};
    DEVOBJ devobj{};
    devobj.hPrinter = printer;
    devobj.pPublicDM = &devmode;
    Config_delete(Config_new(&devobj));
    ClosePrinter(printer);
    fuzzroot::dropLog();
    return 0;
}
