#include "host/engine/midi_part.h"

#include <algorithm>
#include <cmath>

namespace host {

namespace {

constexpr uint8_t kNoteOff = 0x80, kNoteOn = 0x90, kController = 0xB0, kProgram = 0xC0;
constexpr uint8_t kVolume = 7, kPan = 10, kSustain = 64, kAllNotesOff = 123;

bool IsNote(const MidiMoment& m) { return (m.bytes[0] & 0xE0) == 0x80; }

}  // namespace

void MidiBlock::Put(uint32_t frame, std::span<const uint8_t> bytes) {
    if (m_count == m_events.size()) return;
    EffectMidi event{.frame = frame, .size = static_cast<uint8_t>(bytes.size())};
    std::ranges::copy(bytes, event.bytes);
    size_t at = m_count++;
    for (; at > 0 && m_events[at - 1].frame > frame; at--) m_events[at] = m_events[at - 1];
    m_events[at] = event;
}

MidiPart::MidiPart(std::vector<MidiMoment> moments, uint32_t outChannel)
    : m_moments(std::move(moments)), m_outChannel(outChannel) {
    for (const MidiMoment& m : m_moments) m_channels |= 1u << (Status(m.bytes[0]) & 15);
}

void MidiPart::Control(uint8_t number, uint8_t value, MidiBlock& out) {
    for (uint8_t channel = 0; channel < 16; channel++)
        if (m_channels >> channel & 1)
            out.Put(0, std::array<uint8_t, 3>{static_cast<uint8_t>(kController | channel), number, value});
}

void MidiPart::Release(MidiBlock& out) {
    if (m_expected < 0 && m_held.none()) return;
    for (size_t note = 0; note < m_held.size(); note++)
        if (m_held[note])
            out.Put(0, std::array<uint8_t, 3>{static_cast<uint8_t>(kNoteOff | note / 128),
                                              static_cast<uint8_t>(note % 128), 64});
    m_held.reset();
    Control(kSustain, 0, out);
    Control(kAllNotesOff, 0, out);
    m_expected = -1;
}

// Programs, controllers and pitch as they are at a place that was jumped to.
void MidiPart::Chase(int64_t frame, MidiBlock& out) {
    const auto at = std::ranges::lower_bound(m_moments, frame, {}, &MidiMoment::frame);
    m_next = static_cast<size_t>(at - m_moments.begin());
    std::array<std::array<const MidiMoment*, 128>, 16> controllers{};
    std::array<std::array<const MidiMoment*, 8>, 16> others{};
    for (size_t i = 0; i < m_next; i++) {
        const MidiMoment& m = m_moments[i];
        const uint8_t channel = m.bytes[0] & 15, kind = m.bytes[0] >> 4 & 7;
        if (IsNote(m)) continue;
        if ((m.bytes[0] & 0xF0) == kController)
            controllers[channel][m.bytes[1]] = &m;
        else
            others[channel][kind] = &m;
    }
    for (size_t channel = 0; channel < 16; channel++) {
        for (const MidiMoment* m : controllers[channel])
            if (m) Emit(0, *m, out);
        for (const MidiMoment* m : others[channel])
            if (m) Emit(0, *m, out);
    }
}

void MidiPart::Emit(uint32_t at, const MidiMoment& moment, MidiBlock& out) {
    std::array<uint8_t, 3> bytes{Status(moment.bytes[0]), moment.bytes[1], moment.bytes[2]};
    out.Put(at, std::span(bytes).first(moment.size));
}

void MidiPart::SendFaders(const StripSettings& settings, MidiBlock& out) {
    const auto controller = [](float value) {
        return static_cast<uint8_t>(std::clamp(std::lround(value), 0L, 127L));
    };
    const uint8_t volume = controller(settings.volume[Left] * 127);
    const uint8_t pan = controller(64 + settings.pan * (settings.pan < 0 ? 64 : 63));
    if (volume != m_volume) Control(kVolume, volume, out);
    if (pan != m_pan) Control(kPan, pan, out);
    m_volume = volume;
    m_pan = pan;
}

void MidiPart::Play(bool playing, int64_t frame, size_t n, const StripSettings& settings, MidiBlock& out) {
    if (!playing) return Release(out);
    if (frame != m_expected) {
        Release(out);
        Chase(frame, out);
        m_volume = 127;
        m_pan = 64;
    }
    SendFaders(settings, out);
    const bool silent = settings.mute || !settings.heard;
    const int64_t end = frame + static_cast<int64_t>(n);
    if (silent && m_held.any()) Release(out);
    for (; m_next < m_moments.size() && m_moments[m_next].frame < end; m_next++) {
        const MidiMoment& m = m_moments[m_next];
        const auto at = static_cast<uint32_t>(m.frame - frame);
        if (IsNote(m)) {
            const bool begins = (m.bytes[0] & 0xF0) == kNoteOn && m.bytes[2] > 0;
            if (begins && silent) continue;
            m_held[static_cast<size_t>(Status(m.bytes[0]) & 15) * 128 + m.bytes[1]] = begins;
            if (begins) m_level = std::max(m_level, static_cast<float>(m.bytes[2]) / 127.0f);
        }
        Emit(at, m, out);
    }
    m_expected = end;
}

}  // namespace host
