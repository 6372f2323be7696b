// The texts of one module as the translators' files hold them: a template in English (NAME.pot) and beside it
// one file a language (de.po), in gettext's format, UTF-8.
//
// msgctxt is the key of a text: for a module "1020 MIXING_CONSOLE", its number and name; for the kernel the
// name alone, "SMPTE.Label.Drop". msgid is the English text, msgstr the translation.
#pragma once

#include <array>
#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

/// The languages of a module's texts, and the first of them, which the kernel's records have.
inline constexpr size_t LANGUAGES = 19, RECORD_LANGUAGES = 18;

struct TextEntry {
    uint32_t id;  ///< 0 in the kernel's catalogue
    std::string name;
    std::array<std::optional<std::string>, LANGUAGES> texts;  ///< by slot - 1; English is always there
};

struct Catalog {
    std::vector<TextEntry> entries;     ///< in the template's order
    std::vector<std::string> problems;  ///< each names the file, the text and the reason
};

/// Reads the template and the languages' files beside it. `numbered`: keys carry numbers.
Catalog ReadCatalog(const std::filesystem::path& pot, bool numbered);
