#include "probe.h"

#include "driver_uni.h"
#include "plugin_module.h"
#include "resources/strings.h"

#include <cctype>
#include <cstdio>
#include <cstdlib>
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

// Locale names and their Windows language ids: every language of the string
// table under its own name (a bare language means its main locale) and the
// regional variants people set.
struct LocaleId {
    const char* name;
    WORD langId;
};
const LocaleId kLocales[] = {
    {"en", 0x0409},    {"en-US", 0x0409}, {"en-GB", 0x0809}, {"en-AU", 0x0C09}, {"en-CA", 0x1009},
    {"de", 0x0407},    {"de-DE", 0x0407}, {"de-CH", 0x0807}, {"de-AT", 0x0C07}, {"fr", 0x040C},
    {"fr-FR", 0x040C}, {"fr-BE", 0x080C}, {"fr-CA", 0x0C0C}, {"fr-CH", 0x100C}, {"it", 0x0410},
    {"it-IT", 0x0410}, {"it-CH", 0x0810}, {"es", 0x0C0A},    {"es-ES", 0x0C0A}, {"es-MX", 0x080A},
    {"pt", 0x0416},    {"pt-BR", 0x0416}, {"pt-PT", 0x0816}, {"nl", 0x0413},    {"nl-NL", 0x0413},
    {"nl-BE", 0x0813}, {"sv", 0x041D},    {"sv-SE", 0x041D}, {"sv-FI", 0x081D}, {"nb", 0x0414},
    {"nb-NO", 0x0414}, {"no", 0x0414},    {"no-NO", 0x0414}, {"pl", 0x0415},    {"pl-PL", 0x0415},
    {"ja", 0x0411},    {"ja-JP", 0x0411}, {"ko", 0x0412},    {"ko-KR", 0x0412}, {"ar", 0x0401},
    {"ar-SA", 0x0401}, {"ar-IQ", 0x0801}, {"ar-EG", 0x0C01}, {"ar-LY", 0x1001}, {"ar-DZ", 0x1401},
    {"ar-MA", 0x1801}, {"ar-TN", 0x1C01}, {"ar-OM", 0x2001}, {"ar-YE", 0x2401}, {"ar-SY", 0x2801},
    {"ar-JO", 0x2C01}, {"ar-LB", 0x3001}, {"ar-KW", 0x3401}, {"ar-AE", 0x3801}, {"ar-BH", 0x3C01},
    {"ar-QA", 0x4001},
};

const LocaleId* findLocale(const std::string& name)
{
    for (const LocaleId& locale : kLocales)
        if (name == locale.name)
            return &locale;
    return nullptr;
}

// "de_AT.UTF-8@euro" -> "de-AT": language in lower case, region in upper case.
std::string canonicalLocale(const std::string& text)
{
    std::string name = text.substr(0, text.find_first_of(".@"));
    bool region = false;
    for (char& c : name) {
        if (c == '_' || c == '-') {
            c = '-';
            region = true;
        } else {
            c = (char)(region ? std::toupper((unsigned char)c) : std::tolower((unsigned char)c));
        }
    }
    return name;
}

bool isLocaleName(const std::string& name)
{
    if (name.empty())
        return false;
    for (char c : name)
        if (!std::isalnum((unsigned char)c) && c != '-')
            return false;
    return true;
}

WORD parseLanguageId(const std::string& text)
{
    char* end = nullptr;
    unsigned long value = std::strtoul(text.c_str() + 2, &end, 16);
    if (text.size() == 2 || *end || value > 0xFFFF)
        throw HostError("language \"" + text + "\": not a language id (0x0000 to 0xFFFF)");
    return (WORD)value;
}

// The user's language as the environment gives it for messages.
std::string environmentLocale()
{
    for (const char* variable : {"LC_ALL", "LC_MESSAGES", "LANG"})
        if (const char* value = std::getenv(variable); value && *value)
            return value;
    return "C";
}

std::string utf8(const WCHAR* text)
{
    std::string bytes(4 * px_wcslen(text) + 1, '\0');
    bytes.resize(px_wide_to_utf8(&bytes[0], bytes.size(), text));
    return bytes;
}

// The names the driver shows for paper sizes and feeders, in the entry a user
// of that language reads.
void printNames(const std::string& locale, std::ostream& out)
{
    WORD langId = languageIdOf(locale);
    const StringLanguage* entry = StringTable_lookup(langId);
    char ids[64];
    std::snprintf(ids, sizeof ids, "0x%04X, entry 0x%04X", langId, entry->langId);
    out << "names for \"" << locale << "\" (" << ids << " " << entry->name << "):\n";
    for (UINT number = 258; number <= 264; ++number)
        out << "  paper " << number << ": " << utf8(StringTable_text(entry, number)) << "\n";
    for (int code = 1; code <= STRING_FEEDER_COUNT; ++code)
        out << "  feeder " << code << ": " << utf8(entry->feeders[code - 1]) << "\n";
}

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

unsigned short languageIdOf(const std::string& locale)
{
    if (locale.rfind("0x", 0) == 0 || locale.rfind("0X", 0) == 0)
        return parseLanguageId(locale);
    std::string name = canonicalLocale(locale);
    if (name == "c" || name == "posix")
        return 0x0409;
    if (!isLocaleName(name))
        throw HostError("language \"" + locale + "\": not a locale name or a language id");
    if (const LocaleId* known = findLocale(name))
        return known->langId;
    const LocaleId* language = findLocale(name.substr(0, name.find('-')));
    return language ? (WORD)(language->langId & 0x3FF) : (WORD)0;
}

int runProbe(const ProbeOptions& options, std::ostream& out)
{
    int problems = 0;
    std::string log = logPath();
    std::streamoff logStart = fileSize(log);

    // The plug-in holds the helper interface until the module is released, so
    // it must outlive the module, also when a missing printer ends the probe early.
    DriverUni uni([](const BYTE*, DWORD) { return true; });
    PluginModule module(options.modulePath);
    IPrintOemUni* plugin = module.plugin();
    out << "module:    " << module.path() << "\n";
    printNames(options.language.empty() ? environmentLocale() : options.language, out);

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
