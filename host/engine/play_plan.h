// One stretch of playing: where it starts, how it loops. The disk thread and the audio thread both walk along
// it, each at its own place, and agree because a place in the plan always means the same frame of the
// project.
#pragma once

#include <algorithm>
#include <cstdint>

namespace host {

/// Frames of the project; off when end is not above start.
struct LoopFrames {
    int64_t start = 0;
    int64_t end = 0;

    bool On() const { return end > start; }
    friend bool operator==(const LoopFrames&, const LoopFrames&) = default;
};

struct PlayPlan {
    uint64_t serial = 0;  ///< above 0, grows from plan to plan
    int64_t start = 0;    ///< project frame of the plan's frame 0
    LoopFrames loop;
    /// Where at least 0, the plan takes over without a seam when the one that plays reaches this frame of its
    /// own; it lapses when that one stops first. Otherwise what plays fades out and then this begins.
    int64_t takeOverAt = -1;

    /// The project frame of a frame of this plan. A loop that ends before the start is never reached.
    int64_t ProjectFrame(int64_t at) const {
        if (!Loops() || start + at < loop.end) return start + at;
        return loop.start + (at - (loop.end - start)) % (loop.end - loop.start);
    }
    /// How many frames from there on follow each other in the project, at most n.
    int64_t StraightFrames(int64_t at, int64_t n) const {
        return Loops() ? std::min(n, loop.end - ProjectFrame(at)) : n;
    }

private:
    bool Loops() const { return loop.On() && start < loop.end; }
};

}  // namespace host
