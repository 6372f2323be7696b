#include "audio/channels.h"

#include "audio/cells.h"
#include "audio/copy/copy_table.h"
#include "audio/copy/stereo.h"

#include <cstring>

namespace {

bool IsLittleEndianKind(QMSAMPLETYPE type) { return type >= QMSAMPLE_PCM8 && type <= QMSAMPLE_FLOAT64; }

uint32_t WidthOf(QMSAMPLETYPE type) { return QmAudio_BytesFromSampleType(type); }
/// 0 for what is served by little-endian kinds only.
uint32_t LittleEndianWidthOf(QMSAMPLETYPE type) { return IsLittleEndianKind(type) ? WidthOf(type) : 0; }

/// The loops for stereo of so wide samples.
const StereoTable& Stereo(uint32_t width) { return width == 3 ? STEREO24 : BestStereo().width[width - 1]; }

/// Every `dstStep`-th cell from every `srcStep`-th.
template <class Cell>
void Move(Cell* dst, int64_t dstStep, const Cell* src, int64_t srcStep, int64_t frames) {
    const StereoTable& stereo = Stereo(sizeof(Cell));
    if (dstStep == 1 && srcStep == 2) return stereo.extract(dst, src, frames);
    if (stereo.insert && dstStep == 2 && srcStep == 1) return stereo.insert(dst, src, frames);
    for (int64_t i = 0; i < frames; i++) dst[i * dstStep] = src[i * srcStep];
}

constexpr int64_t CACHE_LINE = 64, PIECE_FRAMES = 8 * CACHE_LINE;

/// Whether two destinations begin on lines and are too long for the caches.
bool IsWorthStreaming(const void* a, const void* b, int64_t bytes) {
    const auto isOnLine = [](const void* p) { return reinterpret_cast<uintptr_t>(p) % CACHE_LINE == 0; };
    return BestStereo().stream && bytes >= STREAMED_BYTES && isOnLine(a) && isOnLine(b);
}

/// Long runs, through pieces that stay in the first cache. Return how many frames were done.
template <int WIDTH>
int64_t JoinStreamed(uint8_t* dst, const uint8_t* left, const uint8_t* right, int64_t frames) {
    const StereoTables& tables = BestStereo();
    alignas(CACHE_LINE) uint8_t piece[PIECE_FRAMES * 2 * WIDTH];
    int64_t i = 0;
    for (; i + PIECE_FRAMES <= frames; i += PIECE_FRAMES) {
        Stereo(WIDTH).join(piece, left + i * WIDTH, right + i * WIDTH, PIECE_FRAMES);
        tables.stream(dst + i * 2 * WIDTH, piece, sizeof piece);
    }
    tables.endStream();
    return i;
}
template <int WIDTH>
int64_t SplitStreamed(uint8_t* left, uint8_t* right, const uint8_t* src, int64_t frames) {
    const StereoTables& tables = BestStereo();
    alignas(CACHE_LINE) uint8_t first[PIECE_FRAMES * WIDTH], second[PIECE_FRAMES * WIDTH];
    int64_t i = 0;
    for (; i + PIECE_FRAMES <= frames; i += PIECE_FRAMES) {
        Stereo(WIDTH).split(first, second, src + i * 2 * WIDTH, PIECE_FRAMES);
        tables.stream(left + i * WIDTH, first, sizeof first);
        tables.stream(right + i * WIDTH, second, sizeof second);
    }
    tables.endStream();
    return i;
}

/// One channel of each frame on all channels of another; backwards where the destination grows over its
/// source.
template <class Cell>
void Spread(Cell* dst, int64_t dstChannels, const Cell* src, int64_t srcChannels, int64_t frames) {
    const StereoTable& stereo = Stereo(sizeof(Cell));
    if (dstChannels == 2 && srcChannels == 1) {
        int64_t done = 0;
        if (IsWorthStreaming(dst, dst, frames * 2 * int64_t{sizeof(Cell)}) &&
            (src + frames <= dst || dst + 2 * frames <= src))
            done = JoinStreamed<sizeof(Cell)>(dst->bytes, src->bytes, src->bytes, frames);
        return stereo.spread(dst + 2 * done, src + done, frames - done);
    }
    const auto one = [&](int64_t i) {
        const Cell cell = src[i * srcChannels];
        for (int64_t c = dstChannels - 1; c >= 0; c--) dst[i * dstChannels + c] = cell;
    };
    if (dstChannels > srcChannels)
        for (int64_t i = frames - 1; i >= 0; i--) one(i);
    else
        for (int64_t i = 0; i < frames; i++) one(i);
}

HRESULT SpreadChannel(void* dst, uint32_t dstChannels, const void* src, uint32_t srcChannels,
                      uint32_t channel, int64_t frames, uint32_t width) {
    if (channel >= srcChannels) return E_FAIL;
    return WithCell(width, [&](auto cell) {
        using C = decltype(cell);
        Spread(static_cast<C*>(dst), dstChannels, static_cast<const C*>(src) + channel, srcChannels, frames);
    });
}

}  // namespace

extern "C" {

HRESULT QmAudio_ExtractChannel(void* dst, uint32_t channel, const void* src, QMSAMPLETYPE type,
                               uint32_t channels, int64_t frames) {
    if (WidthOf(type) == 0 || channel >= channels) return E_FAIL;
    if (frames <= 0) return S_OK;
    return WithCell(WidthOf(type), [&](auto cell) {
        using C = decltype(cell);
        if (channels == 1)
            std::memmove(dst, src, static_cast<size_t>(frames) * sizeof cell);
        else
            Move(static_cast<C*>(dst), 1, static_cast<const C*>(src) + channel, channels, frames);
    });
}

HRESULT QmAudio_ExtractChannelPair(void* dst, uint32_t firstChannel, const void* src,
                                   const WAVEFORMATEX* format, int64_t frames) {
    const uint32_t channels = format->nChannels, width = LittleEndianWidthOf(QmAudio_GetSampleType(format));
    if (width == 0 || channels < 2 || firstChannel > channels - 2) return E_FAIL;
    return WithCell(width, [&](auto cell) {
        using C = decltype(cell);
        auto* to = static_cast<C*>(dst);
        const auto* from = static_cast<const C*>(src) + firstChannel;
        for (int64_t i = 0; i < frames; i++) {
            const C left = from[i * channels], right = from[i * channels + 1];
            to[2 * i] = left;
            to[2 * i + 1] = right;
        }
    });
}

HRESULT QmAudio_InsertChannel(void* dst, QMSAMPLETYPE type, uint32_t channels, uint32_t channel,
                              const void* src, int64_t frames) {
    if (channel >= channels) return E_FAIL;
    return WithCell(WidthOf(type), [&](auto cell) {
        using C = decltype(cell);
        Move(static_cast<C*>(dst) + channel, channels, static_cast<const C*>(src), 1, frames);
    });
}

HRESULT QmAudio_SplitStereo(void* left, void* right, const void* src, QMSAMPLETYPE type, int64_t frames) {
    return WithCell(WidthOf(type), [&](auto cell) {
        using C = decltype(cell);
        auto *l = static_cast<C*>(left), *r = static_cast<C*>(right);
        const auto* s = static_cast<const C*>(src);
        int64_t done = 0;
        if (IsWorthStreaming(l, r, frames * int64_t{sizeof cell}))
            done = SplitStreamed<sizeof cell>(l->bytes, r->bytes, s->bytes, frames);
        Stereo(sizeof cell).split(l + done, r + done, s + 2 * done, frames - done);
    });
}

HRESULT QmAudio_JoinStereo(void* dst, const void* left, const void* right, QMSAMPLETYPE type,
                           int64_t frames) {
    return WithCell(WidthOf(type), [&](auto cell) {
        using C = decltype(cell);
        auto* d = static_cast<C*>(dst);
        const auto *l = static_cast<const C*>(left), *r = static_cast<const C*>(right);
        int64_t done = 0;
        if (IsWorthStreaming(d, d, frames * 2 * int64_t{sizeof cell}))
            done = JoinStreamed<sizeof cell>(d->bytes, l->bytes, r->bytes, frames);
        Stereo(sizeof cell).join(d + 2 * done, l + done, r + done, frames - done);
    });
}

HRESULT QmAudio_CopyChannelToChannel(void* buffer, const WAVEFORMATEX* format, uint32_t fromChannel,
                                     uint32_t toChannel, int64_t frames) {
    const uint32_t channels = format->nChannels, width = LittleEndianWidthOf(QmAudio_GetSampleType(format));
    if (width == 0) return E_FAIL;
    if (channels == 1) return S_OK;
    if (fromChannel >= channels || toChannel >= channels) return E_FAIL;
    return WithCell(width, [&](auto cell) {
        auto* at = static_cast<decltype(cell)*>(buffer);
        Move(at + toChannel, channels, at + fromChannel, channels, frames);
    });
}

HRESULT QmAudio_CopyChannelToAll(void* dst, const void* src, const WAVEFORMATEX* dstFormat,
                                 const WAVEFORMATEX* srcFormat, uint32_t channel, int64_t frames) {
    const QMSAMPLETYPE type = QmAudio_GetSampleType(srcFormat);
    if (QmAudio_GetSampleType(dstFormat) != type) return E_NOTIMPL;
    return SpreadChannel(dst, dstFormat->nChannels, src, srcFormat->nChannels, channel, frames,
                         WidthOf(type));
}

HRESULT QmAudio_CopyChannelToMultiMono2(void* dst, uint32_t dstChannels, const void* src,
                                        uint32_t srcChannels, uint32_t channel, int64_t frames,
                                        QMSAMPLETYPE type) {
    if (type > QMSAMPLE_BE32) return E_INVALIDARG;
    return SpreadChannel(dst, dstChannels, src, srcChannels, channel, frames, WidthOf(type));
}

HRESULT QmAudio_CopyChannelToMultiMono(void* dst, uint32_t dstChannels, const void* src,
                                       const WAVEFORMATEX* srcFormat, uint32_t channel, int64_t frames) {
    return QmAudio_CopyChannelToMultiMono2(dst, dstChannels, src, srcFormat->nChannels, channel, frames,
                                           QmAudio_GetSampleType(srcFormat));
}

HRESULT QmAudio_SwapStereoChannels(void* buffer, const WAVEFORMATEX* format, int64_t frames) {
    const uint32_t width = LittleEndianWidthOf(QmAudio_GetSampleType(format));
    if (width == 0) return E_FAIL;
    if (format->nChannels < 2) return S_OK;
    return QmAudio_CopySwapStereoChannels(buffer, buffer, format, frames);
}

HRESULT QmAudio_CopySwapStereoChannels(void* dst, const void* src, const WAVEFORMATEX* format,
                                       int64_t frames) {
    const int64_t channels = format->nChannels;
    return WithCell(LittleEndianWidthOf(QmAudio_GetSampleType(format)), [&](auto cell) {
        using C = decltype(cell);
        if (channels == 2) return Stereo(sizeof cell).swap(dst, src, frames);
        if (channels < 2) {
            if (frames > 0) std::memmove(dst, src, static_cast<size_t>(frames * channels) * sizeof cell);
            return;
        }
        auto* to = static_cast<C*>(dst);
        const auto* from = static_cast<const C*>(src);
        for (int64_t i = 0; i < frames; i++, to += channels, from += channels) {
            const C first = from[0], second = from[1];
            to[0] = second;
            to[1] = first;
            for (int64_t c = 2; c < channels; c++) to[c] = from[c];
        }
    });
}

}  // extern "C"

HRESULT QmAudio_MuteChannel(void* buffer, QMSAMPLETYPE type, uint32_t channels, uint32_t channel,
                            int64_t frames) {
    if (channel >= channels) return E_FAIL;
    return WithCell(WidthOf(type), [&](auto cell) {
        std::memset(&cell, type == QMSAMPLE_PCM8 ? 0x80 : 0, sizeof cell);
        auto* at = static_cast<decltype(cell)*>(buffer) + channel;
        for (int64_t i = 0; i < frames; i++) at[i * channels] = cell;
    });
}
HRESULT QmAudio_MuteChannel(void* buffer, const WAVEFORMATEX* format, uint32_t channel, int64_t frames) {
    return QmAudio_MuteChannel(buffer, QmAudio_GetSampleType(format), format->nChannels, channel, frames);
}
HRESULT QmAudio_MuteChannel(void* buffer, const _qmwaveformat* format, uint32_t channel, int64_t frames) {
    return QmAudio_MuteChannel(buffer, format->sampleType, format->channels, channel, frames);
}
