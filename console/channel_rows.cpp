#include "console/channel_rows.h"

#include "console/channel_kinds.h"
#include "console/console_plugin.h"
#include "console/strip.h"
#include "console/texts.h"
#include "platform/ui/plain_text.h"

#include <QMimeData>

#include <algorithm>
#include <unordered_set>

namespace {

constexpr uint32_t NO_ROW = KIND_NO_STRIP | KIND_SPECIAL;

QString MimeType() { return QStringLiteral("application/x-tarn-channel"); }

}  // namespace

ChannelEntry* ChannelRows::At(int row) const {
    return row >= 0 && row < static_cast<int>(m_rows.size()) ? m_rows[static_cast<size_t>(row)] : nullptr;
}

int ChannelRows::RowOf(const ChannelEntry* entry) const {
    const auto at = m_index.find(entry);
    return at == m_index.end() ? -1 : at->second;
}

void ChannelRows::Reindex() {
    m_index.clear();
    for (size_t i = 0; i < m_rows.size(); i++) m_index.emplace(m_rows[i], static_cast<int>(i));
}

void ChannelRows::Sync() {
    std::vector<ChannelEntry*> wanted;
    for (ChannelEntry* entry : m_plugin.Entries())
        if (!(entry->kind & NO_ROW)) wanted.push_back(entry);
    if (wanted == m_rows) return;

    std::unordered_map<const ChannelEntry*, int> place;
    for (size_t i = 0; i < wanted.size(); i++) place.emplace(wanted[i], static_cast<int>(i));
    for (int row = static_cast<int>(m_rows.size()); row-- > 0;) {
        if (place.contains(At(row))) continue;
        beginRemoveRows({}, row, row);
        m_rows.erase(m_rows.begin() + row);
        endRemoveRows();
    }

    // The ones that stay first take their order, then the new ones come in between.
    const auto before = [&](const ChannelEntry* a, const ChannelEntry* b) { return place[a] < place[b]; };
    if (!std::ranges::is_sorted(m_rows, before)) {
        emit layoutAboutToBeChanged();
        const std::vector<ChannelEntry*> old = m_rows;
        std::ranges::sort(m_rows, before);
        Reindex();
        const QModelIndexList from = persistentIndexList();
        QModelIndexList to;
        for (const QModelIndex& index : from)
            to += createIndex(RowOf(old[static_cast<size_t>(index.row())]), index.column());
        changePersistentIndexList(from, to);
        emit layoutChanged();
    }
    for (size_t i = 0; i < wanted.size(); i++) {
        if (i < m_rows.size() && m_rows[i] == wanted[i]) continue;
        const ChannelEntry* next = i < m_rows.size() ? m_rows[i] : nullptr;
        size_t end = i;
        while (end < wanted.size() && wanted[end] != next) end++;
        beginInsertRows({}, static_cast<int>(i), static_cast<int>(end) - 1);
        m_rows.insert(m_rows.begin() + static_cast<std::ptrdiff_t>(i),
                      wanted.begin() + static_cast<std::ptrdiff_t>(i),
                      wanted.begin() + static_cast<std::ptrdiff_t>(end));
        endInsertRows();
        i = end - 1;
    }
    Reindex();
}

void ChannelRows::Forget(const ChannelEntry* entry) {
    if (!entry) {
        beginResetModel();
        m_rows.clear();
        m_index.clear();
        endResetModel();
        return;
    }
    const int row = RowOf(entry);
    if (row < 0) return;
    beginRemoveRows({}, row, row);
    m_rows.erase(m_rows.begin() + row);
    Reindex();
    endRemoveRows();
}

void ChannelRows::Touch(int row) { emit dataChanged(index(row, Name), index(row, Sign)); }

void ChannelRows::TouchAll() {
    if (!m_rows.empty()) emit dataChanged(index(0, Name), index(rowCount() - 1, Sign));
}

int ChannelRows::rowCount(const QModelIndex& parent) const {
    return parent.isValid() ? 0 : static_cast<int>(m_rows.size());
}

QVariant ChannelRows::headerData(int section, Qt::Orientation orientation, int role) const {
    if (orientation != Qt::Horizontal || role != Qt::DisplayRole) return {};
    return QString::fromUtf16(ConsoleText(section == Name ? IDS_TRACK_NAME : IDS_CHANNEL_KIND));
}

QVariant ChannelRows::data(const QModelIndex& index, int role) const {
    const ChannelEntry* entry = At(index.row());
    if (!entry) return {};
    const Strip* strip = Strip::Of(*const_cast<ChannelEntry*>(entry));
    if (index.column() == Sign)
        return role == Qt::AccessibleTextRole && strip ? QString::fromStdU16String(strip->KindWord())
                                                       : QVariant();
    switch (role) {
    case Qt::DisplayRole:
    case Qt::EditRole: return QString::fromUtf16(entry->Name());
    case Qt::ToolTipRole: return PlainText(QString::fromUtf16(entry->Name()));
    case Qt::CheckStateRole: return m_plugin.IsChannelHidden(*entry) ? Qt::Unchecked : Qt::Checked;
    default: return {};
    }
}

bool ChannelRows::setData(const QModelIndex& index, const QVariant& value, int role) {
    ChannelEntry* entry = At(index.row());
    if (!entry) return false;
    if (role == Qt::CheckStateRole) {
        ShowChannel(m_plugin, *entry, value.toInt() == Qt::Checked);
        return true;
    }
    const std::u16string name = value.toString().trimmed().toStdU16String();
    Strip* strip = Strip::Of(*entry);
    if (role != Qt::EditRole || !strip || name.empty() || name == entry->Name()) return false;
    strip->Rename(name);
    return true;
}

Qt::ItemFlags ChannelRows::flags(const QModelIndex& index) const {
    const ChannelEntry* entry = At(index.row());
    if (!entry) return Qt::ItemIsDropEnabled;
    Qt::ItemFlags flags = Qt::ItemIsEnabled | Qt::ItemIsSelectable | Qt::ItemIsDragEnabled |
                          Qt::ItemIsDropEnabled | Qt::ItemNeverHasChildren;
    if (index.column() != Name) return flags;
    flags |= Qt::ItemIsUserCheckable;
    return entry->kind & KIND_MASTER_BIT ? flags : flags | Qt::ItemIsEditable;
}

QStringList ChannelRows::mimeTypes() const { return {MimeType()}; }

QMimeData* ChannelRows::mimeData(const QModelIndexList& indexes) const {
    const ChannelEntry* entry = indexes.isEmpty() ? nullptr : At(indexes.front().row());
    if (!entry) return nullptr;
    auto* data = new QMimeData;
    data->setData(MimeType(), QByteArray::number(static_cast<qulonglong>(entry->id.channel)));
    return data;
}

std::pair<ChannelEntry*, ChannelEntry*> ChannelRows::DropPair(const QMimeData* data, int row,
                                                              const QModelIndex& parent) const {
    const uint64_t channel = data->data(MimeType()).toULongLong();
    const auto dragged =
        std::ranges::find(m_rows, channel, [](ChannelEntry* entry) { return entry->id.channel; });
    if (dragged == m_rows.end()) return {};
    // Between two rows it takes the place of the one that makes room for it.
    const int from = static_cast<int>(dragged - m_rows.begin());
    ChannelEntry* place = parent.isValid() ? At(parent.row()) : At(row > from ? row - 1 : row);
    const bool may = place && m_plugin.CanMoveBefore(**dragged, *place);
    return may ? std::pair(*dragged, place) : std::pair<ChannelEntry*, ChannelEntry*>();
}

bool ChannelRows::canDropMimeData(const QMimeData* data, Qt::DropAction, int row, int,
                                  const QModelIndex& parent) const {
    return DropPair(data, row, parent).first;
}

bool ChannelRows::dropMimeData(const QMimeData* data, Qt::DropAction, int row, int,
                               const QModelIndex& parent) {
    const auto [dragged, place] = DropPair(data, row, parent);
    if (dragged) m_plugin.MoveAtHost(*dragged, *place);
    return dragged;
}
