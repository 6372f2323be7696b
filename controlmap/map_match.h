// Which row of a function table an incoming event calls. Pure functions. [any-thread]
#pragma once

#include "controlmap/function_map.h"

/// Bits of the map's state word.
inline constexpr uint32_t MAPSTATE_ENABLED = 0x1, MAPSTATE_SURFACE_ON = 0x2, MAPSTATE_PROJECT = 0x4,
                          MAPSTATE_SHIFT = 0x8, MAPSTATE_ALT = 0x10, MAPSTATE_CTRL = 0x20,
                          MAPSTATE_OPT = 0x40, MAPSTATE_SURFMOD1 = 0x80, MAPSTATE_AUDIO_MODE = 0x800,
                          MAPSTATE_VIDEO_MODE = 0x1000, MAPSTATE_MIDI_MODE = 0x2000,
                          MAPSTATE_SURFACE_MODE = 0x4000;
/// Modifiers and modes of the state word, which rows name in their flags.
inline constexpr uint32_t MAPSTATE_MODIFIERS = 0x7FF8;

/// The state's modifiers and modes at their places in a row's flags.
constexpr uint32_t FlagsOfState(uint32_t state) { return (state & MAPSTATE_MODIFIERS) << 5; }

/// An event, with the one that was held before it for rows that need two.
struct MapInput {
    const MPEVENTREC& event;
    const MPEVENTREC* held;  ///< null without one
    uint32_t stateFlags;     ///< FlagsOfState
};

bool RowMatches(const MPFUNCTIONMAP& row, const MapInput& input);
/// Whether the event is the earlier one of the row's two.
bool IsEarlierHalf(const MPFUNCTIONMAP& row, const MPEVENTREC& event, uint32_t stateFlags);
/// Whether two rows of one call are moves of the same control, of which the later one counts alone.
bool SameControl(const MPFUNCTIONMAP& a, const MPFUNCTIONMAP& b);
