// The clips of a MIDI track as events on the project's frames.
#pragma once

#include "host/engine/problem_log.h"
#include "host/session/channel.h"

#include <cstdint>
#include <filesystem>
#include <vector>

namespace host {

/// The upper half of a first byte; the lower one is the channel.
inline constexpr uint8_t kNoteOff = 0x80, kNoteOn = 0x90, kController = 0xB0;

struct MidiMoment {
    int64_t frame = 0;  ///< of the project
    uint8_t size = 0;   ///< 1..3
    uint8_t bytes[3]{};
};

/// Notes, controllers, programs, pitch; of each clip what lies in its stretch of the file, with the programs
/// and controllers that hold where it begins, and an end for every note that would outlast it. A file that
/// can't be played is reported and left out. By frame; at one frame ends of notes come first, then settings,
/// then beginnings.
std::vector<MidiMoment> ReadMidiClips(const std::vector<Clip>& clips, const std::filesystem::path& folder,
                                      int sampleRate, ProblemLog& problems);

}  // namespace host
