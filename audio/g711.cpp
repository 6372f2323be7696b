#include "audio/g711.h"

#include <array>

namespace tarn {

namespace {

using Table = std::array<int16_t, 256>;

constexpr int16_t FromMuLaw(unsigned code) {
    constexpr int BIAS = 0x84;
    code = ~code & 0xFF;
    const int level = static_cast<int>(((code & 0x0F) << 3) + BIAS) << ((code >> 4) & 7);
    return static_cast<int16_t>(code & 0x80 ? BIAS - level : level - BIAS);
}

constexpr int16_t FromALaw(unsigned code) {
    code ^= 0x55;
    const unsigned segment = (code >> 4) & 7, step = (code & 0x0F) << 4;
    const int level = static_cast<int>(segment == 0 ? step + 8 : (step + 0x108) << (segment - 1));
    return static_cast<int16_t>(code & 0x80 ? level : -level);
}

constexpr Table TableOf(int16_t (*law)(unsigned)) {
    Table table{};
    for (unsigned code = 0; code < table.size(); code++) table[code] = law(code);
    return table;
}
constexpr Table MU_LAW = TableOf(FromMuLaw), A_LAW = TableOf(FromALaw);

void Decode(const Table& table, const uint8_t* bytes, size_t count, int16_t* samples) {
    for (size_t i = 0; i < count; i++) samples[i] = table[bytes[i]];
}

}  // namespace

void DecodeMuLaw(const uint8_t* bytes, size_t count, int16_t* samples) {
    Decode(MU_LAW, bytes, count, samples);
}
void DecodeALaw(const uint8_t* bytes, size_t count, int16_t* samples) {
    Decode(A_LAW, bytes, count, samples);
}

}  // namespace tarn
