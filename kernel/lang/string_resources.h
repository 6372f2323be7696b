// The string resources of modules: texts by number, in the languages of kernel/lang/languages.h, built from
// resources/strings.
//
// A module is named by an address that every module has of its own. Its tables are constants of the module;
// they come and go with it. [any-thread]
#pragma once

#include "kernel/lang/lang.h"

#include <span>

/// The runtime's own mark of the module that a piece of code was linked into. The compiler declares it by
/// that name, too, where a unit has objects to destroy.
extern "C" __attribute__((visibility("hidden"))) void* ModuleMark __asm__("__dso_handle");

namespace tarn {

/// The module of the caller.
static inline HINSTANCE ThisInstance() { return &ModuleMark; }

struct StringRow {
    uint32_t id;
    const char16_t* text;  ///< never empty
};

/// The texts of one language, ascending by id.
struct StringTable {
    uint32_t slot;  ///< 1 to RESOURCE_LANGUAGES
    std::span<const StringRow> rows;
};

/// Makes tables known for as long as the object lives; a module may have several.
class ModuleStrings {
public:
    QM_API ModuleStrings(HINSTANCE module, std::span<const StringTable> tables);
    QM_API ~ModuleStrings();
    ModuleStrings(const ModuleStrings&) = delete;
    ModuleStrings& operator=(const ModuleStrings&) = delete;

private:
    friend const char16_t* FindStringResource(HINSTANCE, uint32_t, uint32_t);
    friend bool HasStringResources(HINSTANCE, uint32_t);

    HINSTANCE m_module;
    std::span<const StringTable> m_tables;
    ModuleStrings* m_next;
};

/// The text of `id` in that language alone, null when there is none. The text lives as long as its module.
const char16_t* FindStringResource(HINSTANCE module, uint32_t slot, uint32_t id);
/// Whether the module has any text in that language.
bool HasStringResources(HINSTANCE module, uint32_t slot);

}  // namespace tarn
