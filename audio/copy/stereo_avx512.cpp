#include "audio/copy/stereo_loops.h"

#include <immintrin.h>

namespace {

void Stream(void* to, const void* from, size_t bytes) {
    auto* target = static_cast<__m512i*>(to);
    const auto* source = static_cast<const __m512i*>(from);
    for (size_t i = 0; i < bytes / sizeof *target; i++) {
        const __m512i x = _mm512_load_si512(source + i);
        _mm512_stream_si512(target + i, x);
    }
}

void EndStream() { _mm_sfence(); }

}  // namespace

constexpr StereoTables STEREO_AVX512 = MakeStereoTables(Stream, EndStream);
