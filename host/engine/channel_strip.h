// One channel while it runs: its settings on their way to the audio thread, its gains on their way to where
// they shall be, and its meter. A strip outlives the graphs that use it, so that a change of routing disturbs
// none of them.
#pragma once

#include "host/engine/gain_course.h"
#include "host/engine/mailbox.h"
#include "host/engine/meter.h"
#include "host/engine/route_gains.h"
#include "host/engine/scope_tap.h"

#include <array>
#include <cstdint>

namespace host {

/// Frames that one pass of the mixer handles at most.
inline constexpr size_t kChunkFrames = 256;

/// The share of the old loudness that remains after each number of frames, 0..kChunkFrames.
class MeterInertia {
public:
    explicit MeterInertia(int sampleRate);
    float After(size_t frames) const { return m_keep[frames]; }

private:
    std::array<float, kChunkFrames + 1> m_keep;
};

/// What leaves a channel on each side, for its meter.
using Levels = std::array<Level, kMaxSides>;

/// A way from a channel to a target: gains between their sides. [audio-thread]
class MixWay {
public:
    explicit MixWay(int sampleRate) : course(sampleRate), m_sampleRate(sampleRate) {}

    /// Between so many sides from now on; another shape begins anew.
    void Shape(size_t fromSides, size_t toSides);
    /// Adds n frames to the target; advances the course.
    void Mix(const float* const* from, float* const* into, size_t n, Levels* levels);

    GainCourse course;
    int64_t gridFrame = -1;  ///< of automation: the frame of the project that follows

private:
    const int m_sampleRate;
    size_t m_fromSides = 0, m_toSides = 0;
};

/// A send's own settings and way.
struct SendStrip {
    explicit SendStrip(int sampleRate) : way(sampleRate) {}

    Mailbox<SendSettings> mailbox;
    SendSettings settings;
    MixWay way;
};

class ChannelStrip {
public:
    explicit ChannelStrip(int sampleRate) : output(sampleRate), volume(sampleRate), input(sampleRate) {}

    void Set(const StripSettings& wanted) { m_mailbox.Put(wanted); }  ///< one control thread
    MeterReading TakeMeter() { return m_meter.Take(); }               ///< [any-thread]
    ScopeTap scope;                                                   ///< of what leaves the channel

    // Audio thread.

    /// Takes over new settings; true when there were any.
    bool Refresh() { return m_mailbox.Take(&settings); }
    /// Posts what has gathered in `levels`, n frames, of so many sides.
    void PostLevels(size_t n, size_t sides, const MeterInertia& inertia);

    StripSettings settings;
    MixWay output, volume, input;
    Levels levels{};
    uint64_t heldByHand = 0;  ///< which lanes were, in the last block

private:
    Mailbox<StripSettings> m_mailbox;
    Meter m_meter;
    std::array<float, kMaxSides> m_meanSquare{};
};

}  // namespace host
