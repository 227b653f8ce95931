// The plug-in as the universal driver sees it: a module loaded from a file,
// its class factory, and the one plug-in object made through it.
#pragma once

#include "px/posix.h"

#include <stdexcept>
#include <string>

namespace host {

class HostError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// Loads the module and takes its plug-in object; throws HostError with a
// message that names the module and what failed.
class PluginModule {
public:
    explicit PluginModule(const std::string& path);
    ~PluginModule();
    PluginModule(const PluginModule&) = delete;
    PluginModule& operator=(const PluginModule&) = delete;

    IPrintOemUni* plugin() const { return plugin_; }
    // DllCanUnloadNow's answer.
    HRESULT canUnloadNow() const;
    const std::string& path() const { return path_; }

private:
    std::string path_;
    void* handle_ = nullptr;
    IPrintOemUni* plugin_ = nullptr;
    HRESULT (*canUnload_)() = nullptr;
};

// The plug-in's class ID.
extern const CLSID kPluginClassId;

// "0x" and eight hex digits, for HRESULTs in messages.
std::string hresultText(HRESULT hr);

}  // namespace host
