#include "console/group_view.h"

#include "console/commands.h"
#include "console/metrics.h"
#include "console/texts.h"
#include "console/window_look.h"
#include "kernel/ui/skin_images.h"

#include <QAction>
#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QLayout>
#include <QScopedValueRollback>
#include <QToolButton>

namespace {

constexpr int BAR_ID = 5000, LIST_ID = 5002;

struct ButtonRow {
    uint32_t button;
    ConsoleTextId tip;
    bool menu;
};
constexpr ButtonRow BUTTONS[] = {{BUTTON_GROUPS, IDS_CREATE_GROUP, true},
                                 {BUTTON_CHANNELS, IDS_MENU_SHOW_CHANNELS, true},
                                 {BUTTON_REGIONS, IDS_SHOW_REGIONS, true},
                                 {BUTTON_SAVE, IDS_SAVE_GROUP, false},
                                 {BUTTON_DELETE, IDS_DELETE_GROUP, false}};
constexpr const char* BUTTON_SIGNS[] = {"group_new", "group_channels", "group_regions", "group_save",
                                        "group_delete"};
constexpr const char* GROUP_SIGNS[] = {"group_view", "group_mix"};
constexpr SIZE SIGN{16, 16};

/// An icon of a list's image in all states.
QIcon IconOf(const ImageList& images, int32_t index, const QWidget& window) {
    QIcon icon;
    const qreal scale = window.devicePixelRatioF();
    for (const auto& [mode, state] : {std::pair(QIcon::Normal, ImageState::Normal),
                                      {QIcon::Selected, ImageState::Normal},
                                      {QIcon::Active, ImageState::Hot},
                                      {QIcon::Disabled, ImageState::Disabled}}) {
        QPixmap pixmap = images.Pixmap(index, state, scale);
        pixmap.setDevicePixelRatio(scale);
        icon.addPixmap(pixmap, mode);
    }
    return icon;
}

}  // namespace

// The bar
// ----------------------------------------------------------------------------------------------------------

GroupBar::GroupBar(QWidget& page, GroupSite& site) : QToolBar(&page) {
    setObjectName(QStringLiteral("GroupBar"));
    setProperty("windowId", BAR_ID);
    setAccessibleName(QString::fromUtf16(ConsoleText(IDS_GROUPS)));
    setIconSize({static_cast<int>(SIGN.cx), static_cast<int>(SIGN.cy)});
    layout()->setContentsMargins(0, 0, 0, 0);
    for (size_t i = 0; i < std::size(BUTTONS); i++) {
        const ButtonRow& row = BUTTONS[i];
        if (i > 0 && BUTTONS[i - 1].menu != row.menu) addSeparator();
        QAction* action = addAction(QString::fromStdU16String(CommandName(row.tip)));
        action->setToolTip(action->text());
        auto* button = qobject_cast<QToolButton*>(widgetForAction(action));
        button->setObjectName(QString::number(row.button));
        button->setFocusPolicy(Qt::TabFocus);
        connect(action, &QAction::triggered, this, [this, &site, button, id = row.button] {
            site.OnGroupButton(id, button->mapTo(parentWidget(), QPoint(0, button->height())));
        });
        m_actions[i] = action;
    }
}

void GroupBar::SetLook() {
    UseConsoleColours(*this);
    const ImageList* images = QmSkin_GetImageLists(BUTTON_SIGNS, std::size(BUTTON_SIGNS), SIGN);
    if (!images) return;
    for (size_t i = 0; i < std::size(m_actions); i++)
        m_actions[i]->setIcon(IconOf(*images, static_cast<int32_t>(i), *this));
}

void GroupBar::ShowChosen(bool any) {
    for (size_t i = 0; i < std::size(BUTTONS); i++)
        if (!BUTTONS[i].menu) m_actions[i]->setEnabled(any);
}

// The list
// ---------------------------------------------------------------------------------------------------------

GroupListView::GroupListView(QWidget& page, GroupSite& site) : QListWidget(&page), m_site(site) {
    setObjectName(QStringLiteral("GroupList"));
    setProperty("windowId", LIST_ID);
    setAccessibleName(QString::fromUtf16(ConsoleText(IDS_GROUPS)));
    setFrameShape(QFrame::NoFrame);
    setUniformItemSizes(true);
    setIconSize({static_cast<int>(SIGN.cx), static_cast<int>(SIGN.cy)});
    setEditTriggers(NoEditTriggers);
    setTextElideMode(Qt::ElideMiddle);
    setTabKeyNavigation(false);
    connect(this, &QListWidget::itemChanged, this, [this](QListWidgetItem* item) {
        if (m_filling) return;
        const auto group = static_cast<size_t>(row(item)) + 1;
        const std::u16string name = item->text().trimmed().toStdU16String();
        // The row shows what the group is called, whatever became of the new name; the editor is still at it.
        QMetaObject::invokeMethod(
            this, [this, group, name] { m_site.OnGroupRenamed(group, name); }, Qt::QueuedConnection);
    });
}

void GroupListView::SetLook(COLORREF selection) { UseConsoleColours(*this, selection); }

void GroupListView::Fill(const ViewGroups& groups) {
    const QScopedValueRollback filling(m_filling, true);
    const int chosen = currentRow();
    clear();
    const ImageList* images = QmSkin_GetImageLists(GROUP_SIGNS, std::size(GROUP_SIGNS), SIGN);
    for (size_t i = 1; i < groups.size(); i++) {
        const bool mix = groups[i]->flags & GROUP_MIX;
        auto* item = new QListWidgetItem(QString::fromUtf16(groups[i]->name), this);
        item->setFlags(item->flags() | Qt::ItemIsEditable);
        item->setSizeHint({1, static_cast<int>(ConsoleMetrics().nRowHeight)});
        if (images) item->setIcon(IconOf(*images, mix, *this));
    }
    setCurrentRow(std::min(chosen, count() - 1));
}

void GroupListView::Rename(size_t group) {
    if (QListWidgetItem* row = item(static_cast<int>(group) - 1)) editItem(row);
}

bool GroupListView::event(QEvent* event) {
    if (event->type() == QEvent::ShortcutOverride) {
        const auto& key = static_cast<const QKeyEvent&>(*event);
        const bool undo = key.matches(QKeySequence::Undo) && m_canUndo;
        const bool own = key.key() == Qt::Key_Space || key.key() == Qt::Key_F2 || key.key() == Qt::Key_Delete;
        if (undo || (own && key.modifiers() == Qt::NoModifier)) {
            event->accept();
            return true;
        }
    }
    return QListWidget::event(event);
}

void GroupListView::keyPressEvent(QKeyEvent* event) {
    const size_t chosen = Chosen();
    event->accept();
    if (m_canUndo && event->matches(QKeySequence::Undo)) return m_site.OnGroupUndo();
    switch (event->key()) {
    case Qt::Key_Tab:
    case Qt::Key_F6: return m_site.OnLeaveGroups(event->modifiers() & Qt::ShiftModifier);
    case Qt::Key_Backtab: return m_site.OnLeaveGroups(true);
    case Qt::Key_Escape: return m_site.OnLeaveGroups(false);
    case Qt::Key_Return:
    case Qt::Key_Enter:
    case Qt::Key_Space:
        if (chosen) m_site.OnGroupApplied(chosen);
        return;
    case Qt::Key_F2: return Rename(chosen);
    case Qt::Key_Delete:
        if (chosen) m_site.OnGroupRemove(chosen);
        return;
    case Qt::Key_Menu:
        return m_site.OnGroupMenu(chosen, mapTo(parentWidget(), visualRect(currentIndex()).bottomLeft()));
    case Qt::Key_Up:
    case Qt::Key_Down:
    case Qt::Key_Home:
    case Qt::Key_End:
    case Qt::Key_PageUp:
    case Qt::Key_PageDown: return QListWidget::keyPressEvent(event);
    default: break;
    }
    // Names are searched by their letters; there is no strip here that these could mean.
    if (event->text().isEmpty() || event->modifiers() & (Qt::ControlModifier | Qt::AltModifier))
        event->ignore();
    else
        QListWidget::keyPressEvent(event);
}

void GroupListView::mouseReleaseEvent(QMouseEvent* event) {
    QListWidget::mouseReleaseEvent(event);
    const QListWidgetItem* hit = itemAt(event->pos());
    if (hit && event->button() == Qt::LeftButton && state() != EditingState && hit == currentItem())
        m_site.OnGroupApplied(Chosen());
}

void GroupListView::contextMenuEvent(QContextMenuEvent* event) {
    const bool byKey = event->reason() == QContextMenuEvent::Keyboard;
    const QListWidgetItem* hit = byKey ? currentItem() : itemAt(event->pos());
    const QPoint at = byKey ? visualItemRect(hit).bottomLeft() : event->pos();
    m_site.OnGroupMenu(hit ? static_cast<size_t>(row(hit)) + 1 : 0, viewport()->mapTo(parentWidget(), at));
    event->accept();
}
