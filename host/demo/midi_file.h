// A Standard MIDI File of notes: a conductor track with the tempo, then one track a part (format 1).
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace host {

struct MidiNote {
    uint32_t start = 0;    ///< ticks
    uint32_t length = 0;   ///< ticks, above 0
    uint8_t key = 0;       ///< 0..127
    uint8_t velocity = 0;  ///< 1..127

    friend bool operator==(const MidiNote&, const MidiNote&) = default;
};

struct MidiTrack {
    std::string name;             ///< UTF-8
    uint8_t channel = 0;          ///< 0..15; 9 is the drums
    uint8_t program = 0;          ///< 0..127
    std::vector<MidiNote> notes;  ///< in any order
};

struct MidiSong {
    uint16_t ticksPerQuarter = 480;  ///< 1..0x7FFF
    double tempo = 120;              ///< quarters a minute, 4..1000; four of them a bar
    uint32_t end = 0;                ///< ticks; every track ends here, at or after its last note
    std::vector<MidiTrack> tracks;
};

/// The file's bytes. Throws std::invalid_argument for what the format can't hold.
std::string FormatMidi(const MidiSong& song);

}  // namespace host
