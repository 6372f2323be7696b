// What decides the order of channels, asked of the host once a round of sorting instead of at every
// comparison. Under the plug-in's main lock.
//
// The lists of channels have these keys as their sort criteria for as long as they live, so that a comparison
// outside a round, or within one that a change of the host's broke into, finds what it expects.
#pragma once

#include "plugin/channel_order.h"
#include "plugin/host_channels.h"

#include <map>

class ChannelKeys {
public:
    explicit ChannelKeys(const HostChannels& host) : m_host(host) {}
    ChannelKeys(const ChannelKeys&) = delete;
    ChannelKeys& operator=(const ChannelKeys&) = delete;

    /// A round of sorting: what is read once stays known until its end. Rounds may lie within each other.
    class Round {
    public:
        explicit Round(ChannelKeys& keys) : m_keys(keys) {
            if (m_keys.m_rounds++ == 0) m_keys.m_known.clear();
        }
        ~Round() { m_keys.m_rounds--; }
        Round(const Round&) = delete;
        Round& operator=(const Round&) = delete;

    private:
        ChannelKeys& m_keys;
    };

    /// Asks the host. A channel that it does not know has a key of zeros.
    void Read(uint64_t channel);
    /// As it was read in this round; read now where it was not.
    ChannelKey Of(uint64_t channel);
    /// Null where it was not read in this round: then the channel is Missing.
    const ChannelKey* Known(uint64_t channel);
    /// The last channel whose key was wanted and not known, once; 0 for none.
    uint64_t TakeMissing() { return std::exchange(m_missing, 0); }

    uintptr_t AsCriteria() { return reinterpret_cast<uintptr_t>(this); }
    static ChannelKeys& FromCriteria(uintptr_t criteria) { return *reinterpret_cast<ChannelKeys*>(criteria); }

private:
    const HostChannels& m_host;
    std::map<uint64_t, ChannelKey> m_known;
    uint64_t m_missing = 0;
    int m_rounds = 0;
};
