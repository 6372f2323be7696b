// One movement of a fader from press to release, as the host hears of it: begin, changes, end. The other
// selected channels move along, each keeping its offset to the fader that is moved.
#pragma once

#include "console/channel_entry.h"
#include "controlmap/parameter_gesture.h"

#include <vector>

class CConsoleControlPlugin;

class FaderGesture {
public:
    explicit FaderGesture(CConsoleControlPlugin& plugin) : m_plugin(plugin) {}

    bool IsRunning() const { return m_source.entry != nullptr; }
    bool IsRunningOn(const ChannelEntry& entry) const { return m_source.entry == &entry; }

    /// Starts a gesture of `source`; with `selected` the other selected channels of its sort join. Another
    /// gesture that still runs ends first.
    void Begin(ChannelEntry& source, bool selected);
    /// Moves the source to `position`, the others by as much.
    void Change(int32_t position);
    void End();
    /// The entry is going away; null is all of them. Nothing more is sent for it, and without its source a
    /// gesture ends.
    void Forget(const ChannelEntry* entry);

private:
    struct Member {
        ChannelEntry* entry = nullptr;
        ParameterGesture gesture;
        int32_t start = 0;
    };

    /// False when the host does not take the touch.
    bool Touch(Member& member, ChannelEntry& entry);
    void Release(Member& member);
    void Move(Member& member, int32_t position);
    void EndOthers();

    CConsoleControlPlugin& m_plugin;
    Member m_source;
    std::vector<Member> m_others;
    int32_t m_offset = 0;  ///< how far the source has moved
};
