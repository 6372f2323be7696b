// What a screen reader, or a script, finds on the page: a pane, in it one group a strip, in that the strip's
// controls with name, role, value and range. Names are the user's: a strip's own word is the number that its
// channel has at the host. All on the page's thread.
#pragma once

#include "console/channel_entry.h"

/// The page's view of what was handed out about it.
class AccessiblePage {
public:
    /// Entries go, come or move: what was handed out about them is dropped.
    virtual void Forget() = 0;
    virtual void FocusMoved(ChannelEntry& focused) = 0;

protected:
    ~AccessiblePage() = default;
};

/// The property of a page's window that names its CConsoleMixerPage.
inline constexpr const char* ACCESSIBLE_PAGE_PROPERTY = "tarnConsolePage";

/// Lets windows with that property answer; once for the process.
void InstallConsoleAccessibility();
