#include "controls/fader_scale.h"

#include "audio/fader_taper.h"

#include <algorithm>

using namespace tarn;

void FaderScale::Update() {
    span = std::max(FaderTaper(max) - FaderTaper(min), 1);
    origin = max - static_cast<int32_t>((int64_t{max} - min) * FaderTaper(max) / span);
}

int32_t FaderScale::Distance(int32_t value, int32_t travel) const {
    const int64_t range = int64_t{max} - min;
    if (range == 0) return 0;
    const int64_t u = taper ? origin + FaderTaper(value) * range / span : value;
    return static_cast<int32_t>((u - min) * travel / range);
}

int32_t FaderScale::Value(int32_t distance, int32_t travel) const {
    const int64_t range = int64_t{max} - min;
    if (travel < 2 || distance <= 0 || range == 0) return min;
    if (distance >= travel) return max;
    const int64_t u = min + range * distance / travel;
    return taper ? FaderTaperInverse(static_cast<int32_t>((u - origin) * span / range))
                 : static_cast<int32_t>(u);
}
