// Who feeds whom: outputs, sends, and busses that a track listens to.
#pragma once

#include "host/session/channel.h"

#include <span>
#include <unordered_map>
#include <vector>

namespace host {

/// Places of the channels in a session by id.
std::unordered_map<ChannelId, size_t> PlacesOf(std::span<const Channel> channels);

/// For each channel the places of those that it feeds, each once, whether or not anything sounds at the
/// moment. What does not exist is left out.
std::vector<std::vector<size_t>> FeedsOf(std::span<const Channel> channels);

/// The places on a way that comes back to its beginning, in its order; empty when there is none.
std::vector<size_t> FindCircle(const std::vector<std::vector<size_t>>& feeds);

}  // namespace host
