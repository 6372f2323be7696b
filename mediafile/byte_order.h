// Numbers as they lie in files, whatever the processor's order.
#pragma once

#include "platform/four_cc.h"

#include <cstdint>
#include <cstring>

namespace tarn {

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

}  // namespace tarn
