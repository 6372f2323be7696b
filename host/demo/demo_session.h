// The demo's mix: what the session file of the demo project says.
#pragma once

#include "host/session/session.h"

namespace host {

/// Where the project keeps its sound, relative to the session's folder: "audio/<part>.wav".
std::string DemoAudioFile(std::string_view part);
/// Its notes, likewise: "midi/<part>.mid".
std::string DemoMidiFile(std::string_view part);
inline constexpr const char* kDemoVoice = "Voice";

/// A track for each part of the piece and one for the voice, a soft synth with the notes that it plays, two
/// busses, a reverb that four tracks feed, master and preview bus. Effects that can't be had leave the sound
/// as it is. In surround every track has its place in the room.
Session MakeDemoSession(ChannelMode mode = ChannelMode::Stereo);

}  // namespace host
