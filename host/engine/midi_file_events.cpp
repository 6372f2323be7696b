#include "host/engine/midi_file_events.h"

#include <algorithm>

namespace host {

namespace {

constexpr uint8_t kFirstStatus = 0x80, kProgram = 0xC0, kPitch = 0xE0, kExclusive = 0xF0, kEscape = 0xF7,
                  kMeta = 0xFF;
constexpr uint8_t kEndOfTrack = 0x2F, kTempo = 0x51;
constexpr double kMicros = 1e6;
constexpr uint32_t kFirstTempo = 500000;  ///< microseconds a quarter, until the file says another

struct Fault {
    const char* what;
    size_t at;
};

/// Takes numbers from the bytes from `at` to `end`, and throws a Fault where they do not suffice.
class Bytes {
public:
    Bytes(std::string_view file, size_t at, size_t end) : m_file(file), m_at(at), m_end(end) {}

    bool AtEnd() const { return m_at == m_end; }
    size_t Left() const { return m_end - m_at; }
    [[noreturn]] void Fail(const char* what) const { throw Fault{what, m_at}; }

    Bytes Part(size_t n) {
        if (n > Left()) Fail("a chunk or an event is longer than what holds it");
        m_at += n;
        return {m_file, m_at - n, m_at};
    }
    uint8_t Peek() const {
        if (AtEnd()) Fail("it ends too early");
        return static_cast<uint8_t>(m_file[m_at]);
    }
    uint8_t Byte() {
        const uint8_t byte = Peek();
        m_at++;
        return byte;
    }
    uint32_t Number(size_t n) {
        uint32_t value = 0;
        for (size_t i = 0; i < n; i++) value = value << 8 | Byte();
        return value;
    }
    /// Seven bits a byte, of which all but the last have the eighth.
    uint32_t SevenBits() {
        uint32_t value = 0;
        for (int i = 0; i < 4; i++) {
            const uint8_t byte = Byte();
            value = value << 7 | (byte & 0x7F);
            if (byte < 0x80) return value;
        }
        Fail("a time or length has more than four bytes");
    }

private:
    std::string_view m_file;
    size_t m_at, m_end;
};

struct Tempo {
    double tick;
    uint32_t micros;  ///< a quarter
};

class File {
public:
    explicit File(std::string_view bytes) : m_bytes(bytes, 0, bytes.size()) {}

    std::vector<MidiFileEvent> Read() {
        for (uint32_t left = ReadHeader(); left > 0; left--) ReadTrack(NextTrack());
        std::ranges::stable_sort(m_events, {}, &MidiFileEvent::seconds);
        TurnTicksToSeconds();
        return std::move(m_events);
    }

private:
    struct Chunk {
        uint32_t name;
        Bytes content;
    };

    Chunk Next() {
        const uint32_t name = m_bytes.Number(4), size = m_bytes.Number(4);
        return {name, m_bytes.Part(size)};
    }

    /// The number of tracks.
    uint32_t ReadHeader() {
        constexpr uint32_t MTHD = 0x4D546864;
        if (m_bytes.Left() < 14 || Bytes(m_bytes).Number(4) != MTHD) m_bytes.Fail("it is no MIDI file");
        Bytes content = Next().content;
        const uint32_t format = content.Number(2);
        if (format == 2) content.Fail("it holds several songs, not one");
        if (format > 2) content.Fail("its format is unknown");
        const uint32_t tracks = content.Number(2);
        m_division = content.Number(2);
        if ((IsFilm() ? m_division & 0xFF : m_division) == 0) content.Fail("it has no unit of time");
        return tracks;
    }

    Bytes NextTrack() {
        constexpr uint32_t MTRK = 0x4D54726B;
        for (;;) {
            if (m_bytes.AtEnd()) m_bytes.Fail("it has fewer tracks than it says");
            if (const Chunk chunk = Next(); chunk.name == MTRK) return chunk.content;
        }
    }

    void ReadTrack(Bytes track) {
        double tick = 0;
        uint8_t running = 0;
        while (!track.AtEnd()) {
            tick += track.SevenBits();
            const uint8_t status = track.Peek() & 0x80 ? track.Byte() : running;
            if (status == kMeta) {
                const uint8_t type = track.Byte();
                Bytes content = track.Part(track.SevenBits());
                if (type == kEndOfTrack) return;
                if (type != kTempo || content.Left() < 3) continue;
                if (const uint32_t micros = content.Number(3)) m_tempos.push_back({tick, micros});
            } else if (status == kExclusive || status == kEscape) {
                track.Part(track.SevenBits());
            } else if (status >= kFirstStatus && status < kExclusive) {
                running = status;
                ReadMessage(track, tick, status);
            } else {
                track.Fail("this is no event");
            }
        }
    }

    void ReadMessage(Bytes& track, double tick, uint8_t status) {
        const uint8_t kind = status & 0xF0;
        MidiFileEvent event{.seconds = tick,
                            .size = static_cast<uint8_t>(kind >= kProgram && kind < kPitch ? 2 : 3),
                            .bytes = {status}};
        for (size_t i = 1; i < event.size; i++) {
            if (track.Peek() & 0x80) track.Fail("an event is cut off");
            event.bytes[i] = track.Byte();
        }
        m_events.push_back(event);
    }

    /// Ticks are parts of a second then, as frames of a film have them, and tempos mean nothing.
    bool IsFilm() const { return m_division & 0x8000; }
    double SecondsATick(uint32_t micros) const {
        if (!IsFilm()) return micros / (kMicros * m_division);
        const int frames = 0x100 - static_cast<int>(m_division >> 8);
        constexpr double DROP = 30000.0 / 1001.0;
        return 1 / ((frames == 29 ? DROP : frames) * (m_division & 0xFF));
    }

    /// Once all tempos are known, those of later tracks too.
    void TurnTicksToSeconds() {
        if (IsFilm()) m_tempos.clear();
        std::ranges::stable_sort(m_tempos, {}, &Tempo::tick);
        auto tempo = m_tempos.begin();
        double seconds = 0, from = 0, unit = SecondsATick(kFirstTempo);
        for (MidiFileEvent& event : m_events) {
            const double tick = event.seconds;
            for (; tempo != m_tempos.end() && tempo->tick <= tick; ++tempo) {
                seconds += (tempo->tick - from) * unit;
                from = tempo->tick;
                unit = SecondsATick(tempo->micros);
            }
            event.seconds = seconds + (tick - from) * unit;
        }
    }

    Bytes m_bytes;
    uint32_t m_division = 0;
    std::vector<Tempo> m_tempos;
    std::vector<MidiFileEvent> m_events;  ///< their times are ticks at first
};

}  // namespace

std::optional<std::vector<MidiFileEvent>> ReadMidiFile(std::string_view bytes, std::string& why) {
    try {
        return File(bytes).Read();
    } catch (const Fault& fault) {
        why = std::string(fault.what) + " (byte " + std::to_string(fault.at) + ")";
        return std::nullopt;
    }
}

}  // namespace host
