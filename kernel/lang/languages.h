// The languages that texts exist in: their LCIDs by slot, and what is told of a language by its number.
// [any-thread]
#pragma once

#include "kernel/lang/lang.h"

#include <span>

namespace tarn {

struct LanguageInfo {
    uint32_t lcid;
    const char* code;              ///< BCP 47, "pt-BR"
    const char16_t* abbreviation;  ///< Windows' three letters, "PTB"
    const char16_t* name;          ///< in the language itself
};

/// The languages of string resources: those of the records by slot, then those that records have no place
/// for.
inline constexpr uint32_t RESOURCE_LANGUAGES = QMLANG_SLOTS + 1;

/// By slot - 1.
QM_API std::span<const LanguageInfo, RESOURCE_LANGUAGES> Languages();
/// Bit slot - 1 for each language that the module has texts in.
QM_API uint32_t TranslatedLanguages(HINSTANCE module);

inline constexpr uint32_t SLOT_ENGLISH = 1;

/// The slot, 1 to RESOURCE_LANGUAGES, whose language has the same main form as `lcid`; English without one.
uint32_t SlotOfLcid(uint32_t lcid);

}  // namespace tarn
