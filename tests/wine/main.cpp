// pumex_driver_check MODULE OUTDIR: loads the plug-in module with LoadLibraryW,
// checks its resources (the DLL) and its COM frame, and runs the scripted
// documents into OUTDIR. Exit status 0 when every check passed, 1 otherwise,
// 2 when the module cannot be loaded or the command line is wrong.
#include "driver_check.h"

#include <cstdio>

void CheckLog::fail(const std::string& what)
{
    ++failures;
    std::fprintf(stderr, "FAIL: %s\n", what.c_str());
}

namespace {

const CLSID kPluginClass = {0x6D6ABF26, 0x9F38, 0x11D1, {0x88, 0x2A, 0x00, 0xC0, 0x4F, 0xB9, 0x61, 0xEC}};

// One calling convention on x64, so the plain pointer type fits both targets.
typedef HRESULT (*GetClassObjectFn)(REFCLSID, REFIID, LPVOID*);

// The plug-in object, made through DllGetClassObject and the class factory.
IPrintOemUni* createPlugin(HMODULE module)
{
    auto getClassObject = reinterpret_cast<GetClassObjectFn>(
        reinterpret_cast<void (*)()>(GetProcAddress(module, "DllGetClassObject")));
    IClassFactory* factory = nullptr;
    if (!getClassObject || FAILED(getClassObject(kPluginClass, IID_IClassFactory, reinterpret_cast<void**>(&factory))) ||
        !factory)
        return nullptr;
    IPrintOemUni* plugin = nullptr;
    HRESULT hr = factory->CreateInstance(nullptr, IID_IPrintOemUni, reinterpret_cast<void**>(&plugin));
    factory->Release();
    return SUCCEEDED(hr) ? plugin : nullptr;
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc != 3) {
        std::fprintf(stderr, "usage: pumex_driver_check MODULE OUTDIR\n");
        return 2;
    }
    WCHAR path[MAX_PATH];
    px_utf8_to_wide(path, MAX_PATH, argv[1]);
    HMODULE module = LoadLibraryW(path);
    IPrintOemUni* plugin = module ? createPlugin(module) : nullptr;
    if (!plugin) {
        std::fprintf(stderr, "%s: cannot load the plug-in or make its object (error %u)\n", argv[1],
                     (unsigned)GetLastError());
        return 2;
    }
    CheckLog log;
    checkResources(module, log);
    checkFrame(plugin, log);
    runDocuments(plugin, argv[2], log);
    plugin->Release();
    std::printf("%s: %d failed checks\n", argv[1], log.failures);
    return log.failures ? 1 : 0;
}
