// The demo's mix: what the session file of the demo project says.
#pragma once

#include "host/session/session.h"

namespace host {

/// Where the project keeps its sound, relative to the session's folder: "audio/<part>.wav".
std::string DemoAudioFile(std::string_view part);
inline constexpr const char* kDemoVoice = "Voice";

/// A track for each part of the piece and one for the voice, two busses, master and preview bus.
Session MakeDemoSession();

}  // namespace host
