// Channels as the contract's words: kinds, order, switches, modes, and the ids of what a channel consists of.
#pragma once

#include "contract/host_contract.h"
#include "host/session/session.h"

#include <vector>

namespace host {

/// The contract's kind word of a channel.
uint32_t KindWord(ChannelKind kind);
/// The same in its session: in surround, busses are surround channels and the master is the head of a group.
uint32_t KindWord(const Session& session, const Channel& channel);
/// None for words that stand for no channel of the document.
std::optional<ChannelKind> KindOfWord(uint32_t word);

/// Has the six channels of 5.1.
bool IsWide(const Session& session, ChannelKind kind);
/// Two channels that are placed in a room of 5.1.
bool IsPlaced(const Session& session, const Channel& channel);

bool IsTrack(ChannelKind kind);
/// Whether two kinds stand in one row: tracks do, busses only with their own kind.
bool ShareRow(ChannelKind a, ChannelKind b);
/// Order index of a channel: each row from 0, the master behind the busses, -2 for the preview bus.
int32_t OrderIndex(const Session& session, ChannelId id);

uint32_t SwitchWord(const Channel& channel);
void SetSwitches(Channel& channel, uint32_t word);
/// The switches that a channel of this kind has.
uint32_t SwitchesOf(ChannelKind kind);

uint32_t AutomationWord(AutomationMode mode);
std::optional<AutomationMode> AutomationModeOf(uint32_t word);

/// The pairs that the master of a surround session has faders for, each a channel of its own to plug-ins, in
/// the order of a group head's companions.
inline constexpr uint32_t COMPANION_PAIRS[] = {SPEAKER_FRONT, SPEAKER_REAR, SPEAKER_CENTER, SPEAKER_LFE};
uint64_t CompanionId(ChannelId head, size_t slot);
/// What an id of the contract means.
struct ChannelPlace {
    ChannelId channel = kNoChannel;
    uint32_t pair = 0;  ///< of a companion; 0 for the channel itself
};
ChannelPlace PlaceOf(uint64_t id);

}  // namespace host
