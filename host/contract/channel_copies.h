// Channels that were copied, as they become channels of a session again.
#pragma once

#include "host/session/channel.h"

namespace host {

/// The channels with ids, and names, that none of the existing ones has. What led from one of them to another
/// leads to that one's copy; what led to a channel that is no more leads nowhere, and an output to `output`.
std::vector<Channel> CopiesOf(std::vector<Channel> channels, const std::vector<Channel>& existing,
                              ChannelId output);

}  // namespace host
