#include "kernel/lang/string_resources.h"

#include <algorithm>
#include <mutex>
#include <shared_mutex>
#include <utility>

using namespace tarn;

namespace {

// Modules register while they are loaded, so neither may need an initialiser of this file to have run.
constinit std::shared_mutex guard;
constinit ModuleStrings* firstStrings = nullptr;

const char16_t* FindIn(std::span<const StringRow> rows, uint32_t id) {
    const auto at = std::ranges::lower_bound(rows, id, {}, &StringRow::id);
    return at != rows.end() && at->id == id ? at->text : nullptr;
}

}  // namespace

tarn::ModuleStrings::ModuleStrings(HINSTANCE module, std::span<const StringTable> tables)
    : m_module(module), m_tables(tables) {
    const std::lock_guard lock(guard);
    m_next = std::exchange(firstStrings, this);
}

tarn::ModuleStrings::~ModuleStrings() {
    const std::lock_guard lock(guard);
    ModuleStrings** at = &firstStrings;
    while (*at != this) at = &(*at)->m_next;
    *at = m_next;
}

const char16_t* tarn::FindStringResource(HINSTANCE module, uint32_t slot, uint32_t id) {
    const std::shared_lock lock(guard);
    for (const ModuleStrings* strings = firstStrings; strings; strings = strings->m_next) {
        if (strings->m_module != module) continue;
        for (const StringTable& table : strings->m_tables)
            if (table.slot == slot)
                if (const char16_t* text = FindIn(table.rows, id)) return text;
    }
    return nullptr;
}

bool tarn::HasStringResources(HINSTANCE module, uint32_t slot) {
    const std::shared_lock lock(guard);
    for (const ModuleStrings* strings = firstStrings; strings; strings = strings->m_next)
        if (strings->m_module == module && std::ranges::count(strings->m_tables, slot, &StringTable::slot))
            return true;
    return false;
}
