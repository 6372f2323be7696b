// An effect in a channel while it runs: fitted to the channel's sides, bypassed without a click, and kept
// from the others when what it gives is no sound.
#pragma once

#include "host/effects/effect.h"
#include "host/engine/delay_line.h"

#include <atomic>
#include <memory>
#include <span>
#include <string>

namespace host {

/// More is no latency that anybody could play with: it is not made up for.
inline constexpr double kMaxLatencySeconds = 2.0;

class EffectSlot {
public:
    /// sides of the channel. An effect with one input and one output works on every side by itself: `effects`
    /// holds one for each side then, else one alone. None at all is a place whose effect can't be had: the
    /// sound passes, or is silent for an instrument.
    EffectSlot(std::vector<std::unique_ptr<Effect>> effects, std::string name, size_t sides, int sampleRate);

    // Control side.

    const std::string& Name() const { return m_name; }
    /// Null where the effect could not be had. What is done to it is done to all sides.
    Effect* Face() const { return m_face.get(); }
    void SetBypass(bool on) { m_bypass.store(on, std::memory_order_relaxed); }  ///< [any-thread]
    /// Frames that the graph makes up for.
    size_t Latency() const;
    bool LatencyIsAbsurd() const;
    /// Since the last Restart or bypass it gave what is no sound, and has been silent. [any-thread]
    bool Failed() const { return m_failed.load(std::memory_order_relaxed); }
    void Restart() { m_restart.store(true, std::memory_order_release); }  ///< [any-thread]

    // Audio thread.

    /// In place; `dry` holds back what passes beside the effect by as much as the effect does. At most
    /// kChunkFrames.
    void Process(float* const* samples, size_t n, DelayLine& dry, std::span<const EffectMidi> midi,
                 const EffectTime& time);

private:
    class Team;
    bool Run(float* const* samples, size_t n, std::span<const EffectMidi> midi, const EffectTime& time);

    size_t Outputs() const;

    const std::string m_name;
    const bool m_oneEach;  ///< an effect for each side
    const std::unique_ptr<Effect> m_face;
    const size_t m_sides;
    const int m_sampleRate;
    const int32_t m_rampFrames;
    std::atomic<bool> m_bypass{false};
    std::atomic<bool> m_failed{false};
    std::atomic<bool> m_restart{false};

    // The audio thread's.
    bool m_began = false;
    bool m_asleep = false;  ///< not run, since it is not heard
    size_t m_warming = 0;   ///< frames until its sound has come through
    int32_t m_wet;          ///< of m_rampFrames
};

}  // namespace host
