// Four characters as one word.
#pragma once

#include <cstdint>

namespace tarn {

/// As they lie in a RIFF file.
constexpr uint32_t FourCC(const char (&text)[5]) {
    return static_cast<uint32_t>(static_cast<uint8_t>(text[0])) |
           static_cast<uint32_t>(static_cast<uint8_t>(text[1])) << 8 |
           static_cast<uint32_t>(static_cast<uint8_t>(text[2])) << 16 |
           static_cast<uint32_t>(static_cast<uint8_t>(text[3])) << 24;
}
/// And in an IFF file.
constexpr uint32_t BigFourCC(const char (&text)[5]) { return __builtin_bswap32(FourCC(text)); }

}  // namespace tarn
