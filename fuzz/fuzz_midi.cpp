// MIDI on any bytes, in pieces of any size: every event is made of data bytes, pieces make no difference, and
// what an event is sent as reads as that event.
#include "host/midi/midi_message.h"

#include <cstdlib>

namespace {
using host::MidiEvent;

std::vector<MidiEvent> Parse(host::MidiParser& parser, std::span<const uint8_t> bytes) {
    std::vector<MidiEvent> events;
    parser.Parse(bytes, [&](MidiEvent&& e) { events.push_back(std::move(e)); });
    return events;
}

bool Same(const MidiEvent& a, const MidiEvent& b) {
    return a.rec.type == b.rec.type && a.rec.channel == b.rec.channel && a.rec.byte1 == b.rec.byte1 &&
           a.rec.byte2 == b.rec.byte2 && a.rec.byte3 == b.rec.byte3 && a.rec.byte4 == b.rec.byte4 &&
           a.data == b.data;
}
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size == 0) return 0;
    const std::span<const uint8_t> bytes(data + 1, size - 1);
    const size_t piece = data[0] % 7 + 1u;
    host::MidiParser whole, pieces;
    const std::vector<MidiEvent> events = Parse(whole, bytes);
    std::vector<MidiEvent> again;
    for (size_t at = 0; at < bytes.size(); at += std::min(piece, bytes.size() - at))
        for (MidiEvent& e : Parse(pieces, bytes.subspan(at, std::min(piece, bytes.size() - at))))
            again.push_back(std::move(e));
    if (events.size() != again.size()) std::abort();
    for (size_t i = 0; i < events.size(); i++) {
        const MidiEvent& event = events[i];
        if (!Same(event, again[i])) std::abort();
        if ((event.rec.byte1 | event.rec.byte2 | event.rec.byte3 | event.rec.byte4) > 127) std::abort();
        std::vector<uint8_t> copy = event.data;
        MPEVENTREC rec = event.rec;
        rec.data = copy.data();
        host::MidiParser other;
        const std::vector<MidiEvent> back = Parse(other, host::MidiBytes(rec));
        if (back.empty() || !Same(back.back(), event)) std::abort();
    }
    return 0;
}
