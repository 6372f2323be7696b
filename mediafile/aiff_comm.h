// The "COMM" chunk of an AIFF file.
#pragma once

#include "platform/types.h"

namespace tarn {

inline constexpr uint32_t AIFF_COMM_BYTES = 18, AIFC_COMM_BYTES = 22;

struct AiffComm {
    uint16_t channels;
    uint32_t frames;
    uint16_t bits;
    uint16_t exponent;  ///< with the mantissa, the rate as an 80-bit float
    uint16_t mantissa[4];

    QM_API uint32_t Rate() const;
};

/// Of 18 bytes.
QM_API AiffComm ReadComm(const uint8_t* bytes);
QM_API void WriteComm(uint8_t* bytes, const AiffComm& comm);

}  // namespace tarn
