#include "host/engine/automation_lane.h"

#include "host/session/automation.h"

#include <algorithm>

namespace host {

AutomationLane::AutomationLane(const AutomationCurve& curve, int sampleRate, bool byHand)
    : m_key(curve.key), m_steps(TraitsOf(curve.key.target).steps), m_byHand(byHand) {
    for (const AutomationPoint& p : curve.points) m_points.push_back({p.seconds * sampleRate, p.value});
}

double AutomationLane::At(int64_t frame) {
    const auto at = static_cast<double>(frame);
    if (m_behind > 0 && m_points[m_behind - 1].frame > at) m_behind = 0;
    if (m_behind < m_points.size() && m_points[m_behind].frame <= at) {
        if (m_behind + 1 < m_points.size() && m_points[m_behind + 1].frame <= at)
            m_behind = static_cast<size_t>(std::ranges::upper_bound(m_points, at, {}, &Point::frame) -
                                           m_points.begin());
        else
            m_behind++;
    }
    if (m_behind == 0) return m_points.front().value;
    const Point& before = m_points[m_behind - 1];
    if (m_behind == m_points.size() || m_steps) return before.value;
    const Point& behind = m_points[m_behind];
    return before.value +
           (behind.value - before.value) * ((at - before.frame) / (behind.frame - before.frame));
}

AutomationLane* ChannelLanes::Find(const AutomationKey& key) const {
    for (const auto& lane : strip)
        if (lane->Key() == key) return lane.get();
    for (const auto& [sub, lane] : sends)
        if (lane->Key() == key) return lane.get();
    for (const OfEffect& of : effects)
        if (of.lane->Key() == key) return of.lane.get();
    return nullptr;
}

}  // namespace host
