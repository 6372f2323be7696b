// Sends and effects of a channel record, with the curves that belong to them.
#pragma once

#include "host/session/channel.h"

#include <algorithm>
#include <optional>
#include <vector>

namespace host {

/// Takes out the send, effect or instrument with this id and its automation; false when there is none.
bool RemovePart(Channel& channel, SubId id);
/// Moves an effect to this place in the chain, behind the last for a larger one; false when it is not in it.
bool MoveInChain(Channel& channel, SubId id, size_t place);
/// The send to a channel, or null.
inline const Send* SendTo(const Channel& channel, ChannelId target) {
    const auto at = std::ranges::find(channel.sends, target, &Send::target);
    return at == channel.sends.end() ? nullptr : &*at;
}
/// Ids of its parts as plug-ins count them: the chain, the instrument, the sends.
std::vector<SubId> PartsOf(const Channel& channel);
/// Place in the chain; none for the instrument and for what is not there.
std::optional<size_t> PlaceInChain(const Channel& channel, SubId id);

}  // namespace host
