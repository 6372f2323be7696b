#include "console/channel_list.h"

#include "console/channel_kinds.h"
#include "console/command_menus.h"
#include "console/commands.h"
#include "console/console_images.h"
#include "console/console_plugin.h"
#include "console/group_actions.h"
#include "console/mixer_view.h"
#include "console/texts.h"
#include "kernel/ui/ui_colors.h"
#include "kernel/ui/ui_edge.h"
#include "kernel/ui/ui_glyphs.h"
#include "platform/ui/menu.h"
#include "platform/ui/window.h"
#include "plugin/module_state.h"

#include <QScopedValueRollback>

#include <algorithm>

using namespace tarn;

namespace {

// Of the groups' own menu.
constexpr uint32_t ITEM_APPLY = 1, ITEM_SAVE = 2, ITEM_RENAME = 3, ITEM_DELETE = 4, ITEM_UNDO = 5;
constexpr LONG EDGE_ROOM = 7;  ///< of a splitter beside its line

bool IsSplitter(uint32_t element) {
    return element >= ELEMENT_COLUMN_SPLITTER && element <= ELEMENT_LOWER_SPLITTER;
}

POINT ToPoint(QPoint at) { return {at.x(), at.y()}; }

}  // namespace

/// The button on the splitter, for screen readers.
class CChannelList::ShowButton final : public AccessibleNode {
public:
    explicit ShowButton(CChannelList& list) : m_list(list) {}
    int Place() const override { return 0; }
    Role TheRole() const override { return Role::Button; }
    std::u16string Name() const override {
        return ConsoleText(m_list.Shown().list ? IDS_HIDE_CHANNEL_LIST : IDS_SHOW_CHANNEL_LIST);
    }
    std::string Identifier() const override { return "channel list"; }
    RECT Area() const override { return m_list.m_rects.showButton; }
    void Press() override { m_list.m_site.RunCommand(CMD_CHANNEL_LIST); }

private:
    CChannelList& m_list;
};

CChannelList::CChannelList(RegionSite& site)
    : CViewRegion(site), m_plugin(site.Console()), m_rows(m_plugin), m_editor(m_plugin),
      m_showButton(std::make_unique<ShowButton>(*this)) {}

CChannelList::~CChannelList() {
    delete m_list;
    delete m_bar;
    delete m_groups;
}

HRESULT CChannelList::Create() {
    MessageWindow& page = m_site.ThePageWindow();
    m_list = new ChannelListView(page, m_rows, *this);
    m_bar = new GroupBar(page, *this);
    m_groups = new GroupListView(page, *this);
    for (QWidget* window :
         {static_cast<QWidget*>(m_list), static_cast<QWidget*>(m_bar), static_cast<QWidget*>(m_groups)})
        window->hide();
    PaneSizes& sizes = m_plugin.Pane().sizes;
    if (sizes.width < 0) sizes.width = FirstPaneWidth(Metrics());
    OnImagesChanged();
    OnEntriesChanged();
    return S_OK;
}

// Layout
// -----------------------------------------------------------------------------------------------------------

PaneShow CChannelList::Shown() const {
    PaneShow show = m_plugin.Pane().show;
    show.groups = show.groups && ThisModule().showGroups;
    show.buttons = show.buttons && m_buttonsWidth > 0;
    return show;
}

PaneMetrics CChannelList::Metrics() const {
    const tConsoleMetrics& m = MeasuredConsoleMetrics();
    const LONG least = m_buttonsLeast > 0 ? m_buttonsLeast : m.nRowHeight + 4 * m.nGap;
    return {m.nGap, m.nRowHeight, m_buttonsWidth, least, std::max(m_buttonsMost, least)};
}

void CChannelList::SetButtons(LONG width, LONG leastHeight, LONG mostHeight) {
    m_buttonsWidth = width;
    m_buttonsLeast = leastHeight;
    m_buttonsMost = mostHeight;
}

void CChannelList::ReSize(RECT& rect) {
    if (rect.IsEmpty()) return;
    const RECT before = rect;
    if (LayoutPane(rect, Shown(), Metrics(), m_plugin.Pane().sizes, m_rects)) PlaceWindows();
    m_bounds = {before.left, before.top, rect.left, before.bottom};
}

void CChannelList::PlaceWindows() {
    const auto place = [this](QWidget& window, RECT rect) {
        // A section may be given more than there is.
        rect.bottom = std::min(rect.bottom, m_rects.pane.bottom);
        const bool shown = !rect.IsEmpty();
        if (!shown && window.hasFocus()) m_site.Host().TakeFocus();
        if (shown) window.setGeometry(ToQRect(rect));
        window.setVisible(shown);
    };
    place(*m_list, m_rects.list);
    place(*m_bar, m_rects.toolBar);
    place(*m_groups, m_rects.groups);
}

void CChannelList::ShowSection(PaneSection section, bool on) {
    PaneView& pane = m_plugin.Pane();
    if (section == PaneSection::Groups && !ThisModule().showGroups) return;
    if (!::ShowSection(pane.show, pane.sizes, section, on)) return;
    m_site.LayoutChanged();
    m_plugin.KeepState();
}

// Mouse
// -------------------------------------------------------------------------------------------------------------

uint32_t CChannelList::HitTest(POINT at, std::u16string& tip, RECT& area) {
    m_hitWord = 0;
    if (!m_bounds.Contains(at)) return 0;
    const struct {
        const RECT& rect;
        uint32_t element;
    } rows[] = {{m_rects.showButton, ELEMENT_SHOW_BUTTON},
                {m_rects.columnSplitter, ELEMENT_COLUMN_SPLITTER},
                {m_rects.upperSplitter, ELEMENT_UPPER_SPLITTER},
                {m_rects.lowerSplitter, ELEMENT_LOWER_SPLITTER}};
    const auto* row = std::ranges::find_if(rows, [at](const auto& r) { return r.rect.Contains(at); });
    m_hitWord = HIT_CHANNEL_LIST | (row == std::end(rows) ? 0 : row->element);
    if (row != std::end(rows)) area = row->rect;
    if (row == std::begin(rows)) tip = m_showButton->Name();
    return m_hitWord;
}

uint32_t CChannelList::GetCursorForHit(uint32_t element) {
    if (element == ELEMENT_COLUMN_SPLITTER) return CURSOR_SPLIT_COLUMNS;
    return IsSplitter(element) ? CURSOR_SPLIT_ROWS : CURSOR_ARROW;
}

void CChannelList::SetHot(uint32_t element) {
    if (element != ELEMENT_SHOW_BUTTON) element = 0;
    if (std::exchange(m_hot, element) != element) m_site.Host().Invalidate(m_rects.showButton);
}

void CChannelList::OnMouseAway() {
    SetHot(0);
    if (m_pressed) OnMouse(WM_CANCELMODE, 0, 0);
}

intptr_t CChannelList::OnMouse(uint32_t message, uintptr_t, intptr_t lparam) {
    const POINT at = UnpackPoint(lparam);
    std::u16string tip;
    RECT area{};
    switch (message) {
    case WM_LBUTTONDOWN:
    case WM_LBUTTONDBLCLK:
        m_pressed = HitTest(at, tip, area) & HIT_ELEMENT_MASK;
        if (!m_pressed) return 0;
        m_sizesBefore = m_plugin.Pane().sizes;
        m_site.Host().SetCapture(true);
        m_site.Host().Invalidate(m_rects.showButton);
        return 0;
    case WM_MOUSEMOVE:
        if (IsSplitter(m_pressed))
            DragTo(at);
        else
            SetHot(HitTest(at, tip, area) & HIT_ELEMENT_MASK);
        return 0;
    case WM_LBUTTONUP: {
        if (!m_pressed) return 0;
        if (IsSplitter(m_pressed)) DragTo(at);
        const bool push = m_pressed == ELEMENT_SHOW_BUTTON && m_rects.showButton.Contains(at);
        EndDrag();
        if (push)
            m_site.RunCommand(CMD_CHANNEL_LIST);
        else
            m_plugin.KeepState();
        return 0;
    }
    case WM_CANCELMODE:
    case WM_CAPTURECHANGED:
        if (!m_pressed) return 0;
        if (IsSplitter(m_pressed)) m_plugin.Pane().sizes = m_sizesBefore;
        EndDrag();
        m_site.LayoutChanged();
        return 0;
    case WM_RBUTTONUP: OnRowMenu(nullptr, {at.x, at.y}); return 0;
    default: return 0;
    }
}

void CChannelList::DragTo(POINT at) {
    PaneSizes& sizes = m_plugin.Pane().sizes;
    const PaneShow show = Shown();
    const PaneMetrics metrics = Metrics();
    const bool changed =
        m_pressed == ELEMENT_COLUMN_SPLITTER  ? DragColumnSplitter(at.x, show, metrics, m_rects, sizes)
        : m_pressed == ELEMENT_UPPER_SPLITTER ? DragUpperSplitter(at.y, metrics, m_rects, sizes)
                                              : DragLowerSplitter(at.y, show, metrics, m_rects, sizes);
    if (changed) m_site.LayoutChanged();
}

void CChannelList::EndDrag() {
    m_pressed = 0;
    m_site.Host().SetCapture(false);
    m_site.Host().Invalidate(m_rects.showButton);
}

void CChannelList::Paint(QPainter& painter, const RECT&) {
    if (m_rects.pane.IsEmpty()) return;
    const ClipScope clip(painter, m_bounds);
    FillRect(painter, m_bounds, QmGetUIColor(COLOR_BTNFACE));
    const RECT& column = m_rects.columnSplitter;
    if (!column.IsEmpty())
        QmDrawEdge(painter, {column.left, column.top, column.right - EDGE_ROOM, column.bottom},
                   EDGE_RAISED_OUTER | EDGE_RAISED_INNER, SIDE_LEFT);
    for (const RECT& row : {m_rects.upperSplitter, m_rects.lowerSplitter})
        if (!row.IsEmpty())
            QmDrawEdge(painter, row, EDGE_RAISED_OUTER | EDGE_RAISED_INNER, SIDE_TOP | SIDE_BOTTOM);
    if (!m_rects.separator.IsEmpty()) FillRect(painter, m_rects.separator, QmGetUIColor(COLOR_3DDKSHADOW));
    const RECT& button = m_rects.showButton;
    if (button.IsEmpty()) return;
    const bool pressed = m_pressed == ELEMENT_SHOW_BUTTON;
    if (pressed || m_hot)
        QmDrawEdge(painter, button, pressed ? EDGE_SUNKEN_OUTER : EDGE_RAISED_OUTER, SIDE_ALL | EDGE_MIDDLE);
    QmDrawStandardUIGlyph(painter, button, Shown().list ? UIGLYPH_LEFT : UIGLYPH_RIGHT, UICOLOR_STRONG);
}

AccessibleNode* CChannelList::Part(int) const { return m_showButton.get(); }

AccessibleNode* CChannelList::PartAt(POINT at) const {
    return m_rects.showButton.Contains(at) ? m_showButton.get() : nullptr;
}

// Commands and keys
// ------------------------------------------------------------------------------------------------

bool CChannelList::OnCommand(uint32_t command) {
    const PaneShow& show = m_plugin.Pane().show;
    switch (command) {
    case ELEMENT_SHOW_BUTTON:
    case CMD_CHANNEL_LIST: ShowSection(PaneSection::List, !show.list); return true;
    case CMD_GROUP_LIST: ShowSection(PaneSection::Groups, !show.groups); return true;
    case CMD_REGION_CONTROLS: ShowSection(PaneSection::Buttons, !show.buttons); return true;
    case CMD_NEW_VIEW_GROUP: MakeGroup(MAKE_VIEW_GROUP); return true;
    case CMD_NEW_MIX_GROUP: MakeGroup(MAKE_MIX_GROUP); return true;
    default: break;
    }
    ChannelEntry* focused = m_rowMenu || m_list->hasFocus() ? m_list->FocusedRow() : nullptr;
    if (focused && command == CMD_RENAME) return m_list->Rename(*focused), true;
    if (focused && command == CMD_HIDE) return m_list->ToggleShown(), true;
    return RunKindCommand(m_plugin, command);
}

/// Gives the keyboard to the first or last window that is shown; false when there is none.
bool CChannelList::FocusWindow(bool last) {
    QWidget* windows[] = {m_list, m_groups};
    if (last) std::swap(windows[0], windows[1]);
    for (QWidget* window : windows)
        if (window->isVisible()) {
            window->setFocus(Qt::TabFocusReason);
            return true;
        }
    return false;
}

bool CChannelList::EditName(const ChannelEntry& channel) {
    return m_list->hasFocus() && m_list->Rename(channel);
}

void CChannelList::OnLeave(bool back) {
    if (back || !m_groups->isVisible())
        m_site.Host().TakeFocus();
    else
        m_groups->setFocus(Qt::TabFocusReason);
}

void CChannelList::OnLeaveGroups(bool back) {
    if (back && m_list->isVisible())
        m_list->setFocus(Qt::BacktabFocusReason);
    else
        m_site.Host().TakeFocus();
}

// The list and the strips
// ------------------------------------------------------------------------------------------

void CChannelList::OnSelected(ChannelEntry& entry, bool on) {
    Strip* strip = Strip::Of(entry);
    if (strip && strip->IsSelected() != on) strip->SetSelected(on);
    RequestUpdate(UPDATE_STATE);  // a host that refuses is shown
}

void CChannelList::OnRowFocused(ChannelEntry& entry) {
    if (!m_plugin.IsChannelHidden(entry)) m_site.Strips().FocusChannel(entry);
}

void CChannelList::OnRowMenu(ChannelEntry* entry, QPoint at) {
    // What is chosen there is for the list, whether or not it has the keyboard back by then.
    const QScopedValueRollback open(m_rowMenu, true);
    Strip* strip = entry ? Strip::Of(*entry) : nullptr;
    if (strip) return m_site.Strips().ShowChannelMenu(*strip, ToPoint(at));
    Menu menu = LayoutMenu(m_plugin);
    if (const uint32_t chosen = m_site.TrackMenu(menu, ToPoint(at))) m_site.RunCommand(chosen);
}

void CChannelList::OnRemove(ChannelEntry& entry) {
    if (!(entry.kind & KIND_MASTER_BIT)) m_plugin.RemoveAtHost({entry.id.channel, 0, 0});
}

void CChannelList::OnChannelUpdate(ChannelEntry*, uint32_t dirty) {
    if (dirty & (DIRTY_ALL | DIRTY_NAME)) RequestUpdate(UPDATE_NAMES | UPDATE_STATE);
    if (dirty & DIRTY_SWITCHES) RequestUpdate(UPDATE_STATE);
}

void CChannelList::OnEntriesChanged() { RequestUpdate(UPDATE_ROWS | UPDATE_NAMES | UPDATE_STATE); }

void CChannelList::OnEntryGoing(const ChannelEntry* channel) {
    if (!channel || channel == m_focus) m_focus = nullptr;
    if (m_list) m_list->ForgetRow(channel);
    if (channel) return;
    m_editor.Forget();  // another project has other groups
    if (m_groups) m_groups->SetCanUndo(false);
}

void CChannelList::RequestUpdate(uint32_t what) {
    if (!m_list || std::exchange(m_update, m_update | what)) return;
    QMetaObject::invokeMethod(
        m_list, [this] { Update(); }, Qt::QueuedConnection);
}

void CChannelList::Update() {
    const uint32_t what = std::exchange(m_update, 0);
    if (what & UPDATE_ROWS) m_list->SyncRows();
    if (what & UPDATE_NAMES) m_rows.TouchAll();
    // Where the user has gone to a row without a strip, the list stays there until the strips' focus moves.
    const ChannelEntry* focus = m_site.Strips().FocusedChannel();
    m_list->ShowState(std::exchange(m_focus, focus) == focus ? nullptr : focus);
    m_bar->ShowChosen(m_groups->Chosen() > 0);
}

void CChannelList::OnImagesChanged() {
    const ConsoleImages& images = m_site.Images();
    m_list->SetLook(images);
    m_bar->SetLook();
    m_groups->SetLook(images.selection);
    OnGroupsChanged();
}

// Groups
// -----------------------------------------------------------------------------------------------------------

void CChannelList::OnGroupsChanged() {
    m_groups->Fill(m_plugin.Groups());
    m_groups->SetCanUndo(m_editor.CanUndo());
    m_bar->ShowChosen(m_groups->Chosen() > 0);
}

bool CChannelList::HasSelection() const {
    return std::ranges::any_of(m_rows.Entries(), [](ChannelEntry* entry) {
        const Strip* strip = Strip::Of(*entry);
        return strip && strip->IsSelected();
    });
}

void CChannelList::MakeGroup(uint32_t flags) {
    if (!ThisModule().showGroups) return;
    if (const size_t made = m_editor.Make(flags)) m_groups->Choose(made);
}

void CChannelList::OnGroupApplied(size_t group) {
    m_editor.Apply(group);
    m_groups->SetCanUndo(m_editor.CanUndo());
}

void CChannelList::OnGroupRenamed(size_t group, const std::u16string& name) {
    m_editor.Rename(group, name);
    OnGroupsChanged();
}

void CChannelList::AddMakeItems(Menu& menu) const {
    menu.Add(CMD_NEW_VIEW_GROUP, ConsoleText(IDS_NEW_VIEW_GROUP));
    menu.Add(CMD_NEW_MIX_GROUP, ConsoleText(IDS_NEW_MIX_GROUP), HasSelection() ? 0 : MF_GRAYED | MF_DISABLED);
}

void CChannelList::OnGroupMenu(size_t group, QPoint at) {
    Menu menu;
    if (group) {
        const bool mix = m_plugin.Groups()[group]->flags & GROUP_MIX;
        menu.Add(ITEM_APPLY, ConsoleText(IDS_SHOW_GROUP), MF_DEFAULT);
        menu.Add(ITEM_SAVE, ConsoleText(IDS_SAVE_GROUP),
                 mix && !HasSelection() ? MF_GRAYED | MF_DISABLED : 0);
        menu.Add(ITEM_RENAME, std::u16string(ConsoleText(IDS_MENU_RENAME)) + u"\tF2");
        menu.Add(ITEM_DELETE, ConsoleText(IDS_DELETE_GROUP));
        menu.AddSeparator();
    }
    AddMakeItems(menu);
    menu.AddSeparator();
    menu.Add(ITEM_UNDO, ConsoleText(IDS_UNDO_GROUP), m_editor.CanUndo() ? 0 : MF_GRAYED | MF_DISABLED);
    const uint32_t chosen = m_site.TrackMenu(menu, ToPoint(at));
    switch (chosen) {
    case 0: return;
    case ITEM_APPLY: OnGroupApplied(group); return;
    case ITEM_SAVE: m_editor.Update(group); return;
    case ITEM_RENAME: m_groups->Rename(group); return;
    case ITEM_DELETE: m_editor.Delete(group); return;
    case ITEM_UNDO: m_editor.Undo(); return;
    default: m_site.RunCommand(chosen); return;
    }
}

void CChannelList::OnGroupButton(uint32_t button, QPoint at) {
    const size_t group = m_groups->Chosen();
    if (button == BUTTON_SAVE) return m_editor.Update(group);
    if (button == BUTTON_DELETE) return m_editor.Delete(group);
    Menu menu;
    if (button == BUTTON_GROUPS) AddMakeItems(menu);
    if (button == BUTTON_CHANNELS) menu = ShowChannelsMenu(m_plugin);
    if (button == BUTTON_REGIONS) menu = ShowRegionsMenu(m_plugin);
    if (const uint32_t chosen = m_site.TrackMenu(menu, ToPoint(at))) m_site.RunCommand(chosen);
}
