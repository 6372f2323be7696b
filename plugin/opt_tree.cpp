// The mirrors of the host's project tree: tracks with their events, and the takes that pass the event filter.
#include "plugin/opt_plugin.h"

#include "platform/com.h"

using namespace tarn;

namespace {

constexpr uint32_t ALL_KINDS = 0xFFFFFFFF;

/// A record of the tree whose long data, if it owns any, dies with it.
class OwnedEvent {
public:
    OwnedEvent() = default;
    OwnedEvent(const OwnedEvent&) = delete;
    OwnedEvent& operator=(const OwnedEvent&) = delete;
    ~OwnedEvent() { Clear(); }
    MPEVENTREC* operator->() { return &m_rec; }
    MPEVENTREC* Fresh() {
        Clear();
        return &m_rec;
    }

private:
    void Clear() {
        if ((m_rec.type & MPOWNED_DATA_TYPES) && m_rec.dataSize) CoTaskMemFree(m_rec.data);
        m_rec = {};
    }
    MPEVENTREC m_rec{};
};

/// What the takes' comparison needs, handed to it as the sort criteria.
struct TakeOrder {
    IMPProjectTree* tree;
    IMPTimeConverter* times;
    uint32_t format;
    uint32_t rate;

    int64_t Start(OwnedEvent& rec) const {
        int64_t time = rec->start + rec->offset;
        int64_t common = time;
        if (times && Succeeded(times->Convert(time, rec->format, rate, &common, format, rate))) return common;
        return time;
    }
};

int32_t Sign(bool less) { return less ? -1 : 1; }

int32_t CompareTakes(uintptr_t criteria, const void* keyRow, const void* itemRow) {
    const auto& order = *reinterpret_cast<const TakeOrder*>(criteria);
    OwnedEvent a, b;
    auto read = [&](const void* row, OwnedEvent& rec) {
        const auto* take = static_cast<const TAKEROW*>(row);
        MPCHANNELID key{take->track, take->event, take->take};
        order.tree->Get(&key, LEVEL_TAKE, rec.Fresh(), TREE_FIXED_UNLOCKED);
    };
    read(keyRow, a);
    read(itemRow, b);
    const int64_t startA = order.Start(a), startB = order.Start(b);
    if (startA != startB) return Sign(startA < startB);
    if (a->order != b->order) return Sign(a->order < b->order);
    if (a->channel == b->channel) return 0;
    if (a->channel == 0xFFFFFFFF) return -1;
    if (b->channel == 0xFFFFFFFF) return 1;
    return Sign(a->channel < b->channel);
}

HRESULT MakeRowList(HQMLIST* list, uint32_t rowSize) {
    return *list ? S_OK : QmList_CreateExZ(list, rowSize, -1, -1, QMLIST_ARRAY | QMLIST_ANY_THREAD, 0, 0, 0);
}

/// Enumerates the children of `parent`; each(path, record) returns a failure to stop.
template <class F>
HRESULT ForEachObject(IMPProjectTree& tree, MPCHANNELID parent, uint32_t level, uint32_t kindMask, F each) {
    OwnedEvent rec;
    uint32_t more = 0;
    MPCHANNELID path = parent;
    HRESULT hr = tree.First(&path, level, rec.Fresh(), &more, kindMask);
    while (hr == S_OK) {
        if (path.channel) {
            const HRESULT appended = each(path, rec);
            if (Failed(appended)) return appended;
        }
        if (!more) return S_OK;
        hr = tree.Next(&path, level, rec.Fresh(), &more, kindMask);
    }
    return Failed(hr) ? hr : S_OK;
}

}  // namespace

/// Holds the host's read lock for one loop, and counts it.
class COPTPlugin::TreeLock {
public:
    explicit TreeLock(COPTPlugin& plugin)
        : m_guard(plugin.m_treeLock), m_plugin(plugin), m_tree(plugin.ProjectTree()) {
        if (m_tree && Succeeded(m_tree->Lock(0, 0))) m_plugin.m_hostLockDepth++;
    }
    ~TreeLock() {
        if (!m_tree || m_plugin.m_hostLockDepth == 0) return;
        m_tree->Unlock(0);
        m_plugin.m_hostLockDepth--;
    }
    IMPProjectTree* operator->() const { return m_tree.Get(); }
    IMPProjectTree& operator*() const { return *m_tree; }
    explicit operator bool() const { return static_cast<bool>(m_tree); }

private:
    CriticalSectionLock m_guard;
    COPTPlugin& m_plugin;
    ComPtr<IMPProjectTree> m_tree;
};

void COPTPlugin::DestroyTracks() {
    for (TRACKROW& row : QmList_Records<TRACKROW>(m_tracks)) QmList_Destroy(row.events);
    if (m_tracks) QmList_DeleteList(m_tracks, 0, -1, 0);
}

int32_t COPTPlugin::FindTrack(uint64_t id) const {
    int32_t index = 0;
    for (const TRACKROW& row : QmList_Records<TRACKROW>(m_tracks)) {
        if (row.track == id) return index;
        index++;
    }
    return -1;
}

void COPTPlugin::NoteUsedChannel(uint32_t channel) {
    if (channel >= 0xFFFFFFFE) {
        m_usedChannels = 0xFFFF;
        m_usedChannelCount = 16;
    } else if (channel < 16 && !(m_usedChannels >> channel & 1)) {
        m_usedChannels |= 1u << channel;
        m_usedChannelCount++;
    }
}

uint32_t COPTPlugin::GetUsedChannels() { return m_usedChannels; }
uint32_t COPTPlugin::GetUsedChannelCount() { return m_usedChannelCount; }

HRESULT COPTPlugin::ReloadProjectTree(uint32_t keepTracks) {
    CriticalSectionLock lock(m_treeLock);
    HRESULT hr = MakeRowList(&m_tracks, sizeof(TRACKROW));
    if (Succeeded(hr)) hr = MakeRowList(&m_filtered, sizeof(TAKEROW));
    if (Failed(hr)) return hr;
    if (keepTracks) {
        DestroyTracks();
        ClearStateBits(OPTSTATE_TRACKS_LOADED | OPTSTATE_FILTER_VALID);
        QmList_Sort(m_tracks, reinterpret_cast<uintptr_t>(ProjectTree().Get()), nullptr);
    }
    if (!(State() & OPTSTATE_TRACKS_LOADED)) hr = LoadTracks();
    if (!(State() & OPTSTATE_EVENTS_LOADED))
        for (TRACKROW& row : QmList_Records<TRACKROW>(m_tracks)) {
            if (Failed(hr)) break;
            if (row.events) hr = LoadEvents(row.events, row.track);
        }
    SetStateBits(OPTSTATE_TRACKS_LOADED | OPTSTATE_EVENTS_LOADED);
    return hr;
}

HRESULT COPTPlugin::LoadTracks() {
    TreeLock tree(*this);
    if (!tree) return E_UNEXPECTED;
    HRESULT hr = MakeRowList(&m_tracks, sizeof(TRACKROW));
    if (Failed(hr)) return hr;
    return ForEachObject(*tree, {}, LEVEL_TRACK, ALL_KINDS, [&](const MPCHANNELID& path, OwnedEvent& rec) {
        TRACKROW row{path.channel, nullptr, 0};
        HRESULT made = MakeRowList(&row.events, sizeof(uint64_t));
        if (Succeeded(made)) made = QmList_InsertList(m_tracks, -1, &row, 1);
        if (Failed(made)) {
            QmList_Destroy(row.events);
            return made;
        }
        NoteUsedChannel(rec->channel);
        return made;
    });
}

HRESULT COPTPlugin::LoadEvents(HQMLIST list, uint64_t track) {
    TreeLock tree(*this);
    if (!tree) return E_UNEXPECTED;
    return ForEachObject(
        *tree, {track, 0, 0}, LEVEL_EVENT, ALL_KINDS,
        [&](const MPCHANNELID& path, OwnedEvent&) { return QmList_InsertList(list, -1, &path.sub, 1); });
}

HRESULT COPTPlugin::LoadTakes(HQMLIST list, uint64_t track, uint64_t event) {
    TreeLock tree(*this);
    if (!tree) return E_UNEXPECTED;
    const ComPtr<IMPTimeConverter> times = TimeConverter();
    const TakeOrder order{&*tree, times.Get(), m_timeFormat, m_hostTimeRate};
    QmList_Sort(list, reinterpret_cast<uintptr_t>(&order), nullptr);
    const uint32_t kinds = m_takeMask & m_eventTypeMask;
    const HRESULT hr =
        ForEachObject(*tree, {track, event, 0}, LEVEL_TAKE, kinds, [&](const MPCHANNELID& path, OwnedEvent&) {
            const TAKEROW row{path.channel, path.sub, path.subSub};
            const int32_t at = QmList_FindSortedInsertIndexRange(list, &row, 0, -1, CompareTakes);
            return QmList_InsertList(list, at, &row, 1);
        });
    QmList_Sort(list, 0, nullptr);  // `order` ends here
    return hr;
}

HRESULT COPTPlugin::ApplyEventFilter(int32_t trackIndex, int32_t eventIndex) {
    CriticalSectionLock lock(m_treeLock);
    HRESULT hr = MakeRowList(&m_filtered, sizeof(TAKEROW));
    if (Failed(hr)) return hr;
    const bool trackChanged = trackIndex != m_filterTrack;
    if (trackChanged || eventIndex != m_filterEvent || m_eventGeneration != m_eventTypeMask)
        ClearStateBits(OPTSTATE_FILTER_VALID);
    if (State() & OPTSTATE_FILTER_VALID) return S_OK;
    if (trackIndex < 0 || trackChanged) QmList_DeleteList(m_filtered, 0, -1, 0);

    int32_t index = 0;
    for (const TRACKROW& row : QmList_Records<TRACKROW>(m_tracks)) {
        if (trackIndex < 0 || index == trackIndex) {
            int32_t event = 0;
            for (uint64_t id : QmList_Records<uint64_t>(row.events)) {
                if ((eventIndex < 0 || event == eventIndex) && Succeeded(hr))
                    hr = LoadTakes(m_filtered, row.track, id);
                event++;
            }
        }
        index++;
    }
    m_filterTrack = trackIndex;
    m_filterEvent = eventIndex;
    m_eventGeneration = m_eventTypeMask;
    SetStateBits(OPTSTATE_FILTER_VALID);
    return hr;
}

HRESULT COPTPlugin::ReloadEventTakes(int32_t trackIndex, int32_t eventIndex) {
    CriticalSectionLock lock(m_treeLock);
    if (m_filterTrack != -1 && m_filterTrack != trackIndex) return S_OK;
    if (!m_filtered || !QmList_IsValidIndexSlow(m_tracks, trackIndex)) return S_OK;
    const TRACKROW& track = QmList_Records<TRACKROW>(m_tracks)[trackIndex];
    if (!track.events || !QmList_IsValidIndexSlow(track.events, eventIndex)) return S_OK;
    const uint64_t event = QmList_Records<uint64_t>(track.events)[eventIndex];
    for (int32_t i = m_filtered->count - 1; i >= 0; i--) {
        const TAKEROW& row = QmList_Records<TAKEROW>(m_filtered)[i];
        if (row.track == track.track && row.event == event) QmList_DeleteList(m_filtered, i, 1, 0);
    }
    const HRESULT hr = LoadTakes(m_filtered, track.track, event);
    SetStateBits(OPTSTATE_FILTER_VALID);
    return hr;
}

HRESULT COPTPlugin::OnObjectChange(const MPNOTIFYREC* rec, uint32_t post) {
    if (rec->level < LEVEL_TRACK || rec->level > LEVEL_TAKE) return S_FALSE;
    if (post) return QueueNotification(rec);  // the lists belong to the thread of the replay
    CriticalSectionLock lock(m_treeLock);
    if (!(State() & OPTSTATE_TRACKS_LOADED)) return S_OK;  // the first load will see it
    return rec->level == LEVEL_TRACK ? UpdateTrack(*rec) : UpdateEvent(*rec);
}

HRESULT COPTPlugin::UpdateTrack(const MPNOTIFYREC& rec) {
    ClearStateBits(OPTSTATE_FILTER_VALID);
    const int32_t at = FindTrack(rec.path.channel);
    if (rec.flags & CHANGE_REMOVED) {
        if (at < 0) return S_FALSE;
        QmList_Destroy(QmList_Records<TRACKROW>(m_tracks)[at].events);
        return QmList_DeleteList(m_tracks, at, 1, 0);
    }
    if (rec.flags & (CHANGE_ADDED | CHANGE_MOVED | CHANGE_REPLACED)) {
        ClearStateBits(OPTSTATE_EVENTS_LOADED);
        return ReloadProjectTree(1);
    }
    return S_OK;
}

HRESULT COPTPlugin::UpdateEvent(const MPNOTIFYREC& rec) {
    const int32_t track = FindTrack(rec.path.channel);
    if (track < 0) return S_FALSE;
    HQMLIST events = QmList_Records<TRACKROW>(m_tracks)[track].events;
    if (!events) return S_FALSE;
    const int32_t event = QmList_FindSpecificItemRange(events, 0, -1, &rec.path.sub);
    if (rec.level == LEVEL_EVENT && (rec.flags & CHANGE_REMOVED)) {
        ClearStateBits(OPTSTATE_FILTER_VALID);
        return event < 0 ? S_FALSE : QmList_DeleteList(events, event, 1, 0);
    }
    if (rec.level == LEVEL_EVENT && (rec.flags & CHANGE_ADDED)) {
        ClearStateBits(OPTSTATE_FILTER_VALID);
        return event < 0 ? QmList_InsertList(events, -1, &rec.path.sub, 1) : S_FALSE;
    }
    return event < 0 ? S_FALSE : ReloadEventTakes(track, event);
}
