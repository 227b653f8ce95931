// The module's string table as data: the same texts the DLL carries as string
// resources, for the Linux build (which has no resource section) and for the
// programs that check the DLL's resources against it.
#pragma once

#include "win32.h"

// The five feeder names, numbers StringTable_firstFeeder() onwards.
enum { STRING_FEEDER_COUNT = 5 };

// One language entry: its language id, an English name, its feeder names.
struct StringLanguage {
    WORD langId;
    const char* name;
    const WCHAR* feeders[STRING_FEEDER_COUNT];
};

// A text every language entry carries under the same number.
struct StringCommon {
    UINT number;
    const WCHAR* text;
};

extern const StringLanguage kStringLanguages[];
extern const size_t kStringLanguageCount;
extern const StringCommon kStringCommon[];
extern const size_t kStringCommonCount;

UINT StringTable_firstFeeder();

// The entry stored under exactly this language id; null when there is none.
const StringLanguage* StringTable_language(WORD langId);

// The text of number in that entry: "" for an unused number of blocks 1, 17
// and 72 (they exist in every entry), null outside them.
const WCHAR* StringTable_text(const StringLanguage* entry, UINT number);

// The entry a driver whose user language is userLangId reads, searched as the
// Windows resource loader searches for a string loaded without a language:
// the language itself, its primary language with neutral sub-language, the
// neutral language, then US English. Never null.
const StringLanguage* StringTable_lookup(WORD userLangId);
