// The reference list: the plug-in's mirror of which channels the host has, in the references' order, each row
// with the rows of its sends and effects, and those with the rows of their parameters.
#include "plugin/control_plugin.h"
#include "plugin/module_state.h"
#include "plugin/sort_scope.h"

#include "platform/text.h"

namespace {

HRESULT MakeRefList(HQMLIST* list, uintptr_t sortContext) {
    if (*list) return S_OK;
    const HRESULT hr = QmList_CreateExZ(list, sizeof(MPCHANNELREF), -1, 8, QMLIST_ARRAY, 0, 0, 0);
    return Succeeded(hr) ? QmList_Sort(*list, sortContext, nullptr) : hr;
}

void DestroySubLists(MPCHANNELREF& row) {
    for (MPCHANNELREF& sub : QmList_Records<MPCHANNELREF>(static_cast<HQMLIST>(row.subList)))
        QmList_Destroy(static_cast<HQMLIST>(sub.subSubList));
    QmList_Destroy(static_cast<HQMLIST>(row.subList));
    row.subList = nullptr;
}

/// Only the first word of an id is compared.
int32_t IsChannel(const void* key, const void* item) {
    return static_cast<const MPCHANNELREF*>(item)->channel == *static_cast<const uint64_t*>(key) ? 0 : 1;
}

int32_t IsSubObject(const void* key, const void* item) {
    return static_cast<const MPCHANNELREF*>(item)->sub == *static_cast<const uint64_t*>(key) ? 0 : 1;
}

int32_t CompareReferences(uintptr_t criteria, const void* a, const void* b) {
    auto& keys = *reinterpret_cast<ChannelKeys*>(criteria);
    const auto key = [&keys](const void* row) {
        return keys.Of({static_cast<const MPCHANNELREF*>(row)->channel, 0, 0});
    };
    const bool surround = ThisModule().channelMode == CHANNEL_MODE_SURROUND;
    return CompareChannels(key(a), key(b),
                           surround ? ChannelOrder::ReferencesSurround : ChannelOrder::References);
}

/// Calls each(ref, record) for the host's objects of one level; `start` names the parent. A failure of `each`
/// ends it.
template <class F>
HRESULT ForEachChannel(IMPCtrlChannels& host, const MPCHANNELREF& start, uint32_t level, uint32_t kindMask,
                       F each) {
    MPCHANNELREF ref = start;
    MPCHANNELREC rec{};
    uint32_t more = 0;
    HRESULT hr = host.First(&ref, level, &rec, &more, kindMask, 0);
    while (hr == S_OK) {
        ref.subList = ref.subSubList = nullptr;
        const HRESULT kept = each(ref, rec);
        if (Failed(kept)) return kept;
        if (!more) break;
        rec = {};
        hr = host.Next(&ref, level, &rec, &more, kindMask, 0);
    }
    return Failed(hr) ? hr : S_OK;
}

}  // namespace

void COPTControlPlugin::DestroyReferences() {
    for (MPCHANNELREF& row : QmList_Records<MPCHANNELREF>(m_refs)) DestroySubLists(row);
    QmList_Destroy(m_refs);
    m_refs = nullptr;
    ClearControlBits(CTRLSTATE_REFS_VALID);
}

HRESULT COPTControlPlugin::FetchChannels(uint32_t reset, uint32_t kindMask) {
    CriticalSectionLock lock(m_mainLock);
    const ComPtr<IMPCtrlChannels> host = CtrlChannels();
    if (!host) return S_FALSE;
    if (reset) DestroyReferences();
    HRESULT hr = MakeRefList(&m_refs, reinterpret_cast<uintptr_t>(this));
    if (Failed(hr)) return hr;
    const SortScope scope(m_refs, *this);
    hr = EnumerateReferences(*host, kindMask & ENUM_TRACKS);
    if (Succeeded(hr)) hr = EnumerateReferences(*host, kindMask & ENUM_BUSSES);
    if (Failed(hr)) return hr;
    SetControlBits(CTRLSTATE_REFS_VALID);
    for (MPCHANNELREF& row : QmList_Records<MPCHANNELREF>(m_refs)) LoadSubLists(*host, row);
    m_kindMask = kindMask;
    return S_OK;
}

HRESULT COPTControlPlugin::EnumerateReferences(IMPCtrlChannels& host, uint32_t kindMask) {
    if (!kindMask) return S_OK;
    return ForEachChannel(host, {}, LEVEL_CHANNEL, kindMask,
                          [&](const MPCHANNELREF& ref, const MPCHANNELREC&) {
                              return ref.channel && FindReference(ref.channel) < 0
                                         ? PlaceReference({ref.channel, nullptr, 0, nullptr})
                                         : S_OK;
                          });
}

int32_t COPTControlPlugin::FindReference(uint64_t channel) const {
    return m_refs ? QmList_FindItemRange(m_refs, 0, -1, &channel, IsChannel) : -1;
}

HRESULT COPTControlPlugin::InsertReference(uint64_t channel) {
    if (FindReference(channel) >= 0) return S_FALSE;
    const SortScope scope(m_refs, *this);
    return PlaceReference({channel, nullptr, 0, nullptr});
}

/// Within a SortScope of the list.
HRESULT COPTControlPlugin::PlaceReference(const MPCHANNELREF& row) {
    const int32_t at = QmList_FindSortedInsertIndexRange(m_refs, &row, 0, -1, CompareReferences);
    return QmList_InsertList(m_refs, at, &row, 1);
}

HRESULT COPTControlPlugin::DeleteReference(uint64_t channel) {
    const int32_t at = FindReference(channel);
    if (at < 0) return S_FALSE;
    DestroySubLists(QmList_Records<MPCHANNELREF>(m_refs)[at]);
    return QmList_DeleteList(m_refs, at, 1, 0);
}

HRESULT COPTControlPlugin::ReplaceReference(uint64_t channel, uint64_t with) {
    const int32_t at = FindReference(channel);
    if (at < 0 || !with) return S_FALSE;
    QmList_Records<MPCHANNELREF>(m_refs)[at].channel = with;
    return S_OK;
}

/// One sort for all channels that moved in a round: a host that inserts a track moves every one behind it.
void COPTControlPlugin::ResortReferences() {
    if (!std::exchange(m_resortWanted, false) || !m_refs) return;
    SortScope(m_refs, *this).Sort(CompareReferences);
}

HRESULT COPTControlPlugin::LoadSubLists(IMPCtrlChannels& host, MPCHANNELREF& row) {
    DestroySubLists(row);
    constexpr uint32_t NO_PARAMETERS = 0x8000;  // in the switches of a sub-object
    const MPCHANNELREF parent{row.channel, nullptr, 0, nullptr};
    return ForEachChannel(host, parent, LEVEL_SUB_OBJECT, 0, [&](MPCHANNELREF sub, const MPCHANNELREC& rec) {
        HQMLIST subs = static_cast<HQMLIST>(row.subList);
        HRESULT hr = MakeRefList(&subs, 0);
        row.subList = subs;
        if (Succeeded(hr)) hr = QmList_InsertList(subs, -1, &sub, 1);
        if (Failed(hr) || (rec.switches & NO_PARAMETERS)) return hr;
        HQMLIST parameters = nullptr;
        const MPCHANNELREF subParent{row.channel, nullptr, sub.sub, nullptr};
        hr = ForEachChannel(host, subParent, LEVEL_PARAMETER, 0,
                            [&](const MPCHANNELREF& ref, const MPCHANNELREC&) {
                                const HRESULT made = MakeRefList(&parameters, 0);
                                return Succeeded(made) ? QmList_InsertList(parameters, -1, &ref, 1) : made;
                            });
        QmList_Records<MPCHANNELREF>(subs).back().subSubList = parameters;
        return hr;
    });
}

HRESULT COPTControlPlugin::LoadPortEntries(HQMLIST* list, uint32_t kind) {
    const ComPtr<IMPCtrlChannels> host = CtrlChannels();
    if (!host) return S_FALSE;
    HRESULT hr = MakeRefList(list, 0);
    if (Failed(hr)) return hr;
    QmList_DeleteList(*list, 0, -1, 0);
    return ForEachChannel(
        *host, {}, LEVEL_SUB_OBJECT, kind,
        [&](const MPCHANNELREF& ref, const MPCHANNELREC&) { return QmList_InsertList(*list, -1, &ref, 1); });
}

// Changes of the host
// ----------------------------------------------------------------------------------------------

HRESULT COPTControlPlugin::OnChannelChange(const MPCTRLREC* rec, uint32_t post) {
    if (!(ControlState() & CTRLSTATE_INITIALISED) || !m_refs) return S_FALSE;
    if (m_map) {
        // The worker brings the strips in step, whichever thread applies the change. Places and the switch
        // that hides are attributes as well.
        const bool valuesAlone =
            rec->flags & CHANGE_ATTRIBUTES && !(rec->kindMask & (MASK_IDENTITY | MASK_SWITCHES));
        (valuesAlone ? m_mapValuesStale : m_mapLayoutStale) = true;
        SetControlBits(CTRLSTATE_WAKE);
    }
    if (!post) return ApplyChannelChange(*rec);
    const uint32_t flags = rec->flags;
    const bool known = rec->kindMask & m_kindMask;
    if ((flags & CHANGE_ATTRIBUTES) && FindReference(rec->object.channel) >= 0) return QueueControl(rec);
    if ((flags & CHANGE_REMOVED) && known && !(ControlState() & CTRLSTATE_DELAY_DELETES)) {
        if (rec->level == LEVEL_CHANNEL) DeleteReference(rec->object.channel);
        if (rec->level == LEVEL_SUB_OBJECT) ApplySubChange(*rec);
        return UpdateEntry(*rec);
    }
    if ((flags & CHANGE_ADDED) && known && rec->level == LEVEL_CHANNEL &&
        !(ControlState() & CTRLSTATE_DELAY_INSERTS)) {
        const HRESULT hr = InsertReference(rec->object.channel);
        return Failed(hr) ? hr : UpdateEntry(*rec);
    }
    if (flags & CHANGE_CTRL_REPLACED && !(ControlState() & CTRLSTATE_DELAY_RELOADS))
        return ReplaceOnHostThread(*rec);
    return QueueControl(rec);
}

HRESULT COPTControlPlugin::ReplaceOnHostThread(const MPCTRLREC& rec) {
    if (rec.level == LEVEL_CHANNEL) {
        ReplaceReference(rec.object.channel, rec.second.channel);
        return UpdateEntry(rec);
    }
    if (rec.level == LEVEL_SUB_OBJECT && (rec.kindMask & KIND_INPUT_BIT)) {
        constexpr uint32_t OUTPUTS = KIND_INPUT_BIT | KIND_SPECIAL;
        if ((rec.kindMask & OUTPUTS) == OUTPUTS && (rec.kindMask & KIND_BUS))
            return LoadPortEntries(&m_outputs, KIND_OUTPUT_ENTRY);
        if (rec.kindMask & KIND_BUS) LoadPortEntries(&m_inputs, KIND_INPUT_BUS);
        if (rec.kindMask & KIND_MIDI_TRACK) LoadPortEntries(&m_midiPorts, KIND_MIDI_PORT_ENTRY);
        return S_OK;
    }
    return QueueControl(&rec);
}

HRESULT COPTControlPlugin::ApplyChannelChange(const MPCTRLREC& rec) {
    const bool delayedKind = rec.kindMask & m_kindMask & (KIND_AUDIO_TRACK | KIND_BUS | KIND_MIDI_TRACK);
    if (rec.level == LEVEL_CHANNEL) {
        if ((rec.flags & CHANGE_REMOVED) && delayedKind) DeleteReference(rec.object.channel);
        if ((rec.flags & CHANGE_ADDED) && delayedKind) InsertReference(rec.object.channel);
        if (rec.flags & CHANGE_CTRL_REPLACED) ReplaceReference(rec.object.channel, rec.second.channel);
        if ((rec.flags & CHANGE_ATTRIBUTES) && (rec.kindMask & MASK_IDENTITY)) m_resortWanted = true;
    } else if (rec.level == LEVEL_SUB_OBJECT) {
        ApplySubChange(rec);
    }
    return UpdateEntry(rec);
}

HRESULT COPTControlPlugin::ApplySubChange(const MPCTRLREC& rec) {
    const int32_t at = FindReference(rec.object.channel);
    const ComPtr<IMPCtrlChannels> host = CtrlChannels();
    if (at < 0 || !host) return S_FALSE;
    MPCHANNELREF& row = QmList_Records<MPCHANNELREF>(m_refs)[at];
    if (!(rec.flags & CHANGE_REMOVED)) return LoadSubLists(*host, row);
    HQMLIST subs = static_cast<HQMLIST>(row.subList);
    const int32_t sub = subs ? QmList_FindItemRange(subs, 0, -1, &rec.object.sub, IsSubObject) : -1;
    if (sub < 0) return S_FALSE;
    QmList_Destroy(static_cast<HQMLIST>(QmList_Records<MPCHANNELREF>(subs)[sub].subSubList));
    return QmList_DeleteList(subs, sub, 1, 0);
}

// Readers
// ----------------------------------------------------------------------------------------------------------

HRESULT COPTControlPlugin::RequireReferences() {
    if (!CtrlChannels()) return S_FALSE;
    return ControlState() & CTRLSTATE_REFS_VALID ? S_OK : FetchChannels(0, m_kindMask);
}

HRESULT COPTControlPlugin::GetChannelCount(int32_t* count) {
    CriticalSectionLock lock(m_mainLock);
    const HRESULT hr = RequireReferences();
    *count = hr == S_OK ? m_refs->count : 0;
    return hr;
}

HRESULT COPTControlPlugin::GetChannelId(int32_t index, MPCHANNELID* id) {
    CriticalSectionLock lock(m_mainLock);
    const HRESULT hr = RequireReferences();
    if (hr != S_OK) return hr;
    if (!QmList_IsValidIndexSlow(m_refs, index)) return S_FALSE;
    *id = {QmList_Records<MPCHANNELREF>(m_refs)[index].channel, 0, 0};
    return S_OK;
}

HRESULT COPTControlPlugin::FindChannel(uint64_t channel, int32_t* index) {
    CriticalSectionLock lock(m_mainLock);
    const HRESULT hr = RequireReferences();
    if (hr != S_OK) return hr;
    *index = FindReference(channel);
    return *index < 0 ? S_FALSE : S_OK;
}

HRESULT COPTControlPlugin::GetSubCount(int32_t index, int32_t* count) {
    CriticalSectionLock lock(m_mainLock);
    *count = 0;
    const HRESULT hr = RequireReferences();
    if (hr != S_OK) return hr;
    if (!QmList_IsValidIndexSlow(m_refs, index)) return S_FALSE;
    if (auto* subs = static_cast<HQMLIST>(QmList_Records<MPCHANNELREF>(m_refs)[index].subList))
        *count = subs->count;
    return S_OK;
}

HRESULT COPTControlPlugin::GetSubId(int32_t index, int32_t sub, MPCHANNELID* id) {
    CriticalSectionLock lock(m_mainLock);
    const HRESULT hr = RequireReferences();
    if (hr != S_OK) return hr;
    if (!QmList_IsValidIndexSlow(m_refs, index)) return S_FALSE;
    const MPCHANNELREF& row = QmList_Records<MPCHANNELREF>(m_refs)[index];
    auto* subs = static_cast<HQMLIST>(row.subList);
    if (!subs || !QmList_IsValidIndexSlow(subs, sub)) return S_FALSE;
    *id = {row.channel, QmList_Records<MPCHANNELREF>(subs)[sub].sub, 0};
    return S_OK;
}

std::vector<uint64_t> COPTControlPlugin::PortEntries(uint32_t kind) {
    CriticalSectionLock lock(m_mainLock);
    constexpr uint32_t OUTPUTS = KIND_INPUT_BIT | KIND_SPECIAL;
    HQMLIST list = kind & KIND_MIDI_TRACK ? m_midiPorts : m_inputs;
    if ((kind & OUTPUTS) == OUTPUTS) list = m_outputs;
    std::vector<uint64_t> ids;
    for (const MPCHANNELREF& row : QmList_Records<MPCHANNELREF>(list))
        ids.push_back(row.sub ? row.sub : row.channel);
    return ids;
}

HRESULT COPTControlPlugin::GetChannelRecord(const MPCHANNELID& id, MPCHANNELREC* rec, uint32_t mask) {
    const ComPtr<IMPCtrlChannels> host = CtrlChannels();
    return host && id.channel ? host->Get(&id, LEVEL_CHANNEL, rec, 0, mask) : S_FALSE;
}

HRESULT COPTControlPlugin::SetChannelRecord(const MPCHANNELID& id, MPCHANNELREC* rec, uint32_t mask) {
    const ComPtr<IMPCtrlChannels> host = CtrlChannels();
    return host && id.channel ? host->Set(&id, LEVEL_CHANNEL, rec, mask) : S_FALSE;
}

HRESULT COPTControlPlugin::GetChannelName(const MPCHANNELID& id, uint32_t which, char16_t* out,
                                          uint32_t capacity) {
    if (capacity) out[0] = 0;
    MPCHANNELREC rec{};
    rec.selector = which;
    const HRESULT hr = GetChannelRecord(id, &rec, MASK_NAME);
    if (hr == S_OK && rec.name) CopyText(out, capacity, rec.name);
    CoTaskMemFree(rec.name);
    return hr;
}
