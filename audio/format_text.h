// A format in words, in the kernel's language and the user's numbers. `length` is the room in characters with
// the terminator; with 0 nothing is written. [any-thread]
#pragma once

#include "audio/wave_format.h"

/// What QmAudio_GetFormatText leaves out and puts in.
enum : uint32_t {
    FORMAT_TEXT_AS_PCM = 1,       ///< a foreign format as the PCM that it would decode to
    FORMAT_TEXT_BIT_DEPTH = 2,    ///< the plain bit depth; of tags 1 and 3 no compression name
    FORMAT_TEXT_NO_CODEC = 4,     ///< ends before the compression name
    FORMAT_TEXT_LONG_CODEC = 8,   ///< the compression name in its long form
    FORMAT_TEXT_ATTRIBUTES = 16,  ///< a foreign format as QmAudio_GetAttribsText has it
    FORMAT_TEXT_BIT_RATE = 32,    ///< a compressed foreign format begins with its bit rate
};

extern "C" {

/// The tag under which all of a codec's tags are known; others pass unchanged.
QM_API uint32_t QmAudio_ConvertToCanonicalWaveFormatTag(uint32_t tag);
/// 0 when the tag has a name, else 1 and its number.
QM_API int32_t QmAudio_GetCompressionTypeName(uint32_t tag, char16_t* out, uint32_t length, BOOL shortName);
/// E_FAIL and "Unknown" for a compressed tag.
QM_API HRESULT QmAudio_GetTagText(uint32_t tag, char16_t* out, uint32_t length);
QM_API void QmAudio_GetChannelsText(uint32_t channels, uint32_t mask, char16_t* out, uint32_t length);
QM_API void QmAudio_GetSampleTypeText(QMSAMPLETYPE type, char16_t* out, uint32_t length);
/// `isShort` counts the bits that carry the signal (24 of float 32), else those that are stored.
QM_API void QmAudio_GetBitDepthText(QMSAMPLETYPE type, char16_t* out, uint32_t length, BOOL isShort);
/// Rate, bits and channels; E_FAIL and "Unknown" for a compressed format.
QM_API HRESULT QmAudio_GetAttribsText(const WAVEFORMATEX* wfx, char16_t* out, uint32_t length);
/// `flags` are FORMAT_TEXT_...
QM_API void QmAudio_GetFormatText(const _qmwaveformat* format, char16_t* out, uint32_t length,
                                  uint32_t flags);

}  // extern "C"
