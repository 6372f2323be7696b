// Numbers as they lie in files, whatever the processor's order.
#pragma once

#include <cstdint>
#include <cstring>

template <class Number>
Number FromLittleEndian(const uint8_t* bytes) {
    Number value = 0;
    for (size_t i = sizeof value; i-- > 0;) value = static_cast<Number>(uint64_t{value} << 8 | bytes[i]);
    return value;
}
template <class Number>
Number FromBigEndian(const uint8_t* bytes) {
    Number value = 0;
    for (size_t i = 0; i < sizeof value; i++) value = static_cast<Number>(uint64_t{value} << 8 | bytes[i]);
    return value;
}
template <class Number>
void ToLittleEndian(uint8_t* bytes, Number value) {
    for (size_t i = 0; i < sizeof value; i++) bytes[i] = static_cast<uint8_t>(uint64_t{value} >> (8 * i));
}
template <class Number>
void ToBigEndian(uint8_t* bytes, Number value) {
    for (size_t i = 0; i < sizeof value; i++)
        bytes[sizeof value - 1 - i] = static_cast<uint8_t>(uint64_t{value} >> (8 * i));
}

/// Four characters as they lie in a RIFF file.
constexpr uint32_t FourCC(const char (&text)[5]) {
    return static_cast<uint32_t>(static_cast<uint8_t>(text[0])) |
           static_cast<uint32_t>(static_cast<uint8_t>(text[1])) << 8 |
           static_cast<uint32_t>(static_cast<uint8_t>(text[2])) << 16 |
           static_cast<uint32_t>(static_cast<uint8_t>(text[3])) << 24;
}
/// And in an IFF file.
constexpr uint32_t BigFourCC(const char (&text)[5]) { return __builtin_bswap32(FourCC(text)); }
