// The copy routines of one level of the processor, by destination and source.
#pragma once

#include "audio/audio_copy.h"

/// The types that take part, in the order of the tables.
inline constexpr QMSAMPLETYPE COPY_TYPES[] = {
    QMSAMPLE_PCM8,      QMSAMPLE_PCM16,   QMSAMPLE_PCM24, QMSAMPLE_PCM32, QMSAMPLE_FLOAT32, QMSAMPLE_FLOAT64,
    QMSAMPLE_PCM24IN32, QMSAMPLE_SIGNED8, QMSAMPLE_BE16,  QMSAMPLE_BE24,  QMSAMPLE_BE32};
inline constexpr int COPY_TYPE_COUNT = 11;

/// A destination of so many bytes does not stay in any cache, and is written past them.
inline constexpr int64_t STREAMED_BYTES = 16 << 20;

struct CopyTable {
    QMAUDIOCOPYFN routine[COPY_TYPE_COUNT]
                         [COPY_TYPE_COUNT];  ///< [destination][source], null where there is none
};

extern const CopyTable COPY_PLAIN;
#ifdef __x86_64__
extern const CopyTable COPY_SSE2, COPY_AVX2, COPY_AVX512;
#endif
