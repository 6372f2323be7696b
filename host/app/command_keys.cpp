#include "host/app/command_keys.h"

#include "platform/ui/messages.h"

#include <nlohmann/json.hpp>

#include <QStringList>

#include <algorithm>
#include <iterator>
#include <set>

namespace host {
namespace {

constexpr uint16_t SHIFT = 2, CTRL = 4, ALT = 8;
constexpr size_t MOST_KEYS = 16;  // of one command

struct KeyRow {
    uint32_t virtualKey;
    Qt::Key key;
};
constexpr KeyRow NAMED[] = {
    {VK_BACK, Qt::Key_Backspace},
    {VK_TAB, Qt::Key_Tab},
    {VK_RETURN, Qt::Key_Return},
    {VK_ESCAPE, Qt::Key_Escape},
    {VK_SPACE, Qt::Key_Space},
    {VK_PRIOR, Qt::Key_PageUp},
    {VK_NEXT, Qt::Key_PageDown},
    {VK_END, Qt::Key_End},
    {VK_HOME, Qt::Key_Home},
    {VK_LEFT, Qt::Key_Left},
    {VK_UP, Qt::Key_Up},
    {VK_RIGHT, Qt::Key_Right},
    {VK_DOWN, Qt::Key_Down},
    {VK_INSERT, Qt::Key_Insert},
    {VK_DELETE, Qt::Key_Delete},
    // Signs, as they lie on the keyboard that these numbers are of.
    {186, Qt::Key_Semicolon},
    {187, Qt::Key_Equal},
    {188, Qt::Key_Comma},
    {189, Qt::Key_Minus},
    {190, Qt::Key_Period},
    {191, Qt::Key_Slash},
    {192, Qt::Key_QuoteLeft},
    {219, Qt::Key_BracketLeft},
    {220, Qt::Key_Backslash},
    {221, Qt::Key_BracketRight},
    {222, Qt::Key_Apostrophe},
};

Qt::Key QtKeyOf(uint32_t virtualKey) {
    const bool isCharacter =
        (virtualKey >= '0' && virtualKey <= '9') || (virtualKey >= 'A' && virtualKey <= 'Z');
    if (isCharacter) return static_cast<Qt::Key>(virtualKey);
    if (virtualKey >= VK_F1 && virtualKey <= VK_F24)
        return static_cast<Qt::Key>(Qt::Key_F1 + static_cast<int>(virtualKey - VK_F1));
    const auto* row = std::ranges::find(NAMED, virtualKey, &KeyRow::virtualKey);
    return row == std::end(NAMED) ? Qt::Key_unknown : row->key;
}

}  // namespace

QKeySequence KeyOf(const MPCOMMANDKEY& key) {
    const Qt::Key code = QtKeyOf(key.key);
    if (code == Qt::Key_unknown) return {};
    Qt::KeyboardModifiers held;
    held.setFlag(Qt::ShiftModifier, key.modifiers & SHIFT);
    held.setFlag(Qt::ControlModifier, key.modifiers & CTRL);
    held.setFlag(Qt::AltModifier, key.modifiers & ALT);
    return QKeyCombination(held, code);
}

MPCOMMANDKEY PluginKeyOf(const QKeySequence& key) {
    constexpr uint16_t VIRTUAL_KEY = 0x100;
    constexpr uint32_t LAST = 255;
    if (key.count() != 1) return {};
    const QKeyCombination first = key[0];
    const Qt::KeyboardModifiers held = first.keyboardModifiers();
    uint32_t code = 1;
    while (code <= LAST && QtKeyOf(code) != first.key()) code++;
    if (code > LAST) return {};
    const int bits = VIRTUAL_KEY | (held & Qt::ShiftModifier ? SHIFT : 0) |
                     (held & Qt::ControlModifier ? CTRL : 0) | (held & Qt::AltModifier ? ALT : 0);
    return {static_cast<uint16_t>(code), static_cast<uint16_t>(bits), 0};
}

QString KeysText(const Keys& keys) {
    QStringList texts;
    for (const QKeySequence& key : keys) texts += key.toString(QKeySequence::NativeText);
    return texts.join(QStringLiteral(", "));
}

void CommandKeys::SetCommands(std::vector<KeyCommand> commands) {
    std::set<QString> seen;
    std::erase_if(commands, [&](const KeyCommand& c) { return !seen.insert(c.name).second; });
    m_commands = std::move(commands);
    Settle();
}

// What the user chose comes first, whoever comes with that key.
void CommandKeys::Settle() {
    m_inForce.clear();
    m_holders.clear();
    for (const bool chosen : {true, false})
        for (const KeyCommand& command : m_commands) {
            if (IsChosen(command.name) != chosen) continue;
            for (const QKeySequence& key : chosen ? m_chosen.at(command.name) : command.preset)
                if (!key.isEmpty() && m_holders.emplace(key, command.name).second)
                    m_inForce[command.name] += key;
        }
}

Keys CommandKeys::KeysOf(const QString& name) const {
    const auto at = m_inForce.find(name);
    return at == m_inForce.end() ? Keys() : at->second;
}

const KeyCommand* CommandKeys::HolderOf(const QKeySequence& key) const {
    const auto holder = m_holders.find(key);
    if (holder == m_holders.end()) return nullptr;
    return &*std::ranges::find(m_commands, holder->second, &KeyCommand::name);
}

Keys CommandKeys::Unused() const {
    Keys unused;
    for (const KeyCommand& command : m_commands)
        for (const QKeySequence& key : command.preset)
            if (!HolderOf(key) && !unused.contains(key)) unused += key;
    return unused;
}

void CommandKeys::Choose(const QString& name, const Keys& keys) {
    for (const QKeySequence& key : keys) {
        const KeyCommand* holder = HolderOf(key);
        if (!holder || holder->name == name) continue;
        Keys left = KeysOf(holder->name);
        left.removeAll(key);
        m_chosen[holder->name] = left;
    }
    m_chosen[name] = keys;
    Settle();
}

void CommandKeys::Reset(const QString& name) {
    m_chosen.erase(name);
    Settle();
}

void CommandKeys::ResetAll() {
    m_chosen.clear();
    Settle();
}

std::string CommandKeys::Format() const {
    nlohmann::json text = nlohmann::json::object();
    for (const auto& [name, keys] : m_chosen) {
        nlohmann::json& list = text[name.toStdString()] = nlohmann::json::array();
        for (const QKeySequence& key : keys)
            list.push_back(key.toString(QKeySequence::PortableText).toStdString());
    }
    return text.dump();
}

bool CommandKeys::Parse(const std::string& text) {
    const nlohmann::json read = nlohmann::json::parse(text, nullptr, false);
    if (!read.is_object()) return false;
    std::map<QString, Keys> chosen;
    for (const auto& [name, list] : read.items()) {
        if (!list.is_array() || list.size() > MOST_KEYS) return false;
        Keys& keys = chosen[QString::fromStdString(name)];
        for (const nlohmann::json& key : list) {
            if (!key.is_string()) return false;
            const QKeySequence known(QString::fromStdString(key.get<std::string>()),
                                     QKeySequence::PortableText);
            if (!known.isEmpty()) keys += known;
        }
    }
    m_chosen = std::move(chosen);
    Settle();
    return true;
}

}  // namespace host
