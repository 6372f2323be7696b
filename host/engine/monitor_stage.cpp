#include "host/engine/monitor_stage.h"

#include "host/engine/pan_law.h"

#include <algorithm>

namespace host {

void MonitorStage::Process(const float* const* mix, size_t mixSides, std::span<float* const> outputs,
                           size_t n) {
    const bool wide = mixSides == kMaxSides;
    const size_t sides = outputs.size() >= kMaxSides ? kMaxSides : kStereoSides;
    const size_t direct = std::min(mixSides, sides);
    const uint32_t wanted = m_wanted.load(std::memory_order_relaxed);
    m_direct.Shape(direct, direct);
    m_folded.Shape(mixSides, kStereoSides);
    if (wanted != m_taken || mixSides != m_mixSides) {
        m_taken = wanted;
        m_mixSides = mixSides;
        const float level = wanted & 1 ? kDimGain : 1.0f;
        const bool fold = (wanted & 2) || (wide && sides < kMaxSides);
        GainCourse::Gains straight{}, folded{};
        const std::span<const Tap> taps = TapsOf(direct, direct);
        for (size_t i = 0; i < taps.size(); i++)
            if (taps[i].from == taps[i].to && !fold) straight[i] = level;
        const std::span<const Tap> foldTaps = TapsOf(mixSides, kStereoSides);
        for (size_t i = 0; i < foldTaps.size() && fold; i++) {
            const bool own = foldTaps[i].from == foldTaps[i].to;
            folded[i] = level * (!wide ? 0.5f : own ? 1.0f : kDownmixShare);
        }
        m_direct.course.Aim(straight);
        m_folded.course.Aim(folded);
    }
    for (float* output : outputs) std::fill_n(output, n, 0.0f);
    std::array<float*, kMaxSides> into{};
    for (size_t s = 0; s < std::min(sides, outputs.size()); s++) into[s] = outputs[s];
    m_direct.Mix(mix, into.data(), n, nullptr);
    m_folded.Mix(mix, into.data(), n, nullptr);
}

}  // namespace host
