// What an edit of a channel changed, as plug-ins are told it and as the user calls it.
#pragma once

#include "contract/host_contract.h"
#include "host/session/channel.h"

#include <vector>

namespace host {

struct SubChange {
    SubId id;
    uint32_t flags;   ///< CHANGE_ATTRIBUTES, CHANGE_ADDED or CHANGE_REMOVED
    uint32_t groups;  ///< MASK_ groups of attributes
};

/// What an edit is called, in a menu say.
enum class EditKind : uint8_t {
    AddChannel,
    RemoveChannel,
    MoveChannel,
    RenameChannel,
    AddEffect,
    RemoveEffect,
    MoveEffect,
    AddSend,
    RemoveSend,
    Volume,
    Pan,
    Send,
    Effect,
    Switches,
    Colour,
    Route,
    AutomationMode,
    Automation,
    Parameter,
    Preset,
    Import
};

struct ChannelChanges {
    uint32_t groups = 0;                 ///< MASK_ of the channel itself
    EditKind kind = EditKind::Switches;  ///< of what changed most
    std::vector<SubChange> subs;
    /// Nothing but levels, switches and looks, which need no new graph.
    bool levelsOnly = true;
    bool anything = false;  ///< also what plug-ins have no word for
    bool matters = false;   ///< more than what is selected
    bool heard = false;     ///< more than what is selected and shown
};

ChannelChanges ChangesBetween(const Channel& before, const Channel& after);

}  // namespace host
