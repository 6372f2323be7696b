// All commands with their keys: searched, changed, given back what they came with. Changes count at once.
#pragma once

#include "host/app/command_keys.h"

#include <QDialog>

#include <functional>

class QKeySequenceEdit;
class QLineEdit;
class QPushButton;
class QTreeWidget;
class QTreeWidgetItem;

namespace host {

class KeysDialog final : public QDialog {
public:
    /// `changed` is called after each change.
    KeysDialog(CommandKeys& keys, std::function<void()> changed, QWidget* parent);

private:
    void Fill();
    void ShowMatches();
    void ShowKeys();
    const KeyCommand* Current() const;
    void Assign(bool alone);
    void Apply(const std::function<void()>& change);

    CommandKeys& m_keys;
    const std::function<void()> m_changed;
    QLineEdit* m_search;
    QTreeWidget* m_list;
    QKeySequenceEdit* m_key;
    QPushButton *m_assign, *m_add, *m_remove, *m_reset;
};

}  // namespace host
