// One channel while it runs: its gains on their way to where the user set them, and its meter. A strip
// outlives the graphs that use it, so that a change of routing disturbs neither.
#pragma once

#include "host/engine/gain.h"
#include "host/engine/meter.h"
#include "host/engine/mix_loops.h"

#include <atomic>
#include <bit>
#include <cstdint>

namespace host {

/// Frames that one pass of the mixer handles at most.
inline constexpr size_t kChunkFrames = 256;

/// A change of gain takes this long, along a straight line.
inline constexpr double kRampSeconds = 0.010;

/// The share of the old loudness that remains after each number of frames, 0..kChunkFrames.
class MeterInertia {
public:
    explicit MeterInertia(int sampleRate);
    float After(size_t frames) const { return m_keep[frames]; }

private:
    std::array<float, kChunkFrames + 1> m_keep;
};

class ChannelStrip {
public:
    explicit ChannelStrip(int sampleRate);

    /// Where the gains shall go; both sides change together. [any-thread]
    void SetTarget(StereoGain gain) {
        m_target.store(std::bit_cast<uint64_t>(gain), std::memory_order_relaxed);
    }

    MeterReading TakeMeter() { return m_meter.Take(); }  ///< [any-thread]

    // Audio thread, for each chunk: Begin, any number of Mix and Skip that make up its frames, End.

    /// Heads for a new target from this frame on. The first time the gains are there at once.
    void Begin();
    /// Adds n frames of the channel's input at its gains to an output.
    void Mix(const float* const from[2], float* const into[2], size_t n);
    /// n frames of silence.
    void Skip(size_t n) { Advance(n); }
    void End(size_t n, const MeterInertia& inertia);

private:
    void Advance(size_t n);
    GainLine Line(Side side) const {
        return {m_from[side], m_to[side] - m_from[side], m_inverseRamp, m_done + 1};
    }

    std::atomic<uint64_t> m_target;
    Meter m_meter;

    uint64_t m_taken;
    bool m_running = false;
    const int32_t m_rampFrames;
    const float m_inverseRamp;
    int32_t m_done;  ///< frames of the present ramp, m_rampFrames when there is none
    std::array<float, 2> m_from{};
    std::array<float, 2> m_to{};
    std::array<Level, 2> m_level{};
    std::array<float, 2> m_meanSquare{};
};

}  // namespace host
