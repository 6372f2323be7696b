// Silence, and buffers of one value. Lengths are in frames; 0 and less do nothing and succeed. [any-thread]
#pragma once

#include "audio/wave_format.h"

/// E_FAIL for a tag whose silence is not known; an extensible record that is neither PCM nor float is left
/// alone.
QM_API HRESULT QmAudio_FillSilence(const WAVEFORMATEX* format, void* buffer, int64_t frames);
QM_API HRESULT QmAudio_FillSilence(const _qmwaveformat* format, void* buffer, int64_t frames);

extern "C" {

/// Silence on one channel; E_FAIL for a channel that is not there and for any tag but the plain PCM ones and
/// float.
QM_API HRESULT QmAudio_FillSilenceChannel(const WAVEFORMATEX* format, void* buffer, uint32_t channel,
                                          int64_t frames);
/// Converts one sample and puts it everywhere; E_NOTIMPL where there is no routine.
QM_API HRESULT QmAudio_FillWithSample(const WAVEFORMATEX* dstFormat, void* dst, const WAVEFORMATEX* srcFormat,
                                      const void* sample, int64_t frames);

}  // extern "C"
