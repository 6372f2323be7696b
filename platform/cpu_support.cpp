#include "platform/cpu_support.h"

#include <atomic>

namespace {

std::atomic<uint32_t> allowed{UINT32_MAX};

uint32_t Detect() {
    uint32_t bits = 0;
#ifdef __x86_64__
    __builtin_cpu_init();
    if (__builtin_cpu_supports("sse")) bits |= CPU_SUPPORT_SSE;
    if (__builtin_cpu_supports("sse2")) bits |= CPU_SUPPORT_SSE2;
    if (__builtin_cpu_supports("avx2")) bits |= CPU_SUPPORT_AVX2;
    if (__builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
        __builtin_cpu_supports("avx512dq") && __builtin_cpu_supports("avx512vl"))
        bits |= CPU_SUPPORT_AVX512;
#endif
    return bits;
}

}  // namespace

extern "C" {

uint32_t QmGetCPUSupport() {
    static const uint32_t found = Detect();
    return found & allowed.load(std::memory_order_relaxed);
}

void QmAllowCPUSupport(uint32_t bits) { allowed.fetch_or(bits, std::memory_order_relaxed); }
void QmDisallowCPUSupport(uint32_t bits) { allowed.fetch_and(~bits, std::memory_order_relaxed); }
void QmOnlyAllowCPUSupport(uint32_t bits) { allowed.store(bits, std::memory_order_relaxed); }

}  // extern "C"
