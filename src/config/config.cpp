// The configuration record: defaults, the printer's settings under "Config",
// and its release.
#include "config.h"

#include "braille/dpfont.h"
#include "diag/diag.h"
#include "image/pattern.h"

namespace {

const WCHAR kDefaultViewer[] = WSTR("C:\\Program Files\\Quorvane\\Pumex\\Quorvane Max\\PumexViewer.exe");

// A DWORD setting read from printer data into the config field it sets.
struct IntSetting {
    const WCHAR* valueName;
    INT Config::*field;
};

// DWORD fields are read through the same 32-bit path as the signed ones.
template <typename T>
INT Config::*asInt(T Config::*field)
{
    static_assert(sizeof(T) == sizeof(INT), "settings are 32-bit");
    return reinterpret_cast<INT Config::*>(field);
}

// Rows read in this order, each with the field's current value as default.
const IntSetting kIntSettings[] = {
    {WSTR("Dithering"), &Config::dithering},
    {WSTR("EmbossStandardTexts"), &Config::EmbossStandardTexts},
    {WSTR("LandscapeMode"), &Config::LandscapeMode},
    {WSTR("HorizontalShift"), asInt(&Config::HorizontalShift)},
    {WSTR("PrintOdd"), &Config::PrintOdd},
    {WSTR("Magnification"), &Config::Magnification},
    {WSTR("NoWhiteSpaceMagnification"), &Config::NoWhiteSpaceMagnification},
    {WSTR("Brightness"), &Config::Brightness},
    {WSTR("Contrast"), &Config::Contrast},
    {WSTR("InvertColor"), &Config::InvertColor},
    {WSTR("Collate"), &Config::Collate},
    {WSTR("MediaType"), &Config::mediaType},
    {WSTR("PaperSource"), asInt(&Config::PaperSource)},
    {WSTR("DotHeight"), &Config::dotHeight},
    {WSTR("ColorPattern"), &Config::colorPattern},
    {WSTR("Preview"), &Config::Preview},
    {WSTR("Perforation"), &Config::perforation},
    {WSTR("InterPoint"), &Config::Interpoint},
    {WSTR("MinCustPForce"), asInt(&Config::minCustPForce)},
    {WSTR("MaxCustPForce"), asInt(&Config::maxCustPForce)},
    {WSTR("ThinLineIntensity"), asInt(&Config::ThinLineIntensity)},
    {WSTR("InsertEmptyPage"), &Config::InsertEmptyPage},
};

void freeNames(WCHAR** names, INT count, const char* heading)
{
    if (!names)
        return;
    LogMessage(heading);
    for (INT i = 0; i < count; ++i) {
        if (names[i]) {
            LogMessage("\t\ti = %2d, deleting %ws\n", i, names[i]);
            myfree(names[i]);
        }
    }
    myfree(names);
}

}  // namespace

// Builds the document's configuration from the printer's names, the defaults
// and the printer data. Null when the record cannot be allocated.
Config* Config_new(PDEVOBJ pdevobj)
{
    LogMessage("Config_new() start\n");
    auto* config = static_cast<Config*>(mymalloc(sizeof(Config)));
    if (!config)
        return nullptr;
    config->hPrinter = pdevobj ? pdevobj->hPrinter : nullptr;
    getPrinterName(config->hPrinter, config->printerName, NAME_CHARS);
    getDeviceName(config->hPrinter, config->devName, NAME_CHARS);
    Config_setDefaults(config);
    Config_readConfigFromRegistry(config, pdevobj ? pdevobj->pPublicDM : nullptr);
    return config;
}

// Every setting to its default; the names and the printer handle stay.
void Config_setDefaults(Config* config)
{
    config->previewFileName[0] = 0;
    config->Magnification = 1;
    config->NoWhiteSpaceMagnification = 0;
    config->Brightness = 6;
    config->Contrast = 5;
    config->hPreviewFile = INVALID_HANDLE_VALUE;
    config->Interpoint = 0;
    config->InsertEmptyPage = 0;
    config->InvertColor = 0;
    config->Collate = 0;
    config->Preview = 0;
    config->outputVersion = 3;
    config->compressed = 1;
    config->LandscapeMode = 0;
    config->PaperSource = 7;
    config->colorPattern = 0;
    config->dithering = 0;
    config->EmbossStandardTexts = 0;
    config->saturationThreshold = 60;
    config->HorizontalShift = 0;
    config->ThinLineIntensity = 1;
    config->srcFontNames = nullptr;
    config->dpFontNames = nullptr;
    config->dpFonts = nullptr;
    config->fontCount = 0;
    config->customPattern = nullptr;
    config->pattern3 = nullptr;
    config->pattern4 = nullptr;
    px_wcscpy(config->PreviewPrnPath, NAME_CHARS, kDefaultViewer);
    config->PrintOdd = 0;
    config->dotHeight = 1;
    config->mediaType = MEDIA_BRAILLEPAPER;
    config->minCustPForce = 1;
    config->maxCustPForce = 17;
    config->perforation = 0;
}

// A 4-byte setting as stored, whatever its registry type. A value stored with
// fewer bytes reads as those bytes with zeros above them; a longer one, or a
// missing one, gives the default.
INT Config_getIntFromRegistry(Config* config, LPCWSTR valueName, INT defaultValue)
{
    LogDetail("Config_getIntFromRegistry(%d, %S)\n", defaultValue, valueName);
    DWORD value = 0, type = 0, needed = 0;
    if (config && GetPrinterDataExW(config->hPrinter, CONFIG_KEY, valueName, &type, (LPBYTE)&value, sizeof value,
                                    &needed) == ERROR_SUCCESS) {
        LogDetail("success\n");
        return (INT)value;
    }
    LogDetail("error\n");
    return defaultValue;
}

// A text setting copied into dest, or defaultText when it cannot be read. A
// stored text that does not fit dest counts as unreadable: a path cut short
// would name some other file.
LPCWSTR Config_getStringFromRegistry(Config* config, LPCWSTR valueName, LPWSTR dest, DWORD destChars,
                                     LPCWSTR defaultText)
{
    // One unit more than is read, so the text always ends, even unterminated.
    WCHAR text[CONFIG_STRING_BYTES / sizeof(WCHAR) + 1] = {0};
    DWORD type = 0, needed = 0;
    if (!config || !dest || destChars == 0 ||
        GetPrinterDataExW(config->hPrinter, CONFIG_KEY, valueName, &type, (LPBYTE)text, CONFIG_STRING_BYTES,
                          &needed) != ERROR_SUCCESS)
        return defaultText;
    if (px_wcslen(text) >= destChars)
        return defaultText;
    px_wcscpy(dest, destChars, text);
    return dest;
}

// Reads the printer's settings over the defaults, then merges the devmode.
void Config_readConfigFromRegistry(Config* config, PDEVMODEW publicDevmode)
{
    DWORD scratch = 0, type = 0, needed = 0;
    if (GetPrinterDataExW(config->hPrinter, CONFIG_KEY, WSTR("OutputVersion"), &type, (LPBYTE)&scratch,
                          sizeof scratch, &needed) != ERROR_SUCCESS) {
        LogMessage("Config_readConfigFromRegistry(): testRegistry failed\n");
        Config_restorePrinterKeys(config);
    }
    gDebugLevel = (DWORD)Config_getIntFromRegistry(config, WSTR("DebugLevel"), (INT)gDebugLevel);

    config->fontCount = 0;
    Config_readRegistry(config, &config->srcFontNames, &config->dpFontNames, &config->fontCount);
    if (config->fontCount > 0)
        config->dpFonts = static_cast<DPFont**>(mymalloc((DWORD)config->fontCount * sizeof(DPFont*)));

    LogMessage("Config_readConfigFromRegistry(): enter\n");
    for (const IntSetting& s : kIntSettings)
        config->*s.field = Config_getIntFromRegistry(config, s.valueName, config->*s.field);
    LPCWSTR viewer = Config_getStringFromRegistry(config, WSTR("PreviewPrnPath"), config->PreviewPrnPath, NAME_CHARS,
                                                  kDefaultViewer);
    if (viewer != config->PreviewPrnPath)
        px_wcscpy(config->PreviewPrnPath, NAME_CHARS, viewer);

    Config_updateFromDevMode(config, publicDevmode);

    LogMessage("Config->outputVersion: %ld\n", config->outputVersion);
    LogMessage("Config->Magnification: %ld\n", config->Magnification);
    LogMessage("Config->NoWhiteSpaceMagnification: %ld\n", config->NoWhiteSpaceMagnification);
    LogMessage("Config->Brightness: %ld\n", config->Brightness);
    LogMessage("Config->Contrast: %ld\n", config->Contrast);
    LogMessage("Config->InvertColor: %ld\n", config->InvertColor);
    LogMessage("Config->Collate: %ld\n", config->Collate);
    LogMessage("Config->dithering: %ld\n", config->dithering);
    LogMessage("Config->mediaType: %ld\n", config->mediaType);
    LogMessage("Config->dotHeight: %ld\n", config->dotHeight);
    LogMessage("Config->colorPattern: %ld\n", config->colorPattern);
    LogMessage("Config->saturationThreshold: %ld\n", config->saturationThreshold);
    LogMessage("Config->PrintOdd: %ld\n", config->PrintOdd);
    LogMessage("Config->Interpoint: %ld\n", config->Interpoint);
    LogMessage("Config->perforation: %ld\n", config->perforation);
    LogMessage("Config->Preview: %ld\n", config->Preview);
    LogMessage("Config_readConfigFromRegistry(): exit\n");
}

// Frees the record and all it owns. The preview file and the printer handle
// belong to others.
void Config_delete(Config* config)
{
    if (!config)
        return;
    LogMessage("\tdeleting %d font entries: \n", config->fontCount);
    freeNames(config->srcFontNames, config->fontCount, "\tdeleting src font names ...\n");
    freeNames(config->dpFontNames, config->fontCount, "\tdeleting dp font names ...\n");
    if (config->dpFonts) {
        LogMessage("\tdeleting DP font glyph files ... \n");
        for (INT i = 0; i < config->fontCount; ++i) {
            if (config->dpFonts[i]) {
                LogMessage("  deleting font %d: %ws\n", i, config->dpFonts[i]->name);
                DPFont_delete(config->dpFonts[i]);
            }
        }
        myfree(config->dpFonts);
    }
    if (config->customPattern) {
        LogMessage("  deleting custom pattern \n");
        ColorPatternSet_delete(config->customPattern);
    }
    if (config->pattern3) {
        LogMessage("  deleting pattern3 \n");
        ColorPatternSet_delete(config->pattern3);
    }
    if (config->pattern4) {
        LogMessage("  deleting pattern4 \n");
        ColorPatternSet_delete(config->pattern4);
    }
    myfree(config);
    LogMessage("  Config_delete(%X) done\n", px_low32(config));
}
