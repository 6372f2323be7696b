// What the processor can do, for routines that have a form for it. [any-thread]
#pragma once

#include "platform/types.h"

enum : uint32_t {
    CPU_SUPPORT_SSE = 0x20,
    CPU_SUPPORT_SSE2 = 0x40,
    CPU_SUPPORT_AVX2 = 0x1000,
    CPU_SUPPORT_AVX512 = 0x2000,  ///< with BW, DQ and VL
};

extern "C" {

/// What the processor and the operating system support, found once, less what the settings forbid.
QM_API uint32_t QmGetCPUSupport();
/// Settings, for tests and for machines on which one form is slow; at first all is allowed. They take effect
/// on routines that are asked for from then on.
QM_API void QmAllowCPUSupport(uint32_t bits);
QM_API void QmDisallowCPUSupport(uint32_t bits);
QM_API void QmOnlyAllowCPUSupport(uint32_t bits);

}  // extern "C"
