// The tables of this build, by what they need of the processor. [any-thread]
#pragma once

#include "audio/copy/copy_table.h"
#include "platform/cpu_support.h"

struct CopyLevel {
    uint32_t needs;
    const CopyTable* table;
};

/// The best first; the last one needs nothing.
inline constexpr CopyLevel COPY_LEVELS[] = {
#ifdef __x86_64__
    {CPU_SUPPORT_AVX512, &COPY_AVX512},
    {CPU_SUPPORT_AVX2, &COPY_AVX2},
    {CPU_SUPPORT_SSE | CPU_SUPPORT_SSE2, &COPY_SSE2},
#endif
    {0, &COPY_PLAIN},
};

/// Null for types that take no part, too.
QMAUDIOCOPYFN FindRoutine(const CopyTable& table, QMSAMPLETYPE dst, QMSAMPLETYPE src);
