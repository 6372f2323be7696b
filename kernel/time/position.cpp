#include "kernel/time/position.h"

#include "kernel/time/time_math.h"

#include <algorithm>

namespace {

bool IsSmpte(uint32_t format) { return format >= SMPTE_30 && format <= SMPTE_23_976; }
}  // namespace

extern "C" {

void QmNanoTimeToMeasures(int64_t nanos, const _qmposfmt* format, uint32_t* measure, uint32_t* beat,
                          uint32_t* tick) {
    const double beats = std::max<uint16_t>(format->beatsPerMeasure, 1);
    const double ticks = std::max<uint16_t>(format->ticksPerBeat, 1);
    const double tempo = format->tempo > 0 ? format->tempo : 1;
    const double measures =
        static_cast<double>(nanos) * tempo / beats / (60 * timemath::PER_SECOND) + 0.00005;
    const double inMeasure = (measures - std::floor(measures)) * beats;
    *measure = timemath::TruncateTo32(measures);
    *beat = timemath::TruncateTo32(inMeasure);
    *tick = timemath::TruncateTo32((inMeasure - std::floor(inMeasure)) * ticks);
}

void QmNanoTimeToHMSF(int64_t nanos, _smpteval* value, double rate, BOOL keepDays) {
    if (IsSmpte(value->format)) return QMSMPTE_NanoToSMPTE(nanos, value);
    const bool hasFrames = rate > 0.01;
    const double seconds =
        std::max(static_cast<double>(nanos) / timemath::PER_SECOND + (hasFrames ? 0.5 / rate : 0), 0.0);
    const double whole = std::floor(seconds);
    const auto total = static_cast<uint64_t>(whole);
    const uint64_t hours = total / 3600;
    value->hours = static_cast<uint32_t>(std::min<uint64_t>(keepDays ? hours : hours % 24, UINT32_MAX));
    value->minutes = static_cast<uint32_t>(total / 60 % 60);
    value->seconds = static_cast<uint32_t>(total % 60);
    // Down, but for what doubles lose.
    const double frames = hasFrames ? std::nearbyint((seconds - whole) * rate - 0.499999985) : 0;
    value->frames = timemath::TruncateTo32(std::min(frames, std::ceil(rate) - 1));
}

int64_t QmHMSFToNanoTime(const _smpteval* value, double rate) {
    if (IsSmpte(value->format)) return QMSMPTE_SMPTEToNanos(value);
    const double seconds = value->hours * 3600.0 + value->minutes * 60.0 + value->seconds;
    const double frames = rate > 0 ? value->frames / rate : 0;
    return timemath::Truncate((seconds + frames) * timemath::PER_SECOND + 0.5);
}

}  // extern "C"
