// Samples of telephone lines: one byte each, by the two laws of G.711. [any-thread]
#pragma once

#include "platform/types.h"

#include <cstddef>

namespace tarn {

/// 16-bit samples; the law's own 14 or 13 bits are their highest.
QM_API void DecodeMuLaw(const uint8_t* bytes, size_t count, int16_t* samples);
QM_API void DecodeALaw(const uint8_t* bytes, size_t count, int16_t* samples);

}  // namespace tarn
