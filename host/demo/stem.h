// One part of a song as a wave file, played by a software synthesiser that runs as a program of its own.
#pragma once

#include "host/demo/midi_file.h"

#include <filesystem>
#include <string>

namespace host {

struct Synthesiser {
    std::string program = "fluidsynth";
    std::filesystem::path soundFont = "/usr/share/sounds/sf2/TimGM6mb.sf2";
};

inline constexpr double kStemPeakDb =
    -6;  ///< so that a stem neither clips nor drowns, whatever the instrument

/// Renders song.tracks[part] to a stereo file of 24-bit samples, as long as the song and with its peak at
/// kStemPeakDb, at stem. The notes stay beside it, as name.mid. Throws std::runtime_error naming the file or
/// program at fault, also when the part comes out silent. [worker]
void RenderStem(const MidiSong& song, size_t part, int sampleRate, const Synthesiser& synthesiser,
                const std::filesystem::path& stem);

}  // namespace host
