// Using the braille font list: the check for missing font files at document
// start, and the lookup of a source face's braille font, which loads the font
// file the first time the face is printed. A font that fails to load leaves
// its slot empty, so the next run in that face tries again.
#include "config.h"

#include "braille/dpfont.h"
#include "diag/diag.h"
#include "output/helpers.h"

namespace {

// Bytes of a path as 8-bit text: 260 characters of up to three bytes each.
#define PATH_TEXT_BYTES (NAME_CHARS * 3 + 1)

BOOL fontFileExists(LPCWSTR path)
{
    struct _stat status;
    return _wstat(path, &status) == 0;
}

}  // namespace

// Reports the listed braille font files that do not exist, with one error
// dialog for all of them. The entries stay in the list.
void checkDPFont(Config* config)
{
    INT missing = 0;
    for (INT i = 0; i < config->fontCount && config->srcFontNames && config->dpFontNames; ++i) {
        LPCWSTR face = config->srcFontNames[i];
        LPCWSTR file = config->dpFontNames[i];
        if (!face || !file)
            continue;
        LogMessage("checkDPFont(): i = %d, %ws --> %ws\n", i, face, file);
        if (!fontFileExists(file)) {
            char path[PATH_TEXT_BYTES];
            px_wide_to_utf8(path, sizeof path, file);
            LogMessage(" %s doesn't exist!\n", path);
            ++missing;
        }
    }
    if (missing > 0)
        DisplayErrorDlgXP(config, DLG_ERROR_MISSING_FONTS);
}

// The braille font for a source face, or null when the face is not listed or
// its font cannot be loaded. Faces match exactly, letter case included.
DPFont* Config_getDPFont(Config* config, LPCWSTR faceName)
{
    LogMessage("Config_getDPFont(%ws)\n", faceName);
    if (config->fontCount == 0)
        return nullptr;
    INT index = -1;
    for (INT i = 0; i < config->fontCount && config->srcFontNames && faceName; ++i) {
        if (config->srcFontNames[i] && px_wcscmp(config->srcFontNames[i], faceName) == 0) {
            index = i;
            break;
        }
    }
    return Config_getDPFont(config, index);
}

// The braille font of a list slot, loaded on first use; null when the slot has
// no file or the file does not load.
DPFont* Config_getDPFont(Config* config, INT index)
{
    LogMessage("Config_getDPFont(%d)\n", index);
    if (index < 0 || index >= config->fontCount || !config->dpFonts)
        return nullptr;
    if (!config->dpFonts[index] && config->dpFontNames && config->dpFontNames[index])
        config->dpFonts[index] = DPFont_new(config->dpFontNames[index]);
    return config->dpFonts[index];
}
