// A channel's curves while they are played: in frames, by what they move.
#pragma once

#include "host/session/channel.h"

#include <atomic>
#include <memory>
#include <vector>

namespace host {

class AutomationLane {
public:
    AutomationLane(const AutomationCurve& curve, int sampleRate, bool byHand);

    AutomationTarget Target() const { return m_key.target; }
    const AutomationKey& Key() const { return m_key; }

    /// What the curve says at a frame of the project. [audio-thread]
    double At(int64_t frame);

    /// While somebody holds the control, the setting counts and not the curve. [any-thread]
    void TakeByHand(bool on) { m_byHand.store(on, std::memory_order_relaxed); }
    bool ByHand() const { return m_byHand.load(std::memory_order_relaxed); }

private:
    struct Point {
        double frame, value;
    };
    const AutomationKey m_key;
    const bool m_steps;
    std::vector<Point> m_points;
    size_t m_behind = 0;  ///< first point behind the frame asked last: the next one is near
    std::atomic<bool> m_byHand;
};

/// Shared by the graphs that play them.
struct ChannelLanes {
    struct OfEffect {
        std::unique_ptr<AutomationLane> lane;
        size_t parameter = 0;  ///< of a Parameter lane
    };
    std::vector<std::unique_ptr<AutomationLane>> strip;
    std::vector<std::pair<SubId, std::unique_ptr<AutomationLane>>> sends;
    std::vector<OfEffect> effects;

    /// The lane with this key, or null.
    AutomationLane* Find(const AutomationKey& key) const;
};

}  // namespace host
