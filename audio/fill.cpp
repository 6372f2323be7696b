#include "audio/fill.h"

#include "audio/audio_copy.h"
#include "audio/cells.h"
#include "audio/sub_format.h"

#include <algorithm>
#include <cstring>

namespace {

constexpr uint8_t UNSIGNED_ZERO = 0x80;

bool IsPlainTag(uint32_t tag) {
    return tag == WAVE_TAG_PCM || tag == WAVE_TAG_IEEE_FLOAT || tag == WAVE_TAG_PCM_UNPACKED ||
           tag == WAVE_TAG_PCM_SIGNED || tag == WAVE_TAG_PCM_BIG_ENDIAN;
}

/// Unsigned bytes are the only samples whose zero is not 0.
uint8_t ZeroByte(uint32_t tag, uint32_t bits) {
    return bits == 8 && (tag == WAVE_TAG_PCM || tag == WAVE_TAG_PCM_BIG_ENDIAN) ? UNSIGNED_ZERO : 0;
}

}  // namespace

HRESULT QmAudio_FillSilence(const WAVEFORMATEX* format, void* buffer, int64_t frames) {
    if (frames <= 0 || format->nBlockAlign == 0) return S_OK;
    uint32_t tag = format->wFormatTag;
    if (tag == WAVE_TAG_EXTENSIBLE) {
        if (!QmAudio_GetFormatTagExtensible(format, &tag)) return S_OK;
    } else if (!IsPlainTag(tag)) {
        return E_FAIL;
    }
    std::memset(buffer, ZeroByte(tag, format->wBitsPerSample),
                static_cast<size_t>(frames) * format->nBlockAlign);
    return S_OK;
}

HRESULT QmAudio_FillSilence(const _qmwaveformat* format, void* buffer, int64_t frames) {
    const _qmwaveformat_wfxecopyhelper copy(*format);
    return QmAudio_FillSilence(&copy.wfx.Format, buffer, frames);
}

extern "C" {

HRESULT QmAudio_FillSilenceChannel(const WAVEFORMATEX* format, void* buffer, uint32_t channel,
                                   int64_t frames) {
    const uint32_t channels = format->nChannels, tag = format->wFormatTag, bits = format->wBitsPerSample;
    if (channel >= channels) return E_FAIL;
    if (frames <= 0) return S_OK;
    if (channels == 1) return QmAudio_FillSilence(format, buffer, frames);
    const bool serves = tag == WAVE_TAG_IEEE_FLOAT
                            ? bits == 32 || bits == 64
                            : IsPlainTag(tag) && bits % 8 == 0 && bits >= 8 && bits <= 32;
    if (!serves) return E_FAIL;
    const uint8_t zero = bits == 8 && tag != WAVE_TAG_PCM_SIGNED ? UNSIGNED_ZERO : 0;
    return WithCell(bits / 8, [&](auto cell) {
        std::memset(&cell, zero, sizeof cell);
        auto* at = static_cast<decltype(cell)*>(buffer) + channel;
        for (int64_t i = 0; i < frames; i++) at[i * channels] = cell;
    });
}

HRESULT QmAudio_FillWithSample(const WAVEFORMATEX* dstFormat, void* dst, const WAVEFORMATEX* srcFormat,
                               const void* sample, int64_t frames) {
    if (frames <= 0) return S_OK;
    const QMAUDIOCOPYFN routine = QmAudio_GetCopyFunction(dstFormat, srcFormat);
    if (!routine) return E_NOTIMPL;
    uint8_t converted[8];
    routine(converted, sample, 1, 1.0f);
    return WithCell(QmAudio_BytesFromSampleType(QmAudio_GetSampleType(dstFormat)), [&](auto cell) {
        std::memcpy(&cell, converted, sizeof cell);
        std::fill_n(static_cast<decltype(cell)*>(dst), frames * dstFormat->nChannels, cell);
    });
}

}  // extern "C"
