#include "host/engine/midi_sequence.h"

#include "host/engine/clip_player.h"
#include "host/engine/midi_file_events.h"
#include "platform/file.h"

#include <algorithm>
#include <array>
#include <bitset>
#include <cmath>
#include <map>
#include <optional>

using namespace tarn;

namespace host {

namespace {

constexpr size_t kMaxMidiBytes = size_t{16} << 20;

bool Ends(const MidiMoment& m) {
    const uint8_t kind = m.bytes[0] & 0xF0;
    return kind == kNoteOff || (kind == kNoteOn && m.bytes[2] == 0);
}

int Rank(const MidiMoment& m) { return Ends(m) ? 0 : (m.bytes[0] & 0xF0) == kNoteOn ? 2 : 1; }

std::optional<std::vector<MidiFileEvent>> ReadFile(const std::filesystem::path& path, std::string& why) {
    std::string bytes;
    if (!ReadWholeFile(path, kMaxMidiBytes, bytes, why)) return std::nullopt;
    return ReadMidiFile(bytes, why);
}

MidiMoment MomentOf(const MidiFileEvent& event, int64_t frame) {
    return {frame, event.size, {event.bytes[0], event.bytes[1], event.bytes[2]}};
}

// What lies in the clip's stretch, and what makes it sound there as if all before it had been played.
void AddClip(const Clip& clip, const std::vector<MidiFileEvent>& events, int sampleRate,
             std::vector<MidiMoment>& out) {
    const double end = clip.offset + clip.length;
    const int64_t first = FrameAt(clip.start, sampleRate),
                  last = FrameAt(clip.start + clip.length, sampleRate);
    auto event = events.begin();
    std::map<std::array<uint8_t, 2>, MidiMoment> before;
    for (; event != events.end() && event->seconds < clip.offset; ++event) {
        const uint8_t kind = event->bytes[0] & 0xF0;
        if (kind == kNoteOn || kind == kNoteOff) continue;
        before[{event->bytes[0], kind == kController ? event->bytes[1] : uint8_t{0}}] =
            MomentOf(*event, first);
    }
    for (const auto& [key, moment] : before) out.push_back(moment);
    // At one frame ends come before beginnings, so that a note has a frame at least, and no frame is left for
    // one that begins with the last.
    std::bitset<16 * 128> held;
    std::array<int64_t, 16 * 128> next;
    next.fill(first);
    for (; event != events.end() && event->seconds < end; ++event) {
        const int64_t frame = FrameAt(clip.start + (event->seconds - clip.offset), sampleRate);
        MidiMoment moment = MomentOf(*event, std::clamp(frame, first, last));
        const uint8_t kind = moment.bytes[0] & 0xF0;
        if (kind == kNoteOn || kind == kNoteOff) {
            const size_t note = static_cast<size_t>(moment.bytes[0] & 15) * 128 + moment.bytes[1];
            const bool begins = !Ends(moment);
            moment.frame = std::max(moment.frame, next[note]);
            if (begins ? moment.frame >= last : !held[note]) continue;
            held[note] = begins;
            next[note] = moment.frame + (begins ? 1 : 0);
        }
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
    std::map<std::string, std::optional<std::vector<MidiFileEvent>>> files;
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
