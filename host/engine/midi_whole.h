// Whether bytes are a standard MIDI file, before a library that stops the program at damaged ones may see
// them.
#pragma once

#include <string_view>

namespace host {

/// Format 0 or 1, every length within what holds it, every event one that the library knows, every track with
/// its end.
/// [any-thread]
bool IsWholeMidiFile(std::string_view bytes);

}  // namespace host
