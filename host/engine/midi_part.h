// A MIDI track: gives the events of its clips and of who plays on it to an instrument, and sees that no note
// is left hanging.
#pragma once

#include "host/effects/effect.h"
#include "host/engine/live_midi.h"
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

/// The stretch of clock time that frames stand for, as far as hands are concerned: a block plays what came
/// while the one before it did, so that everything is late by the same time.
struct LiveWindow {
    ClockTime begin = 0, end = 0;  ///< of the whole block
    size_t offset = 0;             ///< frames of the block that were before
    double framesANano = 0;
};

/// Feeds one instrument for as long as it is.
class MidiPart {
public:
    using Moments = std::shared_ptr<const std::vector<MidiMoment>>;

    /// outChannel 1..16, 0 leaves the channels as they are. `live` is null where nobody plays on it.
    MidiPart(Moments moments, uint32_t outChannel, std::shared_ptr<LiveMidi> live);

    /// The events of n frames of the project from `frame` on; a place that does not follow the last one ends
    /// the clips' notes and sets programs and controllers anew. No clip plays where `playing` is false, and
    /// who plays on it is heard all the same. [audio-thread]
    void Play(bool playing, int64_t frame, size_t n, const StripSettings& settings, const LiveWindow& window,
              MidiBlock& out);
    /// Ends what sounds, for an instrument that it does not feed any more. [audio-thread]
    void Release(MidiBlock& out);
    /// The loudest key since the last call, 0..1. [audio-thread]
    float TakeLevel() { return std::exchange(m_level, 0.0f); }

private:
    /// What somebody has sounding there: keys, and pedals of channels.
    struct Held {
        std::bitset<16 * 128> keys;
        uint16_t pedals = 0;
    };

    void Chase(int64_t frame, MidiBlock& out);
    void PlayLive(const StripSettings& settings, size_t n, const LiveWindow& window, MidiBlock& out);
    /// Gives it to the instrument, and remembers what it holds. A key is not pressed where it is silent.
    void Emit(uint32_t at, std::span<const uint8_t> message, bool silent, Held& held, MidiBlock& out);
    static void Lift(Held& held, MidiBlock& out);
    void ReleaseClips(MidiBlock& out);
    void SendFaders(const StripSettings& settings, MidiBlock& out);
    void Control(uint8_t number, uint8_t value, MidiBlock& out);
    uint8_t Status(uint8_t status) const {
        return m_outChannel ? static_cast<uint8_t>((status & 0xF0) | (m_outChannel - 1)) : status;
    }

    const Moments m_moments;
    const uint32_t m_outChannel;
    const std::shared_ptr<LiveMidi> m_live;
    uint32_t m_channels = 0;  ///< those that events go to, a bit each
    size_t m_next = 0;
    int64_t m_expected = -1;  ///< the frame that follows, -1 when nothing played
    Held m_byClips, m_byHand;
    uint8_t m_volume = 127, m_pan = 64;  ///< sent last; what an instrument has at first
    float m_level = 0;
};

}  // namespace host
