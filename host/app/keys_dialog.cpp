#include "host/app/keys_dialog.h"

#include "host/app/texts.h"
#include "platform/ui/plain_text.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QKeySequenceEdit>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

#include <algorithm>

using namespace tarn;

namespace host {
namespace {

constexpr QSize KEYS_SIZE{640, 560};
constexpr int COLUMN_TEXT = 0, COLUMN_KEYS = 1, COLUMN_WIDTH = 400;

}  // namespace

KeysDialog::KeysDialog(CommandKeys& keys, std::function<void()> changed, QWidget* parent)
    : QDialog(parent), m_keys(keys), m_changed(std::move(changed)), m_search(new QLineEdit),
      m_list(new QTreeWidget), m_key(new QKeySequenceEdit), m_assign(new QPushButton(Text(IDS_KEYS_ASSIGN))),
      m_add(new QPushButton(Text(IDS_KEYS_ADD))), m_remove(new QPushButton(Text(IDS_KEYS_REMOVE))),
      m_reset(new QPushButton(Text(IDS_KEYS_RESET))) {
    setWindowTitle(Text(IDS_TITLE_KEYS));
    resize(KEYS_SIZE);
    m_search->setClearButtonEnabled(true);
    m_search->setPlaceholderText(Text(IDS_KEYS_SEARCH));
    m_search->setAccessibleName(Text(IDS_KEYS_SEARCH));
    m_list->setHeaderLabels({Text(IDS_KEYS_COMMAND), Text(IDS_TITLE_KEYS)});
    m_list->setAccessibleName(Text(IDS_KEYS_COMMAND));
    m_list->setUniformRowHeights(true);
    m_list->header()->resizeSection(COLUMN_TEXT, COLUMN_WIDTH);
    m_key->setAccessibleName(Text(IDS_KEYS_NEW).remove(QLatin1Char('&')));
    auto* resetAll = new QPushButton(Text(IDS_KEYS_RESET_ALL));
    auto* close = new QPushButton(Text(IDS_KEYS_CLOSE));
    for (QPushButton* button : {m_assign, m_add, m_remove, m_reset, resetAll, close})
        button->setAutoDefault(false);  // Enter in the search is no wish for a key

    auto* label = new QLabel(Text(IDS_KEYS_NEW));
    label->setBuddy(m_key);
    // What Qt would say there is in its own language.
    m_key->findChild<QLineEdit*>()->setPlaceholderText({});
    auto* change = new QHBoxLayout;
    change->addWidget(label);
    change->addWidget(m_key, 1);
    for (QPushButton* button : {m_assign, m_add, m_remove, m_reset}) change->addWidget(button);
    auto* end = new QHBoxLayout;
    end->addWidget(resetAll);
    end->addStretch(1);
    end->addWidget(close);
    auto* column = new QVBoxLayout(this);
    column->addWidget(m_search);
    column->addWidget(m_list, 1);
    column->addLayout(change);
    column->addLayout(end);

    connect(m_search, &QLineEdit::textChanged, this, &KeysDialog::ShowMatches);
    connect(m_list, &QTreeWidget::currentItemChanged, this, &KeysDialog::ShowKeys);
    connect(m_key, &QKeySequenceEdit::keySequenceChanged, this, [this](const QKeySequence& typed) {
        // A command has keys, not rows of them.
        if (typed.count() > 1) m_key->setKeySequence(QKeySequence(typed[0]));
        ShowKeys();
    });
    connect(m_assign, &QPushButton::clicked, this, [this] { Assign(true); });
    connect(m_add, &QPushButton::clicked, this, [this] { Assign(false); });
    connect(m_remove, &QPushButton::clicked, this,
            [this] { Apply([this] { m_keys.Choose(Current()->name, {}); }); });
    connect(m_reset, &QPushButton::clicked, this,
            [this] { Apply([this] { m_keys.Reset(Current()->name); }); });
    connect(resetAll, &QPushButton::clicked, this, [this] {
        const auto answer = QMessageBox::question(this, Text(IDS_TITLE_KEYS), Text(IDS_KEYS_ASK_RESET));
        if (answer == QMessageBox::Yes) Apply([this] { m_keys.ResetAll(); });
    });
    connect(close, &QPushButton::clicked, this, &QDialog::accept);
    Fill();
}

void KeysDialog::Fill() {
    std::map<QString, QTreeWidgetItem*> groups;
    for (const KeyCommand& command : m_keys.Commands()) {
        QTreeWidgetItem*& group = groups[command.group];
        if (!group) {
            group = new QTreeWidgetItem(m_list, {command.group});
            group->setFlags(Qt::ItemIsEnabled);
            group->setFirstColumnSpanned(true);
            group->setExpanded(true);
        }
        auto* row = new QTreeWidgetItem(group, {command.text});
        row->setData(COLUMN_TEXT, Qt::UserRole, command.name);
        row->setToolTip(COLUMN_TEXT, PlainText(command.name));
    }
    ShowMatches();
    ShowKeys();
}

const KeyCommand* KeysDialog::Current() const {
    const QTreeWidgetItem* item = m_list->currentItem();
    if (!item || !item->parent()) return nullptr;
    const QString name = item->data(COLUMN_TEXT, Qt::UserRole).toString();
    const auto at = std::ranges::find(m_keys.Commands(), name, &KeyCommand::name);
    return at == m_keys.Commands().end() ? nullptr : &*at;
}

void KeysDialog::ShowMatches() {
    const QString sought = m_search->text().trimmed();
    for (int g = 0; g < m_list->topLevelItemCount(); g++) {
        QTreeWidgetItem* group = m_list->topLevelItem(g);
        bool any = false;
        for (int i = 0; i < group->childCount(); i++) {
            QTreeWidgetItem* row = group->child(i);
            const Keys keys = m_keys.KeysOf(row->data(COLUMN_TEXT, Qt::UserRole).toString());
            row->setText(COLUMN_KEYS, KeysText(keys));
            const bool fits = row->text(COLUMN_TEXT).contains(sought, Qt::CaseInsensitive) ||
                              row->text(COLUMN_KEYS).contains(sought, Qt::CaseInsensitive) ||
                              group->text(COLUMN_TEXT).contains(sought, Qt::CaseInsensitive);
            row->setHidden(!fits);
            any |= fits;
        }
        group->setHidden(!any);
    }
}

void KeysDialog::ShowKeys() {
    const KeyCommand* command = Current();
    const bool typed = !m_key->keySequence().isEmpty();
    m_key->setEnabled(command);
    m_assign->setEnabled(command && typed);
    m_add->setEnabled(command && typed);
    m_remove->setEnabled(command && !m_keys.KeysOf(command->name).isEmpty());
    m_reset->setEnabled(command && m_keys.IsChosen(command->name));
}

void KeysDialog::Assign(bool alone) {
    const KeyCommand* command = Current();
    const QKeySequence key = m_key->keySequence();
    if (const KeyCommand* holder = m_keys.HolderOf(key); holder && holder != command) {
        const auto wide = [](const QString& text) { return text.toStdU16String(); };
        const QString ask = Format(IDS_KEYS_CONFLICT, wide(key.toString(QKeySequence::NativeText)).c_str(),
                                   wide(holder->text).c_str(), wide(command->text).c_str());
        if (QMessageBox::question(this, Text(IDS_TITLE_KEYS), PlainText(ask)) != QMessageBox::Yes) return;
    }
    Keys keys = alone ? Keys() : m_keys.KeysOf(command->name);
    if (!keys.contains(key)) keys += key;
    Apply([&] { m_keys.Choose(command->name, keys); });
    m_key->clear();
}

void KeysDialog::Apply(const std::function<void()>& change) {
    change();
    ShowMatches();
    ShowKeys();
    m_changed();
}

}  // namespace host
