// One movement of a hand from press to release, as the host hears of it: begin, changes, end. The same value
// of the other selected channels moves along, each keeping its offset to the one that is moved.
#pragma once

#include "console/channel_entry.h"
#include "console/strip_parameter.h"

#include <array>
#include <span>
#include <vector>

class CConsoleControlPlugin;

/// Of a control with two values: the parts of a pair of faders, or the axes of the pad.
using StripPositions = std::array<int32_t, 2>;

class StripGesture {
public:
    explicit StripGesture(CConsoleControlPlugin& plugin) : m_plugin(plugin) {}

    bool IsRunning() const { return m_source.entry != nullptr; }
    /// Whether it moves this channel's value, as the one under the hand.
    bool IsRunningOn(const ChannelEntry& entry, const StripParameter& parameter) const;

    /// Starts a gesture on a control of `source`, which shows one parameter or two; with `selected` the other
    /// selected channels of its sort join. Another gesture that still runs ends first.
    void Begin(ChannelEntry& source, std::span<const StripParameter> parameters, bool selected);
    /// Moves the source to the positions, the others by as much.
    void Change(const StripPositions& positions);
    void End();
    /// The entry is going away; null is all of them. Nothing more is sent for it, and without its source a
    /// gesture ends.
    void Forget(const ChannelEntry* entry);

private:
    static constexpr size_t MOST_AXES = 2;
    /// Of a pair both positions are one axis: the host takes them in one record.
    struct Axis {
        StripParameter parameter;
        ParameterGesture gesture;
        StripPositions start{}, now{};
    };
    struct Member {
        ChannelEntry* entry = nullptr;
        std::array<Axis, MOST_AXES> axes;
        size_t axisCount = 0;
    };

    /// False when the host does not take the touch.
    bool Touch(Member& member, ChannelEntry& entry, std::span<const StripParameter> parameters);
    static void Release(Member& member);
    void Move(Member& member, const StripPositions& offset);
    void EndOthers();

    CConsoleControlPlugin& m_plugin;
    Member m_source;
    std::vector<Member> m_others;
};
