// Where the samples of a wave lie whose header cannot be trusted, and what they are.
#pragma once

#include "audio/wave_format.h"
#include "mediafile/media_codes.h"
#include "platform/file_handle.h"

namespace tarn {

struct LostSamples {
    WAVEFORMATEX format;
    uint64_t start, bytes;  ///< bytes are whole frames
};

/// Looks where the kernel's own writers put things. A null hint is PCM 44100 Hz, 16 bits, stereo.
HRESULT FindLostWavSamples(HQMFILE file, const WAVEFORMATEX* hint, uint64_t limit, LostSamples* found);
HRESULT FindLostW64Samples(HQMFILE file, const WAVEFORMATEX* hint, uint64_t limit, LostSamples* found);

}  // namespace tarn
