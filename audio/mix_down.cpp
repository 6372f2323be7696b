// Channels summed and averaged.
#include "audio/audio_copy.h"
#include "audio/channels.h"
#include "audio/copy/samples.h"
#include "audio/copy/stereo.h"

#include <type_traits>

namespace {

enum class Mix { Sum, Average };

template <QMSAMPLETYPE TYPE, Mix MIX>
void MixFrame(uint8_t* d, const uint8_t* s, int64_t channels) {
    constexpr int BYTES = Sample<TYPE>::BYTES;
    if constexpr (TYPE == QMSAMPLE_PCM8 && MIX == Mix::Average) {
        int64_t sum = 0;
        for (int64_t c = 0; c < channels; c++) sum += LoadWhole<TYPE>(s + c) * 256;
        const int64_t average = sum / channels;
        StoreValue<TYPE>(d, static_cast<double>(average) / 32768);
    } else {
        double sum = ScaledValue<TYPE>(s, 1.0f);
        for (int64_t c = 1; c < channels; c++) sum += ScaledValue<TYPE>(s + c * BYTES, 1.0f);
        StoreValue<TYPE>(d, MIX == Mix::Average ? sum / static_cast<double>(channels) : sum);
    }
}

/// Two channels of integers, without the way over doubles: their sum and half of it are exact there.
template <QMSAMPLETYPE TYPE, Mix MIX>
void MixPair(uint8_t* d, const uint8_t* s) {
    using S = Sample<TYPE>;
    using Sum = std::conditional_t<S::BITS == 32, int64_t, int32_t>;
    Sum sum = Sum{LoadWhole<TYPE>(s)} + LoadWhole<TYPE>(s + S::BYTES);
    if constexpr (MIX == Mix::Average) {
        sum = (sum + (sum >> 1 & 1)) >> 1;  // ties to even
    } else {
        constexpr auto LOWEST = static_cast<Sum>(S::LOWEST), HIGHEST = static_cast<Sum>(S::HIGHEST);
        sum = sum < LOWEST ? LOWEST : sum > HIGHEST ? HIGHEST : sum;
    }
    StoreWhole<TYPE>(d, static_cast<int32_t>(sum));
}

/// The same over words of 24 bits in vectors: samples of fewer bits lose nothing by the sum and its half, and
/// the way back clamps and rounds.
template <QMSAMPLETYPE TYPE, Mix MIX>
void MixWords(uint8_t* d, const uint8_t* s, int64_t frames) {
    constexpr int64_t PIECE = 512, BYTES = Sample<TYPE>::BYTES;
    const QMAUDIOCOPYFN widen = QmAudio_GetCopyFunction2(QMSAMPLE_PCM24IN32, TYPE),
                        narrow = QmAudio_GetCopyFunction2(TYPE, QMSAMPLE_PCM24IN32);
    const StereoTables& tables = BestStereo();
    int32_t stereo[2 * PIECE], mono[PIECE];
    for (int64_t i = 0; i < frames; i += PIECE) {
        const int64_t count = frames - i < PIECE ? frames - i : PIECE;
        widen(stereo, s + 2 * BYTES * i, 2 * count, 1);
        (MIX == Mix::Average ? tables.averageWords : tables.sumWords)(mono, stereo, count);
        narrow(d + BYTES * i, mono, count, 1);
    }
}

template <QMSAMPLETYPE TYPE, Mix MIX>
void MixDown(void* dst, const void* src, int64_t channels, int64_t frames) {
    auto* d = static_cast<uint8_t*>(dst);
    const auto* s = static_cast<const uint8_t*>(src);
    constexpr int BYTES = Sample<TYPE>::BYTES;
    if constexpr (TYPE == QMSAMPLE_FLOAT32 && MIX == Mix::Average)
        if (channels == 2) return BestStereo().averageFloats(dst, src, frames);
    if constexpr (TYPE == QMSAMPLE_PCM16)
        if (channels == 2)
            return (MIX == Mix::Average ? BestStereo().averageShorts : BestStereo().sumShorts)(dst, src,
                                                                                               frames);
    const auto mix = [&](int64_t step, auto frame) {
        for (int64_t i = 0; i < frames; i++) frame(d + i * BYTES, s + i * step * BYTES);
    };
    if (channels != 2)
        mix(channels, [=](uint8_t* to, const uint8_t* from) { MixFrame<TYPE, MIX>(to, from, channels); });
    else if constexpr (Sample<TYPE>::IS_FLOAT)
        // NOLINTNEXTLINE(bugprone-branch-clone): a type has one of the branches
        mix(2, [](uint8_t* to, const uint8_t* from) { MixFrame<TYPE, MIX>(to, from, 2); });
    else if constexpr (Sample<TYPE>::BITS <= 24 && !Sample<TYPE>::IS_BIG_ENDIAN)
        MixWords<TYPE, MIX>(d, s, frames);
    else
        mix(2, MixPair<TYPE, MIX>);
}

template <QMSAMPLETYPE TYPE>
void MonoFrames(void* dst, const void* src, int64_t channels, int64_t frames) {
    auto* d = static_cast<uint8_t*>(dst);
    const auto* s = static_cast<const uint8_t*>(src);
    constexpr int BYTES = Sample<TYPE>::BYTES;
    for (int64_t i = 0; i < frames; i++, d += channels * BYTES, s += channels * BYTES) {
        uint8_t average[BYTES];
        if constexpr (Sample<TYPE>::IS_FLOAT) {
            MixFrame<TYPE, Mix::Average>(average, s, channels);
        } else {
            uint32_t sum = 0;  // wraps where 32 bits do not hold it
            for (int64_t c = 0; c < channels; c++)
                sum += TYPE == QMSAMPLE_PCM8 ? s[c] : static_cast<uint32_t>(LoadWhole<TYPE>(s + c * BYTES));
            const int32_t value = static_cast<int32_t>(sum) / static_cast<int32_t>(channels);
            if constexpr (TYPE == QMSAMPLE_PCM8)
                average[0] = static_cast<uint8_t>(value);
            else
                StoreWhole<TYPE>(average, value);
        }
        for (int64_t c = 0; c < channels; c++) std::memcpy(d + c * BYTES, average, BYTES);
    }
}

using MixFunction = void (*)(void* dst, const void* src, int64_t channels, int64_t frames);

struct Row {
    QMSAMPLETYPE type;
    MixFunction sum, average, mono;  ///< null where the type is not served
};

template <QMSAMPLETYPE TYPE>
constexpr Row RowOf() {
    return {TYPE, MixDown<TYPE, Mix::Sum>, MixDown<TYPE, Mix::Average>,
            TYPE <= QMSAMPLE_FLOAT64 ? MonoFrames<TYPE> : nullptr};
}
constexpr Row ROWS[] = {
    RowOf<QMSAMPLE_PCM8>(),    RowOf<QMSAMPLE_PCM16>(),   RowOf<QMSAMPLE_PCM24>(),   RowOf<QMSAMPLE_PCM32>(),
    RowOf<QMSAMPLE_FLOAT32>(), RowOf<QMSAMPLE_FLOAT64>(), RowOf<QMSAMPLE_SIGNED8>(), RowOf<QMSAMPLE_BE16>(),
    RowOf<QMSAMPLE_BE24>(),    RowOf<QMSAMPLE_BE32>(),
};

MixFunction Find(QMSAMPLETYPE type, MixFunction Row::*which) {
    for (const Row& row : ROWS)
        if (row.type == type) return row.*which;
    return nullptr;
}

HRESULT ChangeChannels(void* dst, uint32_t dstChannels, const void* src, const WAVEFORMATEX* srcFormat,
                       int64_t frames, MixFunction Row::*which) {
    const uint32_t channels = srcFormat->nChannels;
    if (dstChannels == channels) return QmAudio_Copy(srcFormat, dst, srcFormat, src, frames, 1.0f);
    const QMSAMPLETYPE type = QmAudio_GetSampleType(srcFormat);
    if (channels < dstChannels)
        return channels == 1 ? QmAudio_CopyChannelToMultiMono2(dst, dstChannels, src, 1, 0, frames, type)
                             : E_FAIL;
    const MixFunction mix = dstChannels == 1 ? Find(type, which) : nullptr;
    if (!mix) return E_FAIL;
    mix(dst, src, channels, frames);
    return S_OK;
}

}  // namespace

extern "C" {

HRESULT QmAudio_ChannelChange(void* dst, uint32_t dstChannels, const void* src, const WAVEFORMATEX* srcFormat,
                              int64_t frames) {
    return ChangeChannels(dst, dstChannels, src, srcFormat, frames, &Row::sum);
}

HRESULT QmAudio_ChannelChangeAvg(void* dst, uint32_t dstChannels, const void* src,
                                 const WAVEFORMATEX* srcFormat, int64_t frames) {
    return ChangeChannels(dst, dstChannels, src, srcFormat, frames, &Row::average);
}

HRESULT QmAudio_MonoChannel(void* dst, const void* src, const WAVEFORMATEX* format, int64_t frames) {
    if (format->nChannels == 1) return QmAudio_Copy(format, dst, format, src, frames, 1.0f);
    const MixFunction mono = Find(QmAudio_GetSampleType(format), &Row::mono);
    if (!mono || format->nChannels == 0) return E_FAIL;
    mono(dst, src, format->nChannels, frames);
    return S_OK;
}

}  // extern "C"
