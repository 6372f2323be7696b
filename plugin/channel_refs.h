// The reference list: the plug-in's mirror of which channels the host has, in the references' order, each row
// with the rows of its sends and effects, and those with the rows of their parameters. Beside it what of each
// channel decides whether and where a strip shows it.
//
// Under the plug-in's main lock, which the host may enter again from within its calls.
#pragma once

#include "controlmap/bank_layout.h"
#include "kernel/list.h"
#include "plugin/channel_keys.h"

#include <vector>

class ChannelReferences {
public:
    ChannelReferences(const HostChannels& host, ChannelKeys& keys) : m_host(host), m_keys(keys) {}
    ~ChannelReferences();
    ChannelReferences(const ChannelReferences&) = delete;
    ChannelReferences& operator=(const ChannelReferences&) = delete;

    /// Adds the channels of these kinds that the list lacks. S_FALSE without a host.
    HRESULT Fetch(uint32_t kindMask);
    void Clear();
    bool IsThere() const { return m_list != nullptr; }

    int32_t Count() const { return m_list ? m_list->count : 0; }
    /// 0 for an index out of range.
    uint64_t At(int32_t index) const;
    /// -1 for none.
    int32_t Find(uint64_t channel) const;
    /// The sub-objects of a row; null for none.
    HQMLIST SubList(int32_t index) const;

    HRESULT Insert(uint64_t channel);
    HRESULT Remove(uint64_t channel);
    HRESULT Replace(uint64_t channel, uint64_t with);
    /// A channel's place has changed; the list is sorted with the next Resort. A host that inserts a track
    /// moves every one behind it.
    void WantResort() { m_resortWanted = true; }
    void Resort();
    HRESULT LoadSubLists(uint64_t channel);
    HRESULT RemoveSub(const MPCHANNELID& id);

    /// The I/O port entries of a kind: KIND_OUTPUT_ENTRY, KIND_INPUT_BUS or KIND_MIDI_PORT_ENTRY.
    HRESULT LoadPorts(uint32_t kind);
    std::vector<uint64_t> Ports(uint32_t kind) const;
    void ClearPorts();

    /// Channels that a strip can show, in the list's order. Each is read from the host once.
    std::vector<BankChannel> Shown(bool hiddenToo);
    /// The host says that a channel's identity or switches are others: true when that changes which channels
    /// are shown, or their order.
    bool RereadShown(uint64_t channel);

private:
    struct Traits {
        uint32_t kind = 0;
        int32_t order = 0;
        bool hidden = false;
        friend bool operator==(const Traits&, const Traits&) = default;
    };
    static int32_t Compare(uintptr_t criteria, const void* a, const void* b);
    HRESULT MakeList(HQMLIST* list);
    bool ReadTraits(uint64_t channel, Traits& out) const;
    HQMLIST& PortList(uint32_t kind);

    const HostChannels& m_host;
    ChannelKeys& m_keys;
    HQMLIST m_list = nullptr;
    HQMLIST m_inputs = nullptr, m_midiPorts = nullptr, m_outputs = nullptr;
    bool m_resortWanted = false;
    std::map<uint64_t, Traits> m_traits;
};
