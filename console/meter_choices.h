// What the meters of all strips can be set to: rows of menus, in their order.
#pragma once

#include "controls/meter.h"
#include "controls/meter_scales.h"

#include <cstdint>
#include <string>

/// The lowest level that a peak meter shows, from the widest range on: the order of the wheel.
inline constexpr uint32_t METER_RANGES = 8;
uint32_t MeterRangeCounts(uint32_t index);
std::u16string MeterRangeName(uint32_t index);
/// METER_RANGES for counts that are none of them.
uint32_t MeterRangeIndex(uint32_t counts);

/// The console's meter, with the readout and the marks of the highest recent levels.
inline constexpr uint32_t METER_STANDARD_STYLE = METERS_CLIP_SHOWN | METERS_HOLD_HIGH | METERS_LABELS;

/// A word names a VU scale in groups and preferences; 0 is the first scale's index, and so is an unknown
/// word's.
uint32_t VuScaleIndex(uint32_t word);
uint32_t VuScaleWord(uint32_t index);

inline constexpr uint32_t SCOPE_STYLE_COUNT = 4;
uint32_t ScopeStyleOf(uint32_t index);
const char16_t* ScopeStyleName(uint32_t index);
