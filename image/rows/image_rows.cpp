#include "image/rows/image_rows.h"

#include "image/rows/video_rows.h"
#include "platform/cpu_support.h"

#include <cmath>

namespace tarn {

YuvFixed YuvFixed::From(const YuvMatrix& m) {
    // A step of 8-bit video is 256 of the matrix's, one of 8-bit colours 257.
    constexpr float STEP = 256.0f / 257.0f, ONE = 64;
    const auto chroma = [](float x) {
        return static_cast<int16_t>(std::lround(x * STEP * ONE * 32768 / 256));
    };
    const float luma = m.lumaScale * STEP * ONE;
    return {static_cast<int16_t>(std::lround(ONE / 2 - m.lumaOffset / 256 * luma)),
            static_cast<uint16_t>(std::lround(luma * 65536 / 257)),
            chroma(m.redV),
            chroma(m.greenU),
            chroma(m.greenV),
            chroma(m.blueU)};
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
