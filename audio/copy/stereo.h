// Stereo taken apart and put together, for one level of the processor. The loops are plain, the compiler
// makes vectors of them.
#pragma once

#include "platform/types.h"

struct StereoTable {
    /// Lengths are frames. Source and destination of the first two may be one buffer.
    void (*extract)(void* mono, const void* channel, int64_t frames);  ///< every second sample
    void (*spread)(void* stereo, const void* mono, int64_t frames);
    void (*insert)(void* channel, const void* mono, int64_t frames);
    void (*join)(void* stereo, const void* left, const void* right, int64_t frames);
    void (*split)(void* left, void* right, const void* stereo, int64_t frames);
    void (*swap)(void* dst, const void* src, int64_t frames);  ///< in place or apart
};

/// The tables of a level, by the bytes of a sample less one; null where no loop is worth it.
struct StereoTables {
    StereoTable width[8];
    void (*averageFloats)(void* mono, const void* stereo, int64_t frames);
    /// Two channels of 16 bits: their sum, clamped, and half of it rounded to nearest, ties to even.
    void (*sumShorts)(void* mono, const void* stereo, int64_t frames);
    void (*averageShorts)(void* mono, const void* stereo, int64_t frames);
    /// Two channels of words with 25 bits at most: their sum, and half of it rounded to nearest, ties to
    /// even.
    void (*sumWords)(int32_t* mono, const int32_t* stereo, int64_t frames);
    void (*averageWords)(int32_t* mono, const int32_t* stereo, int64_t frames);
    /// Whole lines to the beginning of a line, past the caches; null where that is not known. The last is
    /// followed by endStream.
    void (*stream)(void* to, const void* from, size_t bytes);
    void (*endStream)();
};

/// Three bytes, by way of the processor's conversions; without insertion, which would write the other
/// channel, too.
extern const StereoTable STEREO24;

/// That of the processor.
const StereoTables& BestStereo();

extern const StereoTables STEREO_PLAIN;
#ifdef __x86_64__
extern const StereoTables STEREO_AVX2, STEREO_AVX512;
#endif
