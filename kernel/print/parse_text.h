// Reading one value from a text.
//
// A token begins behind leading white space and ends before white space, one of the delimiters (a terminated
// set, or null) or the text's end; *end, unless null, gets that place. What follows the value inside the
// token is ignored, and a token that does not begin with a value is 0. Values that don't fit their type give
// its nearest bound. Integers with a sign take '-' and '+'; a decimal number has '.' or the user's
// separator.
//
// The Ex forms end at white space alone and clamp to minimum..maximum; a token that is there and whose value
// is 0 gives the default, as given. [any-thread]
#pragma once

#include "platform/types.h"

extern "C" {

QM_API uint32_t QmTextToDWordToken(const char16_t* text, const char16_t** end, const char16_t* delimiters);
QM_API uint64_t QmTextToDWordLongToken(const char16_t* text, const char16_t** end,
                                       const char16_t* delimiters);
QM_API int32_t QmTextToLongToken(const char16_t* text, const char16_t** end, const char16_t* delimiters);
QM_API int64_t QmTextToLongLongToken(const char16_t* text, const char16_t** end, const char16_t* delimiters);
/// 0-9, a-f, A-F, behind "0x" or not.
QM_API uint32_t QmHexToDWordToken(const char16_t* text, const char16_t** end, const char16_t* delimiters);
QM_API uint64_t QmHexToDWordLongToken(const char16_t* text, const char16_t** end, const char16_t* delimiters);
QM_API double QmTextToDoubleToken(const char16_t* text, const char16_t** end, const char16_t* delimiters);
/// Three numbers from 0 to 255, red, green, blue, with ',', ';' or white space between; or a hexadecimal
/// word, 0x00BBGGRR, or RRGGBB behind '#'.
QM_API COLORREF QmTextToColorrefToken(const char16_t* text, const char16_t** end, const char16_t* delimiters);

QM_API uint32_t QmTextToDWordTokenEx(uint32_t defaultValue, const char16_t* text, uint32_t minimum,
                                     uint32_t maximum, const char16_t** end);
QM_API uint64_t QmTextToDWordLongTokenEx(uint64_t defaultValue, const char16_t* text, uint64_t minimum,
                                         uint64_t maximum, const char16_t** end);
QM_API int32_t QmTextToLongTokenEx(int32_t defaultValue, const char16_t* text, int32_t minimum,
                                   int32_t maximum, const char16_t** end);
QM_API int64_t QmTextToLongLongTokenEx(int64_t defaultValue, const char16_t* text, int64_t minimum,
                                       int64_t maximum, const char16_t** end);
QM_API uint32_t QmHexToDWordTokenEx(uint32_t defaultValue, const char16_t* text, uint32_t minimum,
                                    uint32_t maximum, const char16_t** end);
QM_API uint64_t QmHexToDWordLongTokenEx(uint64_t defaultValue, const char16_t* text, uint64_t minimum,
                                        uint64_t maximum, const char16_t** end);
QM_API double QmTextToDoubleTokenEx(double defaultValue, const char16_t* text, double minimum, double maximum,
                                    const char16_t** end);
/// A colour has no bounds.
QM_API COLORREF QmTextToColorrefTokenEx(COLORREF defaultValue, const char16_t* text, const char16_t** end);

}  // extern "C"
