#include "host/engine/midi_part.h"

#include <algorithm>
#include <cmath>

namespace host {

namespace {

constexpr uint8_t kVolume = 7, kPan = 10, kSustain = 64;

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

MidiPart::MidiPart(Moments moments, uint32_t outChannel, std::shared_ptr<LiveMidi> live)
    : m_moments(std::move(moments)), m_outChannel(outChannel), m_live(std::move(live)) {
    for (const MidiMoment& m : *m_moments) m_channels |= 1u << (Status(m.bytes[0]) & 15);
}

void MidiPart::Control(uint8_t number, uint8_t value, MidiBlock& out) {
    for (uint8_t channel = 0; channel < 16; channel++)
        if (m_channels >> channel & 1)
            out.Put(0, std::array<uint8_t, 3>{static_cast<uint8_t>(kController | channel), number, value});
}

// No more than was pressed: others may play on the same instrument.
void MidiPart::Lift(Held& held, MidiBlock& out) {
    for (size_t note = 0; held.keys.any() && note < held.keys.size(); note++)
        if (held.keys[note])
            out.Put(0, std::array<uint8_t, 3>{static_cast<uint8_t>(kNoteOff | note / 128),
                                              static_cast<uint8_t>(note % 128), 64});
    for (uint8_t channel = 0; channel < 16; channel++)
        if (held.pedals >> channel & 1)
            out.Put(0, std::array<uint8_t, 3>{static_cast<uint8_t>(kController | channel), kSustain, 0});
    held = {};
}

void MidiPart::ReleaseClips(MidiBlock& out) {
    Lift(m_byClips, out);
    m_expected = -1;
}

void MidiPart::Release(MidiBlock& out) {
    ReleaseClips(out);
    Lift(m_byHand, out);
}

// Programs, controllers and pitch as they are at a place that was jumped to.
void MidiPart::Chase(int64_t frame, MidiBlock& out) {
    const auto at = std::ranges::lower_bound(*m_moments, frame, {}, &MidiMoment::frame);
    m_next = static_cast<size_t>(at - m_moments->begin());
    std::array<std::array<const MidiMoment*, 128>, 16> controllers{};
    std::array<std::array<const MidiMoment*, 8>, 16> others{};
    for (size_t i = 0; i < m_next; i++) {
        const MidiMoment& m = (*m_moments)[i];
        const uint8_t channel = m.bytes[0] & 15, kind = m.bytes[0] >> 4 & 7;
        if (IsNote(m)) continue;
        if ((m.bytes[0] & 0xF0) == kController)
            controllers[channel][m.bytes[1]] = &m;
        else
            others[channel][kind] = &m;
    }
    for (size_t channel = 0; channel < 16; channel++) {
        const auto emit = [&](const MidiMoment* m) {
            if (m) Emit(0, std::span(m->bytes).first(m->size), false, m_byClips, out);
        };
        std::ranges::for_each(controllers[channel], emit);
        std::ranges::for_each(others[channel], emit);
    }
}

void MidiPart::Emit(uint32_t at, std::span<const uint8_t> message, bool silent, Held& held, MidiBlock& out) {
    std::array<uint8_t, 3> bytes{Status(message[0]), message[1],
                                 message.size() > 2 ? message[2] : uint8_t{0}};
    const size_t channel = bytes[0] & 15;
    const uint8_t kind = bytes[0] & 0xF0;
    if (kind == kNoteOn || kind == kNoteOff) {
        const bool begins = kind == kNoteOn && bytes[2] > 0;
        if (begins && silent) return;
        held.keys[channel * 128 + bytes[1]] = begins;
        if (begins) m_level = std::max(m_level, static_cast<float>(bytes[2]) / 127.0f);
    }
    if (kind == kController && bytes[1] == kSustain) {
        const auto bit = static_cast<uint16_t>(1u << channel);
        held.pedals = static_cast<uint16_t>(bytes[2] >= 64 ? held.pedals | bit : held.pedals & ~bit);
    }
    out.Put(at, std::span(bytes).first(message.size()));
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

void MidiPart::PlayLive(const StripSettings& settings, size_t n, const LiveWindow& window, MidiBlock& out) {
    const bool silent = settings.mute || !settings.heard;
    if (silent && m_byHand.keys.any()) Lift(m_byHand, out);
    const auto last = static_cast<double>(window.offset + n);
    // By rounding the end of the chunk may lie a little beside the block's.
    const auto until =
        std::min(window.end, window.begin + static_cast<ClockTime>(std::ceil(last / window.framesANano)));
    LiveMidiEvent event;
    while (m_live->Take(until, event)) {
        const double frame = static_cast<double>(event.when - window.begin) * window.framesANano -
                             static_cast<double>(window.offset);
        const auto at = static_cast<uint32_t>(std::clamp(frame, 0.0, static_cast<double>(n - 1)));
        const uint32_t channel = 1u << (Status(event.bytes[0]) & 15);
        if (!(m_channels & channel)) {
            m_channels |= channel;
            m_volume = 127;  // as far as this channel knows
            m_pan = 64;
            SendFaders(settings, out);
        }
        Emit(at, std::span(event.bytes).first(event.size), silent, m_byHand, out);
    }
}

void MidiPart::Play(bool playing, int64_t frame, size_t n, const StripSettings& settings,
                    const LiveWindow& window, MidiBlock& out) {
    const bool silent = settings.mute || !settings.heard;
    if (playing && frame != m_expected) {
        ReleaseClips(out);
        Chase(frame, out);
        m_volume = 127;
        m_pan = 64;
    }
    if (playing || m_live) SendFaders(settings, out);
    if (m_live && window.framesANano > 0) PlayLive(settings, n, window, out);
    if (playing) {
        const int64_t end = frame + static_cast<int64_t>(n);
        if (silent && m_byClips.keys.any()) Lift(m_byClips, out);
        for (; m_next < m_moments->size() && (*m_moments)[m_next].frame < end; m_next++) {
            const MidiMoment& m = (*m_moments)[m_next];
            Emit(static_cast<uint32_t>(m.frame - frame), std::span(m.bytes).first(m.size), silent, m_byClips,
                 out);
        }
        m_expected = end;
    } else if (m_expected >= 0) {
        ReleaseClips(out);
    }
}

}  // namespace host
