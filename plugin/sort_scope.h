// Sorting channels by what the host says of them, asked once a channel instead of at every comparison.
#pragma once

#include "plugin/channel_order.h"
#include "plugin/control_plugin.h"

#include <unordered_map>

/// Kinds and order indices of channels, each read from the host when it is first needed.
class ChannelKeys {
public:
    explicit ChannelKeys(COPTControlPlugin& plugin) : m_plugin(plugin) {}

    /// A channel that the host does not know has a key of zeros.
    const ChannelKey& Of(const MPCHANNELID& id) {
        const auto [at, fresh] = m_keys.try_emplace(id.channel);
        if (fresh) {
            MPCHANNELREC rec{};
            m_plugin.GetChannelRecord(id, &rec, MASK_IDENTITY);
            at->second = ChannelKey::From(rec);
        }
        return at->second;
    }

private:
    COPTControlPlugin& m_plugin;
    std::unordered_map<uint64_t, ChannelKey> m_keys;
};

/// While it lives the list's sort criteria are a set of keys; afterwards they are the plug-in again.
class SortScope {
public:
    SortScope(HQMLIST list, COPTControlPlugin& plugin) : m_list(list), m_plugin(plugin), m_keys(plugin) {
        QmList_Sort(m_list, reinterpret_cast<uintptr_t>(&m_keys), nullptr);
    }
    ~SortScope() { QmList_Sort(m_list, reinterpret_cast<uintptr_t>(&m_plugin), nullptr); }
    SortScope(const SortScope&) = delete;
    SortScope& operator=(const SortScope&) = delete;

    HRESULT Sort(QMLISTSORTPROC compare) {
        return QmList_Sort(m_list, reinterpret_cast<uintptr_t>(&m_keys), compare);
    }

private:
    HQMLIST m_list;
    COPTControlPlugin& m_plugin;
    ChannelKeys m_keys;
};
