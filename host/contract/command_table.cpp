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
    Table table{.commands = {}, .keys = registration.keyCount, .inForce = {}};
    for (const MPCOMMAND& row : std::span(registration.commands, registration.commandCount))
        table.commands.push_back({group, TextOf(row.name), TextOf(row.text), row.command});
    for (const MPCOMMANDKEY& key : std::span(registration.keys, registration.keyCount)) {
        // A key has one command: the first that claims it.
        const auto same = [&](const MPCOMMANDKEY& k) {
            return k.key == key.key && k.modifiers == key.modifiers;
        };
        if (std::ranges::any_of(table.inForce, same)) continue;
        table.inForce.push_back(key);
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

void CommandTables::SetKeys(const std::map<std::string, std::vector<MPCOMMANDKEY>>& keys) {
    const std::lock_guard lock(m_lock);
    for (auto& row : m_tables) {
        Table& table = row.second;
        table.inForce.clear();
        for (const RegisteredCommand& command : table.commands) {
            const auto at = keys.find(command.name);
            if (at == keys.end()) continue;
            for (MPCOMMANDKEY key : at->second) {
                key.command = command.command;
                table.inForce.push_back(key);
            }
        }
    }
}

HRESULT CommandTables::Answer(MPCOMMANDREG& registration) const {
    const std::lock_guard lock(m_lock);
    const auto at = m_tables.find(TextOf(registration.name));
    std::ranges::fill(registration.reply, 0u);
    if (at == m_tables.end()) return S_FALSE;
    registration.reply[0] = static_cast<uint32_t>(at->second.commands.size());
    registration.reply[1] = at->second.keys;
    if (!registration.keys) return S_OK;
    const std::vector<MPCOMMANDKEY>& keys = at->second.inForce;
    const size_t given = std::min<size_t>(keys.size(), registration.keyCount);
    // In a get the room is the caller's to be filled.
    std::copy_n(keys.begin(), given, const_cast<MPCOMMANDKEY*>(registration.keys));
    registration.reply[2] = static_cast<uint32_t>(given);
    registration.reply[3] = 1;
    return S_OK;
}

std::vector<RegisteredCommand> CommandTables::All() const {
    std::vector<RegisteredCommand> all;
    const std::lock_guard lock(m_lock);
    for (const auto& row : m_tables) std::ranges::copy(row.second.commands, std::back_inserter(all));
    return all;
}

}  // namespace host
