// The audio thread's walk along the plans: when to play, fade, change over, stop.
#pragma once

#include "host/engine/mix_loops.h"
#include "host/engine/plan_exchange.h"

#include <array>
#include <atomic>
#include <cstdint>

namespace host {

/// Where playing stands, as one consistent set of values.
struct PlayState {
    uint64_t serial = 0;  ///< of the plan that plays or played last
    int64_t at = 0;       ///< frame of the plan
    int64_t frame = 0;    ///< frame of the project
    bool playing = false;
};

class PlayHead {
public:
    /// What the next frames are. `fade` tells that the output goes along `line`.
    struct Step {
        size_t n = 0;
        bool playing = false;
        ReadyPlan plan;
        int64_t at = 0;
        bool fade = false;
        GainLine line{};
    };

    explicit PlayHead(int sampleRate);

    // Control side, [any-thread].
    void Stop(uint64_t upToSerial) { m_stop.store(upToSerial, std::memory_order_release); }
    void SetEnd(int64_t frame) { m_end.store(frame, std::memory_order_relaxed); }
    PlayState State() const;
    PlanExchange& Exchange() { return m_exchange; }
    const PlanExchange& Exchange() const { return m_exchange; }

    // Audio side.

    /// The next frames, at most max, through which nothing changes. [audio-thread]
    Step Next(size_t max);
    /// Frames up to the next whole chunk of the plan: effects get the same chunks whatever the device's
    /// blocks. [audio-thread]
    size_t ToWholeChunk() const;
    void Advance(const Step& step);  ///< [audio-thread]
    void Publish();                  ///< makes State current [audio-thread]

private:
    void Decide(int64_t end);
    void TakeOver();
    void Dismiss();
    int64_t Frame() const { return m_now.plan.ProjectFrame(m_at); }

    const int32_t m_fadeFrames;
    PlanExchange m_exchange;
    std::atomic<uint64_t> m_stop{0};
    std::atomic<int64_t> m_end{INT64_MAX};

    bool m_playing = false;
    ReadyPlan m_now, m_next;
    bool m_hasNext = false;
    int64_t m_at = 0;
    int32_t m_faded = -1;  ///< frames of a fade that are done, -1 for none

    // Written by one thread between two steps of the counter; a reader that meets an odd or changed one tries
    // again.
    std::atomic<uint32_t> m_version{0};
    std::atomic<uint64_t> m_serialSeen{0};
    std::atomic<int64_t> m_atSeen{0}, m_frameSeen{0};
    std::atomic<bool> m_playingSeen{false};
};

}  // namespace host
