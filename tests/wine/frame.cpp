// The COM frame as the driver first meets it: signature, optional methods,
// the private devmode block and the hook table.
#include "driver_check.h"

#include <set>

void checkFrame(IPrintOemUni* plugin, CheckLog& log)
{
    DWORD signature = 0, needed = 0;
    log.expect(plugin->GetInfo(OEMGI_GETSIGNATURE, &signature, sizeof signature, &needed) == S_OK &&
                   signature == 0x51504D53,
               "GetInfo(OEMGI_GETSIGNATURE) is 'SMPQ'");
    for (const char* name : {"GetInfo", "DevMode", "EnableDriver", "EnablePDEV", "DisablePDEV"})
        log.expect(plugin->GetImplementedMethod(const_cast<PSTR>(name)) == S_OK,
                   std::string("GetImplementedMethod(") + name + ") is S_OK");
    log.expect(plugin->GetImplementedMethod(const_cast<PSTR>("NoSuchMethod")) != S_OK,
               "GetImplementedMethod(NoSuchMethod) is not S_OK");

    OEMDMPARAM param{};
    param.cbSize = sizeof param;
    log.expect(plugin->DevMode(OEMDM_SIZE, &param) == S_OK && param.cbBufSize > sizeof(OEM_DMEXTRAHEADER),
               "DevMode(OEMDM_SIZE) asks for a private block");

    DRVENABLEDATA hooks{};
    log.expect(plugin->EnableDriver(PRINTER_OEMINTF_VERSION, sizeof hooks, &hooks) == S_OK && hooks.c == 29,
               "EnableDriver hands over 29 rows");
    std::set<ULONG> indexes;
    for (ULONG i = 0; i < hooks.c && hooks.pdrvfn; ++i) {
        log.expect(hooks.pdrvfn[i].pfn != nullptr, "every hook row has a function");
        indexes.insert(hooks.pdrvfn[i].iFunc);
    }
    log.expect(indexes.size() == hooks.c, "no driver function is hooked twice");
}
