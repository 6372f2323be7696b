#include "host/engine/midi_sequence.h"

#include "host/engine/clip_player.h"
#include "platform/file.h"

#include <smf.h>

#include <algorithm>
#include <array>
#include <bitset>
#include <cmath>
#include <map>
#include <memory>
#include <mutex>
#include <optional>

namespace host {

namespace {

constexpr size_t kMaxMidiBytes = size_t{16} << 20;
constexpr uint8_t kNoteOff = 0x80, kNoteOn = 0x90, kController = 0xB0, kSystem = 0xF0;

struct Timed {
    double seconds;
    MidiMoment moment;
};

struct CloseSmf {
    void operator()(smf_t* smf) const { smf_delete(smf); }
};

// What the library has to say about a file is told by its result.
void Ignore(const gchar*, GLogLevelFlags, const gchar*, gpointer) {}

bool Ends(const MidiMoment& m) {
    const uint8_t kind = m.bytes[0] & 0xF0;
    return kind == kNoteOff || (kind == kNoteOn && m.bytes[2] == 0);
}

int Rank(const MidiMoment& m) { return Ends(m) ? 0 : (m.bytes[0] & 0xF0) == kNoteOn ? 2 : 1; }

// The library stops the program at much that is damaged: every length must lie within what holds it, and
// every event must be one, before it may see the file.
class WholeFile {
public:
    explicit WholeFile(std::string_view bytes) : m_bytes(bytes) {}

    bool Check() {
        std::string_view header;
        if (!Chunk("MThd", header) || header.size() != 6) return false;
        const auto byte = [&](size_t i) { return static_cast<uint8_t>(header[i]); };
        const int format = byte(0) << 8 | byte(1), tracks = byte(2) << 8 | byte(3);
        if (format > 1 || tracks < 1 || (format == 0 && tracks != 1)) return false;
        if (byte(4) >= 0x80 || (byte(4) | byte(5)) == 0) return false;
        for (int i = 0; i < tracks; i++) {
            std::string_view track;
            if (!Chunk("MTrk", track) || !WholeTrack(track).Check()) return false;
        }
        return m_bytes.empty();
    }

private:
    class WholeTrack {
    public:
        explicit WholeTrack(std::string_view bytes) : m_bytes(bytes) {}

        // Events up to the end that is the last of them.
        bool Check() {
            uint8_t running = 0;
            while (!m_bytes.empty()) {
                uint32_t delta = 0;
                if (!Number(delta) || (m_ticks += delta) > INT32_MAX || m_bytes.empty()) return false;
                auto status = static_cast<uint8_t>(m_bytes[0]);
                if (status >= 0x80)
                    m_bytes.remove_prefix(1);
                else
                    status = running;
                if (status == 0xFF) {
                    if (m_bytes.empty()) return false;
                    const auto type = static_cast<uint8_t>(m_bytes[0]);
                    m_bytes.remove_prefix(1);
                    uint32_t length = 0;
                    if (type >= 0x80 || !Number(length) || !Meta(type, length)) return false;
                    if (type == 0x2F) return m_bytes.empty();
                } else if (status == 0xF0 || status == 0xF7) {
                    uint32_t length = 0;
                    if (!Number(length) || length == 0 || !Skip(length)) return false;
                } else if (status >= 0x80 && status < 0xF0) {
                    running = status;
                    if (!Data((status & 0xE0) == 0xC0 ? 1 : 2)) return false;
                } else {
                    return false;
                }
            }
            return false;
        }

    private:
        bool Skip(size_t n) {
            if (m_bytes.size() < n) return false;
            m_bytes.remove_prefix(n);
            return true;
        }
        bool Data(size_t n) {
            if (m_bytes.size() < n) return false;
            for (size_t i = 0; i < n; i++)
                if (static_cast<uint8_t>(m_bytes[i]) >= 0x80) return false;
            return Skip(n);
        }
        // Those that the library looks into have their fixed lengths, and a tempo is above 0.
        bool Meta(uint8_t type, size_t length) {
            constexpr std::pair<uint8_t, size_t> fixed[] = {{0x2F, 0}, {0x51, 3}, {0x58, 4}, {0x59, 2}};
            for (const auto& [known, size] : fixed)
                if (type == known && length != size) return false;
            if (m_bytes.size() < length) return false;
            const std::string_view data = m_bytes.substr(0, length);
            if (type == 0x51 && data.find_first_not_of('\0') == std::string_view::npos) return false;
            if (type == 0x58 && static_cast<uint8_t>(data[1]) > 16) return false;
            return Skip(length);
        }
        bool Number(uint32_t& value) {
            for (size_t i = 0; i < 4 && i < m_bytes.size(); i++) {
                const auto byte = static_cast<uint8_t>(m_bytes[i]);
                value = value << 7 | (byte & 0x7F);
                if (byte < 0x80) return Skip(i + 1);
            }
            return false;
        }

        std::string_view m_bytes;
        uint64_t m_ticks = 0;
    };

    bool Chunk(std::string_view name, std::string_view& content) {
        if (m_bytes.size() < 8 || !m_bytes.starts_with(name)) return false;
        size_t length = 0;
        for (size_t i = 4; i < 8; i++) length = length << 8 | static_cast<uint8_t>(m_bytes[i]);
        if (m_bytes.size() - 8 < length) return false;
        content = m_bytes.substr(8, length);
        m_bytes.remove_prefix(8 + length);
        return true;
    }

    std::string_view m_bytes;
};

std::optional<std::vector<Timed>> ReadFile(const std::filesystem::path& path, std::string& why) {
    static std::once_flag quiet;
    std::call_once(quiet, [] {
        g_log_set_handler("libsmf", static_cast<GLogLevelFlags>(G_LOG_LEVEL_MASK), Ignore, nullptr);
    });
    std::string bytes;
    if (!ReadWholeFile(path, kMaxMidiBytes, bytes, why)) return std::nullopt;
    if (!WholeFile(bytes).Check()) {
        why = "is no standard MIDI file, or a damaged one";
        return std::nullopt;
    }
    const std::unique_ptr<smf_t, CloseSmf> smf(
        smf_load_from_memory(bytes.data(), static_cast<int>(bytes.size())));
    if (!smf) {
        why = "is no standard MIDI file, or a damaged one";
        return std::nullopt;
    }
    if (smf->ppqn <= 0) {
        why = "counts time in film frames";
        return std::nullopt;
    }
    std::vector<Timed> events;
    while (const smf_event_t* event = smf_get_next_event(smf.get())) {
        const int size = event->midi_buffer_length;
        if (size < 2 || size > 3 || event->midi_buffer[0] < kNoteOff || event->midi_buffer[0] >= kSystem)
            continue;
        if (!(event->time_seconds >= 0 && event->time_seconds <= kMaxSeconds)) continue;
        Timed timed{event->time_seconds, {.size = static_cast<uint8_t>(size)}};
        std::copy_n(event->midi_buffer, size, timed.moment.bytes);
        for (int i = 1; i < size; i++) timed.moment.bytes[i] &= 0x7F;
        events.push_back(timed);
    }
    return events;
}

// What lies in the clip's stretch, and what makes it sound there as if all before it had been played.
void AddClip(const Clip& clip, const std::vector<Timed>& events, int sampleRate,
             std::vector<MidiMoment>& out) {
    const double end = clip.offset + clip.length;
    const int64_t first = FrameAt(clip.start, sampleRate),
                  last = FrameAt(clip.start + clip.length, sampleRate);
    std::map<std::array<uint8_t, 2>, MidiMoment> before;
    std::bitset<16 * 128> held;
    for (const Timed& timed : events) {
        MidiMoment moment = timed.moment;
        const uint8_t kind = moment.bytes[0] & 0xF0;
        if (timed.seconds < clip.offset) {
            const bool byNumber = kind == kController;
            if (kind != kNoteOn && kind != kNoteOff)
                before[{moment.bytes[0], byNumber ? moment.bytes[1] : uint8_t{0}}] = moment;
            continue;
        }
        if (timed.seconds >= end) break;
        moment.frame =
            std::clamp(FrameAt(clip.start + (timed.seconds - clip.offset), sampleRate), first, last);
        if (kind == kNoteOn || kind == kNoteOff) {
            const size_t note = static_cast<size_t>(moment.bytes[0] & 15) * 128 + moment.bytes[1];
            if (Ends(moment) && !held[note]) continue;
            held[note] = !Ends(moment);
        }
        out.push_back(moment);
    }
    for (auto& [key, moment] : before) {
        moment.frame = first;
        out.push_back(moment);
    }
    for (size_t note = 0; note < held.size(); note++)
        if (held[note])
            out.push_back(
                {last,
                 3,
                 {static_cast<uint8_t>(kNoteOff | note / 128), static_cast<uint8_t>(note % 128), 64}});
}

}  // namespace

std::vector<MidiMoment> ReadMidiClips(const std::vector<Clip>& clips, const std::filesystem::path& folder,
                                      int sampleRate, ProblemLog& problems) {
    std::map<std::string, std::optional<std::vector<Timed>>> files;
    std::vector<MidiMoment> moments;
    for (const Clip& clip : clips) {
        auto known = files.find(clip.file);
        if (known == files.end()) {
            std::string why;
            known = files.emplace(clip.file, ReadFile(folder / clip.file, why)).first;
            if (!known->second) problems.Report(clip.file + ": " + why);
        }
        if (known->second) AddClip(clip, *known->second, sampleRate, moments);
    }
    std::ranges::stable_sort(moments, [](const MidiMoment& a, const MidiMoment& b) {
        return a.frame != b.frame ? a.frame < b.frame : Rank(a) < Rank(b);
    });
    return moments;
}

}  // namespace host
