#include "image/rows/image_rows.h"

#include "image/rows/video_rows.h"
#include "platform/cpu_support.h"

#include <cmath>

namespace tarn {

YuvFixed YuvFixed::From(const YuvMatrix& m) {
    // A step of 8-bit video is 256 of the matrix's, one of 8-bit colours 257. Luma enters with 7 more bits,
    // chroma with 8, and a product drops 15.
    constexpr float STEP = 256.0f / 257.0f, LUMA = 16384, CHROMA = 8192;
    const auto fixed = [](float x, float unit) { return static_cast<int16_t>(std::lround(x * STEP * unit)); };
    return {static_cast<int16_t>(m.lumaOffset / 256),
            fixed(m.lumaScale, LUMA),
            fixed(m.redV, CHROMA),
            fixed(m.greenU, CHROMA),
            fixed(m.greenV, CHROMA),
            fixed(m.blueU, CHROMA)};
}

const ImageRows& BestRows() {
#ifdef __x86_64__
    const uint32_t support = QmGetCPUSupport();
    if (support & CPU_SUPPORT_AVX512) return IMAGE_ROWS_AVX512;
    if (support & CPU_SUPPORT_AVX2) return IMAGE_ROWS_AVX2;
#endif
    return IMAGE_ROWS_PLAIN;
}

}  // namespace tarn
