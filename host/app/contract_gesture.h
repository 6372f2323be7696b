// Gestures that the page has no control for: done through the contract, as a console would.
#pragma once

#include "contract/host_contract.h"
#include "host/app/gesture.h"

namespace host {

/// False with a reason, which may be empty where the host's own refusal tells it. `session` is what the names
/// in the gesture are looked up in.
bool PerformByContract(IUnknown& host, const Session& session, const Gesture& gesture, ChannelId channel,
                       QString* error);

}  // namespace host
