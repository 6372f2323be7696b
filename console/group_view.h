// The windows of the group section: the bar of drop-downs and the list of groups. All on the page's thread.
#pragma once

#include "console/view_groups.h"

#include <QListWidget>
#include <QToolBar>

/// Who owns bar and list. Groups are told by their place in the plug-in's list.
struct GroupSite {
    virtual void OnGroupApplied(size_t group) = 0;
    virtual void OnGroupRenamed(size_t group, const std::u16string& name) = 0;
    /// 0: beside the rows.
    virtual void OnGroupMenu(size_t group, QPoint at) = 0;
    virtual void OnGroupRemove(size_t group) = 0;
    virtual void OnGroupUndo() = 0;
    /// Out of the list by the keyboard.
    virtual void OnLeaveGroups(bool back) = 0;
    /// A button of the bar; `at` is where its menu opens.
    virtual void OnGroupButton(uint32_t button, QPoint at) = 0;

protected:
    ~GroupSite() = default;
};

/// Buttons of the bar.
inline constexpr uint32_t BUTTON_GROUPS = 6000, BUTTON_CHANNELS = 6002, BUTTON_REGIONS = 6004,
                          BUTTON_SAVE = 6006, BUTTON_DELETE = 6008;

class GroupBar final : public QToolBar {
public:
    GroupBar(QWidget& page, GroupSite& site);

    void SetLook();
    /// Whether a group is chosen that could be saved or deleted.
    void ShowChosen(bool any);

private:
    QAction* m_actions[5] = {};
};

class GroupListView final : public QListWidget {
public:
    GroupListView(QWidget& page, GroupSite& site);

    void SetLook(COLORREF selection);
    void Fill(const ViewGroups& groups);
    /// 0 for none.
    size_t Chosen() const { return currentRow() < 0 ? 0 : static_cast<size_t>(currentRow()) + 1; }
    void Choose(size_t group) { setCurrentRow(static_cast<int>(group) - 1); }
    void Rename(size_t group);
    /// Whether Ctrl+Z is for the groups; else it is the host's.
    void SetCanUndo(bool on) { m_canUndo = on; }

protected:
    bool event(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;

private:
    GroupSite& m_site;
    bool m_filling = false, m_canUndo = false;
};
