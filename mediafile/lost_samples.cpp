#include "mediafile/lost_samples.h"

#include "mediafile/chunk_io.h"
#include "mediafile/file_stream.h"
#include "mediafile/riff64.h"

#include <cstring>

namespace tarn {

namespace {

/// What a writer of ours puts where, and by what its data chunk is known.
struct Layout {
    int64_t format;  ///< place of the 18 bytes
    int64_t chunks;  ///< behind them
    const ChunkGrammar& g;
    const void* data;  ///< label of the samples' chunk
};

constexpr Layout WAVE_LAYOUT = {20, 38, WAVE_GRAMMAR, "data"};
constexpr Layout WAVE64_LAYOUT = {64, 88, WAVE64_GRAMMAR, &W64_DATA};

WAVEFORMATEX DefaultHint() {
    WAVEFORMATEX hint;
    QmAudio_InitWfx(&hint, 44100, QMSAMPLE_PCM16, 2);
    return hint;
}

uint16_t MendedBits(uint16_t tag, uint16_t bits, uint16_t hint) {
    if (tag == WAVE_TAG_IEEE_FLOAT) return bits == 32 || bits == 64 ? bits : hint <= 32 ? 32 : 64;
    if (bits == 8 || bits == 16 || bits == 24 || bits == 32) return bits;
    return hint < 32 ? hint : 32;
}

/// Field by field: what cannot be takes the hint's place.
void Mend(WAVEFORMATEX& wfx, const WAVEFORMATEX& hint) {
    if (wfx.nSamplesPerSec < 2000 || wfx.nSamplesPerSec > 192000) wfx.nSamplesPerSec = hint.nSamplesPerSec;
    if (wfx.nChannels != 1 && wfx.nChannels != 2) wfx.nChannels = hint.nChannels;
    if (wfx.wFormatTag != WAVE_TAG_PCM && wfx.wFormatTag != WAVE_TAG_IEEE_FLOAT)
        wfx.wFormatTag = hint.wFormatTag;
    wfx.wBitsPerSample = MendedBits(wfx.wFormatTag, wfx.wBitsPerSample, hint.wBitsPerSample);
    wfx.cbSize = 0;
    wfx.nBlockAlign = static_cast<uint16_t>(wfx.wBitsPerSample / 8 * wfx.nChannels);
    wfx.nAvgBytesPerSec = wfx.nBlockAlign * wfx.nSamplesPerSec;
}

/// From chunk to chunk; the place behind the data chunk's header, or -1.
int64_t WalkToData(FileStream s, const Layout& layout, int64_t scanEnd) {
    ChunkIo<FileStream> chunks(s, layout.g);
    uint64_t size = 0, left = static_cast<uint64_t>(std::max<int64_t>(scanEnd - layout.chunks, 0));
    return s.Seek(layout.chunks) && Succeeded(chunks.Find(layout.data, &size, &left)) ? s.Tell() : -1;
}

/// Byte by byte for the label.
HRESULT SearchData(FileStream s, const Layout& layout, int64_t scanEnd, int64_t* start) {
    constexpr int64_t BLOCK = 4096;
    uint8_t block[BLOCK];
    const int64_t overlap = layout.g.sizeAt, header = layout.g.header, length = s.Size();
    for (int64_t at = layout.chunks;; at += BLOCK - overlap) {
        if (!s.Seek(at)) return MEDIA_E_READ;
        const int64_t got = s.ReadSome(block, BLOCK);
        for (int64_t i = 0; i + overlap <= got && at + i + header <= length; i++)
            if (std::memcmp(block + i, layout.data, layout.g.sizeAt) == 0)
                return *start = at + i + header, S_OK;
        if (at + BLOCK >= scanEnd) return *start = scanEnd, S_OK;
        if (got < BLOCK) return MEDIA_E_NOT_FOUND;
    }
}

HRESULT FindSamples(HQMFILE file, const Layout& layout, const WAVEFORMATEX* hint, int64_t limit,
                    LostSamples* found) {
    const FileStream s{file};
    const PositionKeeper keeper(s);
    const int64_t length = s.Size(), scanEnd = std::min(length, limit);
    if (!s.Seek(layout.format) || !s.Read(&found->format, sizeof found->format)) return MEDIA_E_READ;
    Mend(found->format, hint ? *hint : DefaultHint());
    const uint32_t frame = found->format.nBlockAlign;
    if (frame == 0) return MEDIA_E_UNSUPPORTED_TYPE;  // the hint's fault
    int64_t start = WalkToData(s, layout, scanEnd);
    if (start < 0)
        if (const HRESULT hr = SearchData(s, layout, scanEnd, &start); Failed(hr)) return hr;
    const int64_t bytes = std::max<int64_t>(length - start, 0);
    found->start = static_cast<uint64_t>(start);
    found->bytes = static_cast<uint64_t>(bytes - bytes % frame);
    return S_OK;
}

int64_t Bounded(uint64_t limit) { return static_cast<int64_t>(std::min<uint64_t>(limit, INT64_MAX)); }

}  // namespace

HRESULT FindLostWavSamples(HQMFILE file, const WAVEFORMATEX* hint, uint64_t limit, LostSamples* found) {
    return FindSamples(file, WAVE_LAYOUT, hint, Bounded(limit), found);
}
HRESULT FindLostW64Samples(HQMFILE file, const WAVEFORMATEX* hint, uint64_t limit, LostSamples* found) {
    return FindSamples(file, WAVE64_LAYOUT, hint, Bounded(limit - limit % 8), found);
}

}  // namespace tarn
