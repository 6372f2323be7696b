// CChannelList: the left pane. It holds the list of channels, the groups with their bar, and the place of the
// region buttons, divided by splitters. The list and the strips show one selection, one focus and the same
// channels: what is done in one is seen in the other.
#pragma once

#include "console/channel_view.h"
#include "console/group_editor.h"
#include "console/group_view.h"
#include "console/pane_layout.h"
#include "console/view_region.h"

#include <memory>

/// Elements of the hit word.
inline constexpr uint32_t ELEMENT_COLUMN_SPLITTER = 343, ELEMENT_UPPER_SPLITTER = 344,
                          ELEMENT_LOWER_SPLITTER = 345, ELEMENT_SHOW_BUTTON = 346;

class CChannelList final : public CViewRegion, private ChannelListSite, private GroupSite {
public:
    explicit CChannelList(RegionSite& site);
    ~CChannelList() override;

    HRESULT Create() override;
    void ReSize(RECT& rect) override;
    LONG IdealWidth() const override { return m_rects.pane.Width(); }
    uint32_t HitTest(POINT at, std::u16string& tip, RECT& area) override;
    uint32_t GetCursorForHit(uint32_t element) override;
    void OnMouseAway() override;
    intptr_t OnMouse(uint32_t message, uintptr_t wparam, intptr_t lparam) override;
    void Paint(QPainter& painter, const RECT& area) override;
    bool OnCommand(uint32_t command) override;
    void OnChannelUpdate(ChannelEntry* channel, uint32_t dirty) override;
    void OnEntriesChanged() override;
    void OnEntryGoing(const ChannelEntry* channel) override;
    void OnImagesChanged() override;
    void OnFocusMoved() override { RequestUpdate(UPDATE_STATE); }
    void OnGroupsChanged() override;
    bool EditName(const ChannelEntry& channel) override;
    bool TakeKeyboard() override { return FocusWindow(false); }
    void LeaveKeyboard() override { m_site.Host().TakeFocus(); }

    int PartCount() const override { return m_rects.showButton.IsEmpty() ? 0 : 1; }
    AccessibleNode* Part(int) const override;
    AccessibleNode* PartAt(POINT at) const override;

    /// What the bar of region buttons needs; without a width there is none. The next layout follows it.
    void SetButtons(LONG width, LONG leastHeight, LONG mostHeight);
    /// Where that bar stands; empty where it is hidden.
    const RECT& ButtonsArea() const { return m_rects.buttons; }

private:
    class ShowButton;
    static constexpr uint32_t UPDATE_ROWS = 1, UPDATE_NAMES = 2, UPDATE_STATE = 4;

    // ChannelListSite
    void OnSelected(ChannelEntry& entry, bool on) override;
    void OnRowFocused(ChannelEntry& entry) override;
    void OnRowMenu(ChannelEntry* entry, QPoint at) override;
    void OnRemove(ChannelEntry& entry) override;
    void OnLeave(bool back) override;

    // GroupSite
    void OnGroupApplied(size_t group) override;
    void OnGroupRenamed(size_t group, const std::u16string& name) override;
    void OnGroupMenu(size_t group, QPoint at) override;
    void OnGroupRemove(size_t group) override { m_editor.Delete(group); }
    void OnGroupUndo() override { m_editor.Undo(); }
    void OnLeaveGroups(bool back) override;
    void OnGroupButton(uint32_t button, QPoint at) override;

    /// The sections that are shown: those wished for, as far as they can be.
    PaneShow Shown() const;
    PaneMetrics Metrics() const;
    void ShowSection(PaneSection section, bool on);
    void PlaceWindows();
    void DragTo(POINT at);
    void EndDrag();
    void SetHot(uint32_t element);
    void MakeGroup(uint32_t flags);
    bool HasSelection() const;
    void AddMakeItems(Menu& menu) const;
    /// With the next turn of the loop, once for many changes.
    void RequestUpdate(uint32_t what);
    void Update();
    bool FocusWindow(bool last);

    CConsoleControlPlugin& m_plugin;
    ChannelRows m_rows;
    GroupEditor m_editor;
    std::unique_ptr<ShowButton> m_showButton;
    ChannelListView* m_list = nullptr;  ///< the windows are the page window's
    GroupBar* m_bar = nullptr;
    GroupListView* m_groups = nullptr;
    PaneRects m_rects;
    LONG m_buttonsWidth = 0, m_buttonsLeast = 0, m_buttonsMost = 0;
    uint32_t m_pressed = 0, m_hot = 0;      ///< ELEMENT_, 0 for none
    PaneSizes m_sizesBefore;                ///< the drag
    uint32_t m_update = 0;                  ///< UPDATE_ that are due
    bool m_rowMenu = false;                 ///< the menu of a row is open, or what was chosen in it is done
    const ChannelEntry* m_focus = nullptr;  ///< that the list shows as the console's
};
