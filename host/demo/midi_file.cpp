#include "host/demo/midi_file.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <tuple>

namespace host {
namespace {
constexpr uint32_t kLargestDelta = 0x0FFFFFFF;  ///< four groups of seven bits

void Require(bool holds, const char* rule) {
    if (!holds) throw std::invalid_argument(std::string("MIDI file: ") + rule);
}

void AppendBigEndian(std::string& out, uint32_t value, int bytes) {
    for (int shift = 8 * (bytes - 1); shift >= 0; shift -= 8) out += static_cast<char>(value >> shift);
}

void AppendVariableLength(std::string& out, uint32_t value) {
    Require(value <= kLargestDelta, "a length or time is past 28 bits");
    int shift = 21;
    while (shift > 0 && value >> shift == 0) shift -= 7;
    for (; shift > 0; shift -= 7) out += static_cast<char>((value >> shift & 0x7F) | 0x80);
    out += static_cast<char>(value & 0x7F);
}

void AppendChunk(std::string& out, const char* type, const std::string& body) {
    Require(body.size() <= UINT32_MAX, "a track is too long");
    out += type;
    AppendBigEndian(out, static_cast<uint32_t>(body.size()), 4);
    out += body;
}

/// The body of a track: events in order, each after the time since the one before.
class TrackBody {
public:
    void Add(uint32_t tick, const std::string& event) {
        AppendVariableLength(m_bytes, tick - m_tick);
        m_bytes += event;
        m_tick = tick;
    }
    void AddMeta(uint32_t tick, uint8_t type, const std::string& content) {
        std::string event{'\xFF', static_cast<char>(type)};
        AppendVariableLength(event, static_cast<uint32_t>(std::min<size_t>(content.size(), UINT32_MAX)));
        Add(tick, event + content);
    }
    std::string End(uint32_t tick) {
        constexpr uint8_t kEndOfTrack = 0x2F;
        AddMeta(tick, kEndOfTrack, "");
        return std::move(m_bytes);
    }

private:
    std::string m_bytes;
    uint32_t m_tick = 0;
};

std::string ConductorTrack(const MidiSong& song) {
    constexpr uint8_t kSetTempo = 0x51, kTimeSignature = 0x58;
    Require(song.tempo >= 4 && song.tempo <= 1000, "the tempo is out of range");
    std::string tempo;
    AppendBigEndian(tempo, static_cast<uint32_t>(std::lround(60e6 / song.tempo)), 3);
    TrackBody body;
    body.AddMeta(0, kSetTempo, tempo);
    // 4/4 as a power of two; a click each quarter; 8 thirty-seconds in a quarter
    body.AddMeta(0, kTimeSignature, {4, 2, 24, 8});
    return body.End(song.end);
}

struct Event {
    uint32_t tick;
    bool on;  ///< at one tick notes end before others begin, so that a repeated key sounds again
    uint8_t key, velocity;

    bool operator<(const Event& o) const { return std::tie(tick, on, key) < std::tie(o.tick, o.on, o.key); }
};

std::string PartTrack(const MidiTrack& track, uint32_t end) {
    constexpr uint8_t kTrackName = 0x03, kNoteOff = 0x80, kNoteOn = 0x90, kProgramChange = 0xC0;
    Require(track.channel < 16 && track.program < 128, "a channel or program is out of range");
    std::vector<Event> events;
    for (const MidiNote& n : track.notes) {
        Require(n.key < 128 && n.velocity > 0 && n.velocity < 128, "a key or velocity is out of range");
        Require(n.length > 0 && n.start <= end && n.length <= end - n.start,
                "a note is empty or past the end");
        events.push_back({n.start, true, n.key, n.velocity});
        events.push_back({n.start + n.length, false, n.key, 64});
    }
    std::stable_sort(events.begin(), events.end());

    const auto message = [&](uint8_t status, auto... data) {
        return std::string{static_cast<char>(status | track.channel), static_cast<char>(data)...};
    };
    TrackBody body;
    body.AddMeta(0, kTrackName, track.name);
    body.Add(0, message(kProgramChange, track.program));
    for (const Event& e : events) body.Add(e.tick, message(e.on ? kNoteOn : kNoteOff, e.key, e.velocity));
    return body.End(end);
}
}  // namespace

std::string FormatMidi(const MidiSong& song) {
    Require(song.ticksPerQuarter > 0 && song.ticksPerQuarter < 0x8000,
            "the ticks a quarter are out of range");
    Require(song.tracks.size() < UINT16_MAX, "too many tracks");
    std::string header;
    AppendBigEndian(header, 1, 2);
    AppendBigEndian(header, static_cast<uint32_t>(song.tracks.size() + 1), 2);
    AppendBigEndian(header, song.ticksPerQuarter, 2);
    std::string file;
    AppendChunk(file, "MThd", header);
    AppendChunk(file, "MTrk", ConductorTrack(song));
    for (const MidiTrack& track : song.tracks) AppendChunk(file, "MTrk", PartTrack(track, song.end));
    return file;
}

}  // namespace host
