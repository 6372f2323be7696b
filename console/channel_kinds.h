// The kinds of channels that the console shows and hides together, and which of them are shown now. All on
// the page's thread.
#pragma once

#include "console/channel_entry.h"

#include <span>

class CConsoleControlPlugin;
struct Menu;

struct ChannelKind {
    uint32_t command;   ///< that shows or hides it
    uint32_t groupBit;  ///< tConsoleGroup::kinds
    uint32_t kind;      ///< KIND_ that its channels have all of; 0 for one that is told by its entry's state
    uint32_t state;     ///< ENTRY_
    uint32_t feature;   ///< FEATURE_ that a host with such channels has; 0 for all hosts

    bool Fits(const ChannelEntry& entry) const;
};
std::span<const ChannelKind> ChannelKinds();

/// Shows or hides a channel's strip: at the host where it keeps that, else in the console alone.
void ShowChannel(CConsoleControlPlugin& plugin, ChannelEntry& entry, bool on);
void ShowKind(CConsoleControlPlugin& plugin, const ChannelKind& kind, bool on);
/// The bits of the kinds of which a channel is shown.
uint32_t ShownKinds(CConsoleControlPlugin& plugin);

/// All kinds, then each that the host has, checked where it is shown.
void AddKindMenu(CConsoleControlPlugin& plugin, Menu& menu);
/// Does a command of that menu; false for any other.
bool RunKindCommand(CConsoleControlPlugin& plugin, uint32_t command);
