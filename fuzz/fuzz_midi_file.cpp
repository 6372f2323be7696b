// A standard MIDI file of any bytes as a clip: its events are messages in order, and no note outlasts it.
#include "fuzz/fuzz_support.h"
#include "host/engine/midi_sequence.h"

#include <bitset>
#include <filesystem>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const FuzzFile file(data, size);
    const std::filesystem::path path(file.Path());
    host::ProblemLog problems;
    std::bitset<16 * 128> held;
    int64_t last = 0;
    constexpr int RATE = 48000;
    const host::Clip clip{.file = path.filename(), .start = 1, .offset = 0.5, .length = 10, .gain_db = 0};
    for (const host::MidiMoment& m : host::ReadMidiClips({clip}, path.parent_path(), RATE, problems)) {
        if (m.frame < last || m.frame < RATE || m.frame > 11 * RATE) std::abort();
        last = m.frame;
        const int kind = m.bytes[0] & 0xF0;
        if (kind < 0x80 || kind == 0xF0 || m.size != (kind == 0xC0 || kind == 0xD0 ? 2 : 3)) std::abort();
        if ((m.bytes[1] | m.bytes[2]) > 127) std::abort();
        const size_t note = static_cast<size_t>(m.bytes[0] & 15) * 128 + m.bytes[1];
        if (kind == 0x80 || kind == 0x90) held[note] = kind == 0x90 && m.bytes[2] > 0;
    }
    if (held.any()) std::abort();
    return 0;
}
