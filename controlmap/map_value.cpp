#include "controlmap/map_value.h"

#include <algorithm>
#include <cmath>

namespace {
struct Raw {
    int32_t value, min, max;
};

Raw Read(const MPFUNCTIONMAP& row) {
    Raw raw{};
    const bool host = row.flags & EFUNCFLAG_HOSTFUNCTION;
    if (row.second.type == MPCNTRL_CHNG) {
        raw.value = row.second.byte2 * 128;
        raw.max = 127 * 128;
    }
    switch (row.first.type) {
    case MPNRPN:
    case MPRPN:
        raw.value = row.first.byte3 * 128 + row.first.byte4;
        raw.max = FOURTEEN_BITS;
        break;
    case MPCNTRL_CHNG:
    case MPAFTER_TOUCH:
        raw.value += row.first.byte2;
        raw.max += 127;
        break;
    case MPPITCH_BEND:
        raw.value = row.first.byte2 * 128 + row.first.byte1;
        if (row.maxValue != 0 || host) raw.value -= BEND_MIDDLE;
        raw.max = BEND_MIDDLE - 1;
        raw.min = -raw.max;
        break;
    default: break;
    }
    if (host) return raw;
    raw.min = row.minValue;
    if (row.maxValue != 0) raw.max = row.maxValue;
    return raw;
}

int32_t Clamped(int64_t value, int32_t min, int32_t max) {
    return static_cast<int32_t>(std::clamp<int64_t>(value, min, std::max(min, max)));
}

/// The number of 0..1 between two limits.
int64_t Between(int32_t min, int32_t max, float value) {
    const double span = static_cast<double>(max) - min;
    const double raw = std::floor(span * static_cast<double>(std::isfinite(value) ? value : 0) + 0.5) + min;
    return static_cast<int64_t>(std::clamp(raw, -1e9, 1e9));
}

HRESULT Write(int64_t raw, MPFUNCTIONMAP& row) {
    // A wheel whose limits lie on both sides of its middle is counted from there, and sent from its low end.
    if (row.first.type == MPPITCH_BEND && row.minValue < 0) raw += BEND_MIDDLE;
    const auto high = static_cast<uint8_t>(raw >> 7), low = static_cast<uint8_t>(raw & 127);
    if (row.second.type == MPCNTRL_CHNG) row.second.byte2 = high;
    switch (row.first.type) {
    case MPNRPN:
    case MPRPN:
        row.first.byte3 = high;
        row.first.byte4 = low;
        return S_OK;
    case MPCNTRL_CHNG:
    case MPAFTER_TOUCH: row.first.byte2 = low; return S_OK;
    case MPPITCH_BEND:
        row.first.byte1 = low;
        row.first.byte2 = high;
        return S_OK;
    default: return S_FALSE;
    }
}
}  // namespace

float ValueFromEvent(float value, const MPFUNCTIONMAP& row) {
    if (!(row.flags & EFUNCFLAG_VALUE)) return value;
    const Raw raw = Read(row);
    if (raw.max == 0) return 0;
    const double span = static_cast<double>(raw.max) - raw.min;
    if (span == 0) return 0;
    return static_cast<float>((static_cast<double>(Clamped(raw.value, raw.min, raw.max)) - raw.min) / span);
}

int32_t RawFromEvent(const MPFUNCTIONMAP& row) {
    const Raw raw = Read(row);
    return Clamped(raw.value, raw.min, raw.max);
}

HRESULT EventFromValue(float value, MPFUNCTIONMAP& row) {
    if (!(row.flags & EFUNCFLAG_VALUE)) return S_FALSE;
    return Write(Between(row.minValue, row.maxValue, value), row);
}

HRESULT EventFromRaw(int32_t low, int32_t high, float x, MPFUNCTIONMAP& row) {
    if (!(row.flags & EFUNCFLAG_VALUE)) return S_FALSE;
    const double way =
        high != low ? (static_cast<double>(high) - low) * static_cast<double>(x) : static_cast<double>(x);
    return Write(static_cast<int64_t>(std::clamp(low + (std::isfinite(way) ? way : 0), -1e9, 1e9)), row);
}

int32_t StepsFromEvent(const MPFUNCTIONMAP& row) {
    if (!(row.flags & EFUNCFLAG_RELATIVE)) return row.flags & EFUNCFLAG_DEC ? -1 : 1;
    constexpr int32_t HALF = 64;
    const int32_t byte = row.first.byte2 & 127;
    switch (row.index) {
    case STEPS_TWOS_COMPLEMENT: return byte < HALF ? byte : byte - 2 * HALF;
    case STEPS_OFFSET: return byte - HALF;
    default: return byte < HALF ? byte : HALF - byte;
    }
}

float ValueAfterSteps(float value, const MPFUNCTIONMAP& row) {
    const auto way = static_cast<float>(row.maxValue > 0 ? row.maxValue : 127);
    return std::clamp(value + static_cast<float>(StepsFromEvent(row)) / way, 0.0f, 1.0f);
}

std::u16string FitText(std::u16string text, size_t room) {
    for (const std::u16string_view dropped : {u" ", u"aeiou"})
        for (size_t at = text.size(); text.size() > room && at-- > 1;)
            if (dropped.find(text[at]) != dropped.npos) text.erase(at, 1);
    text.resize(std::min(text.size(), room));
    return text;
}

HRESULT Takeover(TakeoverState& state, float value, bool touched, const MPFUNCTIONMAP& row) {
    if (state.cached < 0 || touched) state.cached = value;
    // Where a control of these limits would stand; its events may have no room for all of them.
    const Raw limits = Read(row);
    const int32_t at = Clamped(Between(limits.min, limits.max, state.cached), limits.min, limits.max);
    const int32_t moved = RawFromEvent(row);
    const int32_t last = state.raw == RAW_UNKNOWN ? moved : state.raw;
    state.raw = moved;
    return at >= std::min(last, moved) && at <= std::max(last, moved) ? S_OK : S_FALSE;
}
