// Making a group of what the console shows now, and bringing it back. All on the page's thread.
#pragma once

#include "console/view_groups.h"

class CConsoleControlPlugin;

/// CreateGroup's flags.
inline constexpr uint32_t MAKE_VIEW_GROUP = 242, MAKE_MIX_GROUP = 1, MAKE_CURRENT_STATE = 0x80FFF2;

/// S_FALSE without a page; E_OUTOFMEMORY where memory does not suffice, and for a mix group without a
/// selected channel.
HRESULT CreateGroup(CConsoleControlPlugin& plugin, uint32_t flags, std::unique_ptr<tConsoleGroup>* out);

/// ApplyGroup's mask: what of it comes back, as far as it is stored. The bits are those of the record's
/// flags, three places up; a reset takes the defaults in place of what is stored.
inline constexpr uint32_t APPLY_KINDS = GROUP_STORES_KINDS << 3, APPLY_RESET_SIZES = 0x10000,
                          APPLY_RESET_WIDTHS = 0x20000, APPLY_RESET_METERS = 0x40000;
inline constexpr uint32_t APPLY_LAYOUT = 32720, APPLY_ALL = APPLY_LAYOUT | APPLY_KINDS;

/// Channels that are no more are passed over. A mix group selects its channels and no others.
void ApplyGroup(CConsoleControlPlugin& plugin, const tConsoleGroup& group, uint32_t mask);
/// Selects the channels that were selected when the group was made, and no others.
void ApplySelection(CConsoleControlPlugin& plugin, const tConsoleGroup& group);
/// What entries that were made anew do not have from the host: widths, and what is hidden in the console
/// alone.
void ApplyToNewEntries(CConsoleControlPlugin& plugin, const tConsoleGroup& group);
