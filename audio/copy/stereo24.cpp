// Stereo of three-byte samples, by way of words: the conversions and the loops for words are vectors, and no
// loop over triples of bytes is.
#include "audio/audio_copy.h"
#include "audio/copy/stereo.h"

#include <algorithm>

namespace {

constexpr int64_t PIECE_FRAMES = 512, WIDTH = 3;

/// A piece of frames as words.
struct Words {
    QMAUDIOCOPYFN widen = QmAudio_GetCopyFunction2(QMSAMPLE_PCM24IN32, QMSAMPLE_PCM24);
    QMAUDIOCOPYFN narrow = QmAudio_GetCopyFunction2(QMSAMPLE_PCM24, QMSAMPLE_PCM24IN32);
    const StereoTable& loops = BestStereo().width[3];
    int32_t mono[PIECE_FRAMES], other[PIECE_FRAMES], stereo[2 * PIECE_FRAMES];

    void In(int32_t* words, const uint8_t* samples, int64_t count) const { widen(words, samples, count, 1); }
    void Out(uint8_t* samples, const int32_t* words, int64_t count) const {
        narrow(samples, words, count, 1);
    }
};

/// Calls `work` for each piece with its first frame and its length.
template <class Work>
void ForPieces(int64_t frames, Work work) {
    for (int64_t i = 0; i < frames; i += PIECE_FRAMES) work(i, std::min(PIECE_FRAMES, frames - i));
}

void Extract(void* mono, const void* channel, int64_t frames) {
    auto* d = static_cast<uint8_t*>(mono);
    const auto* s = static_cast<const uint8_t*>(channel);
    Words w;
    ForPieces(frames, [&](int64_t i, int64_t count) {
        w.In(w.stereo, s + 2 * WIDTH * i, 2 * count - 1);  // the last frame may end with this channel
        w.loops.extract(w.mono, w.stereo, count);
        w.Out(d + WIDTH * i, w.mono, count);
    });
}

void Spread(void* stereo, const void* mono, int64_t frames) {
    auto* d = static_cast<uint8_t*>(stereo);
    const auto* s = static_cast<const uint8_t*>(mono);
    Words w;
    // From the last piece to the first, since it may be one buffer.
    for (int64_t end = frames; end > 0;) {
        const int64_t count = std::min(PIECE_FRAMES, end), i = end - count;
        w.In(w.mono, s + WIDTH * i, count);
        w.loops.join(w.stereo, w.mono, w.mono, count);
        w.Out(d + 2 * WIDTH * i, w.stereo, 2 * count);
        end = i;
    }
}

void Join(void* stereo, const void* left, const void* right, int64_t frames) {
    auto* d = static_cast<uint8_t*>(stereo);
    const auto *l = static_cast<const uint8_t*>(left), *r = static_cast<const uint8_t*>(right);
    Words w;
    ForPieces(frames, [&](int64_t i, int64_t count) {
        w.In(w.mono, l + WIDTH * i, count);
        w.In(w.other, r + WIDTH * i, count);
        w.loops.join(w.stereo, w.mono, w.other, count);
        w.Out(d + 2 * WIDTH * i, w.stereo, 2 * count);
    });
}

void Split(void* left, void* right, const void* stereo, int64_t frames) {
    auto *l = static_cast<uint8_t*>(left), *r = static_cast<uint8_t*>(right);
    const auto* s = static_cast<const uint8_t*>(stereo);
    Words w;
    ForPieces(frames, [&](int64_t i, int64_t count) {
        w.In(w.stereo, s + 2 * WIDTH * i, 2 * count);
        w.loops.split(w.mono, w.other, w.stereo, count);
        w.Out(l + WIDTH * i, w.mono, count);
        w.Out(r + WIDTH * i, w.other, count);
    });
}

void Swap(void* dst, const void* src, int64_t frames) {
    auto* d = static_cast<uint8_t*>(dst);
    const auto* s = static_cast<const uint8_t*>(src);
    Words w;
    ForPieces(frames, [&](int64_t i, int64_t count) {
        w.In(w.stereo, s + 2 * WIDTH * i, 2 * count);
        w.loops.swap(w.stereo, w.stereo, count);
        w.Out(d + 2 * WIDTH * i, w.stereo, 2 * count);
    });
}

}  // namespace

constexpr StereoTable STEREO24 = {Extract, Spread, nullptr, Join, Split, Swap};
