// Status codes of the media files. Each has a text for users.
#pragma once

#include "platform/types.h"

inline constexpr HRESULT MEDIA_E_UNSUPPORTED_TYPE =
    tarn::StatusCode(0x8004E000);  ///< before anything is touched
inline constexpr HRESULT MEDIA_E_OPEN = tarn::StatusCode(0x8004E007);
inline constexpr HRESULT MEDIA_E_READ = tarn::StatusCode(0x8004E008);
inline constexpr HRESULT MEDIA_E_WRITE = tarn::StatusCode(0x8004E009);
inline constexpr HRESULT MEDIA_E_NOT_FOUND = tarn::StatusCode(0x8004E00A);
inline constexpr HRESULT MEDIA_E_UNKNOWN_FORMAT = tarn::StatusCode(0x8004E00B);
inline constexpr HRESULT MEDIA_E_UNSUPPORTED_FORMAT = tarn::StatusCode(0x8004E016);
inline constexpr HRESULT MEDIA_E_UNSUPPORTED_VERSION = tarn::StatusCode(0x8004E01C);
inline constexpr HRESULT MEDIA_E_TOO_LARGE = tarn::StatusCode(0x8004E03A);
inline constexpr HRESULT MEDIA_E_NO_ROOM = tarn::StatusCode(0x8004E03C);
inline constexpr HRESULT MEDIA_E_NOT_STARTED = tarn::StatusCode(0x8004E047);  ///< a plug-in, see fileio/
inline constexpr HRESULT MEDIA_E_NO_PROJECT = tarn::StatusCode(0x8004E05D);
inline constexpr HRESULT MEDIA_E_NO_RIFF = tarn::StatusCode(0x8004E080);
inline constexpr HRESULT MEDIA_E_NO_LIST = tarn::StatusCode(0x8004E081);
inline constexpr HRESULT MEDIA_E_EMPTY_CHUNK = tarn::StatusCode(0x8004E082);
inline constexpr HRESULT MEDIA_E_MALFORMED = tarn::StatusCode(0x8004E083);
inline constexpr HRESULT MEDIA_E_NO_TEMPLATE = tarn::StatusCode(0x8004E0A5);
inline constexpr HRESULT MEDIA_E_BAD_TEMPLATE = tarn::StatusCode(0x8004E0AF);

/// What to tell a user, in the kernel's language; null for a code that has no text. [any-thread]
QM_API const char16_t* QmMedia_StatusText(HRESULT status);
