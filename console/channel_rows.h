// The channel list's rows: the console's channels in its order, as far as a channel can have a strip. What a
// row shows is read from the entries and strips, which follow the host; nothing is asked of the host for it.
// All on the page's thread.
#pragma once

#include "console/channel_entry.h"

#include <QAbstractTableModel>

#include <unordered_map>
#include <vector>

class CConsoleControlPlugin;

class ChannelRows final : public QAbstractTableModel {
public:
    /// The name with its check box, and the channel's sign.
    enum Column { Name, Sign, Columns };

    explicit ChannelRows(CConsoleControlPlugin& plugin) : m_plugin(plugin) {}

    /// Rows that are gone go, new ones come, and all stand as the entries do.
    void Sync();
    /// The entry is about to be destroyed; null is all of them.
    void Forget(const ChannelEntry* entry);
    /// What may be seen of a row has changed.
    void Touch(int row);
    void TouchAll();

    /// Null for a row that is not there.
    ChannelEntry* At(int row) const;
    /// -1 for none.
    int RowOf(const ChannelEntry* entry) const;
    const std::vector<ChannelEntry*>& Entries() const { return m_rows; }

    int rowCount(const QModelIndex& parent = {}) const override;
    int columnCount(const QModelIndex& parent = {}) const override { return parent.isValid() ? 0 : Columns; }
    QVariant data(const QModelIndex& index, int role) const override;
    /// The header is not shown; screen readers read it.
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override;
    bool setData(const QModelIndex& index, const QVariant& value, int role) override;
    Qt::ItemFlags flags(const QModelIndex& index) const override;

    // A row is dragged to the place of another, where the host lets channels move.
    QStringList mimeTypes() const override;
    QMimeData* mimeData(const QModelIndexList& indexes) const override;
    Qt::DropActions supportedDropActions() const override { return Qt::MoveAction; }
    bool canDropMimeData(const QMimeData* data, Qt::DropAction action, int row, int column,
                         const QModelIndex& parent) const override;
    bool dropMimeData(const QMimeData* data, Qt::DropAction action, int row, int column,
                      const QModelIndex& parent) override;

private:
    void Reindex();
    /// The channel that is dragged and the one whose place it would take; both null where it may not.
    std::pair<ChannelEntry*, ChannelEntry*> DropPair(const QMimeData* data, int row,
                                                     const QModelIndex& parent) const;

    CConsoleControlPlugin& m_plugin;
    std::vector<ChannelEntry*> m_rows;
    std::unordered_map<const ChannelEntry*, int> m_index;
};
