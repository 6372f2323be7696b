#include "plugin/channel_keys.h"

void ChannelKeys::Read(uint64_t channel) {
    MPCHANNELREC rec{};
    m_host.Get({channel, 0, 0}, &rec, MASK_IDENTITY);
    m_known.insert_or_assign(channel, ChannelKey::From(rec));
}

ChannelKey ChannelKeys::Of(uint64_t channel) {
    if (m_rounds == 0 || !m_known.contains(channel)) Read(channel);
    return m_known[channel];
}

const ChannelKey* ChannelKeys::Known(uint64_t channel) {
    const auto at = m_known.find(channel);
    if (m_rounds > 0 && at != m_known.end()) return &at->second;
    m_missing = channel;
    return nullptr;
}
