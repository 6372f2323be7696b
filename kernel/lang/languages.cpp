#include "kernel/lang/languages.h"

#include "kernel/lang/string_resources.h"
#include "platform/text.h"

#include <unicode/uloc.h>

#include <algorithm>
#include <cctype>
#include <string>

using namespace tarn;

namespace {

constexpr uint32_t PRIMARY_CHINESE = 4, PRIMARY_PORTUGUESE = 22;
constexpr uint32_t LCID_JAPANESE = 1041;

constexpr LanguageInfo LANGUAGES[RESOURCE_LANGUAGES] = {
    {0x409, "en", u"ENU", u"English"},      {0x411, "ja", u"JPN", u"日本語"},
    {0x407, "de", u"DEU", u"Deutsch"},      {0x40A, "es", u"ESP", u"Español"},
    {0x40C, "fr", u"FRA", u"Français"},     {0x804, "zh-CN", u"CHS", u"简体中文"},
    {0x404, "zh-TW", u"CHT", u"繁體中文"},  {0x406, "da", u"DAN", u"Dansk"},
    {0x40B, "fi", u"FIN", u"Suomi"},        {0x410, "it", u"ITA", u"Italiano"},
    {0x412, "ko", u"KOR", u"한국어"},       {0x413, "nl", u"NLD", u"Nederlands"},
    {0x414, "nb", u"NOR", u"Norsk"},        {0x416, "pt-BR", u"PTB", u"Português (Brasil)"},
    {0x816, "pt-PT", u"PTG", u"Português"}, {0x419, "ru", u"RUS", u"Русский"},
    {0x41D, "sv", u"SVE", u"Svenska"},      {0x415, "pl", u"PLK", u"Polski"},
    {0x40D, "he", u"HEB", u"עברית"},
};

struct CountryForm {
    uint32_t primary;
    const char16_t* name;
};

constexpr CountryForm COUNTRY_FORMS[] = {
    {0x11, u"ja-JP"}, {0x07, u"de-DE"}, {0x0C, u"fr-FR"}, {0x0A, u"es-ES"},
    {0x15, u"pl-PL"}, {0x04, u"zh-CN"}, {0x16, u"pt-BR"}, {0x12, u"ko-KR"},
};

// Arabic, Hebrew, Urdu, Persian.
constexpr uint32_t RIGHT_TO_LEFT[] = {1, 13, 32, 41};

uint32_t Primary(uint32_t lcid) { return lcid & LANG_PRIMARY_MASK; }

std::u16string Iso3Name(uint32_t lcid) {
    char locale[ULOC_FULLNAME_CAPACITY];
    UErrorCode status = U_ZERO_ERROR;
    uloc_getLocaleForLCID(lcid, locale, sizeof locale, &status);
    if (U_FAILURE(status)) return {};
    std::u16string name;
    for (const char* c = uloc_getISO3Language(locale); *c; c++)
        name += static_cast<char16_t>(std::toupper(static_cast<unsigned char>(*c)));
    return name;
}

}  // namespace

std::span<const LanguageInfo, RESOURCE_LANGUAGES> tarn::Languages() { return LANGUAGES; }

uint32_t tarn::TranslatedLanguages(HINSTANCE module) {
    uint32_t languages = 0;
    for (uint32_t slot = 1; slot <= RESOURCE_LANGUAGES; slot++)
        if (HasStringResources(module, slot)) languages |= 1u << (slot - 1);
    return languages;
}

uint32_t tarn::SlotOfLcid(uint32_t lcid) {
    const uint32_t wanted = QmLang_GetConditionedLCID(lcid);
    const auto matches = [&](const LanguageInfo& l) { return QmLang_GetConditionedLCID(l.lcid) == wanted; };
    const LanguageInfo* at = std::find_if(std::begin(LANGUAGES), std::end(LANGUAGES), matches);
    return at == std::end(LANGUAGES) ? SLOT_ENGLISH : static_cast<uint32_t>(at - LANGUAGES) + 1;
}

extern "C" {

uint32_t QmLang_GetConditionedLCID(uint32_t lcid) {
    const uint32_t primary = Primary(lcid), regional = (lcid & 0xFFFF) >> 10;
    if (primary == PRIMARY_CHINESE) return regional == 1 || regional == 3 || regional == 5 ? 0x404 : 0x804;
    if (primary == PRIMARY_PORTUGUESE) return lcid;
    return primary + 0x400;
}

BOOL QmLang_IsLCIDEnglish(uint32_t lcid) { return Primary(lcid) == LANG_PRIMARY_ENGLISH; }

BOOL QmLang_UseRTL(HQMLANG lang) {
    return std::ranges::count(RIGHT_TO_LEFT, Primary(QmLang_GetLCID(lang))) != 0;
}

BOOL QmLang_IsNameOrderReversed(HQMLANG lang) { return QmLang_GetLCID(lang) == LCID_JAPANESE; }

BOOL QmLang_GetLangAbbrev(HQMLANG lang, char16_t* out, uint32_t capacity) try {
    const uint32_t lcid = QmLang_GetLCID(lang);
    const LanguageInfo* at = std::ranges::find(LANGUAGES, lcid, &LanguageInfo::lcid);
    const std::u16string name = at != std::end(LANGUAGES) ? at->abbreviation : Iso3Name(lcid);
    CopyText(out, capacity, name.c_str());
    return !name.empty();
} catch (const std::bad_alloc&) {
    CopyText(out, capacity, u"");
    return 0;
}

int32_t QmLang_GetLangllCC(HQMLANG lang, char16_t* out, uint32_t capacity) {
    const auto* at = std::ranges::find(COUNTRY_FORMS, Primary(QmLang_GetLCID(lang)), &CountryForm::primary);
    const bool known = at != std::end(COUNTRY_FORMS);
    CopyText(out, capacity, known ? at->name : u"");
    return known ? 0 : 1;
}

}  // extern "C"
