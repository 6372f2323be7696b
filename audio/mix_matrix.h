// Channels made of other channels, each with its gain. [any-thread]
#pragma once

#include "platform/types.h"

#include <cstddef>
#include <optional>
#include <vector>

namespace tarn {

struct MixMatrix {
    uint32_t from = 0, to = 0;
    /// A row for each channel made, in it a gain for each there is; empty for as many channels as they are.
    std::vector<double> gains;

    double& At(uint32_t made, uint32_t source) { return gains[size_t{made} * from + source]; }
    double At(uint32_t made, uint32_t source) const { return gains[size_t{made} * from + source]; }

    QM_API static MixMatrix Same(uint32_t channels);
    /// What one means by so many channels: one becomes any number; two to one is the mean; speakers, by the
    /// mask or, where that is 0, by their number, become two or one with the gains of ITU-R BS.775, in which
    /// the low-frequency channel has no part and nothing is scaled down. Nullopt for anything else.
    QM_API static std::optional<MixMatrix> ForChannels(uint32_t from, uint32_t mask, uint32_t to);

    QM_API bool IsSame() const;
    /// Samples are only put elsewhere, or left out.
    QM_API bool MovesOnly() const;
    /// Interleaved frames; not in place.
    QM_API void Apply(const double* in, double* out, size_t frames) const;
};

}  // namespace tarn
