// The commands that keys can be given to, and the keys in force: those that the user chose, and of those that
// commands come with the ones that are free. A key has one command. Plain values; the windows follow them.
#pragma once

#include "contract/host_contract.h"

#include <QKeySequence>
#include <QList>
#include <QString>

#include <map>
#include <string>
#include <vector>

namespace host {

using Keys = QList<QKeySequence>;

struct KeyCommand {
    QString name;         ///< the same in every run and language: "File.Save"
    QString group, text;  ///< for a person
    Keys preset{};        ///< what it comes with
};

class CommandKeys {
public:
    /// In the order of their right to a key that several come with. Of several of one name the first counts.
    void SetCommands(std::vector<KeyCommand> commands);
    const std::vector<KeyCommand>& Commands() const { return m_commands; }

    Keys KeysOf(const QString& name) const;
    /// Null for a key that is free.
    const KeyCommand* HolderOf(const QKeySequence& key) const;
    bool IsChosen(const QString& name) const { return m_chosen.contains(name); }
    /// Keys that commands come with and nobody has any more.
    Keys Unused() const;

    /// The user's choice; a key that another command has is taken away there.
    void Choose(const QString& name, const Keys& keys);
    void Reset(const QString& name);
    void ResetAll();

    /// The choices as text, of commands that are not there just now too.
    std::string Format() const;
    /// Reads them; false, and nothing has changed, for what is no such text.
    bool Parse(const std::string& text);

private:
    void Settle();

    std::vector<KeyCommand> m_commands;
    std::map<QString, Keys> m_chosen;
    std::map<QString, Keys> m_inForce;
    std::map<QKeySequence, QString> m_holders;
};

/// A key that a plug-in's command comes with; empty for one that Qt has no name for.
QKeySequence KeyOf(const MPCOMMANDKEY& key);
/// The other way, for no command yet; its key is 0 for one that plug-ins have no number for.
MPCOMMANDKEY PluginKeyOf(const QKeySequence& key);
/// As a menu writes them: "Ctrl+S, F2".
QString KeysText(const Keys& keys);

}  // namespace host
