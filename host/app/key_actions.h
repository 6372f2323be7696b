// The host's actions and the commands of plug-ins under the keys that the user has given them.
#pragma once

#include "host/app/command_keys.h"
#include "host/contract/command_table.h"

#include <QAction>
#include <QPointer>

#include <functional>
#include <vector>

class QMainWindow;
class QToolBar;

namespace host {

class Project;
class Settings;

class KeyActions final : public QObject {
public:
    /// `page` is where keys without Ctrl and Alt count for plug-ins' commands, `run` has one carried out.
    KeyActions(Project& project, Settings& settings, QMainWindow& window, QWidget& page,
               std::function<void(uint32_t command)> run);
    ~KeyActions() override;

    /// Takes the window's actions that have an object name, from its menus and this bar, and gives them their
    /// keys. Called again when they were made anew.
    void TakeActions(const QToolBar& bar);
    /// Follows what plug-ins have registered. Called now and then.
    void Refresh();
    void ShowDialog();

private:
    void Gather(const QString& group, const QList<QAction*>& actions);
    void SetCommands();
    void Apply();
    void AddKey(const QKeySequence& key, std::function<void()> act);

    Project& m_project;
    Settings& m_settings;
    QMainWindow& m_window;
    QWidget& m_page;
    const std::function<void(uint32_t)> m_run;
    CommandKeys m_keys;
    std::vector<KeyCommand> m_hosts;
    std::vector<QAction*> m_actions;  ///< of these, in their order
    std::vector<RegisteredCommand> m_registered;
    uint64_t m_changes = 0;                  ///< of what is registered
    std::vector<QPointer<QAction>> m_added;  ///< for commands of plug-ins; they go with their windows
};

}  // namespace host
