// The per-document settings record and where its values come from: defaults,
// the printer's data under "Config", the font list, the job's public devmode
// and the one-shot control string, in that order.
#pragma once

#include "win32.h"

#include "device/xpdv.h"

struct DPFont;
struct ColorPatternSet;

// Printer data key of the settings.
#define CONFIG_KEY WSTR("Config")

// Text buffer of a printer-data string read.
#define CONFIG_STRING_BYTES 4096

// Media numbers (devmode media types).
#define MEDIA_TRANSPARENCY 2
#define MEDIA_COPYPAPER 258
#define MEDIA_PREMIUMPAPER 259
#define MEDIA_CARDSTOCK 267
#define MEDIA_BRAILLEPAPER 268
#define MEDIA_ROLLPAPER 269
#define MEDIA_SHEETPLASTIC 271
#define MEDIA_CUSTOM 286

struct Config {
    WCHAR printerName[NAME_CHARS];
    WCHAR devName[NAME_CHARS];
    WCHAR previewFileName[NAME_CHARS];
    INT Magnification;
    BOOL NoWhiteSpaceMagnification;
    INT Brightness;
    INT Contrast;
    HANDLE hPreviewFile;
    BOOL Interpoint;
    BOOL InsertEmptyPage;
    BOOL InvertColor;
    BOOL Collate;
    BOOL Preview;
    DWORD outputVersion;
    BOOL compressed;
    BOOL LandscapeMode;
    DWORD PaperSource;
    INT colorPattern;
    INT dithering;
    BOOL EmbossStandardTexts;
    INT saturationThreshold;
    DWORD HorizontalShift;
    DWORD ThinLineIntensity;
    WCHAR** srcFontNames;
    WCHAR** dpFontNames;
    DPFont** dpFonts;
    INT fontCount;
    ColorPatternSet* customPattern;
    ColorPatternSet* pattern3;
    ColorPatternSet* pattern4;
    HANDLE hPrinter;  // not owned: the device object's
    WCHAR PreviewPrnPath[NAME_CHARS];
    INT PrintOdd;
    INT dotHeight;
    INT mediaType;
    DWORD minCustPForce;
    DWORD maxCustPForce;
    BOOL perforation;
};

// Record, defaults, printer data
Config* Config_new(PDEVOBJ pdevobj);
void Config_setDefaults(Config* config);
INT Config_getIntFromRegistry(Config* config, LPCWSTR valueName, INT defaultValue);
LPCWSTR Config_getStringFromRegistry(Config* config, LPCWSTR valueName, LPWSTR dest, DWORD destChars,
                                     LPCWSTR defaultText);
void Config_readConfigFromRegistry(Config* config, PDEVMODEW publicDevmode);
void Config_delete(Config* config);

// Printer identity and devmode merge
BOOL getPrinterName(HANDLE hPrinter, LPWSTR dest, DWORD destChars);
BOOL getDeviceName(HANDLE hPrinter, LPWSTR dest, DWORD destChars);
BOOL IsPumexProfessional(const Config* config);
void Config_updateFromDevMode(Config* config, PDEVMODEW publicDevmode);
INT Config_restorePrinterKeys(Config* config);

// One-shot control string
LONG Config_readControlFlags(Config* config, LPCWSTR printerName);
INT Config_parseControlString(Config* config, char* text);
void Config_parseBool(const char* token, BOOL* field);
void Config_parseInt(const char* token, INT* field, INT min, INT max);

// Braille font list
void Config_readRegistry(Config* config, WCHAR*** srcFontNames, WCHAR*** dpFontNames, INT* fontCount);
void checkDPFont(Config* config);
DPFont* Config_getDPFont(Config* config, LPCWSTR faceName);
DPFont* Config_getDPFont(Config* config, INT index);
