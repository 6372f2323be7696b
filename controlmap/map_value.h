// Values in events: what a control's position is as 0..1, and the way back; and whether a control without a
// motor may take a value over. Pure functions. [any-thread]
#pragma once

#include "controlmap/function_map.h"

#include <string>

/// The most that two bytes of a message hold, and what a pitch bend holds at rest.
inline constexpr int32_t FOURTEEN_BITS = 16383, BEND_MIDDLE = 8192;

/// 0..1 of the row's events. Without EFUNCFLAG_VALUE the given number, unchanged.
float ValueFromEvent(float value, const MPFUNCTIONMAP& row);
/// The number in the row's events, within MinValue..MaxValue.
int32_t RawFromEvent(const MPFUNCTIONMAP& row);
/// Puts 0..1 into the row's events. 1 when the row has no place for a value.
HRESULT EventFromValue(float value, MPFUNCTIONMAP& row);
/// Puts a number between two limits: low + (high - low) * x, or low + x where they are equal.
HRESULT EventFromRaw(int32_t low, int32_t high, float x, MPFUNCTIONMAP& row);

/// Whether the row moves a value by steps: a knob without ends, or a button.
constexpr bool IsStep(const MPFUNCTIONMAP& row) {
    return row.flags & (EFUNCFLAG_RELATIVE | EFUNCFLAG_INC | EFUNCFLAG_DEC);
}
// How a knob without ends tells its clicks, in the row's `index`.
inline constexpr uint32_t STEPS_SIGN_BIT = 0;         ///< 1..63 up, 65..127 down by what is above 64
inline constexpr uint32_t STEPS_TWOS_COMPLEMENT = 1;  ///< 1..63 up, 127 one down, 64 most down
inline constexpr uint32_t STEPS_OFFSET = 2;           ///< 65 one up, 63 one down
/// Steps of the row's event: a knob's clicks, -1 with EFUNCFLAG_DEC, else 1.
int32_t StepsFromEvent(const MPFUNCTIONMAP& row);
/// The value so many steps on: `maxValue` steps (127 where it is 0) are the whole way.
float ValueAfterSteps(float value, const MPFUNCTIONMAP& row);

/// The text cut to a display's `room`: first spaces go, then small vowels from the end, then the end itself,
/// so that names that differ at the end stay apart.
std::u16string FitText(std::u16string text, size_t room);

/// What is known of a parameter that a control moves.
struct TakeoverState {
    float cached;  ///< the value 0..1; below 0 unknown
    int32_t raw;   ///< where the control was last, or RAW_UNKNOWN
};
/// No place of a control: those of a wheel are on both sides of 0.
inline constexpr int32_t RAW_UNKNOWN = INT32_MIN;
/// 0 when the move may pass: the control has reached or passed the value, or the hand holds its touch.
HRESULT Takeover(TakeoverState& state, float value, bool touched, const MPFUNCTIONMAP& row);
