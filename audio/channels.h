// Channels of interleaved buffers: their number, single ones out and in, silence. Lengths are in frames; a
// length of 0 or less does nothing and succeeds. A type that an operation does not serve is E_FAIL, and then
// nothing was written. Where source and destination may be one buffer, it says so. [any-thread]
#pragma once

#include "audio/wave_format.h"

extern "C" {

/// To one channel by summing, which clips where the sum exceeds full scale; from one channel by repeating;
/// any other change is E_FAIL. Source and destination may be the same buffer.
QM_API HRESULT QmAudio_ChannelChange(void* dst, uint32_t dstChannels, const void* src,
                                     const WAVEFORMATEX* srcFormat, int64_t frames);
/// The same, to one channel by the average.
QM_API HRESULT QmAudio_ChannelChangeAvg(void* dst, uint32_t dstChannels, const void* src,
                                        const WAVEFORMATEX* srcFormat, int64_t frames);
/// Every channel becomes the average of the frame; types 16 to 33. May be the same buffer.
QM_API HRESULT QmAudio_MonoChannel(void* dst, const void* src, const WAVEFORMATEX* format, int64_t frames);

/// One channel out, to mono. May be the same buffer.
QM_API HRESULT QmAudio_ExtractChannel(void* dst, uint32_t channel, const void* src, QMSAMPLETYPE type,
                                      uint32_t channels, int64_t frames);
/// Two neighbouring channels out, to stereo; types 16 to 33. May be the same buffer.
QM_API HRESULT QmAudio_ExtractChannelPair(void* dst, uint32_t firstChannel, const void* src,
                                          const WAVEFORMATEX* format, int64_t frames);
/// Mono into one channel; the others stay.
QM_API HRESULT QmAudio_InsertChannel(void* dst, QMSAMPLETYPE type, uint32_t channels, uint32_t channel,
                                     const void* src, int64_t frames);

/// Stereo to two buffers of a channel each, and back, in one pass; any type. The buffers lie apart.
QM_API HRESULT QmAudio_SplitStereo(void* left, void* right, const void* src, QMSAMPLETYPE type,
                                   int64_t frames);
QM_API HRESULT QmAudio_JoinStereo(void* dst, const void* left, const void* right, QMSAMPLETYPE type,
                                  int64_t frames);

/// One channel over another within a buffer; nothing on mono; types 16 to 33.
QM_API HRESULT QmAudio_CopyChannelToChannel(void* buffer, const WAVEFORMATEX* format, uint32_t fromChannel,
                                            uint32_t toChannel, int64_t frames);
/// A channel of the source on every channel of the destination; E_NOTIMPL unless the types are equal. May be
/// the same buffer.
QM_API HRESULT QmAudio_CopyChannelToAll(void* dst, const void* src, const WAVEFORMATEX* dstFormat,
                                        const WAVEFORMATEX* srcFormat, uint32_t channel, int64_t frames);
/// The same by type and counts; a type over 66 is E_INVALIDARG.
QM_API HRESULT QmAudio_CopyChannelToMultiMono2(void* dst, uint32_t dstChannels, const void* src,
                                               uint32_t srcChannels, uint32_t channel, int64_t frames,
                                               QMSAMPLETYPE type);
QM_API HRESULT QmAudio_CopyChannelToMultiMono(void* dst, uint32_t dstChannels, const void* src,
                                              const WAVEFORMATEX* srcFormat, uint32_t channel,
                                              int64_t frames);

/// Swaps the first two channels in place; nothing on mono; types 16 to 33.
QM_API HRESULT QmAudio_SwapStereoChannels(void* buffer, const WAVEFORMATEX* format, int64_t frames);
/// Into another buffer; mono is copied.
QM_API HRESULT QmAudio_CopySwapStereoChannels(void* dst, const void* src, const WAVEFORMATEX* format,
                                              int64_t frames);

}  // extern "C"

/// Silence on one channel.
QM_API HRESULT QmAudio_MuteChannel(void* buffer, QMSAMPLETYPE type, uint32_t channels, uint32_t channel,
                                   int64_t frames);
QM_API HRESULT QmAudio_MuteChannel(void* buffer, const WAVEFORMATEX* format, uint32_t channel,
                                   int64_t frames);
QM_API HRESULT QmAudio_MuteChannel(void* buffer, const _qmwaveformat* format, uint32_t channel,
                                   int64_t frames);
