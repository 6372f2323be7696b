// Which channels sound, by solo.
#pragma once

#include "host/session/session.h"

#include <vector>

namespace host {

struct Audibility {
    bool output = true;
    std::vector<bool> sends{};  ///< in the channel's order
};

/// In the order given. Solo is in place: while any channel is soloed, one sounds when it is soloed itself or
/// solo-safe, when it feeds a soloed one by its output, or when a soloed one feeds it in any way; a bus kept
/// open for one of its inputs does not open the others. Sends sound with their channel, and alone where they
/// lead to a soloed channel. The preview bus takes no part in solo. Mute is the channel's own affair. The
/// channels must obey CheckSession's rules. [any-thread]
std::vector<Audibility> AudibleChannels(const std::vector<Channel>& channels);

}  // namespace host
