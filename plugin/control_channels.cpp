// A control plug-in's channels: the readers of the reference list, and the host's changes of it.
#include "plugin/control_plugin.h"

using namespace tarn;

void COPTControlPlugin::DestroyReferences() {
    m_refs.Clear();
    ClearControlBits(CTRLSTATE_REFS_VALID);
}

HRESULT COPTControlPlugin::FetchChannels(uint32_t reset, uint32_t kindMask) {
    CriticalSectionLock lock(m_mainLock);
    if (!m_channels.Host()) return S_FALSE;
    if (reset) DestroyReferences();
    const HRESULT hr = m_refs.Fetch(kindMask);
    if (hr != S_OK) return hr;
    SetControlBits(CTRLSTATE_REFS_VALID);
    m_kindMask = kindMask;
    return S_OK;
}

// Changes of the host
// ----------------------------------------------------------------------------------------------

/// The worker brings the strips in step, whichever thread applies the change.
void COPTControlPlugin::NoteForMap(const MPCTRLREC& rec) {
    if (!Map()) return;
    const bool attributes = rec.flags & CHANGE_ATTRIBUTES;
    const bool mayMove = !attributes || rec.kindMask == 0 || rec.kindMask & (MASK_IDENTITY | MASK_SWITCHES);
    if (rec.level == LEVEL_CHANNEL && mayMove && (!attributes || m_refs.RereadShown(rec.object.channel)))
        m_runner.LayoutChanged();
    else
        m_runner.ValuesChanged();
    SetControlBits(CTRLSTATE_WAKE);
}

HRESULT COPTControlPlugin::OnChannelChange(const MPCTRLREC* rec, uint32_t post) {
    if (!(ControlState() & CTRLSTATE_INITIALISED) || !m_refs.IsThere()) return S_FALSE;
    if (!post) return ApplyChannelChange(*rec);
    const uint32_t flags = rec->flags;
    const bool known = rec->kindMask & m_kindMask;
    if ((flags & CHANGE_ATTRIBUTES) && m_refs.Find(rec->object.channel) >= 0) return QueueControl(rec);
    if ((flags & CHANGE_REMOVED) && known && !(ControlState() & CTRLSTATE_DELAY_DELETES)) {
        if (rec->level == LEVEL_CHANNEL) m_refs.Remove(rec->object.channel);
        if (rec->level == LEVEL_SUB_OBJECT) ApplySubChange(*rec);
        NoteForMap(*rec);
        return UpdateEntry(*rec);
    }
    if ((flags & CHANGE_ADDED) && known && rec->level == LEVEL_CHANNEL &&
        !(ControlState() & CTRLSTATE_DELAY_INSERTS)) {
        const HRESULT hr = m_refs.Insert(rec->object.channel);
        NoteForMap(*rec);
        return Failed(hr) ? hr : UpdateEntry(*rec);
    }
    if (flags & CHANGE_CTRL_REPLACED && !(ControlState() & CTRLSTATE_DELAY_RELOADS))
        return ReplaceOnHostThread(*rec);
    return QueueControl(rec);
}

HRESULT COPTControlPlugin::ReplaceOnHostThread(const MPCTRLREC& rec) {
    if (rec.level == LEVEL_CHANNEL) {
        m_refs.Replace(rec.object.channel, rec.second.channel);
        NoteForMap(rec);
        return UpdateEntry(rec);
    }
    if (rec.level == LEVEL_SUB_OBJECT && (rec.kindMask & KIND_INPUT_BIT)) {
        constexpr uint32_t OUTPUTS = KIND_INPUT_BIT | KIND_SPECIAL;
        if ((rec.kindMask & OUTPUTS) == OUTPUTS && (rec.kindMask & KIND_BUS))
            return m_refs.LoadPorts(KIND_OUTPUT_ENTRY);
        if (rec.kindMask & KIND_BUS) m_refs.LoadPorts(KIND_INPUT_BUS);
        if (rec.kindMask & KIND_MIDI_TRACK) m_refs.LoadPorts(KIND_MIDI_PORT_ENTRY);
        return S_OK;
    }
    return QueueControl(&rec);
}

HRESULT COPTControlPlugin::ApplyChannelChange(const MPCTRLREC& rec) {
    const uint64_t channel = rec.object.channel;
    const bool delayedKind = rec.kindMask & m_kindMask & (KIND_AUDIO_TRACK | KIND_BUS | KIND_MIDI_TRACK);
    if (rec.level == LEVEL_CHANNEL) {
        if ((rec.flags & CHANGE_REMOVED) && delayedKind) m_refs.Remove(channel);
        if ((rec.flags & CHANGE_ADDED) && delayedKind) m_refs.Insert(channel);
        if (rec.flags & CHANGE_CTRL_REPLACED) m_refs.Replace(channel, rec.second.channel);
        if ((rec.flags & CHANGE_ATTRIBUTES) && (rec.kindMask & MASK_IDENTITY)) m_refs.WantResort();
        // Each entry stands for a reference: a kind that is not enumerated is none of the plug-in's business.
        const bool isThere = m_refs.Find(channel) >= 0;
        if (((rec.flags & CHANGE_ADDED) && !isThere) || ((rec.flags & CHANGE_REMOVED) && isThere))
            return S_FALSE;
    } else if (rec.level == LEVEL_SUB_OBJECT) {
        ApplySubChange(rec);
    }
    NoteForMap(rec);
    return UpdateEntry(rec);
}

HRESULT COPTControlPlugin::ApplySubChange(const MPCTRLREC& rec) {
    if (m_refs.Find(rec.object.channel) < 0) return S_FALSE;
    return rec.flags & CHANGE_REMOVED ? m_refs.RemoveSub(rec.object)
                                      : m_refs.LoadSubLists(rec.object.channel);
}

// Readers
// ----------------------------------------------------------------------------------------------------------

HRESULT COPTControlPlugin::RequireReferences() {
    if (!m_channels.Host()) return S_FALSE;
    return ControlState() & CTRLSTATE_REFS_VALID ? S_OK : FetchChannels(0, m_kindMask);
}

HRESULT COPTControlPlugin::GetChannelCount(int32_t* count) {
    CriticalSectionLock lock(m_mainLock);
    const HRESULT hr = RequireReferences();
    *count = hr == S_OK ? m_refs.Count() : 0;
    return hr;
}

HRESULT COPTControlPlugin::GetChannelId(int32_t index, MPCHANNELID* id) {
    CriticalSectionLock lock(m_mainLock);
    const HRESULT hr = RequireReferences();
    if (hr != S_OK) return hr;
    *id = {m_refs.At(index), 0, 0};
    return id->channel ? S_OK : S_FALSE;
}

HRESULT COPTControlPlugin::FindChannel(uint64_t channel, int32_t* index) {
    CriticalSectionLock lock(m_mainLock);
    const HRESULT hr = RequireReferences();
    if (hr != S_OK) return hr;
    *index = m_refs.Find(channel);
    return *index < 0 ? S_FALSE : S_OK;
}

HRESULT COPTControlPlugin::GetSubId(int32_t index, int32_t sub, MPCHANNELID* id) {
    CriticalSectionLock lock(m_mainLock);
    const HRESULT hr = RequireReferences();
    if (hr != S_OK) return hr;
    const uint64_t channel = m_refs.At(index);
    HQMLIST subs = channel ? m_refs.SubList(index) : nullptr;
    if (!subs || !QmList_IsValidIndexSlow(subs, sub)) return S_FALSE;
    *id = {channel, QmList_Records<MPCHANNELREF>(subs)[sub].sub, 0};
    return S_OK;
}

std::vector<uint64_t> COPTControlPlugin::PortEntries(uint32_t kind) {
    CriticalSectionLock lock(m_mainLock);
    // Few plug-ins want the MIDI ports, so that they are read when one does.
    if (kind == KIND_MIDI_PORT_ENTRY && m_refs.Ports(kind).empty()) m_refs.LoadPorts(kind);
    return m_refs.Ports(kind);
}

HRESULT COPTControlPlugin::GetChannelRecord(const MPCHANNELID& id, MPCHANNELREC* rec, uint32_t mask) {
    return m_channels.Get({id.channel, 0, 0}, rec, mask);
}

HRESULT COPTControlPlugin::SetChannelRecord(const MPCHANNELID& id, MPCHANNELREC* rec, uint32_t mask) {
    return m_channels.Set({id.channel, 0, 0}, rec, mask);
}

HRESULT COPTControlPlugin::GetChannelName(const MPCHANNELID& id, uint32_t which, char16_t* out,
                                          uint32_t capacity) {
    return m_channels.Name({id.channel, 0, 0}, which, out, capacity);
}

std::vector<MPCHANNELID> COPTControlPlugin::PartsOf(const MPCHANNELID& channel) const {
    std::vector<MPCHANNELID> parts;
    MPCHANNELREF start{};
    start.channel = channel.channel;
    if (channel.channel)
        m_channels.ForEach(start, LEVEL_SUB_OBJECT, 0, [&](const MPCHANNELREF& ref, const MPCHANNELREC&) {
            parts.push_back({channel.channel, ref.sub, 0});
            return S_OK;
        });
    return parts;
}

HRESULT COPTControlPlugin::InsertAtHost(const MPCHANNELID& channel, MPCHANNELREC& rec) {
    const ComPtr<IMPCtrlChannels> host = m_channels.Host();
    MPCHANNELID id{channel.channel, 0, 0};
    return host && id.channel ? host->Insert(&id, LEVEL_SUB_OBJECT, &rec) : S_FALSE;
}

HRESULT COPTControlPlugin::AddChannelAtHost(MPCHANNELREC& rec) {
    const ComPtr<IMPCtrlChannels> host = m_channels.Host();
    MPCHANNELID made{};
    return host ? host->Insert(&made, LEVEL_CHANNEL, &rec) : S_FALSE;
}

HRESULT COPTControlPlugin::RemoveAtHost(const MPCHANNELID& id) {
    const ComPtr<IMPCtrlChannels> host = m_channels.Host();
    return host && id.channel ? host->Remove(id.sub ? LEVEL_SUB_OBJECT : LEVEL_CHANNEL, &id) : S_FALSE;
}

std::vector<uint64_t> COPTControlPlugin::TargetsOf(const MPCHANNELID& id, uint32_t mask) {
    CriticalSectionLock lock(MainLock());
    return RouteTargets(id, mask);
}
