#include "audio/audio_copy.h"

#include "audio/copy/levels.h"

#include <algorithm>
#include <iterator>

namespace {

int IndexOf(QMSAMPLETYPE type) {
    const auto* at = std::ranges::find(COPY_TYPES, type);
    return at == std::end(COPY_TYPES) ? -1 : static_cast<int>(at - COPY_TYPES);
}

QMSAMPLETYPE TypeOf(const WAVEFORMATEX* format) { return QmAudio_GetSampleType(format); }
QMSAMPLETYPE TypeOf(const _qmwaveformat* format) { return format->sampleType; }
uint32_t ChannelsOf(const WAVEFORMATEX* format) { return format->nChannels; }
uint32_t ChannelsOf(const _qmwaveformat* format) { return format->channels; }

template <class Dst, class Src>
HRESULT CopyFormats(const Dst* dstFormat, void* dst, const Src* srcFormat, const void* src, int64_t frames,
                    float scale) {
    if (frames <= 0) return S_OK;
    const QMAUDIOCOPYFN routine = QmAudio_GetCopyFunction(dstFormat, srcFormat);
    if (!routine) return E_NOTIMPL;
    routine(dst, src, frames * ChannelsOf(srcFormat), scale);
    return S_OK;
}

}  // namespace

QMAUDIOCOPYFN FindRoutine(const CopyTable& table, QMSAMPLETYPE dst, QMSAMPLETYPE src) {
    const int to = IndexOf(dst), from = IndexOf(src);
    return to < 0 || from < 0 ? nullptr : table.routine[to][from];
}

QMAUDIOCOPYFN QmAudio_GetCopyFunction2(QMSAMPLETYPE dstType, QMSAMPLETYPE srcType) {
    const uint32_t support = QmGetCPUSupport();
    const auto* level =
        std::ranges::find_if(COPY_LEVELS, [&](const CopyLevel& l) { return (support & l.needs) == l.needs; });
    return FindRoutine(*level->table, dstType, srcType);
}

QMAUDIOCOPYFN QmAudio_GetCopyFunction(const WAVEFORMATEX* dst, const WAVEFORMATEX* src) {
    return QmAudio_GetCopyFunction2(TypeOf(dst), TypeOf(src));
}
QMAUDIOCOPYFN QmAudio_GetCopyFunction(const _qmwaveformat* dst, const WAVEFORMATEX* src) {
    return QmAudio_GetCopyFunction2(TypeOf(dst), TypeOf(src));
}
QMAUDIOCOPYFN QmAudio_GetCopyFunction(const WAVEFORMATEX* dst, const _qmwaveformat* src) {
    return QmAudio_GetCopyFunction2(TypeOf(dst), TypeOf(src));
}
QMAUDIOCOPYFN QmAudio_GetCopyFunction(const _qmwaveformat* dst, const _qmwaveformat* src) {
    return QmAudio_GetCopyFunction2(TypeOf(dst), TypeOf(src));
}

HRESULT QmAudio_Copy(const WAVEFORMATEX* dstFormat, void* dst, const WAVEFORMATEX* srcFormat, const void* src,
                     int64_t frames, float scale) {
    return CopyFormats(dstFormat, dst, srcFormat, src, frames, scale);
}
HRESULT QmAudio_Copy(const _qmwaveformat* dstFormat, void* dst, const _qmwaveformat* srcFormat,
                     const void* src, int64_t frames, float scale) {
    return CopyFormats(dstFormat, dst, srcFormat, src, frames, scale);
}
HRESULT QmAudio_Copy(const _qmwaveformat* dstFormat, void* dst, const WAVEFORMATEX* srcFormat,
                     const void* src, int64_t frames, float scale) {
    return CopyFormats(dstFormat, dst, srcFormat, src, frames, scale);
}
HRESULT QmAudio_Copy(const WAVEFORMATEX* dstFormat, void* dst, const _qmwaveformat* srcFormat,
                     const void* src, int64_t frames, float scale) {
    return CopyFormats(dstFormat, dst, srcFormat, src, frames, scale);
}
