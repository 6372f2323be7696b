// Automation of a channel: what a curve can move, what it says at a time, and how a written stretch is put
// into it.
#pragma once

#include "host/session/channel.h"

#include <optional>
#include <span>

namespace host {

enum class TargetOwner : uint8_t { Channel, Send, Effect };

struct TargetTraits {
    AutomationTarget target;
    TargetOwner owner;
    double low, high;
    bool steps;  ///< a switch: a value holds until the next point
    /// How far a thinned curve may lie off the written one at most, in the curve's own unit: below what can
    /// be heard. 0 keeps every change. Of a parameter it is a share of the range that was written.
    double bound;
};
const TargetTraits& TraitsOf(AutomationTarget target);

/// What the curve says then. [any-thread]
double CurveAt(const AutomationCurve& curve, double seconds);

/// What the channel itself holds where no curve says otherwise; of what it has no such thing, and of
/// parameters, nothing.
std::optional<double> SettingOf(const Channel& channel, const AutomationKey& key);
/// Sets it, within its range. False where there is none.
bool ApplySetting(Channel& channel, const AutomationKey& key, double value);

/// The curve with this key, or null.
const AutomationCurve* FindCurve(const Channel& channel, const AutomationKey& key);
/// What the channel plays then: the curve's value where its mode reads one, else the setting.
std::optional<double> ValueAt(const Channel& channel, const AutomationKey& key, double seconds);

/// Leaves points out such that the lines between those that stay are nowhere further than `bound` off the
/// lines between all; a curve of switches loses those that change nothing. The first and the last stay.
std::vector<AutomationPoint> Thinned(std::span<const AutomationPoint> points, double bound, bool steps);

/// Puts a stretch that was written by hand into the channel's curve with this key, or makes one: what lay
/// between its first and its last point is gone, and what lies outside is as it was. Points of the stretch
/// rise in time. The stretch is thinned by the target's bound. Around the first one of a curve it is as
/// `before`, where that is known.
void WriteStretch(Channel& channel, const AutomationKey& key, std::span<const AutomationPoint> stretch,
                  std::optional<double> before = {});

}  // namespace host
