#include "controlmap/map_match.h"

#include <cstring>

namespace {
constexpr uint32_t MODIFIERS = EFUNCFLAG_SHIFT | EFUNCFLAG_ALT | EFUNCFLAG_CTRL | EFUNCFLAG_OPT;
constexpr uint32_t USED = 0xFF00000;  // EFUNCFLAG_USE_, eight bits above the ones that they name

// The plain modifiers always count, the surface's modifiers and the modes when the row says so.
bool ModifiersMatch(const MPFUNCTIONMAP& row, uint32_t stateFlags) {
    // A modifier button works whatever else is held.
    if (row.group == ECONTROL_GRP_ASSIGN) stateFlags &= ~MODIFIERS;
    const uint32_t mask = MODIFIERS | (row.flags & USED) >> 8;
    return ((row.flags ^ stateFlags) & mask) == 0;
}

bool ChannelMatches(const MPEVENTREC& a, const MPEVENTREC& b) {
    return a.channel == b.channel || a.channel == MIDI_CHANNEL_ANY || b.channel == MIDI_CHANNEL_ANY;
}

// The bytes that say which control an event is of; the others are its value.
bool SameIdentity(const MPEVENTREC& a, const MPEVENTREC& b) {
    switch (a.type) {
    case MPNRPN:
    case MPRPN: return a.byte1 == b.byte1 && a.byte2 == b.byte2;
    case MPNOTE_OFF:
    case MPNOTE_ON:
    case MPPOLY_AFTER:
    case MPCNTRL_CHNG: return a.byte1 == b.byte1;
    default: return true;
    }
}

bool SameData(const MPEVENTREC& a, const MPEVENTREC& b) {
    switch (a.type) {
    case MPSYS_EX1:
    case MPSYS_EX2:
        return a.dataSize == b.dataSize &&
               (a.dataSize == 0 || (a.data && b.data && std::memcmp(a.data, b.data, a.dataSize) == 0));
    case 0x40000:
    case 0x80000:
    case 0x100000:
    case 0x200000: return true;
    case MPNOTE_OFF:
    case MPNOTE_ON: return a.byte1 == b.byte1;
    default: return a.byte1 == b.byte1 && a.byte2 == b.byte2 && a.byte3 == b.byte3 && a.byte4 == b.byte4;
    }
}

bool EventMatches(const MPFUNCTIONMAP& row, const MPEVENTREC& wanted, const MPEVENTREC& event) {
    if (wanted.type != event.type || !ChannelMatches(wanted, event)) return false;
    return row.flags & EFUNCFLAG_VALUE ? SameIdentity(wanted, event) : SameData(wanted, event);
}
}  // namespace

bool RowMatches(const MPFUNCTIONMAP& row, const MapInput& input) {
    if (!EventMatches(row, row.first, input.event)) return false;
    const bool pair = row.second.type != MPNULL;
    if (pair && (!input.held || !EventMatches(row, row.second, *input.held))) return false;
    return ModifiersMatch(row, input.stateFlags);
}

bool IsEarlierHalf(const MPFUNCTIONMAP& row, const MPEVENTREC& event, uint32_t stateFlags) {
    return row.second.type != MPNULL && EventMatches(row, row.second, event) &&
           ModifiersMatch(row, stateFlags);
}

bool SameControl(const MPFUNCTIONMAP& a, const MPFUNCTIONMAP& b) {
    // Steps add up: none of them may be left out.
    constexpr uint32_t STEPS = EFUNCFLAG_RELATIVE | EFUNCFLAG_INC | EFUNCFLAG_DEC;
    if (a.flags & STEPS) return false;
    return a.flags == b.flags && a.group == b.group && a.function == b.function && a.channel == b.channel &&
           a.index == b.index && a.first.type == b.first.type && a.first.channel == b.first.channel &&
           (a.flags & EFUNCFLAG_VALUE ? SameIdentity(a.first, b.first) : SameData(a.first, b.first));
}
