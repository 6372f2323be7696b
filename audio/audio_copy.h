// Any layout of samples into any other, with a gain.
//
// Full scale is 1.0. A sample is taken as a fraction of its full scale, times the gain, times the full scale
// of the destination, clamped and rounded to nearest with ties to even; NaN becomes silence.
// There is no dither. At a gain of exactly 1 equal types are copied and integers widened by a shift. The
// forms for the processor's vector units give the same results bit for bit.
//
// Source and destination may be the same buffer, else they do not overlap. Nothing is allocated, and no
// buffer needs to be aligned. [any-thread]
#pragma once

#include "audio/wave_format.h"

/// Counts single samples, frames times channels; 0 and less do nothing.
using QMAUDIOCOPYFN = void (*)(void* dst, const void* src, int64_t samples, float scale);

extern "C" {

/// The routine of a pair of types for this processor, to be held for a whole stream. Null where there is
/// none: for types that are not converted, and from PCM24IN32 and BE32 to BE16 and BE24.
[[nodiscard]] QM_API QMAUDIOCOPYFN QmAudio_GetCopyFunction2(QMSAMPLETYPE dstType, QMSAMPLETYPE srcType);

/// Converts samples of every type to float and back, and says which did not come back. 0, or E_FAIL.
/// `flags` is not used.
QM_API HRESULT QmAudioCopy_UnitTest(uint32_t flags);

}  // extern "C"

[[nodiscard]] QM_API QMAUDIOCOPYFN QmAudio_GetCopyFunction(const WAVEFORMATEX* dst, const WAVEFORMATEX* src);
[[nodiscard]] QM_API QMAUDIOCOPYFN QmAudio_GetCopyFunction(const _qmwaveformat* dst, const WAVEFORMATEX* src);
[[nodiscard]] QM_API QMAUDIOCOPYFN QmAudio_GetCopyFunction(const WAVEFORMATEX* dst, const _qmwaveformat* src);
[[nodiscard]] QM_API QMAUDIOCOPYFN QmAudio_GetCopyFunction(const _qmwaveformat* dst,
                                                           const _qmwaveformat* src);

/// Copies the source's channels times `frames` samples; the channels of the destination are not looked at, so
/// it has room for as many. E_NOTIMPL where there is no routine.
QM_API HRESULT QmAudio_Copy(const WAVEFORMATEX* dstFormat, void* dst, const WAVEFORMATEX* srcFormat,
                            const void* src, int64_t frames, float scale);
QM_API HRESULT QmAudio_Copy(const _qmwaveformat* dstFormat, void* dst, const _qmwaveformat* srcFormat,
                            const void* src, int64_t frames, float scale);
QM_API HRESULT QmAudio_Copy(const _qmwaveformat* dstFormat, void* dst, const WAVEFORMATEX* srcFormat,
                            const void* src, int64_t frames, float scale);
QM_API HRESULT QmAudio_Copy(const WAVEFORMATEX* dstFormat, void* dst, const _qmwaveformat* srcFormat,
                            const void* src, int64_t frames, float scale);
