#include "host/session/automation.h"

#include <algorithm>
#include <cmath>

namespace host {

namespace {

using Number = double* (*)(Channel&, SubId);
using Switch = bool* (*)(Channel&, SubId);

struct Row {
    TargetTraits traits;
    Number number = nullptr;
    Switch flag = nullptr;
};

constexpr auto kOfChannel = TargetOwner::Channel;
constexpr auto kOfSend = TargetOwner::Send;
constexpr auto kOfEffect = TargetOwner::Effect;
// Of a level nobody hears a tenth of a decibel; of a place not a hundredth of the half width.
constexpr double kLevelBound = 0.1, kPlaceBound = 0.01, kParameterBound = 0.005;
constexpr double kAnyValue = 1e30;

template <double Channel::*Member>
double* OfChannel(Channel& c, SubId) {
    return &(c.*Member);
}
template <auto Part, auto Member>
double* OfPart(Channel& c, SubId) {
    return &((c.*Part).*Member);
}
template <auto Member>
auto* OfSend(Channel& c, SubId id) {
    Send* send = FindSend(c, id);
    return send ? &(send->*Member) : nullptr;
}
bool* MuteOf(Channel& c, SubId) { return &c.mute; }
bool* BypassOf(Channel& c, SubId id) {
    Insert* insert = FindInsert(c, id);
    return insert ? &insert->bypass : nullptr;
}

constexpr TargetTraits Level(AutomationTarget target, TargetOwner owner = kOfChannel) {
    return {target, owner, kSilenceDb, kMaxGainDb, false, kLevelBound};
}
constexpr TargetTraits Place(AutomationTarget target, TargetOwner owner = kOfChannel) {
    return {target, owner, -1, 1, false, kPlaceBound};
}
constexpr TargetTraits OnOff(AutomationTarget target, TargetOwner owner = kOfChannel) {
    return {target, owner, 0, 1, true, 0};
}

using T = AutomationTarget;
constexpr Row kRows[] = {
    {Level(T::Volume), OfChannel<&Channel::fader_db>},
    {Place(T::Pan), OfChannel<&Channel::pan>},
    {OnOff(T::Mute), nullptr, MuteOf},
    {{T::Width, kOfChannel, 0, kMaxWidth, false, kPlaceBound}, OfChannel<&Channel::width>},
    {Level(T::InputVolume), OfChannel<&Channel::input_db>},
    {Place(T::InputPan), OfChannel<&Channel::input_pan>},
    {Place(T::SurroundX), OfPart<&Channel::place, &SurroundPlace::x>},
    {Place(T::SurroundY), OfPart<&Channel::place, &SurroundPlace::y>},
    {Level(T::SurroundLfe), OfPart<&Channel::place, &SurroundPlace::lfe_db>},
    {Level(T::RearVolume), OfPart<&Channel::faders, &SurroundFaders::rear_db>},
    {Level(T::CenterVolume), OfPart<&Channel::faders, &SurroundFaders::center_db>},
    {Level(T::LfeVolume), OfPart<&Channel::faders, &SurroundFaders::lfe_db>},
    {Level(T::SendLevel, kOfSend), OfSend<&Send::level_db>},
    {Place(T::SendPan, kOfSend), OfSend<&Send::pan>},
    {OnOff(T::SendMute, kOfSend), nullptr, OfSend<&Send::mute>},
    {OnOff(T::Bypass, kOfEffect), nullptr, BypassOf},
    {{T::Parameter, kOfEffect, -kAnyValue, kAnyValue, false, kParameterBound}},
};

// How far it still is until the seam with what was there before must have been crossed.
constexpr double kSeamSeconds = 0.001;

const Row& RowOf(AutomationTarget target) { return kRows[static_cast<size_t>(target)]; }

auto FirstBehind(std::span<const AutomationPoint> points, double seconds) {
    return std::ranges::upper_bound(points, seconds, {}, [](const AutomationPoint& p) { return p.seconds; });
}

double Between(const AutomationPoint& a, const AutomationPoint& b, double seconds) {
    return a.value + (b.value - a.value) * ((seconds - a.seconds) / (b.seconds - a.seconds));
}

}  // namespace

const TargetTraits& TraitsOf(AutomationTarget target) { return RowOf(target).traits; }

double CurveAt(const AutomationCurve& curve, double seconds) {
    const std::span<const AutomationPoint> points = curve.points;
    const auto behind = FirstBehind(points, seconds);
    if (behind == points.begin()) return points.front().value;
    const AutomationPoint& before = *(behind - 1);
    if (behind == points.end() || TraitsOf(curve.key.target).steps) return before.value;
    return Between(before, *behind, seconds);
}

std::optional<double> SettingOf(const Channel& channel, const AutomationKey& key) {
    Channel& c = const_cast<Channel&>(channel);
    const Row& row = RowOf(key.target);
    if (row.number)
        if (const double* value = row.number(c, key.sub)) return *value;
    if (row.flag)
        if (const bool* value = row.flag(c, key.sub)) return *value ? 1 : 0;
    return std::nullopt;
}

bool ApplySetting(Channel& channel, const AutomationKey& key, double value) {
    const Row& row = RowOf(key.target);
    double* number = row.number ? row.number(channel, key.sub) : nullptr;
    bool* flag = row.flag ? row.flag(channel, key.sub) : nullptr;
    if (value != value) return false;
    if (number) *number = std::clamp(value, row.traits.low, row.traits.high);
    if (flag) *flag = value >= 0.5;
    return number || flag;
}

const AutomationCurve* FindCurve(const Channel& channel, const AutomationKey& key) {
    const auto at = std::ranges::find(channel.automation, key, &AutomationCurve::key);
    return at == channel.automation.end() ? nullptr : &*at;
}

std::optional<double> ValueAt(const Channel& channel, const AutomationKey& key, double seconds) {
    const AutomationCurve* curve =
        channel.automation_mode == AutomationMode::Off ? nullptr : FindCurve(channel, key);
    return curve ? CurveAt(*curve, seconds) : SettingOf(channel, key);
}

std::vector<AutomationPoint> Thinned(std::span<const AutomationPoint> points, double bound, bool steps) {
    std::vector<AutomationPoint> kept;
    if (steps) {
        for (const AutomationPoint& p : points)
            if (kept.empty() || p.value != kept.back().value || &p == &points.back()) kept.push_back(p);
        return kept;
    }
    if (points.empty()) return kept;
    // A line may go on as long as some slope passes every point at a distance of at most the bound.
    kept.push_back(points.front());
    size_t last = 0;
    double low = -INFINITY, high = INFINITY;
    for (size_t i = 1; i < points.size(); i++) {
        const AutomationPoint& from = points[last];
        const double way = points[i].seconds - from.seconds;
        const double slope = (points[i].value - from.value) / way;
        if (slope < low || slope > high) {
            last = i - 1;
            kept.push_back(points[last]);
            low = -INFINITY, high = INFINITY;
            i--;
            continue;
        }
        low = std::max(low, slope - bound / way);
        high = std::min(high, slope + bound / way);
    }
    if (points.size() > 1) kept.push_back(points.back());
    return kept;
}

void WriteStretch(Channel& channel, const AutomationKey& key, std::span<const AutomationPoint> stretch,
                  std::optional<double> before) {
    if (stretch.empty()) return;
    const TargetTraits& traits = TraitsOf(key.target);
    double bound = traits.bound;
    if (key.target == AutomationTarget::Parameter) {
        const auto [least, most] = std::ranges::minmax(stretch, {}, &AutomationPoint::value);
        bound *= most.value - least.value;
    }
    std::vector<AutomationPoint> fresh = Thinned(stretch, bound, traits.steps);
    auto at = std::ranges::find(channel.automation, key, &AutomationCurve::key);
    if (at == channel.automation.end()) {
        if (!before) {
            channel.automation.push_back({key, std::move(fresh)});
            return;
        }
        channel.automation.push_back({key, {{0, *before}}});
        at = channel.automation.end() - 1;
    }
    const double begin = fresh.front().seconds, end = fresh.back().seconds;
    std::vector<AutomationPoint> points;
    for (const AutomationPoint& p : at->points)
        if (p.seconds < begin - kSeamSeconds) points.push_back(p);
    if (begin > kSeamSeconds) points.push_back({begin - kSeamSeconds, CurveAt(*at, begin - kSeamSeconds)});
    points.insert(points.end(), fresh.begin(), fresh.end());
    points.push_back({end + kSeamSeconds, CurveAt(*at, end + kSeamSeconds)});
    for (const AutomationPoint& p : at->points)
        if (p.seconds > end + kSeamSeconds) points.push_back(p);
    at->points = std::move(points);
}

}  // namespace host
