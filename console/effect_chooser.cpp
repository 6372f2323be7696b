#include "console/effect_chooser.h"

#include "console/texts.h"

#include <QCoreApplication>
#include <QDialog>
#include <QKeyEvent>
#include <QLineEdit>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace {

constexpr QSize SIZE_AT_FIRST{360, 420};

class EffectChooser final : public QDialog {
public:
    EffectChooser(QWidget& page, const std::vector<EffectFamily>& families) : QDialog(&page) {
        setWindowTitle(QString::fromUtf16(ConsoleText(IDS_FIND_EFFECT)));
        resize(SIZE_AT_FIRST);
        auto* column = new QVBoxLayout(this);
        m_search = new QLineEdit;
        m_search->setClearButtonEnabled(true);
        m_search->setAccessibleName(windowTitle());
        m_search->installEventFilter(this);
        m_tree = new QTreeWidget;
        m_tree->setHeaderHidden(true);
        m_tree->setAccessibleName(windowTitle());
        column->addWidget(m_search);
        column->addWidget(m_tree);
        for (const EffectFamily& family : families) {
            auto* branch = new QTreeWidgetItem(m_tree, {QString::fromStdU16String(family.name)});
            branch->setFlags(Qt::ItemIsEnabled);
            for (const EffectItem& effect : family.items) {
                auto* leaf = new QTreeWidgetItem(branch, {QString::fromStdU16String(effect.name)});
                leaf->setData(0, Qt::UserRole, static_cast<qulonglong>(m_classes.size()));
                if (effect.unusable) leaf->setFlags(Qt::NoItemFlags);
                m_classes.push_back(effect.effectClass);
            }
        }
        m_tree->expandAll();
        connect(m_search, &QLineEdit::textChanged, this, &EffectChooser::Filter);
        connect(m_tree, &QTreeWidget::itemActivated, this, [this] { Take(); });
        connect(m_search, &QLineEdit::returnPressed, this, [this] { Take(); });
        Filter({});
        m_search->setFocus();
    }

    std::optional<GUID> Chosen() const { return m_chosen; }

private:
    /// The words stand anywhere in the names of an effect and its family.
    void Filter(const QString& text) {
        const QStringList words = text.split(QLatin1Char(' '), Qt::SkipEmptyParts);
        QTreeWidgetItem* first = nullptr;
        for (int i = 0; i < m_tree->topLevelItemCount(); i++) {
            QTreeWidgetItem* family = m_tree->topLevelItem(i);
            bool any = false;
            for (int j = 0; j < family->childCount(); j++) {
                QTreeWidgetItem* effect = family->child(j);
                const QString name = family->text(0) + QLatin1Char(' ') + effect->text(0);
                const bool fits = std::all_of(words.begin(), words.end(), [&](const QString& word) {
                    return name.contains(word, Qt::CaseInsensitive);
                });
                effect->setHidden(!fits);
                any |= fits;
                if (fits && !first && effect->flags() & Qt::ItemIsEnabled) first = effect;
            }
            family->setHidden(!any);
        }
        m_tree->setCurrentItem(first);
    }
    void Take() {
        const QTreeWidgetItem* item = m_tree->currentItem();
        if (!item || !item->parent() || item->isHidden() || !(item->flags() & Qt::ItemIsEnabled)) return;
        m_chosen = m_classes[item->data(0, Qt::UserRole).toULongLong()];
        accept();
    }
    /// The arrows move in the list while the search is typed.
    bool eventFilter(QObject*, QEvent* event) override {
        if (event->type() != QEvent::KeyPress) return false;
        const int key = static_cast<QKeyEvent*>(event)->key();
        if (key != Qt::Key_Up && key != Qt::Key_Down && key != Qt::Key_PageUp && key != Qt::Key_PageDown)
            return false;
        QCoreApplication::sendEvent(m_tree, event);
        return true;
    }

    QLineEdit* m_search;
    QTreeWidget* m_tree;
    std::vector<GUID> m_classes;
    std::optional<GUID> m_chosen;
};

}  // namespace

std::optional<GUID> ChooseEffect(QWidget& page, const std::vector<EffectFamily>& families) {
    EffectChooser chooser(page, families);
    chooser.exec();
    return chooser.Chosen();
}
