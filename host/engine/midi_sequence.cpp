#include "host/engine/midi_sequence.h"

#include "host/engine/clip_player.h"
#include "host/engine/midi_whole.h"
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

using namespace tarn;

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

std::optional<std::vector<Timed>> ReadFile(const std::filesystem::path& path, std::string& why) {
    static std::once_flag quiet;
    std::call_once(quiet, [] {
        g_log_set_handler("libsmf", static_cast<GLogLevelFlags>(G_LOG_LEVEL_MASK), Ignore, nullptr);
    });
    std::string bytes;
    if (!ReadWholeFile(path, kMaxMidiBytes, bytes, why)) return std::nullopt;
    if (!IsWholeMidiFile(bytes)) {
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
