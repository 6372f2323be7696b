// The platform's records, and the sample types that they stand for.
#include "audio/sub_format.h"
#include "audio/wave_format.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <span>

namespace {

struct TypeRow {
    QMSAMPLETYPE type;
    uint16_t tag, bits;
};
constexpr TypeRow TYPES[] = {
    {QMSAMPLE_PCM8, WAVE_TAG_PCM, 8},
    {QMSAMPLE_PCM16, WAVE_TAG_PCM, 16},
    {QMSAMPLE_PCM24, WAVE_TAG_PCM, 24},
    {QMSAMPLE_PCM32, WAVE_TAG_PCM, 32},
    {QMSAMPLE_FLOAT32, WAVE_TAG_IEEE_FLOAT, 32},
    {QMSAMPLE_FLOAT64, WAVE_TAG_IEEE_FLOAT, 64},
    {QMSAMPLE_PCM24IN32, WAVE_TAG_PCM_UNPACKED, 32},
    {QMSAMPLE_SIGNED8, WAVE_TAG_PCM_SIGNED, 8},
    {QMSAMPLE_BE16, WAVE_TAG_PCM_BIG_ENDIAN, 16},
    {QMSAMPLE_BE24, WAVE_TAG_PCM_BIG_ENDIAN, 24},
    {QMSAMPLE_BE32, WAVE_TAG_PCM_BIG_ENDIAN, 32},
};

// Further pairs that are read, and never written.
constexpr TypeRow READ_ALIKE[] = {
    {QMSAMPLE_PCM24, WAVE_TAG_PCM, 20},
    {QMSAMPLE_PCM16, WAVE_TAG_PCM_SIGNED, 16},
    {QMSAMPLE_PCM24, WAVE_TAG_PCM_SIGNED, 20},
    {QMSAMPLE_PCM24, WAVE_TAG_PCM_SIGNED, 24},
    {QMSAMPLE_PCM32, WAVE_TAG_PCM_SIGNED, 32},
    {QMSAMPLE_PCM24IN32, WAVE_TAG_PCM_UNPACKED, 24},
    {QMSAMPLE_PCM8, WAVE_TAG_PCM_BIG_ENDIAN, 8},
    {QMSAMPLE_RA16, WAVE_TAG_PCM_RIGHT_ALIGNED, 16},
    {QMSAMPLE_RA24, WAVE_TAG_PCM_RIGHT_ALIGNED, 24},
};

const TypeRow* RowOfType(QMSAMPLETYPE type) {
    const auto* row = std::ranges::find(TYPES, type, &TypeRow::type);
    return row == std::end(TYPES) ? nullptr : row;
}

const TypeRow* FindPair(std::span<const TypeRow> rows, uint32_t tag, uint32_t bits) {
    const auto row =
        std::ranges::find_if(rows, [&](const TypeRow& r) { return r.tag == tag && r.bits == bits; });
    return row == rows.end() ? nullptr : &*row;
}

// The bytes behind the tag of a sub-format that stands for a tag.
constexpr uint8_t TAG_PATTERN[14] = {0, 0, 0, 0, 0x10, 0, 0x80, 0, 0, 0xAA, 0, 0x38, 0x9B, 0x71};

/// Frames are samples side by side.
bool AreBytesPacked(const WAVEFORMATEX* wfx) {
    return wfx->nBlockAlign == (wfx->wBitsPerSample >> 3) * wfx->nChannels;
}

}  // namespace

uint32_t DefaultChannelMask(uint32_t channels) { return channels < 32 ? (1u << channels) - 1 : UINT32_MAX; }

const WAVEFORMATEXTENSIBLE* AsExtensible(const WAVEFORMATEX* wfx) {
    if (wfx->wFormatTag != WAVE_TAG_EXTENSIBLE || wfx->cbSize < WAVE_EXTENSIBLE_EXTRA) return nullptr;
    return reinterpret_cast<const WAVEFORMATEXTENSIBLE*>(wfx);
}

uint32_t TagOfSubFormat(const uint8_t (&subFormat)[16]) {
    if (std::memcmp(subFormat + 2, TAG_PATTERN, sizeof TAG_PATTERN) != 0) return 0;
    return static_cast<uint32_t>(subFormat[0] | subFormat[1] << 8);
}

void InitExtensible(WAVEFORMATEXTENSIBLE* ext, uint32_t tag, uint32_t bits, uint32_t mask) {
    ext->Format.wFormatTag = WAVE_TAG_EXTENSIBLE;
    ext->Format.cbSize = WAVE_EXTENSIBLE_EXTRA;
    ext->wValidBitsPerSample = static_cast<uint16_t>(bits);
    ext->dwChannelMask = mask;
    ext->SubFormat[0] = static_cast<uint8_t>(tag);
    ext->SubFormat[1] = static_cast<uint8_t>(tag >> 8);
    std::memcpy(ext->SubFormat + 2, TAG_PATTERN, sizeof TAG_PATTERN);
}

extern "C" {

QMSAMPLETYPE QmAudio_GetSampleType2(uint32_t tag, uint32_t bits) {
    const TypeRow* row = FindPair(TYPES, tag, bits);
    if (!row) row = FindPair(READ_ALIKE, tag, bits);
    return row ? row->type : QMSAMPLE_UNKNOWN;
}

QMSAMPLETYPE QmAudio_GetSampleType(const WAVEFORMATEX* wfx) {
    if (wfx->wFormatTag != WAVE_TAG_EXTENSIBLE)
        return QmAudio_GetSampleType2(wfx->wFormatTag, wfx->wBitsPerSample);
    const WAVEFORMATEXTENSIBLE* ext = AsExtensible(wfx);
    if (!ext) return QMSAMPLE_UNKNOWN;
    const QMSAMPLETYPE type = QmAudio_GetSampleType2(TagOfSubFormat(ext->SubFormat), wfx->wBitsPerSample);
    return type == QMSAMPLE_PCM32 && ext->wValidBitsPerSample == 24 ? QMSAMPLE_PCM24IN32 : type;
}

uint32_t QmAudio_FormatTagFromSampleType(QMSAMPLETYPE type) {
    const TypeRow* row = RowOfType(type);
    return row ? row->tag : 0;
}
uint32_t QmAudio_BitsFromSampleType(QMSAMPLETYPE type) {
    const TypeRow* row = RowOfType(type);
    return row ? row->bits : 0;
}
uint32_t QmAudio_BytesFromSampleType(QMSAMPLETYPE type) { return QmAudio_BitsFromSampleType(type) >> 3; }

void QmAudio_InitWfx(WAVEFORMATEX* wfx, uint32_t rate, QMSAMPLETYPE type, uint32_t channels) {
    QmAudio_InitWfxFlex(wfx, QmAudio_FormatTagFromSampleType(type), rate, QmAudio_BitsFromSampleType(type),
                        channels, 0, sizeof *wfx);
}

void QmAudio_InitWfxFlex(WAVEFORMATEX* wfx, uint32_t tag, uint32_t rate, uint32_t bits, uint32_t channels,
                         uint32_t mask, uint32_t capacity) {
    const uint32_t defaultMask = DefaultChannelMask(channels), asked = mask;
    if (static_cast<uint32_t>(std::popcount(mask)) > channels) mask = 0;
    wfx->wFormatTag = static_cast<uint16_t>(tag);
    wfx->nChannels = static_cast<uint16_t>(channels);
    wfx->nSamplesPerSec = rate;
    wfx->nBlockAlign = static_cast<uint16_t>((bits >> 3) * channels);
    wfx->nAvgBytesPerSec = wfx->nBlockAlign * rate;
    wfx->wBitsPerSample = static_cast<uint16_t>(bits);
    wfx->cbSize = 0;
    if (asked == 0 || (channels <= 2 && mask == defaultMask) || capacity < sizeof(WAVEFORMATEXTENSIBLE))
        return;
    InitExtensible(reinterpret_cast<WAVEFORMATEXTENSIBLE*>(wfx), tag, bits, mask ? mask : defaultMask);
}

BOOL QmAudio_IsEqualFormat(const WAVEFORMATEX* a, const WAVEFORMATEX* b) {
    return a->nChannels == b->nChannels && a->nSamplesPerSec == b->nSamplesPerSec &&
           a->wBitsPerSample == b->wBitsPerSample && a->wFormatTag == b->wFormatTag;
}

BOOL QmAudio_IsCompressed(const WAVEFORMATEX* wfx) {
    switch (wfx->wFormatTag) {
    case WAVE_TAG_EXTENSIBLE: return QmAudio_IsCompressedExtensible(wfx);
    case WAVE_TAG_PCM:
    case WAVE_TAG_IEEE_FLOAT:
    case WAVE_TAG_PCM_UNPACKED:
    case WAVE_TAG_PCM_SIGNED:
    case WAVE_TAG_PCM_BIG_ENDIAN: return !AreBytesPacked(wfx);
    default: return 1;
    }
}

BOOL QmAudio_IsCompressedExtensible(const WAVEFORMATEX* wfx) {
    uint32_t tag = 0;
    return !QmAudio_GetFormatTagExtensible(wfx, &tag);
}

uint32_t QmAudio_GetWaveFormatTag(const WAVEFORMATEX* wfx) {
    if (!wfx) return 0;
    const WAVEFORMATEXTENSIBLE* ext = AsExtensible(wfx);
    return ext ? TagOfSubFormat(ext->SubFormat) : wfx->wFormatTag;
}

BOOL QmAudio_GetFormatTagExtensible(const WAVEFORMATEX* wfx, uint32_t* tag) {
    const WAVEFORMATEXTENSIBLE* ext = AsExtensible(wfx);
    const uint32_t found = ext ? TagOfSubFormat(ext->SubFormat) : 0;
    if (found != WAVE_TAG_PCM && found != WAVE_TAG_IEEE_FLOAT) return 0;
    *tag = found;
    return 1;
}

BOOL QmAudio_FixBadWfx(WAVEFORMATEX* wfx) {
    if (wfx->wFormatTag != WAVE_TAG_PCM) return 0;
    const bool isOdd = wfx->wBitsPerSample == 20;
    if (isOdd) wfx->wBitsPerSample = 24;
    if (!isOdd && AreBytesPacked(wfx)) return 0;
    wfx->nBlockAlign = static_cast<uint16_t>((wfx->wBitsPerSample >> 3) * wfx->nChannels);
    return 1;
}

void QmAudio_CopyWfxToWfExt(const WAVEFORMATEX* wfx, WAVEFORMATEXTENSIBLE* ext) {
    std::memcpy(ext, wfx, std::min(sizeof *wfx + wfx->cbSize, sizeof *ext));
}

void QmAudio_CopyWfExtToWfx(const WAVEFORMATEXTENSIBLE* ext, WAVEFORMATEX* wfx) {
    uint32_t tag = 0;
    const bool isExtensible = ext->Format.wFormatTag == WAVE_TAG_EXTENSIBLE;
    if (isExtensible && !QmAudio_GetFormatTagExtensible(&ext->Format, &tag)) return;
    *wfx = ext->Format;
    if (!isExtensible) return;
    wfx->wFormatTag = static_cast<uint16_t>(tag);
    wfx->cbSize = 0;
}

double QmAudio_GetNormalizeFactor(uint32_t bits) {
    switch (bits) {
    case 8: return 128;
    case 16: return 32768;
    case 24: return 8388608;
    case 32: return 2147483648;
    default: return 1;
    }
}

}  // extern "C"
