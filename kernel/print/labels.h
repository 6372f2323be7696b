// Values with their units, as labels show them.
//
// The ...Get...String functions give a text of the language's temporary ring, see kernel/lang/lang.h. The
// others write a terminated text and return its length. [any-thread]
#pragma once

#include "kernel/lang/lang.h"

extern "C" {

/// value / 10^decimals with that many decimals (at most 9) and the unit, which may be null. At and below a
/// floor that isn't 0 it is "-Inf."; a handle without a ring gives "Err.".
QM_API const char16_t* QmGetLabeledStringFixed(HQMLANG lang, int32_t value, int32_t decimals, int32_t floor,
                                               const char16_t* unit);
/// Without decimals the value is cut to an integer.
QM_API const char16_t* QmGetLabeledStringFloat(HQMLANG lang, double value, int32_t decimals, double floor,
                                               const char16_t* unit);
/// With " dB" behind when the flag is set, in the kernel's language.
QM_API const char16_t* QmGetdBStringFixed(int32_t value, int32_t decimals, int32_t floor, BOOL withUnit);
QM_API const char16_t* QmGetdBStringFloat(double value, int32_t decimals, double floor, BOOL withUnit);

/// A kilobyte has 1024 bytes, a megabyte 1000 of those, and so on. 40 characters hold any.
QM_API int32_t QmGetByteSizeText(uint64_t bytes, char16_t* out);           ///< "1023", "1.00KB"
QM_API int32_t QmGetByteSizeText2(uint64_t bytes, char16_t* out);          ///< "1023 bytes", "1.00 KB"
QM_API int32_t QmGetByteSizeTextWithSpace(uint64_t bytes, char16_t* out);  ///< "1023", "1.00 KB"

/// Four characters, the lowest byte first; one that can't be shown becomes '?'. Room for 5.
QM_API int32_t QmFourCCToString(uint32_t code, char16_t* out);
/// "255, 128, 0": red, green, blue. Room for 14.
QM_API int32_t QmColorrefToText(COLORREF color, char16_t* out);
/// hexadecimal: "#FF8000".
QM_API int32_t QmColorrefToTextEx(COLORREF color, char16_t* out, uint32_t capacity, BOOL hexadecimal);
/// Reads what the two above write, and whatever QmTextToColorrefToken does.
QM_API COLORREF QmTextToColorref(const char16_t* text);

}  // extern "C"
