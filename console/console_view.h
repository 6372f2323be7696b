// What the console object asks of its page.
#pragma once

#include "console/channel_entry.h"

/// What a tick is to look after.
inline constexpr uint32_t TICK_VALUES = 1;  ///< values of the host, read back
inline constexpr uint32_t TICK_METERS = 2;  ///< the meters; while the transport runs the values too

class ConsoleView {
public:
    // From any thread.

    /// Shows the channel's new state; null is every channel. From another thread the bits wait in the pending
    /// word.
    virtual void NotifyChannel(ChannelEntry* channel, uint32_t dirty) = 0;
    virtual void InvalidateAll() = 0;
    /// Asks the page's thread to call ApplyPendingChanges.
    virtual void PostPendingChanges() = 0;
    /// Asks for one round of TICK_; rounds not yet begun count as one.
    virtual void PostTick(uint32_t what) = 0;

    // On the page's thread.

    /// The entry is about to be destroyed; null is all of them.
    virtual void OnEntryGoing(ChannelEntry* channel) = 0;
    /// Entries came, went or changed places.
    virtual void OnEntriesChanged() = 0;
    /// The host works on something that takes its time, or has done it.
    virtual void OnBusyChanged(bool busy) = 0;
    /// Regions, panes or widths are others.
    virtual void OnViewChanged() = 0;
    /// Groups came, went or have other names.
    virtual void OnGroupsChanged() = 0;
    /// Bits of MPCTRL_LOOK: 7 rebuild, 16 colours.
    virtual void OnLookChanged(uint32_t bits) = 0;

protected:
    ~ConsoleView() = default;
};
