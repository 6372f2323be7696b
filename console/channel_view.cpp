#include "console/channel_view.h"

#include "console/console_images.h"
#include "console/metrics.h"
#include "console/strip.h"
#include "console/texts.h"
#include "console/window_look.h"
#include "kernel/ui/theme.h"
#include "kernel/ui/ui_fonts.h"
#include "kernel/ui/ui_glyphs.h"
#include "platform/ui/paint.h"

#include <QApplication>
#include <QContextMenuEvent>
#include <QHeaderView>
#include <QKeyEvent>
#include <QLineEdit>
#include <QScopedValueRollback>
#include <QStyledItemDelegate>

#include <algorithm>

namespace {

constexpr int LIST_WINDOW_ID = 5001;

/// Keys that move between rows.
constexpr int MOVES[] = {Qt::Key_Up,  Qt::Key_Down,   Qt::Key_Home,
                         Qt::Key_End, Qt::Key_PageUp, Qt::Key_PageDown};

class RowDelegate final : public QStyledItemDelegate {
public:
    RowDelegate(ChannelListView& list, const ChannelRows& rows)
        : QStyledItemDelegate(&list), m_list(list), m_rows(rows) {}

    QSize sizeHint(const QStyleOptionViewItem&, const QModelIndex&) const override {
        return {1, static_cast<int>(ConsoleMetrics().nRowHeight)};
    }
    QWidget* createEditor(QWidget* parent, const QStyleOptionViewItem&, const QModelIndex&) const override {
        auto* edit = new QLineEdit(parent);
        edit->setObjectName(QStringLiteral("Edit"));
        edit->setFrame(false);
        edit->setAutoFillBackground(true);
        edit->setMaxLength(static_cast<int>(CHANNEL_NAME_SIZE) - 1);
        return edit;
    }
    void paint(QPainter* painter, const QStyleOptionViewItem& option,
               const QModelIndex& index) const override {
        QStyledItemDelegate::paint(painter, option, index);
        const ChannelEntry* entry = m_rows.At(index.row());
        if (!entry) return;
        if (index.column() == ChannelRows::Sign) return PaintSign(*painter, FromQRect(option.rect), *entry);
        QStyleOptionViewItem box = option;
        initStyleOption(&box, index);
        PaintBox(
            *painter,
            FromQRect(m_list.style()->subElementRect(QStyle::SE_ItemViewItemCheckIndicator, &box, &m_list)),
            box.checkState == Qt::Checked);
    }

protected:
    void initStyleOption(QStyleOptionViewItem* option, const QModelIndex& index) const override {
        QStyledItemDelegate::initStyleOption(option, index);
        option->font = QmGetUIFont(UIFONT_TEXT);
        option->textElideMode = Qt::ElideMiddle;
        if (index.data(Qt::CheckStateRole) == Qt::Unchecked)
            option->palette.setColor(QPalette::Text, option->palette.color(QPalette::PlaceholderText));
    }

private:
    /// Over the style's own, whose frame is too faint on a dark ground.
    void PaintBox(QPainter& painter, const RECT& box, bool checked) const {
        const COLORREF ground = QmGetUIColor(COLOR_WINDOW);
        FillRect(painter, box, ground);
        FrameRect(painter, box, VisibleOn(QmGetUIColor(COLOR_BTNSHADOW), ground));
        if (checked)
            QmDrawStandardUIGlyph(painter, {box.left + 2, box.top + 2, box.right - 2, box.bottom - 2},
                                  UIGLYPH_CHECK, UICOLOR_STRONG);
    }
    /// A track's colour with its number, the sign of any other kind.
    void PaintSign(QPainter& painter, const RECT& cell, const ChannelEntry& entry) const {
        const ConsoleImages& images = m_list.Images();
        const tConsoleMetrics& m = ConsoleMetrics();
        const LONG top = cell.top + (cell.Height() - m.cyIcon) / 2;
        if (!(entry.kind & (KIND_AUDIO_TRACK | KIND_MIDI_TRACK))) {
            images.kinds.Draw(painter, ConsoleImages::KindIcon(entry.kind),
                              {(cell.left + cell.right - m.cxIcon) / 2, top});
            return;
        }
        const RECT box{cell.left + 1, top, cell.right - 2, top + m.cyIcon};
        FillRect(painter, box, images.look.ChannelColour(entry.lookColour));
        const std::string digits = std::to_string(entry.order + 1);
        const std::u16string number(digits.begin(), digits.end());
        QFont font = QmGetUIFont(UIFONT_SMALL);
        constexpr int SMALLEST = 6;
        while (QmGetTextExtent(font, number.c_str(), -1).cx > box.Width() - 2 && font.pixelSize() > SMALLEST)
            font.setPixelSize(font.pixelSize() - 1);
        const LONG height = QmGetFontSize(font).cy;
        DrawText(painter, {box.left, box.bottom - height, box.right - 2, box.bottom}, number, font, 0,
                 TEXT_RIGHT);
    }

    const ChannelListView& m_list;
    const ChannelRows& m_rows;
};

}  // namespace

ChannelListView::ChannelListView(QWidget& page, ChannelRows& rows, ChannelListSite& site)
    : QTreeView(&page), m_rows(rows), m_site(site) {
    setObjectName(QStringLiteral("ChannelList"));
    setProperty("windowId", LIST_WINDOW_ID);
    setAccessibleName(QString::fromUtf16(ConsoleText(IDS_CHANNEL_LIST)));
    setItemDelegate(new RowDelegate(*this, rows));
    setModel(&rows);
    header()->hide();
    header()->setMinimumSectionSize(1);
    header()->setStretchLastSection(false);
    setRootIsDecorated(false);
    setIndentation(0);
    setUniformRowHeights(true);
    setAllColumnsShowFocus(true);
    setFrameShape(QFrame::NoFrame);
    setSelectionMode(ExtendedSelection);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollMode(ScrollPerPixel);
    setEditTriggers(DoubleClicked);
    setDragDropMode(InternalMove);
    setDragDropOverwriteMode(false);
    setTabKeyNavigation(false);
}

void ChannelListView::SetLook(const ConsoleImages& images) {
    m_images = &images;
    UseConsoleColours(*this, images.selection);
    scheduleDelayedItemsLayout();
}

void ChannelListView::SyncRows() {
    const QScopedValueRollback filling(m_filling, true);
    m_rows.Sync();
    m_shownSelection.clear();
}

void ChannelListView::ForgetRow(const ChannelEntry* entry) {
    const QScopedValueRollback filling(m_filling, true);
    m_rows.Forget(entry);
    m_shownSelection.clear();
}

void ChannelListView::ShowState(const ChannelEntry* focus) {
    const QScopedValueRollback filling(m_filling, true);
    const std::vector<ChannelEntry*>& rows = m_rows.Entries();
    std::vector<bool> wanted(rows.size());
    for (size_t i = 0; i < rows.size(); i++) {
        const Strip* strip = Strip::Of(*rows[i]);
        wanted[i] = strip && strip->IsSelected();
    }
    if (wanted != m_shownSelection) {
        QItemSelection selection;
        for (size_t i = 0; i < wanted.size(); i++) {
            const size_t first = i;
            while (i < wanted.size() && wanted[i]) i++;
            if (i > first)
                selection.select(m_rows.index(static_cast<int>(first), 0),
                                 m_rows.index(static_cast<int>(i) - 1, ChannelRows::Columns - 1));
        }
        selectionModel()->select(selection, QItemSelectionModel::ClearAndSelect);
        m_shownSelection = std::move(wanted);
    }
    const int row = m_rows.RowOf(focus);
    if (row < 0 || row == currentIndex().row()) return;
    selectionModel()->setCurrentIndex(m_rows.index(row, 0), QItemSelectionModel::NoUpdate);
    scrollTo(m_rows.index(row, 0));
}

void ChannelListView::selectionChanged(const QItemSelection& selected, const QItemSelection& deselected) {
    QTreeView::selectionChanged(selected, deselected);
    if (m_filling) return;
    m_shownSelection.resize(m_rows.Entries().size());
    const auto tell = [this](const QItemSelection& rows, bool on) {
        for (const QItemSelectionRange& range : rows)
            for (int row = range.top(); row <= range.bottom(); row++) {
                ChannelEntry* entry = m_rows.At(row);
                if (!entry) continue;
                m_shownSelection[static_cast<size_t>(row)] = on;
                m_site.OnSelected(*entry, on);
            }
    };
    tell(deselected, false);
    tell(selected, true);
}

void ChannelListView::currentChanged(const QModelIndex& current, const QModelIndex& previous) {
    QTreeView::currentChanged(current, previous);
    ChannelEntry* entry = m_rows.At(current.row());
    if (entry && !m_filling) m_site.OnRowFocused(*entry);
}

ChannelEntry* ChannelListView::FocusedRow() const { return m_rows.At(currentIndex().row()); }

std::vector<ChannelEntry*> ChannelListView::Targets() const {
    ChannelEntry* focused = FocusedRow();
    if (!focused) return {};
    if (!selectionModel()->isRowSelected(currentIndex().row())) return {focused};
    std::vector<ChannelEntry*> targets;
    for (const QModelIndex& index : selectionModel()->selectedRows())
        targets.push_back(m_rows.At(index.row()));
    return targets;
}

bool ChannelListView::Rename(const ChannelEntry& entry) {
    const QModelIndex index = m_rows.index(m_rows.RowOf(&entry), ChannelRows::Name);
    if (!index.isValid() || !(m_rows.flags(index) & Qt::ItemIsEditable)) return false;
    scrollTo(index);
    edit(index);
    return true;
}

void ChannelListView::ToggleShown() {
    const int row = currentIndex().row();
    const bool show = m_rows.index(row, 0).data(Qt::CheckStateRole) == Qt::Unchecked;
    for (const ChannelEntry* entry : Targets())
        m_rows.setData(m_rows.index(m_rows.RowOf(entry), 0), show ? Qt::Checked : Qt::Unchecked,
                       Qt::CheckStateRole);
}

void ChannelListView::resizeEvent(QResizeEvent* event) {
    QTreeView::resizeEvent(event);
    const tConsoleMetrics& m = ConsoleMetrics();
    const int sign = static_cast<int>(m.nRowHeight + 2 * m.nGap);
    setColumnWidth(ChannelRows::Name, std::max(viewport()->width() - sign - 1, 1));
    setColumnWidth(ChannelRows::Sign, sign - 1);
}

void ChannelListView::contextMenuEvent(QContextMenuEvent* event) {
    const bool byKey = event->reason() == QContextMenuEvent::Keyboard;
    const QModelIndex index = byKey ? currentIndex() : indexAt(event->pos());
    const QPoint at = byKey ? visualRect(index).bottomLeft() : event->pos();
    m_site.OnRowMenu(m_rows.At(index.row()), viewport()->mapTo(parentWidget(), at));
    event->accept();
}

// Keys
// -------------------------------------------------------------------------------------------------------------

bool ChannelListView::IsSearching() const {
    return m_sinceSearch.isValid() && m_sinceSearch.elapsed() < QApplication::keyboardInputInterval();
}

void ChannelListView::SearchFor(const QString& text) {
    if (!IsSearching()) keyboardSearch({});
    m_sinceSearch.start();
    if (!text.isEmpty()) keyboardSearch(text);
}

/// A host's own keys, as that of its transport, do not take these away.
bool ChannelListView::event(QEvent* event) {
    if (event->type() == QEvent::ShortcutOverride) {
        const auto& key = static_cast<const QKeyEvent&>(*event);
        const bool plain = !(key.modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier));
        const bool own = key.key() == Qt::Key_Space || key.key() == Qt::Key_F2 ||
                         key.key() == Qt::Key_Delete ||
                         std::ranges::find(MOVES, key.key()) != std::end(MOVES);
        if (plain && (own || IsSearching())) {
            event->accept();
            return true;
        }
    }
    return QTreeView::event(event);
}

bool ChannelListView::OwnKey(const QKeyEvent& event) {
    ChannelEntry* focused = FocusedRow();
    const bool ctrl = event.modifiers() & Qt::ControlModifier;
    switch (event.key()) {
    case Qt::Key_Tab:
    case Qt::Key_F6:
        if (ctrl) return false;
        m_site.OnLeave(event.modifiers() & Qt::ShiftModifier);
        return true;
    case Qt::Key_Backtab: m_site.OnLeave(true); return true;
    case Qt::Key_Escape: m_site.OnLeave(false); return true;
    case Qt::Key_Space:
        if (IsSearching())
            SearchFor(QStringLiteral(" "));
        else
            ToggleShown();
        return true;
    case Qt::Key_F2:
        if (focused) Rename(*focused);
        return true;
    case Qt::Key_Delete:
        if (focused) m_site.OnRemove(*focused);
        return true;
    case Qt::Key_Menu:
        m_site.OnRowMenu(focused, mapTo(parentWidget(), visualRect(currentIndex()).bottomLeft()));
        return true;
    case Qt::Key_A:
        if (ctrl) selectAll();
        return ctrl;
    case Qt::Key_Left:
    case Qt::Key_Right:
    case Qt::Key_Return:
    case Qt::Key_Enter:
        // These work on the focused strip, and a hidden channel has none.
        return !focused || currentIndex().siblingAtColumn(0).data(Qt::CheckStateRole) == Qt::Unchecked;
    default: return false;
    }
}

bool ChannelListView::TypeLetter(const QKeyEvent& event) {
    const QString text = event.text();
    if (text.isEmpty() || !text[0].isPrint() ||
        event.modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier))
        return false;
    if (IsSearching() || text == QLatin1String("/")) {
        SearchFor(IsSearching() ? text : QString());
        return true;
    }
    const bool hidden = currentIndex().siblingAtColumn(0).data(Qt::CheckStateRole) == Qt::Unchecked;
    if (hidden && PartOfKey(static_cast<uint32_t>(event.key()))) return true;
    QKeyEvent given(event.type(), event.key(), event.modifiers(), text, event.isAutoRepeat());
    QApplication::sendEvent(parentWidget(), &given);
    if (given.isAccepted()) return true;
    SearchFor(text);
    return true;
}

void ChannelListView::keyPressEvent(QKeyEvent* event) {
    const bool alt = event->modifiers() & Qt::AltModifier;
    if (!alt && std::ranges::find(MOVES, event->key()) != std::end(MOVES)) {
        QTreeView::keyPressEvent(event);
        event->accept();
        return;
    }
    event->setAccepted((!alt && OwnKey(*event)) || TypeLetter(*event));
}
