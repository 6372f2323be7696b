#include "host/contract/command_table.h"

#include "platform/text.h"

#include <algorithm>
#include <iterator>
#include <span>

using namespace tarn;

namespace host {
namespace {

constexpr uint32_t MOST_ROWS = 4096;

std::string TextOf(const char16_t* text) { return text ? Utf8FromUtf16(text) : std::string(); }

}  // namespace

HRESULT CommandTables::Register(const MPCOMMANDREG& registration) {
    if (!registration.name || registration.commandCount > MOST_ROWS || registration.keyCount > MOST_ROWS ||
        (registration.commandCount && !registration.commands) ||
        (registration.keyCount && !registration.keys))
        return E_INVALIDARG;
    const std::string group = TextOf(registration.name);
    Table table{.commands = {}, .keys = registration.keyCount};
    for (const MPCOMMAND& row : std::span(registration.commands, registration.commandCount))
        table.commands.push_back({group, TextOf(row.name), TextOf(row.text), row.command});
    for (const MPCOMMANDKEY& key : std::span(registration.keys, registration.keyCount)) {
        const auto at = std::ranges::find(table.commands, key.command, &RegisteredCommand::command);
        if (at != table.commands.end()) at->keys.push_back(key);
    }
    const std::lock_guard lock(m_lock);
    m_tables[group] = std::move(table);
    m_changes++;
    return S_OK;
}

HRESULT CommandTables::Unregister(const MPCOMMANDREG& registration) {
    const std::lock_guard lock(m_lock);
    if (!m_tables.erase(TextOf(registration.name))) return S_FALSE;
    m_changes++;
    return S_OK;
}

HRESULT CommandTables::Answer(MPCOMMANDREG& registration) const {
    const std::lock_guard lock(m_lock);
    const auto at = m_tables.find(TextOf(registration.name));
    std::ranges::fill(registration.reply, 0u);
    if (at == m_tables.end()) return S_FALSE;
    registration.reply[0] = static_cast<uint32_t>(at->second.commands.size());
    registration.reply[1] = at->second.keys;
    return S_OK;
}

std::vector<RegisteredCommand> CommandTables::All() const {
    std::vector<RegisteredCommand> all;
    const std::lock_guard lock(m_lock);
    for (const auto& row : m_tables) std::ranges::copy(row.second.commands, std::back_inserter(all));
    return all;
}

}  // namespace host
