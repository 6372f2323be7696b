// Fader positions and gains. A position is an integer: tenths of a decibel, -720 to 120, with -720 for
// silence, and 0 to 127 on a MIDI channel.
#pragma once

#include <cstdint>

inline constexpr int32_t POSITION_MIN = -720, POSITION_MAX = 120;
inline constexpr int32_t MIDI_POSITION_MAX = 127;
inline constexpr int32_t MIDI_POSITION_DEFAULT = 100;

/// Linear gain, 10^(position/200); 1.0 at 0 and 0 at or below -720. [any-thread]
float PositionToGain(int32_t position);
/// Position of a linear gain, truncated outward by a tenth of a unit so that a position survives the way to a
/// gain and back; a gain whose position would be -719 or less is -720. NaN and negative gains are silence.
/// [any-thread]
int32_t GainToPosition(float gain);

float MidiPositionToValue(int32_t position);
int32_t MidiValueToPosition(float value);
