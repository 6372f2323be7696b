// The format engine behind every number, time and message that a user sees: wide printf with `$` directives
// that write in the user's separators, tokens by name, and fixed-point output.
//
//   $$ %%             a dollar, a percent sign
//   $(Name)           the value of a token; a name that nobody knows stays visible
//   $(1234.5)         a literal number, grouped, in the user's separators
//   %d %5.1f %s %c    as printf, on wide text; I64 and I32 before the conversion give the width of the value
//   $d $.1f $g        the same value in the user's separators, whole part grouped
//   %.2z $.2z         a 32-bit value divided by 100, with two decimals in the user's separator
//   $* $, $:          the user's decimal, list and time separators
//   $!, $!. $!:       the SMPTE separators for drop, non-drop and whole frames
//   $&. $&:           between beat and tick, and between measure and beat
//
// What is no directive stands in the output as it is. Formats may come from translations: a directive reads
// the arguments that its English text has, which the build checks. Nothing is allocated for the plain
// directives. A format may be a record (QMLANGSTRINGID) too, or the number of a text of the kernel.
// [any-thread]
#pragma once

#include "kernel/formats/tokens.h"

#include <cstdarg>

extern "C" {

/// Writes without a bound, terminated; returns the characters written.
QM_API int32_t QmPrintF(char16_t* out, const char16_t* format, ...);
QM_API int32_t QmVPrintF(char16_t* out, const char16_t* format, va_list values);
/// Writes at most capacity - 1 characters and the terminator; nothing at all into a capacity of 0. Returns
/// the characters written, which *outLength gets too unless it is null.
QM_API int32_t QmCchPrintF(char16_t* out, uint32_t capacity, uint32_t* outLength, const char16_t* format,
                           ...);
QM_API int32_t QmNVPrintF(char16_t* out, uint32_t capacity, uint32_t* outLength, const char16_t* format,
                          va_list values);

}  // extern "C"
