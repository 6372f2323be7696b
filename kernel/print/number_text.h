// Numbers as text: whole and decimal, plain or in the user's separators.
//
// All functions write a terminated text and return its length. Those without a capacity need room for the
// whole result; the others cut it at capacity - 1 and write nothing into a capacity of 0. [any-thread]
#pragma once

#include "platform/types.h"

extern "C" {

/// Writes a number, given as text with '-' and '.', the way the user writes numbers. What stands before the
/// first digit, minus or point and behind the number is copied. A digit that is cut off rounds, half away
/// from zero. Negative numbers begin with '-' whatever the locale's sign is. Whole, grouped.
QM_API int32_t QmFormatNumber(const char16_t* digits, char16_t* out, uint32_t capacity);
/// With the decimals that it has, not grouped.
QM_API int32_t QmFormatDecimalNumber(const char16_t* digits, char16_t* out, uint32_t capacity);
/// Grouped; decimals -1 keeps those that it has.
QM_API int32_t QmFormatGroupDecimalNumber(const char16_t* digits, char16_t* out, uint32_t capacity,
                                          int32_t decimals);

/// group: in the user's groups.
QM_API int32_t QmLongToText(int32_t value, char16_t* out, BOOL group);
QM_API int32_t QmLongToTextN(int32_t value, char16_t* out, BOOL group, uint32_t capacity);
QM_API int32_t QmLongLongToText(int64_t value, char16_t* out, BOOL group);
QM_API int32_t QmLongLongToTextN(int64_t value, char16_t* out, BOOL group, uint32_t capacity);
QM_API int32_t QmDWordToText(uint32_t value, char16_t* out, BOOL group);
QM_API int32_t QmDWordToTextN(uint32_t value, char16_t* out, BOOL group, uint32_t capacity);
QM_API int32_t QmDWordLongToText(uint64_t value, char16_t* out, BOOL group);
QM_API int32_t QmDWordLongToTextN(uint64_t value, char16_t* out, BOOL group, uint32_t capacity);

/// At most 9 decimals, rounded by adding half a unit of the last one; a value that rounds to zero has no
/// sign. With `group` in the user's separators, else with '.'. 350 characters hold any value.
QM_API int32_t QmDoubleToText(char16_t* out, double value, int32_t decimals, BOOL group);
QM_API int32_t QmDoubleToTextN(char16_t* out, double value, int32_t decimals, BOOL group, uint32_t capacity);

}  // extern "C"
