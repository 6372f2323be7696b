// The languages that texts exist in: their LCIDs by slot, and what is told of a language by its number.
// [any-thread]
#pragma once

#include "kernel/lang/lang.h"

inline constexpr uint32_t SLOT_ENGLISH = 1;

/// The slot, 1 to QMLANG_SLOTS, whose language has the same main form as `lcid`; English without one.
uint32_t SlotOfLcid(uint32_t lcid);
