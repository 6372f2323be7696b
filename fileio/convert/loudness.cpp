#include "fileio/convert/loudness.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <stdexcept>

namespace tarn {

namespace {

void Check(int status) {
    if (status != EBUR128_SUCCESS) throw std::runtime_error("out of memory");
}

}  // namespace

LoudnessMeter::LoudnessMeter(uint32_t channels, uint32_t rate, uint32_t mask, bool withPeaks)
    : m_state(ebur128_init(channels, rate, EBUR128_MODE_I | (withPeaks ? EBUR128_MODE_TRUE_PEAK : 0))),
      m_channels(channels) {
    if (!m_state)
        throw std::runtime_error("the loudness of such channels and such a rate cannot be measured");
    // By the bits of the mask.
    constexpr int SPEAKERS[] = {EBUR128_LEFT,          EBUR128_RIGHT,         EBUR128_CENTER,
                                EBUR128_UNUSED,        EBUR128_LEFT_SURROUND, EBUR128_RIGHT_SURROUND,
                                EBUR128_MmSC,          EBUR128_MpSC,          EBUR128_UNUSED,
                                EBUR128_LEFT_SURROUND, EBUR128_RIGHT_SURROUND};
    constexpr uint32_t FIVE_ONE = 0x3F;
    if (std::popcount(mask) != static_cast<int>(channels)) mask = channels == 6 ? FIVE_ONE : 0;
    unsigned channel = 0;
    for (uint32_t bit = 0; mask >> bit; bit++)
        if (mask >> bit & 1)
            ebur128_set_channel(m_state.get(), channel++,
                                bit < std::size(SPEAKERS) ? SPEAKERS[bit] : EBUR128_UNUSED);
}

void LoudnessMeter::Add(const double* samples, size_t frames) {
    Check(ebur128_add_frames_double(m_state.get(), samples, frames));
}
void LoudnessMeter::Add(const float* samples, size_t frames) {
    Check(ebur128_add_frames_float(m_state.get(), samples, frames));
}

std::optional<double> LoudnessMeter::Loudness() const {
    double loudness = 0;
    const bool isTold = ebur128_loudness_global(m_state.get(), &loudness) == EBUR128_SUCCESS;
    return isTold && std::isfinite(loudness) ? std::optional(loudness) : std::nullopt;
}

double LoudnessMeter::TruePeak() const {
    double highest = 0, peak = 0;
    for (unsigned c = 0; c < m_channels; c++)
        if (ebur128_true_peak(m_state.get(), c, &peak) == EBUR128_SUCCESS) highest = std::max(highest, peak);
    return highest;
}

void LoudnessMeter::Delete::operator()(ebur128_state* state) const { ebur128_destroy(&state); }

}  // namespace tarn
