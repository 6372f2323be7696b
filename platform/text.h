// Wide text (UTF-16) to and from the encodings of the outside, and the plain helpers on terminated wide text.
//
// Conversions never fail on content: ill-formed input becomes U+FFFD, and what Windows-1252 can't hold
// becomes '?'. They throw std::bad_alloc, and std::length_error for texts of 2 GiB and more. [any-thread]
#pragma once

#include "platform/types.h"

#include <initializer_list>
#include <string>
#include <string_view>

namespace tarn {

QM_API std::u16string Utf16FromUtf8(std::string_view text);
QM_API std::string Utf8FromUtf16(std::u16string_view text);
QM_API std::u16string Utf16FromWindows1252(std::string_view text);
QM_API std::string Windows1252FromUtf16(std::u16string_view text);

/// The parts, one behind the other.
QM_API std::string JoinText(std::initializer_list<std::string_view> parts);

/// Units before the terminator; 0 for null.
QM_API size_t TextLength(const char16_t* text);
/// Copies what fits into dst's `capacity` units and terminates it; a surrogate pair is not split. A null src
/// is empty. Returns the units copied; a capacity of 0 writes nothing.
QM_API size_t CopyText(char16_t* dst, size_t capacity, const char16_t* src);

}  // namespace tarn
