#include "audio/copy/stereo_loops.h"

#include <immintrin.h>

namespace {

void Stream(void* to, const void* from, size_t bytes) {
    auto* target = static_cast<__m256i*>(to);
    const auto* source = static_cast<const __m256i*>(from);
    for (size_t i = 0; i < bytes / sizeof *target; i++) {
        const __m256i x = _mm256_load_si256(source + i);
        _mm256_stream_si256(target + i, x);
    }
}

void EndStream() { _mm_sfence(); }

}  // namespace

constexpr StereoTables STEREO_AVX2 = MakeStereoTables(Stream, EndStream);
