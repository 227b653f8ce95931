// The module's string table as data, made from strings.inc like the DLL's.
#include "resources/strings.h"

#include "resources/strings.inc"

// WSTR("") joined with a narrow literal makes it wide, on both targets.
#define PUMEX_CXX_COMMON(number, text) {number, WSTR("") text},
#define PUMEX_CXX_FEEDERS(f1, f2, f3, f4, f5) \
    {WSTR("") f1, WSTR("") f2, WSTR("") f3, WSTR("") f4, WSTR("") f5}
#define PUMEX_CXX_LANGUAGE(id, name, ...) {id, name, PUMEX_CXX_FEEDERS(__VA_ARGS__)},

const StringLanguage kStringLanguages[] = {PUMEX_LANGUAGES(PUMEX_CXX_LANGUAGE)};
const size_t kStringLanguageCount = sizeof kStringLanguages / sizeof kStringLanguages[0];
const StringCommon kStringCommon[] = {PUMEX_COMMON_STRINGS(PUMEX_CXX_COMMON)};
const size_t kStringCommonCount = sizeof kStringCommon / sizeof kStringCommon[0];

namespace {

// Strings are stored sixteen to a block; these three blocks exist in every entry.
const UINT kUsedBlocks[] = {1, 17, 72};

bool inUsedBlock(UINT number)
{
    for (UINT block : kUsedBlocks)
        if (number / 16 + 1 == block)
            return true;
    return false;
}

WORD primaryWithNeutralSub(WORD langId) { return (WORD)(langId & 0x3FF); }

}  // namespace

UINT StringTable_firstFeeder() { return PUMEX_FIRST_FEEDER; }

const StringLanguage* StringTable_language(WORD langId)
{
    for (size_t i = 0; i < kStringLanguageCount; ++i)
        if (kStringLanguages[i].langId == langId)
            return &kStringLanguages[i];
    return nullptr;
}

const WCHAR* StringTable_text(const StringLanguage* entry, UINT number)
{
    if (!entry || !inUsedBlock(number))
        return nullptr;
    for (size_t i = 0; i < kStringCommonCount; ++i)
        if (kStringCommon[i].number == number)
            return kStringCommon[i].text;
    UINT first = StringTable_firstFeeder();
    if (number >= first && number < first + STRING_FEEDER_COUNT)
        return entry->feeders[number - first];
    return WSTR("");
}

const StringLanguage* StringTable_lookup(WORD userLangId)
{
    const WORD order[] = {userLangId, primaryWithNeutralSub(userLangId), 0x0000, 0x0409};
    for (WORD langId : order)
        if (const StringLanguage* entry = StringTable_language(langId))
            return entry;
    return &kStringLanguages[0];
}
