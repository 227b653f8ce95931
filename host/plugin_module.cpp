#include "plugin_module.h"

#include <cstdio>
#include <dlfcn.h>

namespace host {

const CLSID kPluginClassId = {0x6D6ABF26, 0x9F38, 0x11D1, {0x88, 0x2A, 0x00, 0xC0, 0x4F, 0xB9, 0x61, 0xEC}};

std::string hresultText(HRESULT hr)
{
    char text[16];
    std::snprintf(text, sizeof text, "0x%08X", (unsigned)hr);
    return text;
}

PluginModule::PluginModule(const std::string& path) : path_(path)
{
    handle_ = dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!handle_)
        throw HostError(path + ": cannot load the plug-in module: " + dlerror());
    auto getClassObject =
        reinterpret_cast<HRESULT (*)(REFCLSID, REFIID, LPVOID*)>(dlsym(handle_, "DllGetClassObject"));
    canUnload_ = reinterpret_cast<HRESULT (*)()>(dlsym(handle_, "DllCanUnloadNow"));
    if (!getClassObject || !canUnload_) {
        dlclose(handle_);
        throw HostError(path + ": not a plug-in module (DllGetClassObject or DllCanUnloadNow missing)");
    }
    IClassFactory* factory = nullptr;
    HRESULT hr = getClassObject(kPluginClassId, IID_IClassFactory, reinterpret_cast<void**>(&factory));
    if (FAILED(hr) || !factory) {
        dlclose(handle_);
        throw HostError(path + ": DllGetClassObject failed with " + hresultText(hr));
    }
    hr = factory->CreateInstance(nullptr, IID_IPrintOemUni, reinterpret_cast<void**>(&plugin_));
    factory->Release();
    if (FAILED(hr) || !plugin_) {
        dlclose(handle_);
        throw HostError(path + ": the class factory made no IPrintOemUni object (" + hresultText(hr) + ")");
    }
}

PluginModule::~PluginModule()
{
    if (plugin_)
        plugin_->Release();
    // The module stays loaded while it says it cannot be unloaded.
    if (handle_ && canUnload_ && canUnload_() == S_OK)
        dlclose(handle_);
}

HRESULT PluginModule::canUnloadNow() const { return canUnload_(); }

}  // namespace host
