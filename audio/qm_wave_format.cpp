// The kernel's normal form of a format, and its conversions.
#include "audio/sub_format.h"
#include "audio/wave_format.h"
#include "platform/memory.h"

#include <algorithm>
#include <cstring>

using namespace tarn;

namespace {

constexpr uint32_t FORMAT_HEAD = 32, HEAD_WITH_EXTRA = 34;
constexpr uint32_t LARGEST = HEAD_WITH_EXTRA + QMWAVEFORMAT_MOST_EXTRA;

bool KnowsNoExtra(uint32_t tag) { return tag == WAVE_TAG_PCM || tag == WAVE_TAG_IEEE_FLOAT; }

void Clear(_qmwaveformat* format, uint32_t capacity) {
    std::memset(format, 0, std::max(capacity, FORMAT_HEAD));
}

/// An old writer left the sub-format empty and took bits for bytes; what it meant by the bits.
QMSAMPLETYPE TypeOfDefectiveRecord(const WAVEFORMATEX* wfx) {
    if (wfx->cbSize == WAVE_EXTENSIBLE_EXTRA) {
        constexpr uint8_t EMPTY[16] = {};
        if (std::memcmp(AsExtensible(wfx)->SubFormat, EMPTY, sizeof EMPTY) != 0) return QMSAMPLE_UNKNOWN;
    } else if (wfx->cbSize != 0) {
        return QMSAMPLE_UNKNOWN;
    }
    if (wfx->nBlockAlign != uint32_t{wfx->nChannels} * wfx->wBitsPerSample ||
        wfx->nAvgBytesPerSec != wfx->nBlockAlign * wfx->nSamplesPerSec)
        return QMSAMPLE_UNKNOWN;
    switch (wfx->wBitsPerSample) {
    case 8: return QMSAMPLE_PCM8;
    case 16: return QMSAMPLE_PCM16;
    case 24: return QMSAMPLE_PCM24;
    case 32: return QMSAMPLE_FLOAT32;
    case 64: return QMSAMPLE_FLOAT64;
    default: return QMSAMPLE_UNKNOWN;
    }
}

/// The codec's own bytes behind a platform record.
struct Extra {
    const uint8_t* bytes;
    uint32_t size;
};
Extra ExtraOf(const WAVEFORMATEX* wfx) {
    const bool isExtensible = wfx->wFormatTag == WAVE_TAG_EXTENSIBLE;
    const uint32_t skipped = isExtensible ? uint32_t{WAVE_EXTENSIBLE_EXTRA} : 0;
    if (KnowsNoExtra(wfx->wFormatTag) || wfx->cbSize <= skipped) return {nullptr, 0};
    return {reinterpret_cast<const uint8_t*>(wfx) + sizeof *wfx + skipped, wfx->cbSize - skipped};
}

bool WantsExtensible(const _qmwaveformat& source, uint32_t capacity, QMWAVEFORMAT_COPY_DEST dest) {
    if (capacity < sizeof(WAVEFORMATEXTENSIBLE)) return false;
    switch (dest) {
    case QMWAVEFORMAT_COPY_AUTO: return (source.flags & QMWAVEFORMAT_FROM_EXTENSIBLE) || source.HasOwnMask();
    case QMWAVEFORMAT_COPY_MULTICHANNEL: return source.channels > 2;
    case QMWAVEFORMAT_COPY_EXTENSIBLE: return true;
    default: return false;
    }
}

void CopyForeign(WAVEFORMATEX* target, uint32_t capacity, const _qmwaveformat& source, bool wantExtensible,
                 bool dropMask) {
    const uint32_t extraSize = source.ExtraSize();
    *target = {source.formatTag,
               source.channels,
               source.sampleRate,
               source.avgBytesPerSec,
               source.blockAlign,
               source.bitsPerSample,
               0};
    uint32_t at = sizeof *target;
    if (wantExtensible ||
        (!dropMask && source.HasOwnMask() && capacity >= sizeof(WAVEFORMATEXTENSIBLE) + extraSize)) {
        InitExtensible(reinterpret_cast<WAVEFORMATEXTENSIBLE*>(target), source.formatTag,
                       source.bitsPerSample, source.channelMask);
        at = sizeof(WAVEFORMATEXTENSIBLE);
    } else if (KnowsNoExtra(source.formatTag)) {
        at = offsetof(WAVEFORMATEX, cbSize);  // old readers of such formats look for the bytes here
    }
    const uint32_t copied = std::min(extraSize, capacity - at);
    target->cbSize = static_cast<uint16_t>(target->cbSize + copied);
    std::memcpy(reinterpret_cast<uint8_t*>(target) + at, source.ExtraData(), copied);
}

uint32_t MaskOf(const WAVEFORMATEX& wfx) {
    const WAVEFORMATEXTENSIBLE* ext = AsExtensible(&wfx);
    return ext ? ext->dwChannelMask : 0;
}

bool SameMask(uint32_t a, uint32_t b, uint32_t defaultMask) {
    return (a ? a : defaultMask) == (b ? b : defaultMask);
}

bool SameExtra(const _qmwaveformat& a, Extra b) {
    return a.ExtraSize() == b.size && (b.size == 0 || std::memcmp(a.ExtraData(), b.bytes, b.size) == 0);
}

}  // namespace

uint32_t _qmwaveformat::DefaultMask() const { return DefaultChannelMask(channels); }

void _qmwaveformat::Init(uint32_t rate, QMSAMPLETYPE type, uint32_t channelCount, uint32_t mask,
                         uint32_t capacity) {
    Clear(this, capacity);
    size = FORMAT_HEAD;
    sampleType = type;
    sampleRate = rate;
    channels = static_cast<uint16_t>(channelCount);
    channelMask = mask;
    UpdateBlockAlign();
}

void _qmwaveformat::InitAsWfx(uint32_t tag, uint32_t rate, uint32_t bits, uint32_t channelCount,
                              uint32_t mask, uint32_t capacity) {
    if (tag == WAVE_TAG_PCM && bits == 20) bits = 24;
    Init(rate, QmAudio_GetSampleType2(tag, bits), channelCount, mask, capacity);
    if (sampleType == QMSAMPLE_UNKNOWN) {
        flags |= QMWAVEFORMAT_FOREIGN;
        formatTag = static_cast<uint16_t>(tag);
        bitsPerSample = static_cast<uint16_t>(bits);
    }
    blockAlign = static_cast<uint16_t>(uint64_t{channels} * bits / 8);
    avgBytesPerSec = blockAlign * sampleRate;
}

void _qmwaveformat::Init(uint32_t capacity, const WAVEFORMATEX* wfx) {
    Clear(this, capacity);
    size = FORMAT_HEAD;
    sampleType = QmAudio_GetSampleType(wfx);
    sampleRate = wfx->nSamplesPerSec;
    channels = wfx->nChannels;
    blockAlign = wfx->nBlockAlign;
    avgBytesPerSec = wfx->nAvgBytesPerSec;
    if (wfx->wFormatTag == WAVE_TAG_PCM) {
        const uint32_t bits = wfx->wBitsPerSample == 20 ? 24 : wfx->wBitsPerSample;
        blockAlign = static_cast<uint16_t>((bits >> 3) * channels);
    } else if (wfx->wFormatTag == WAVE_TAG_EXTENSIBLE) {
        channelMask = MaskOf(*wfx);
        flags |= QMWAVEFORMAT_FROM_EXTENSIBLE;
        if (sampleType == QMSAMPLE_UNKNOWN) sampleType = TypeOfDefectiveRecord(wfx);
    }
    if (sampleType != QMSAMPLE_UNKNOWN) return;
    formatTag = static_cast<uint16_t>(
        wfx->wFormatTag == WAVE_TAG_EXTENSIBLE && !AsExtensible(wfx) ? 0 : QmAudio_GetWaveFormatTag(wfx));
    bitsPerSample = wfx->wBitsPerSample;
    flags |= QMWAVEFORMAT_FOREIGN;
    if (capacity <= HEAD_WITH_EXTRA) return;
    const Extra extra = ExtraOf(wfx);
    const uint32_t copied = std::min({extra.size, capacity - HEAD_WITH_EXTRA, QMWAVEFORMAT_MOST_EXTRA});
    if (copied == 0) return;
    extraSize = static_cast<uint16_t>(copied);
    std::memcpy(ExtraData(), extra.bytes, copied);
    size = FORMAT_HEAD + copied;
}

void _qmwaveformat::UpdateBlockAlign() {
    if (IsForeign()) return;
    blockAlign = static_cast<uint16_t>(QmAudio_BytesFromSampleType(sampleType) * channels);
    avgBytesPerSec = blockAlign * sampleRate;
}

HRESULT _qmwaveformat::ToWfx(WAVEFORMATEX* target, uint32_t capacity, QMWAVEFORMAT_COPY_DEST dest) const {
    return QmAudio_GeneralCopyWfx(target, capacity, this, dest);
}

uint32_t _qmwaveformat::FormatTag() const {
    return IsForeign() ? formatTag : QmAudio_FormatTagFromSampleType(sampleType);
}
uint32_t _qmwaveformat::BitsPerSample() const {
    return IsForeign() ? bitsPerSample : QmAudio_BitsFromSampleType(sampleType);
}
uint32_t _qmwaveformat::BytesPerSample() const { return BitsPerSample() >> 3; }

bool _qmwaveformat::IsCompressed() const {
    const WAVEFORMATEX wfx = {
        static_cast<uint16_t>(FormatTag()),     channels, sampleRate, avgBytesPerSec, blockAlign,
        static_cast<uint16_t>(BitsPerSample()), 0};
    return QmAudio_IsCompressed(&wfx);
}

bool operator==(const _qmwaveformat& a, const _qmwaveformat& b) {
    if (a.sampleType != b.sampleType || a.sampleRate != b.sampleRate || a.channels != b.channels ||
        a.IsForeign() != b.IsForeign() || !SameMask(a.channelMask, b.channelMask, a.DefaultMask()))
        return false;
    return !a.IsForeign() ||
           (a.formatTag == b.formatTag && a.avgBytesPerSec == b.avgBytesPerSec &&
            a.bitsPerSample == b.bitsPerSample && SameExtra(a, {b.ExtraData(), b.ExtraSize()}));
}

bool operator==(const _qmwaveformat& a, const WAVEFORMATEX& b) {
    if (a.sampleRate != b.nSamplesPerSec || a.channels != b.nChannels ||
        !SameMask(a.channelMask, MaskOf(b), a.DefaultMask()))
        return false;
    if (!a.IsForeign()) return a.sampleType == QmAudio_GetSampleType(&b);
    return a.formatTag == QmAudio_GetWaveFormatTag(&b) && a.avgBytesPerSec == b.nAvgBytesPerSec &&
           a.bitsPerSample == b.wBitsPerSample && SameExtra(a, ExtraOf(&b));
}

extern "C" {

HRESULT QmAudio_CopyWfx(WAVEFORMATEX* target, uint32_t capacity, const WAVEFORMATEX* source,
                        QMWAVEFORMAT_COPY_DEST dest) {
    const QmWaveFormatBlock block(source);
    return QmAudio_GeneralCopyWfx(target, capacity, &block.format, dest);
}

HRESULT QmAudio_CopyWfExt(WAVEFORMATEXTENSIBLE* ext, const WAVEFORMATEX* source,
                          QMWAVEFORMAT_COPY_DEST dest) {
    return QmAudio_CopyWfx(&ext->Format, sizeof *ext, source, dest);
}

HRESULT QmAudio_GeneralCopyWfx(WAVEFORMATEX* target, uint32_t capacity, const _qmwaveformat* source,
                               QMWAVEFORMAT_COPY_DEST dest) {
    if (capacity < sizeof *target) return E_INVALIDARG;
    const bool wantExtensible = WantsExtensible(*source, capacity, dest);
    if (source->IsForeign()) {
        CopyForeign(target, capacity, *source, wantExtensible, dest == QMWAVEFORMAT_COPY_PLAIN);
        return S_OK;
    }
    const uint32_t tag = QmAudio_FormatTagFromSampleType(source->sampleType),
                   bits = QmAudio_BitsFromSampleType(source->sampleType);
    const uint32_t mask = wantExtensible || dest == QMWAVEFORMAT_COPY_PLAIN ? 0 : source->channelMask;
    QmAudio_InitWfxFlex(target, tag, source->sampleRate, bits, source->channels, mask, capacity);
    if (wantExtensible)
        InitExtensible(reinterpret_cast<WAVEFORMATEXTENSIBLE*>(target), tag, bits,
                       source->channelMask ? source->channelMask : source->DefaultMask());
    return S_OK;
}

void QmAudio_GeneralCopyQmWaveFormat(_qmwaveformat* target, uint32_t capacity, const _qmwaveformat* source) {
    if (capacity == 0) capacity = FORMAT_HEAD;
    const uint32_t room = capacity < HEAD_WITH_EXTRA || capacity > LARGEST ? QMWAVEFORMAT_MOST_EXTRA
                                                                           : capacity - HEAD_WITH_EXTRA;
    uint32_t extra = source->ExtraSize();
    if (extra > room || capacity < HEAD_WITH_EXTRA) extra = 0;
    const uint32_t copied = std::min(capacity, extra ? HEAD_WITH_EXTRA + extra : FORMAT_HEAD);
    std::memmove(target, source, copied);
    std::memset(reinterpret_cast<uint8_t*>(target) + copied, 0, capacity - copied);
    if (capacity >= sizeof target->size) target->size = FORMAT_HEAD + extra;
}

}  // extern "C"

WAVEFORMATEX* QmAudio_AllocAndCopyWfx(const _qmwaveformat* source, QMWAVEFORMAT_COPY_DEST dest) {
    const bool own = source->HasOwnMask();
    const bool extensible =
        dest == QMWAVEFORMAT_COPY_EXTENSIBLE ||
        (dest == QMWAVEFORMAT_COPY_MULTICHANNEL && source->channels > 2) ||
        (dest == QMWAVEFORMAT_COPY_MASKED && own) ||
        (dest == QMWAVEFORMAT_COPY_AUTO && ((source->flags & QMWAVEFORMAT_FROM_EXTENSIBLE) || own));
    const uint32_t head = extensible ? sizeof(WAVEFORMATEXTENSIBLE) : sizeof(WAVEFORMATEX);
    const uint32_t bytes = head + source->ExtraSize();
    auto* target = static_cast<WAVEFORMATEX*>(MemAlloc(bytes));
    if (target) QmAudio_GeneralCopyWfx(target, bytes, source, dest);
    return target;
}

WAVEFORMATEX* QmAudio_AllocAndCopyWfx(const WAVEFORMATEX* source, QMWAVEFORMAT_COPY_DEST dest) {
    const bool isExtensible = source->wFormatTag == WAVE_TAG_EXTENSIBLE;
    const bool literal = dest == QMWAVEFORMAT_COPY_AUTO ||
                         (isExtensible ? dest == QMWAVEFORMAT_COPY_EXTENSIBLE
                                       : dest == QMWAVEFORMAT_COPY_MASKED || dest == QMWAVEFORMAT_COPY_PLAIN);
    if (!literal) {
        const QmWaveFormatBlock block(source);
        return QmAudio_AllocAndCopyWfx(&block.format, dest);
    }
    const size_t bytes = sizeof *source + source->cbSize;
    auto* target = static_cast<WAVEFORMATEX*>(MemAlloc(bytes));
    if (target) std::memcpy(target, source, bytes);
    return target;
}
