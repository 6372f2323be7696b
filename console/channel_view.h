// The window of the channel list: rows with check boxes, names that are edited in place, keys, the selection.
// What it selects and focuses is told to a ChannelListSite, and what the console selects is shown without an
// echo. All on the page's thread.
#pragma once

#include "console/channel_rows.h"

#include <QElapsedTimer>
#include <QTreeView>

class ConsoleImages;

/// Who owns the list.
struct ChannelListSite {
    /// The user selects or deselects rows; they show it already.
    virtual void OnSelected(ChannelEntry& entry, bool on) = 0;
    /// The keyboard is on another row.
    virtual void OnRowFocused(ChannelEntry& entry) = 0;
    virtual void OnRowMenu(ChannelEntry* entry, QPoint at) = 0;
    virtual void OnRemove(ChannelEntry& entry) = 0;
    /// Out of the list by the keyboard.
    virtual void OnLeave(bool back) = 0;

protected:
    ~ChannelListSite() = default;
};

class ChannelListView final : public QTreeView {
public:
    ChannelListView(QWidget& page, ChannelRows& rows, ChannelListSite& site);

    /// Colours and images of a new look. The images outlive the list.
    void SetLook(const ConsoleImages& images);
    const ConsoleImages& Images() const { return *m_images; }

    /// The rows as the entries are now; ShowState is to follow.
    void SyncRows();
    /// The entry is about to be destroyed; null is all of them.
    void ForgetRow(const ChannelEntry* entry);
    /// Shows the strips' selection and the console's focus.
    void ShowState(const ChannelEntry* focus);
    ChannelEntry* FocusedRow() const;
    /// The selected rows; where the row with the focus is none of them, it alone.
    std::vector<ChannelEntry*> Targets() const;
    /// Opens the editor of a row's name; false for one that has none.
    bool Rename(const ChannelEntry& entry);
    /// All targets follow the focused one.
    void ToggleShown();

protected:
    bool event(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void selectionChanged(const QItemSelection& selected, const QItemSelection& deselected) override;
    void currentChanged(const QModelIndex& current, const QModelIndex& previous) override;

private:
    bool OwnKey(const QKeyEvent& event);
    bool IsSearching() const;
    void SearchFor(const QString& text);
    /// A letter is the page's command, where it is one; else it begins a search.
    bool TypeLetter(const QKeyEvent& event);

    ChannelRows& m_rows;
    ChannelListSite& m_site;
    const ConsoleImages* m_images = nullptr;
    std::vector<bool> m_shownSelection;
    QElapsedTimer m_sinceSearch;
    bool m_filling = false;
};
