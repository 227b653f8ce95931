// The one-shot control string: keywords in printer data "ControlFlags" that
// override settings for the next document only and are erased when read.
#include "config.h"

#include "diag/diag.h"

#include <climits>
#include <cstring>

namespace {

const WCHAR kControlFlags[] = WSTR("ControlFlags");

enum class Kind { Int, Bool, Names };

struct Name {
    const char* word;
    INT value;
};

struct Keyword {
    const char* word;
    INT Config::*field;
    Kind kind;
    INT min, max;            // integers
    const Name* names;       // names, tested in order; the last found wins
    size_t nameCount;
};

const Name kDithering[] = {{"CLUSTERED", 0}, {"ORDERED", 1}, {"DIFFUSION", 2}, {"DIFFUSION1D", 3}, {"RANDOM", 4}};
const Name kDotHeight[] = {{"LOW", 2}, {"LIGHT", 2}, {"NORMAL", 1}, {"HEAVY", 0}, {"HIGH", 0}};
const Name kMediaType[] = {{"CUSTOM", MEDIA_CUSTOM},           {"BRAILLEPAPER", MEDIA_BRAILLEPAPER},
                           {"QVROLLPAPER", MEDIA_ROLLPAPER},   {"LIGHTBRAILLEPAPER", MEDIA_ROLLPAPER},
                           {"COPYPAPER", MEDIA_COPYPAPER},     {"CARDSTOCK", MEDIA_CARDSTOCK},
                           {"SHEETPLASTIC", MEDIA_SHEETPLASTIC}, {"PREMIUMPAPER", MEDIA_PREMIUMPAPER},
                           {"TRANSPARENCY", MEDIA_TRANSPARENCY}};
const Name kPrintOdd[] = {{"ALL", 0}, {"ODD", 1}, {"EVEN", 2}};

template <typename T>
INT Config::*asInt(T Config::*field)
{
    static_assert(sizeof(T) == sizeof(INT), "settings are 32-bit");
    return reinterpret_cast<INT Config::*>(field);
}

#define INT_RANGE(lo, hi) Kind::Int, lo, hi, nullptr, 0
#define BOOLEAN Kind::Bool, 0, 0, nullptr, 0
#define NAMES(list) Kind::Names, 0, 0, list, sizeof(list) / sizeof(list[0])

// In the order they are tested: a token passes every keyword it contains.
const Keyword kKeywords[] = {
    {"BRIGHTNESS", &Config::Brightness, INT_RANGE(-100, 100)},
    {"COLLATE", &Config::Collate, BOOLEAN},
    {"CONTRAST", &Config::Contrast, INT_RANGE(-100, 100)},
    {"DITHERING", &Config::dithering, NAMES(kDithering)},
    {"DOTHEIGHT", &Config::dotHeight, NAMES(kDotHeight)},
    {"HORIZONTALSHIFT", asInt(&Config::HorizontalShift), INT_RANGE(0, 1)},
    {"INTERPOINT", &Config::Interpoint, BOOLEAN},
    {"INSERTEMPTYPAGE", &Config::InsertEmptyPage, BOOLEAN},
    {"INVERTCOLOR", &Config::InvertColor, BOOLEAN},
    {"LANDSCAPEMODE", &Config::LandscapeMode, BOOLEAN},
    {"MAGNIFICATION", &Config::Magnification, INT_RANGE(1, 6)},
    {"MAXCUSTPFORCE", asInt(&Config::maxCustPForce), INT_RANGE(2, 26)},
    {"MINCUSTPFORCE", asInt(&Config::minCustPForce), INT_RANGE(0, 24)},
    {"MEDIATYPE", &Config::mediaType, NAMES(kMediaType)},
    {"NOWHITESPACEMAGNIFICATION", &Config::NoWhiteSpaceMagnification, BOOLEAN},
    {"PERFORATION", &Config::perforation, BOOLEAN},
    {"PREVIEW", &Config::Preview, BOOLEAN},
    {"PRINTODD", &Config::PrintOdd, NAMES(kPrintOdd)},
    {"THINLINEINTENSITY", asInt(&Config::ThinLineIntensity), INT_RANGE(0, 6)},
};

// The text after the token's first "=", or null.
const char* valueOf(const char* token)
{
    const char* eq = std::strchr(token, '=');
    return eq ? eq + 1 : nullptr;
}

// Decimal conversion as the C library's: leading blanks, a sign, digits; no
// digits give 0, trailing text is ignored. Values beyond 32 bits saturate
// instead of overflowing, so they simply fall outside every range.
INT decimal(const char* s)
{
    while (*s == ' ' || (*s >= '\t' && *s <= '\r'))
        ++s;
    bool negative = *s == '-';
    if (*s == '-' || *s == '+')
        ++s;
    long long v = 0;
    for (; *s >= '0' && *s <= '9'; ++s)
        if (v <= (long long)INT_MAX + 1)
            v = v * 10 + (*s - '0');
    if (negative)
        v = -v;
    return v > INT_MAX ? INT_MAX : v < INT_MIN ? INT_MIN : (INT)v;
}

void parseNames(const char* token, INT* field, const Name* names, size_t count)
{
    const char* value = valueOf(token);
    if (!value)
        return;
    for (size_t i = 0; i < count; ++i)
        if (std::strstr(value, names[i].word))
            *field = names[i].value;
}

void upperCase(char* s)
{
    for (; *s; ++s)
        if (*s >= 'a' && *s <= 'z')
            *s = (char)(*s - 'a' + 'A');
}

}  // namespace

void Config_parseInt(const char* token, INT* field, INT min, INT max)
{
    const char* value = valueOf(token);
    if (!value)
        return;
    INT v = decimal(value);
    if (v >= min && v <= max)
        *field = v;
}

void Config_parseBool(const char* token, BOOL* field)
{
    const char* value = valueOf(token);
    if (!value)
        return;
    if (std::strstr(value, "1") || std::strstr(value, "TRUE") || std::strstr(value, "YES"))
        *field = 1;
    if (std::strstr(value, "0") || std::strstr(value, "FALSE") || std::strstr(value, "NO"))
        *field = 0;
}

// Applies the keywords of text to config; text is cut into tokens in place.
INT Config_parseControlString(Config* config, char* text)
{
    if (!text)
        return 0;
    LogMessage("Config_parseControlString(): sz=%s\n", text);
    char* token = text;
    while (token) {
        // While a "," is still ahead, ";" does not separate.
        char* end = std::strchr(token, ',');
        if (!end)
            end = std::strchr(token, ';');
        char* rest = nullptr;
        if (end) {
            *end = 0;
            rest = end + 1;
        }
        upperCase(token);
        LogMessage("\t%s\n", token);
        for (const Keyword& k : kKeywords) {
            if (!std::strstr(token, k.word))
                continue;
            INT* field = &(config->*k.field);
            if (k.kind == Kind::Int && k.field == &Config::Magnification) {
                INT v = config->Magnification;
                Config_parseInt(token, &v, k.min, k.max);
                if (v == 1 || v == 2 || v == 3 || v == 6)  // magnification has four steps only
                    *field = v;
            } else if (k.kind == Kind::Int) {
                Config_parseInt(token, field, k.min, k.max);
            } else if (k.kind == Kind::Bool) {
                Config_parseBool(token, field);
            } else {
                parseNames(token, field, k.names, k.nameCount);
            }
        }
        token = rest;
    }
    return 0;
}

// Reads the control string, erases it, and applies it when it is binary.
// Returns 0 when applied, -1 without a printer, -2 for a value of another
// type, else the system's last error.
LONG Config_readControlFlags(Config* config, LPCWSTR printerName)
{
    if (!config || !config->hPrinter)
        return -1;
    WCHAR raw[] = WSTR("RAW");
    PRINTER_DEFAULTSW defaults = {raw, nullptr, PRINTER_ALL_ACCESS};
    HANDLE printer = nullptr;
    if (!OpenPrinterW(const_cast<LPWSTR>(printerName), &printer, &defaults)) {
        LogMessage("Config_readControlFlags(): fail to open with all access \"%S\"\n", printerName);
        return (LONG)GetLastError();
    }
    LogMessage("Config_readControlFlags(): printer reopened with all access \"%S\"\n", printerName);

    DWORD type = 0, needed = 0;
    DWORD rc = GetPrinterDataExW(printer, CONFIG_KEY, kControlFlags, &type, nullptr, 0, &needed);
    LogMessage("Config_readControlFlags(): %d=GetPrinterDataEx(), dwNeeded=%d\n", rc, needed);
    if (rc != ERROR_MORE_DATA || needed == 0xFFFFFFFF) {
        ClosePrinter(printer);
        return (LONG)GetLastError();
    }
    auto* text = static_cast<char*>(mymalloc(needed + 1));
    if (!text) {
        ClosePrinter(printer);
        return (LONG)GetLastError();
    }
    DWORD size = needed;
    rc = GetPrinterDataExW(printer, CONFIG_KEY, kControlFlags, &type, (LPBYTE)text, size, &needed);
    LogMessage("Config_readControlFlags(): %d=GetPrinterDataEx(), dwNeeded=%d\n", rc, needed);
    if (rc != ERROR_SUCCESS) {
        // Changed between the two reads: leave it for the next document.
        myfree(text);
        ClosePrinter(printer);
        return (LONG)GetLastError();
    }
    text[needed < size ? needed : size] = 0;

    rc = SetPrinterDataExW(printer, CONFIG_KEY, kControlFlags, type, (LPBYTE)text, 0);
    if (rc != ERROR_SUCCESS) {
        LogMessage("Config_readControlFlags(): %d=SetPrinterDataEx() failed to erase Request value\n", rc);
        myfree(text);
        ClosePrinter(printer);
        return (LONG)GetLastError();
    }
    ClosePrinter(printer);
    LogMessage("Config_readControlFlags(): sz=%s, dwType=%d\n", text, type);
    if (type != REG_BINARY) {
        myfree(text);
        return -2;
    }
    INT result = Config_parseControlString(config, text);
    myfree(text);
    return result;
}
