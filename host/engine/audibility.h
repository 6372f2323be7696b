// Which channels sound, by mute and solo.
#pragma once

#include "host/session/session.h"

#include <vector>

namespace host {

/// One flag a channel, in the order given. Solo is in place: while any track, bus or the master is soloed, a
/// channel sounds when it is soloed itself, when it feeds a soloed one, or when a soloed one feeds it; a bus
/// kept open for one of its inputs does not open the others. The preview bus takes no part in solo. Mute
/// beats solo. The channels must obey CheckSession's rules on outputs. [any-thread]
std::vector<bool> AudibleChannels(const std::vector<Channel>& channels);

}  // namespace host
