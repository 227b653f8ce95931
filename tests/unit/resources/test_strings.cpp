// The string table's Linux copy and the lookup a driver's user gets: the
// documented texts and edge cases, and the fallback between language entries.
#include "plugin_module.h"
#include "probe.h"
#include "resources/strings.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <utility>

namespace {

std::u16string text(WORD langId, UINT number)
{
    const WCHAR* t = StringTable_text(StringTable_language(langId), number);
    return t ? std::u16string(t) : u"<none>";
}

TEST(StringTable, HoldsTwentyNineEntriesWithTheirDocumentedTexts)
{
    EXPECT_EQ(kStringLanguageCount, 29u);
    const std::tuple<WORD, UINT, const char16_t*> cases[] = {
        {0x0409, 1, u"PumexPro"},  {0x0412, 257, u"Graphics"},
        {0x0411, 258, u"13 7/8 x 11"},  {0x0013, 264, u"16 x 50"},
        {0x0409, 1139, u"Lower (Standard) Tractor Feeder"},
        {0x0409, 1143, u"Bottom Sheet Feeder"},
        // Typographic apostrophe in the first two French names, plain in the rest.
        {0x040C, 1139, u"Moteur d\u2019entra\u00EEnement du papier inf\u00E9rieur (standard)"},
        {0x040C, 1141, u"Bac d'alimentation feuille \u00E0 feuille sup\u00E9rieur"},
        {0x0410, 1143, u"Trattore carta in basso  "},
        {0x0013, 1139, u"Ondeste (standaard) lade voor kettingpapier"},
        {0x0013, 1140, u"Bovenste lade voor kettingpapierr"},
        {0x0415, 1142, u"\u015Arodkowy Podawacz Arkuszy"},
        {0x0411, 1139, u"\u6A19\u6E96\u30C8\u30E9\u30AF\u30BF\u30FC\u30D5\u30A3\u30FC\u30C0\u30FC"},
        {0x0001, 1142, u"\u0627\u0644\u0645\u0646\u0637\u0642\u0629 \u0627\u0644\u0648\u0633\u0637\u0649 "
                       u"\u0644\u0625\u062F\u062E\u0627\u0644 \u0627\u0644\u0648\u0631\u0642"},
        // Unused numbers of the three blocks are empty; other blocks do not exist.
        {0x0409, 0, u""},          {0x0416, 256, u""},        {0x0409, 1151, u""},        {0x0409, 16, u"<none>"},
        {0x0409, 1152, u"<none>"}, {0x0809, 1, u"<none>"},
    };
    for (const auto& [langId, number, expected] : cases)
        EXPECT_EQ(text(langId, number), expected) << std::hex << langId << " " << std::dec << number;
}

TEST(StringTable, UserLanguagesFallBackAsTheResourceLoaderDoes)
{
    const std::pair<WORD, WORD> cases[] = {  // the user's language, the entry used
        {0x0407, 0x0407},  // exact
        {0x0813, 0x0013},  // Dutch (Belgium): the neutral Dutch entry
        {0x3C01, 0x3C01},  // a regional Arabic entry of its own
        {0x0C07, 0x0409},  // German (Austria): no 0x0C07 or 0x0007, so US English
        {0x040A, 0x0409},  // Spanish, traditional sort: only 0x0C0A is stored
        {0x0000, 0x0409},
    };
    for (const auto& [user, entry] : cases)
        EXPECT_EQ(StringTable_lookup(user)->langId, entry) << std::hex << user;
}

TEST(ProbeLanguage, LocaleNamesAndIdsMapToWindowsLanguageIds)
{
    const std::pair<const char*, unsigned short> cases[] = {
        {"de_DE.UTF-8", 0x0407}, {"de-AT", 0x0C07},   {"nl_BE@euro", 0x0813}, {"ja", 0x0411},
        {"C.UTF-8", 0x0409},     {"de_LU", 0x0007},   {"fi_FI", 0x0000},      {"0x0C0A", 0x0C0A},
    };
    for (const auto& [locale, langId] : cases)
        EXPECT_EQ(host::languageIdOf(locale), langId) << locale;
    for (const char* bad : {"0x", "0x10000", "de DE", ""})
        EXPECT_THROW(host::languageIdOf(bad), host::HostError) << bad;
}

}  // namespace
