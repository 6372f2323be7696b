#include "host/app/key_actions.h"

#include "host/app/keys_dialog.h"
#include "host/app/settings.h"
#include "host/contract/project.h"

#include <QAction>
#include <QMainWindow>
#include <QMenu>
#include <QMenuBar>
#include <QToolBar>

#include <cstdio>

namespace host {
namespace {

constexpr char PRESET[] = "preset";

/// A key that is also typed into fields; F keys and those with Ctrl or Alt are not.
bool IsTyped(const QKeySequence& key) {
    const QKeyCombination first = key[0];
    const bool isFunction = first.key() >= Qt::Key_F1 && first.key() <= Qt::Key_F35;
    return !isFunction && !(first.keyboardModifiers() & ~Qt::KeyboardModifiers(Qt::ShiftModifier));
}

}  // namespace

KeyActions::KeyActions(Project& project, Settings& settings, QMainWindow& window, QWidget& page,
                       std::function<void(uint32_t)> run)
    : QObject(&window), m_project(project), m_settings(settings), m_window(window), m_page(page),
      m_run(std::move(run)) {
    const std::string kept = settings.Keys();
    if (!kept.empty() && !m_keys.Parse(kept))
        std::fprintf(stderr,
                     "mixhost: the keys in the settings cannot be read; those of the start are used\n");
}

KeyActions::~KeyActions() { qDeleteAll(m_added); }

void KeyActions::TakeActions(const QToolBar& bar) {
    m_hosts.clear();
    m_actions.clear();
    for (QAction* menu : m_window.menuBar()->actions())
        if (menu->menu()) Gather(menu->iconText(), menu->menu()->actions());
    Gather(bar.windowTitle(), bar.actions());
    SetCommands();
}

void KeyActions::Gather(const QString& group, const QList<QAction*>& actions) {
    for (QAction* action : actions) {
        if (action->menu()) Gather(group, action->menu()->actions());
        if (action->objectName().isEmpty()) continue;
        // What it comes with, before it had other keys.
        if (!action->property(PRESET).isValid())
            action->setProperty(PRESET, QVariant::fromValue(action->shortcuts()));
        m_hosts.push_back({action->objectName(), group, action->iconText(),
                           action->property(PRESET).value<QList<QKeySequence>>()});
        m_actions.push_back(action);
    }
}

void KeyActions::Refresh() {
    const uint64_t changes = m_project.CommandChanges();
    if (changes == m_changes) return;
    m_changes = changes;
    m_registered = m_project.Commands();
    SetCommands();
}

void KeyActions::SetCommands() {
    std::vector<KeyCommand> commands = m_hosts;
    for (const RegisteredCommand& command : m_registered) {
        const std::string& text = command.text.empty() ? command.name : command.text;
        KeyCommand row{QString::fromStdString(command.name), QString::fromStdString(command.group),
                       QString::fromStdString(text)};
        for (const MPCOMMANDKEY& key : command.keys)
            if (const QKeySequence known = KeyOf(key); !known.isEmpty()) row.preset += known;
        commands.push_back(std::move(row));
    }
    m_keys.SetCommands(std::move(commands));
    Apply();
}

void KeyActions::Apply() {
    qDeleteAll(m_added);
    m_added.clear();
    for (QAction* action : m_actions) action->setShortcuts(m_keys.KeysOf(action->objectName()));
    std::map<std::string, std::vector<MPCOMMANDKEY>> told;
    for (const RegisteredCommand& command : m_registered)
        for (const QKeySequence& key : m_keys.KeysOf(QString::fromStdString(command.name))) {
            AddKey(key, [this, id = command.command] { m_run(id); });
            if (const MPCOMMANDKEY known = PluginKeyOf(key); known.key) told[command.name].push_back(known);
        }
    m_project.SetCommandKeys(told);
    // A plug-in may know the keys that its commands came with: one that was taken away does nothing.
    for (const QKeySequence& key : m_keys.Unused())
        if (IsTyped(key)) AddKey(key, [] {});
}

void KeyActions::AddKey(const QKeySequence& key, std::function<void()> act) {
    QWidget& owner = IsTyped(key) ? m_page : static_cast<QWidget&>(m_window);
    auto* action = new QAction(&owner);
    action->setShortcut(key);
    action->setShortcutContext(IsTyped(key) ? Qt::WidgetWithChildrenShortcut : Qt::ApplicationShortcut);
    connect(action, &QAction::triggered, this, std::move(act));
    owner.addAction(action);
    m_added.emplace_back(action);
}

void KeyActions::ShowDialog() {
    KeysDialog(
        m_keys,
        [this] {
            Apply();
            m_settings.SetKeys(m_keys.Format());
        },
        &m_window)
        .exec();
}

}  // namespace host
