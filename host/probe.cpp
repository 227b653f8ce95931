#include "probe.h"

#include "driver_uni.h"
#include "plugin_module.h"

#include <cstdio>
#include <fstream>
#include <sstream>
#include <vector>

namespace host {

namespace {

const char* const kOptionalMethods[] = {
    "CommandCallback",  "Compression",       "DevMode",        "DisableDriver",   "DisablePDEV",
    "DownloadCharGlyph", "DownloadFontHeader", "DriverDMS",    "EnableDriver",    "EnablePDEV",
    "FilterGraphics",   "GetInfo",           "HalftonePattern", "ImageProcessing", "MemoryUsage",
    "OutputCharStr",    "ResetPDEV",         "SendFontCmd",    "TextOutAsBitmap", "TTDownloadMethod",
    "TTYGetInfo",
};

std::string logPath()
{
    char path[1024];
    PxMapPath("C:\\ProgramData\\Quorvane\\PumexPro.log", path, sizeof path);
    return path;
}

std::streamoff fileSize(const std::string& path)
{
    std::ifstream in(path, std::ios::binary | std::ios::ate);
    return in ? (std::streamoff)in.tellg() : 0;
}

std::string readFrom(const std::string& path, std::streamoff offset)
{
    std::ifstream in(path, std::ios::binary);
    if (!in)
        return {};
    in.seekg(offset);
    std::ostringstream text;
    text << in.rdbuf();
    return text.str();
}

std::string hex32(DWORD v)
{
    char text[16];
    std::snprintf(text, sizeof text, "0x%08X", v);
    return text;
}

}  // namespace

int runProbe(const ProbeOptions& options, std::ostream& out)
{
    int problems = 0;
    std::string log = logPath();
    std::streamoff logStart = fileSize(log);

    PluginModule module(options.modulePath);
    IPrintOemUni* plugin = module.plugin();
    out << "module:    " << module.path() << "\n";

    DriverUni uni([](const BYTE*, DWORD) { return true; });
    HRESULT hr = plugin->PublishDriverInterface(&uni);
    out << "publish driver interface: " << hresultText(hr) << "\n";

    DWORD signature = 0, version = 0, needed = 0;
    plugin->GetInfo(OEMGI_GETSIGNATURE, &signature, sizeof signature, &needed);
    plugin->GetInfo(OEMGI_GETVERSION, &version, sizeof version, &needed);
    out << "signature: " << hex32(signature) << "  version: " << version << "\n";
    if (signature != 0x51504D53)
        ++problems;

    out << "optional methods:\n";
    for (const char* name : kOptionalMethods) {
        HRESULT answer = plugin->GetImplementedMethod(const_cast<PSTR>(name));
        out << "  " << name << ": " << (answer == S_OK ? "implemented" : "not implemented") << "\n";
    }

    OEMDMPARAM dmParam{};
    dmParam.cbSize = sizeof dmParam;
    hr = plugin->DevMode(OEMDM_SIZE, &dmParam);
    out << "private devmode block: " << dmParam.cbBufSize << " bytes (" << hresultText(hr) << ")\n";

    DRVENABLEDATA hooks{};
    hr = plugin->EnableDriver(0x00030000, sizeof hooks, &hooks);
    out << "hooked driver functions: " << hooks.c << " (" << hresultText(hr) << "), indexes:";
    for (ULONG i = 0; i < hooks.c; ++i)
        out << " " << hooks.pdrvfn[i].iFunc;
    out << "\n";
    if (hooks.c != 29)
        ++problems;

    std::u16string printerName(options.printerName.size() + 1, u'\0');
    printerName.resize(px_utf8_to_wide(&printerName[0], printerName.size(), options.printerName.c_str()));
    HANDLE printer = nullptr;
    if (!OpenPrinterW(const_cast<LPWSTR>(printerName.c_str()), &printer, nullptr))
        throw HostError("printer \"" + options.printerName + "\": not found in " + PxGetSystemRoot() +
                        "/printers (or its file is invalid)");
    DEVMODEW devmode{};
    devmode.dmSize = sizeof devmode;
    DEVOBJ devobj{};
    devobj.dwSize = sizeof devobj;
    devobj.hPrinter = printer;
    devobj.pPublicDM = &devmode;
    DRVENABLEDATA unidrv{0x00030000, 0, nullptr};  // the plug-in forwards to nothing here
    DEVINFO devinfo{};
    PDEVOEM record = nullptr;
    hr = plugin->EnablePDEV(&devobj, const_cast<PWSTR>(printerName.c_str()), 0, nullptr, 0, nullptr, sizeof devinfo,
                            &devinfo, &unidrv, &record);
    devobj.pdevOEM = record;
    out << "device for \"" << options.printerName << "\": " << (record ? "enabled" : "NOT enabled") << " ("
        << hresultText(hr) << ")\n";
    if (!record)
        ++problems;
    plugin->DisablePDEV(&devobj);
    plugin->DisableDriver();
    ClosePrinter(printer);

    std::string written = readFrom(log, logStart);
    out << "log:       " << log << " (" << written.size() << " new bytes)\n";
    if (!written.empty())
        out << "---\n" << written << (written.back() == '\n' ? "" : "\n") << "---\n";
    return problems ? 1 : 0;
}

}  // namespace host
