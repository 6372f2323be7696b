#include "audio/copy/stereo_loops.h"
#include "platform/cpu_support.h"

constexpr StereoTables STEREO_PLAIN = MakeStereoTables(nullptr, nullptr);

const StereoTables& BestStereo() {
#ifdef __x86_64__
    const uint32_t support = QmGetCPUSupport();
    if (support & CPU_SUPPORT_AVX512) return STEREO_AVX512;
    if (support & CPU_SUPPORT_AVX2) return STEREO_AVX2;
#endif
    return STEREO_PLAIN;
}
