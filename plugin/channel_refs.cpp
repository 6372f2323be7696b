#include "plugin/channel_refs.h"

#include "plugin/module_state.h"

using namespace tarn;

namespace {

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

}  // namespace

ChannelReferences::~ChannelReferences() {
    Clear();
    ClearPorts();
}

HRESULT ChannelReferences::MakeList(HQMLIST* list) {
    if (*list) return S_OK;
    const HRESULT hr = QmList_CreateExZ(list, sizeof(MPCHANNELREF), -1, 8, QMLIST_ARRAY, 0, 0, 0);
    return Succeeded(hr) ? QmList_Sort(*list, m_keys.AsCriteria(), nullptr) : hr;
}

/// Never asks the host, which could change the list under the search: where a key is not known, the search
/// ends and is made again.
int32_t ChannelReferences::Compare(uintptr_t criteria, const void* a, const void* b) {
    ChannelKeys& keys = ChannelKeys::FromCriteria(criteria);
    const ChannelKey* keyA = keys.Known(static_cast<const MPCHANNELREF*>(a)->channel);
    const ChannelKey* keyB = keys.Known(static_cast<const MPCHANNELREF*>(b)->channel);
    if (!keyA || !keyB) return 0;
    const bool surround = ThisModule().channelMode == CHANNEL_MODE_SURROUND;
    return CompareChannels(*keyA, *keyB,
                           surround ? ChannelOrder::ReferencesSurround : ChannelOrder::References);
}

void ChannelReferences::Clear() {
    for (MPCHANNELREF& row : QmList_Records<MPCHANNELREF>(m_list)) DestroySubLists(row);
    QmList_Destroy(m_list);
    m_list = nullptr;
    m_traits.clear();
}

HRESULT ChannelReferences::Fetch(uint32_t kindMask) {
    HRESULT hr = MakeList(&m_list);
    if (Failed(hr)) return hr;
    const ChannelKeys::Round round(m_keys);
    for (const uint32_t kinds : {kindMask & ENUM_TRACKS, kindMask & ENUM_BUSSES}) {
        if (!kinds) continue;
        hr = m_host.ForEach({}, LEVEL_CHANNEL, kinds, [this](const MPCHANNELREF& ref, const MPCHANNELREC&) {
            return ref.channel ? Insert(ref.channel) : S_OK;
        });
        if (hr != S_OK) return hr;
    }
    std::vector<uint64_t> channels;
    for (const MPCHANNELREF& row : QmList_Records<MPCHANNELREF>(m_list)) channels.push_back(row.channel);
    for (const uint64_t channel : channels) LoadSubLists(channel);
    return S_OK;
}

uint64_t ChannelReferences::At(int32_t index) const {
    return m_list && QmList_IsValidIndexSlow(m_list, index)
               ? QmList_Records<MPCHANNELREF>(m_list)[index].channel
               : 0;
}

int32_t ChannelReferences::Find(uint64_t channel) const {
    return m_list ? QmList_FindItemRange(m_list, 0, -1, &channel, IsChannel) : -1;
}

HQMLIST ChannelReferences::SubList(int32_t index) const {
    return static_cast<HQMLIST>(QmList_Records<MPCHANNELREF>(m_list)[index].subList);
}

HRESULT ChannelReferences::Insert(uint64_t channel) {
    const ChannelKeys::Round round(m_keys);
    m_keys.Of(channel);
    const MPCHANNELREF row{channel, nullptr, 0, nullptr};
    while (m_list && Find(channel) < 0) {
        m_keys.TakeMissing();
        const int32_t at = QmList_FindSortedInsertIndexRange(m_list, &row, 0, -1, Compare);
        const uint64_t missing = m_keys.TakeMissing();
        if (!missing) return QmList_InsertList(m_list, at, &row, 1);
        m_keys.Read(missing);
    }
    return S_FALSE;
}

HRESULT ChannelReferences::Remove(uint64_t channel) {
    const int32_t at = Find(channel);
    if (at < 0) return S_FALSE;
    DestroySubLists(QmList_Records<MPCHANNELREF>(m_list)[at]);
    m_traits.erase(channel);
    return QmList_DeleteList(m_list, at, 1, 0);
}

HRESULT ChannelReferences::Replace(uint64_t channel, uint64_t with) {
    const int32_t at = Find(channel);
    if (at < 0 || !with) return S_FALSE;
    QmList_Records<MPCHANNELREF>(m_list)[at].channel = with;
    m_traits.erase(channel);
    return S_OK;
}

void ChannelReferences::Resort() {
    if (!std::exchange(m_resortWanted, false) || !m_list) return;
    const ChannelKeys::Round round(m_keys);
    std::vector<uint64_t> channels;
    for (const MPCHANNELREF& row : QmList_Records<MPCHANNELREF>(m_list)) channels.push_back(row.channel);
    for (const uint64_t channel : channels) m_keys.Of(channel);
    // What came while the host was asked is missing here, and stands where it was put.
    if (m_list) QmList_Sort(m_list, m_keys.AsCriteria(), Compare);
}

HRESULT ChannelReferences::LoadSubLists(uint64_t channel) {
    constexpr uint32_t NO_PARAMETERS = 0x8000;  // in the switches of a sub-object
    HQMLIST subs = nullptr;
    const HRESULT hr = m_host.ForEach(
        {channel, nullptr, 0, nullptr}, LEVEL_SUB_OBJECT, 0, [&](MPCHANNELREF sub, const MPCHANNELREC& rec) {
            HRESULT made = MakeList(&subs);
            if (Succeeded(made)) made = QmList_InsertList(subs, -1, &sub, 1);
            if (Failed(made) || (rec.switches & NO_PARAMETERS)) return made;
            HQMLIST parameters = nullptr;
            made = m_host.ForEach({channel, nullptr, sub.sub, nullptr}, LEVEL_PARAMETER, 0,
                                  [&](const MPCHANNELREF& ref, const MPCHANNELREC&) {
                                      const HRESULT there = MakeList(&parameters);
                                      return Succeeded(there) ? QmList_InsertList(parameters, -1, &ref, 1)
                                                              : there;
                                  });
            QmList_Records<MPCHANNELREF>(subs).back().subSubList = parameters;
            return made;
        });
    MPCHANNELREF gone{0, subs, 0, nullptr};
    if (const int32_t at = Find(channel); at >= 0)
        std::swap(QmList_Records<MPCHANNELREF>(m_list)[at].subList, gone.subList);
    DestroySubLists(gone);
    return hr;
}

HRESULT ChannelReferences::RemoveSub(const MPCHANNELID& id) {
    const int32_t at = Find(id.channel);
    HQMLIST subs = at < 0 ? nullptr : SubList(at);
    const int32_t sub = subs ? QmList_FindItemRange(subs, 0, -1, &id.sub, IsSubObject) : -1;
    if (sub < 0) return S_FALSE;
    QmList_Destroy(static_cast<HQMLIST>(QmList_Records<MPCHANNELREF>(subs)[sub].subSubList));
    return QmList_DeleteList(subs, sub, 1, 0);
}

// The I/O port entries
// ------------------------------------------------------------------------------------------------

HQMLIST& ChannelReferences::PortList(uint32_t kind) {
    constexpr uint32_t OUTPUTS = KIND_INPUT_BIT | KIND_SPECIAL;
    if ((kind & OUTPUTS) == OUTPUTS) return m_outputs;
    return kind & KIND_MIDI_TRACK ? m_midiPorts : m_inputs;
}

HRESULT ChannelReferences::LoadPorts(uint32_t kind) {
    HQMLIST rows = nullptr;
    HRESULT hr = MakeList(&rows);
    if (Succeeded(hr))
        hr = m_host.ForEach({}, LEVEL_SUB_OBJECT, kind, [&](const MPCHANNELREF& ref, const MPCHANNELREC&) {
            return QmList_InsertList(rows, -1, &ref, 1);
        });
    std::swap(PortList(kind), rows);
    QmList_Destroy(rows);
    return hr;
}

std::vector<uint64_t> ChannelReferences::Ports(uint32_t kind) const {
    std::vector<uint64_t> ids;
    HQMLIST list = const_cast<ChannelReferences*>(this)->PortList(kind);
    for (const MPCHANNELREF& row : QmList_Records<MPCHANNELREF>(list))
        ids.push_back(row.sub ? row.sub : row.channel);
    return ids;
}

void ChannelReferences::ClearPorts() {
    for (HQMLIST* list : {&m_inputs, &m_midiPorts, &m_outputs}) {
        QmList_Destroy(*list);
        *list = nullptr;
    }
}

// What strips show
// ---------------------------------------------------------------------------------------------------

bool ChannelReferences::ReadTraits(uint64_t channel, Traits& out) const {
    MPCHANNELREC rec{};
    if (m_host.Get({channel, 0, 0}, &rec, MASK_IDENTITY | MASK_SWITCHES) != S_OK) return false;
    out = {rec.kind, rec.order, static_cast<bool>(rec.switches & SWITCH_HIDDEN)};
    return true;
}

std::vector<BankChannel> ChannelReferences::Shown(bool hiddenToo) {
    std::vector<BankChannel> channels;
    for (int32_t i = 0; i < Count(); i++) {
        const uint64_t channel = At(i);
        auto known = m_traits.find(channel);
        if (known == m_traits.end()) {
            Traits traits;
            if (!ReadTraits(channel, traits)) continue;
            known = m_traits.insert_or_assign(channel, traits).first;
        }
        const Traits& t = known->second;
        if ((hiddenToo || !t.hidden) && !(t.kind & (KIND_SPECIAL | KIND_NO_STRIP)))
            channels.push_back({channel, t.kind});
    }
    return channels;
}

bool ChannelReferences::RereadShown(uint64_t channel) {
    const auto known = m_traits.find(channel);
    if (known == m_traits.end()) return true;  // nobody has asked so far
    const Traits before = known->second;
    Traits now;
    if (!ReadTraits(channel, now)) {
        m_traits.erase(channel);
        return true;
    }
    m_traits.insert_or_assign(channel, now);
    return now != before;
}
