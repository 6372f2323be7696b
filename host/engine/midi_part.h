// A MIDI track while it plays: gives its events to an instrument, and sees that no note is left hanging.
#pragma once

#include "host/effects/effect.h"
#include "host/engine/meter.h"
#include "host/engine/midi_sequence.h"
#include "host/engine/route_gains.h"

#include <array>
#include <bitset>
#include <memory>

namespace host {

/// The events of one block, of all tracks that feed one instrument.
class MidiBlock {
public:
    void Clear() { m_count = 0; }
    /// Keeps them in the order of their frames, and of their coming within one. What there is no room for is
    /// dropped.
    void Put(uint32_t frame, std::span<const uint8_t> bytes);
    std::span<const EffectMidi> Events() const { return {m_events.data(), m_count}; }

private:
    std::array<EffectMidi, 1024> m_events;
    size_t m_count = 0;
};

class MidiPart {
public:
    /// outChannel 1..16, 0 leaves the channels as they are.
    MidiPart(std::vector<MidiMoment> moments, uint32_t outChannel);

    /// The events of n frames of the project from `frame` on; a place that does not follow the last one ends
    /// all notes and sets programs and controllers anew. Nothing plays where `playing` is false.
    /// [audio-thread]
    void Play(bool playing, int64_t frame, size_t n, const StripSettings& settings, MidiBlock& out);
    /// Ends what sounds, for an instrument that it does not feed any more. [audio-thread]
    void Release(MidiBlock& out);
    /// The loudest key since the last call, 0..1. [audio-thread]
    float TakeLevel() { return std::exchange(m_level, 0.0f); }

private:
    void Chase(int64_t frame, MidiBlock& out);
    void Emit(uint32_t at, const MidiMoment& moment, MidiBlock& out);
    void SendFaders(const StripSettings& settings, MidiBlock& out);
    void Control(uint8_t number, uint8_t value, MidiBlock& out);
    uint8_t Status(uint8_t status) const {
        return m_outChannel ? static_cast<uint8_t>((status & 0xF0) | (m_outChannel - 1)) : status;
    }

    const std::vector<MidiMoment> m_moments;
    const uint32_t m_outChannel;
    uint32_t m_channels = 0;  ///< those that events go to, a bit each
    size_t m_next = 0;
    int64_t m_expected = -1;  ///< the frame that follows, -1 when nothing played
    std::bitset<16 * 128> m_held;
    uint8_t m_volume = 127, m_pan = 64;  ///< sent last; what an instrument has at first
    float m_level = 0;
};

}  // namespace host
