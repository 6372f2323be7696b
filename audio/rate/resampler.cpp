#include "audio/rate/resampler.h"

#include <soxr.h>

#include <stdexcept>
#include <string>

namespace tarn {

Resampler::Resampler(double from, double to, uint32_t channels, Samples samples, Quality quality) {
    const soxr_datatype_t type = samples == Samples::Doubles ? SOXR_FLOAT64_I : SOXR_FLOAT32_S;
    const soxr_io_spec_t io = soxr_io_spec(type, type);
    const soxr_quality_spec_t recipe = soxr_quality_spec(quality == Quality::High ? SOXR_HQ : SOXR_VHQ, 0);
    soxr_error_t error = nullptr;
    m_state.reset(soxr_create(from, to, channels, &error, &io, &recipe, nullptr));
    if (!m_state || error)
        throw std::runtime_error(std::string("the rate cannot be converted: ") +
                                 (error ? error : "no memory"));
}

void Resampler::Process(const void* in, size_t frames, size_t* used, void* out, size_t room, size_t* made) {
    *used = *made = 0;
    if (soxr_process(m_state.get(), in, frames, used, out, room, made)) *used = *made = 0;
}

void Resampler::Clear() { soxr_clear(m_state.get()); }

void Resampler::Delete::operator()(soxr* state) const { soxr_delete(state); }

}  // namespace tarn
