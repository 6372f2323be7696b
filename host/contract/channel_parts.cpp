#include "host/contract/channel_parts.h"

namespace host {

bool RemovePart(Channel& channel, SubId id) {
    size_t gone = std::erase_if(channel.inserts, [id](const Insert& i) { return i.id == id; });
    gone += std::erase_if(channel.sends, [id](const Send& s) { return s.id == id; });
    if (channel.instrument && channel.instrument->id == id) {
        channel.instrument.reset();
        gone++;
    }
    std::erase_if(channel.automation, [id](const AutomationCurve& c) { return c.key.sub == id; });
    return gone != 0;
}

std::optional<size_t> PlaceInChain(const Channel& channel, SubId id) {
    const auto at = std::ranges::find(channel.inserts, id, &Insert::id);
    if (at == channel.inserts.end()) return std::nullopt;
    return static_cast<size_t>(at - channel.inserts.begin());
}

bool MoveInChain(Channel& channel, SubId id, size_t place) {
    const std::optional<size_t> from = PlaceInChain(channel, id);
    if (!from) return false;
    Insert moved = std::move(channel.inserts[*from]);
    channel.inserts.erase(channel.inserts.begin() + static_cast<std::ptrdiff_t>(*from));
    place = std::min(place, channel.inserts.size());
    channel.inserts.insert(channel.inserts.begin() + static_cast<std::ptrdiff_t>(place), std::move(moved));
    return true;
}

std::vector<SubId> PartsOf(const Channel& channel) {
    std::vector<SubId> ids;
    for (const Insert& insert : channel.inserts) ids.push_back(insert.id);
    if (channel.instrument) ids.push_back(channel.instrument->id);
    for (const Send& send : channel.sends) ids.push_back(send.id);
    return ids;
}

}  // namespace host
