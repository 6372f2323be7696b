// The conversions' rows for the program that measures the peers'; its harness and data stand beside it there.
#include "peers.h"

#include "audio/audio_copy.h"
#include "audio/channels.h"

namespace {

peers::ConvFn Copy(QMSAMPLETYPE dst, QMSAMPLETYPE src, float scale = 1) {
    const QMAUDIOCOPYFN routine = QmAudio_GetCopyFunction2(dst, src);
    return [=](const void* s, void* d, size_t n) { routine(d, s, static_cast<int64_t>(n), scale); };
}

WAVEFORMATEX Floats(uint32_t channels) {
    WAVEFORMATEX format;
    QmAudio_InitWfx(&format, 48000, QMSAMPLE_FLOAT32, channels);
    return format;
}

void Add(const char* work, peers::ConvFn convert) {
    peers::convert(work, "ours", [=] { return convert; });
}

peers::AddRows rows([] {
    Add("f32_to_i16", Copy(QMSAMPLE_PCM16, QMSAMPLE_FLOAT32));
    Add("f32_to_i16_clip", Copy(QMSAMPLE_PCM16, QMSAMPLE_FLOAT32));
    Add("f32_to_i16be", Copy(QMSAMPLE_BE16, QMSAMPLE_FLOAT32));
    Add("i16_to_f32", Copy(QMSAMPLE_FLOAT32, QMSAMPLE_PCM16));
    Add("s24p_to_f32", Copy(QMSAMPLE_FLOAT32, QMSAMPLE_PCM24));
    Add("f32_to_s24p", Copy(QMSAMPLE_PCM24, QMSAMPLE_FLOAT32));
    Add("f32_to_s24p_clip", Copy(QMSAMPLE_PCM24, QMSAMPLE_FLOAT32));
    Add("i16_bswap", Copy(QMSAMPLE_BE16, QMSAMPLE_PCM16));
    Add("f64_to_f32", Copy(QMSAMPLE_FLOAT32, QMSAMPLE_FLOAT64));
    Add("f32_to_f64", Copy(QMSAMPLE_FLOAT64, QMSAMPLE_FLOAT32));
    Add("f32_gain", Copy(QMSAMPLE_FLOAT32, QMSAMPLE_FLOAT32, 0.7071f));
    Add("f32_stereo_to_mono", [stereo = Floats(2)](const void* s, void* d, size_t n) {
        QmAudio_ChannelChangeAvg(d, 1, s, &stereo, static_cast<int64_t>(n));
    });
    Add("f32_mono_to_stereo", [mono = Floats(1)](const void* s, void* d, size_t n) {
        QmAudio_ChannelChange(d, 2, s, &mono, static_cast<int64_t>(n));
    });
    Add("f32_deinterleave", [](const void* s, void* d, size_t n) {
        QmAudio_SplitStereo(d, static_cast<float*>(d) + n, s, QMSAMPLE_FLOAT32, static_cast<int64_t>(n));
    });
    Add("f32_interleave", [](const void* s, void* d, size_t n) {
        QmAudio_JoinStereo(d, s, static_cast<const float*>(s) + n, QMSAMPLE_FLOAT32, static_cast<int64_t>(n));
    });
});

}  // namespace
