#include "audio/mix_matrix.h"

#include <bit>
#include <numbers>

namespace tarn {

namespace {

constexpr double HALF_POWER = std::numbers::sqrt2 / 2;

/// What a speaker gives to the left and the right, by its bit of the mask.
struct Speaker {
    double left, right;
};
constexpr Speaker SPEAKERS[] = {
    {1, 0},                    // left
    {0, 1},                    // right
    {HALF_POWER, HALF_POWER},  // centre
    {0, 0},                    // low frequencies
    {HALF_POWER, 0},           // behind on the left
    {0, HALF_POWER},           // behind on the right
    {1, 0},                    // left of the centre
    {0, 1},                    // right of it
    {0.5, 0.5},                // behind
    {HALF_POWER, 0},           // beside on the left
    {0, HALF_POWER},           // beside on the right
};
constexpr uint32_t KNOWN_SPEAKERS = (1u << std::size(SPEAKERS)) - 1;

/// The usual speakers of so many channels.
uint32_t UsualMask(uint32_t channels) {
    constexpr uint32_t MASKS[] = {0, 0x4, 0x3, 0x7, 0x33, 0x37, 0x3F, 0, 0x63F};
    return channels < std::size(MASKS) ? MASKS[channels] : 0;
}

}  // namespace

MixMatrix MixMatrix::Same(uint32_t channels) { return {channels, channels, {}}; }

std::optional<MixMatrix> MixMatrix::ForChannels(uint32_t from, uint32_t mask, uint32_t to) {
    if (from == to) return Same(from);
    MixMatrix m{from, to, std::vector<double>(size_t{from} * to)};
    if (from == 1 || (from == 2 && to == 1)) {
        m.gains.assign(m.gains.size(), 1.0 / from);
        return m;
    }
    if (std::popcount(mask) != static_cast<int>(from)) mask = UsualMask(from);
    if (from < 3 || to > 2 || mask == 0 || (mask & ~KNOWN_SPEAKERS)) return std::nullopt;
    for (uint32_t bit = 0, c = 0; bit < std::size(SPEAKERS); bit++) {
        if (!(mask >> bit & 1)) continue;
        const Speaker& s = SPEAKERS[bit];
        if (to == 1) m.At(0, c) = (s.left + s.right) * HALF_POWER;
        if (to == 2) m.At(0, c) = s.left, m.At(1, c) = s.right;
        c++;
    }
    return m;
}

bool MixMatrix::IsSame() const {
    if (from != to) return false;
    for (size_t i = 0; i < gains.size(); i++)
        if (gains[i] != (i % (from + size_t{1}) == 0 ? 1 : 0)) return false;
    return true;
}

bool MixMatrix::MovesOnly() const {
    for (size_t row = 0; row + from <= gains.size(); row += from) {
        double sum = 0;
        for (size_t i = row; i < row + from; i++) {
            if (gains[i] != 0 && gains[i] != 1) return false;
            sum += gains[i];
        }
        if (sum > 1) return false;
    }
    return true;
}

void MixMatrix::Apply(const double* in, double* out, size_t frames) const {
    for (size_t i = 0; i < frames; i++, in += from, out += to)
        for (uint32_t made = 0; made < to; made++) {
            double sum = 0;
            for (uint32_t c = 0; c < from; c++) {
                const double gain = At(made, c);
                if (gain != 0) sum += gain * in[c];  // a channel that is left out may hold anything
            }
            out[made] = sum;
        }
}

}  // namespace tarn
