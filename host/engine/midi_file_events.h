// What a standard MIDI file plays. Any bytes may come; those of a file that is whole are read.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace host {

/// A message of a channel: a note, a controller, a program, pressure or pitch.
struct MidiFileEvent {
    double seconds = 0;  ///< from the file's start
    uint8_t size = 0;    ///< 2 or 3
    uint8_t bytes[3]{};  ///< with their status
};

/// The messages of all tracks, by time; at one time in the order of the tracks. System-exclusive and escaped
/// bytes, texts and chunks of other kinds are passed over. Without a result `why` has the reason and the byte
/// where it was seen.
/// [any-thread]
std::optional<std::vector<MidiFileEvent>> ReadMidiFile(std::string_view bytes, std::string& why);

}  // namespace host
