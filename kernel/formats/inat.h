// How the user writes numbers, times and lists: the block that all printing and reading takes its separators
// from. What fills it lies above, where the texts of the languages are.
#pragma once

#include "platform/user_language.h"

#include <memory>
#include <string>

/// What QmGetInat tells.
enum InatIndex : uint32_t {
    INAT_LOCALE = 0,
    INAT_LANGUAGE = 1,
    INAT_LANGUAGE_NAME = 2,
    INAT_ENGLISH_LANGUAGE_NAME = 3,
    INAT_COUNTRY = 4,
    INAT_DECIMAL_SEPARATOR = 24,
    INAT_LIST_SEPARATOR = 40,
    INAT_TIME_SEPARATOR = 60,
    INAT_SMPTE_WHOLE = 100,
    INAT_SMPTE_NON_DROP = 101,
    INAT_SMPTE_DROP = 102,
    INAT_MEASURE_BEAT = 120,
    INAT_BEAT_TICK = 121,
};

extern "C" {

/// A number by its index, or the length of a text that is written to `out` unless that is null; 0 and an
/// empty text for an index that has neither. [any-thread]
QM_API uint32_t QmGetInat(uint32_t index, char16_t* out);
/// Writes at most capacity - 1 characters and the terminator. [any-thread]
QM_API uint32_t QmGetInatN(uint32_t index, char16_t* out, uint32_t capacity);

}  // extern "C"

namespace tarn {

/// A separator; cut to 8 characters, as long as any locale's.
struct Separator {
    char16_t text[9] = {};
    uint32_t length = 0;

    Separator() = default;
    Separator(std::u16string_view source);
    bool operator==(const Separator&) const = default;
};

/// The block itself.
struct Inat {
    uint32_t lcid = LCID_ENGLISH_US, language = LCID_ENGLISH_US, country = 840;
    std::u16string languageName, englishLanguageName, countryName, englishCountryName;
    Separator negative{u"-"}, thousands{u","}, decimal{u"."};
    uint32_t primaryGroup = 3, secondaryGroup = 3, leastGrouped = 1;
    uint32_t decimals = 3, leadingZero = 1, measurementSystem = 1;
    Separator time{u":"}, list{u","};
    Separator smpteWhole{u":"}, smpteNonDrop{u":"}, smpteDrop{u";"};
    Separator measureBeat{u"."}, beatTick{u"."};

    bool operator==(const Inat&) const = default;
};

/// The block of now. It stays valid and unchanged for ever; a new locale makes a new one. [any-thread]
const Inat& CurrentInat();
/// Makes it the block of now.
void PublishInat(std::unique_ptr<Inat> inat);
/// Called, once, where the block is asked for before any was published; it publishes one.
void SetInatReader(void (*reader)());

}  // namespace tarn
