#include "console/gain.h"

#include <algorithm>
#include <cmath>

float PositionToGain(int32_t position) {
    if (position == 0) return 1.0f;
    if (position <= POSITION_MIN) return 0.0f;
    return static_cast<float>(std::pow(10.0, position / 200.0));
}

int32_t GainToPosition(float gain) {
    if (gain == 1.0f) return 0;
    if (!(gain > 0.0f)) return POSITION_MIN;
    const double tenths = 200.0 * std::log10(static_cast<double>(gain));
    if (gain > 1.0f) {
        constexpr double LARGEST = 1e6;  // an absurd gain must not overflow the position
        return static_cast<int32_t>(std::min(tenths, LARGEST) + 0.1);
    }
    const int32_t position = static_cast<int32_t>(std::max(tenths, -1e6) - 0.1);
    return position <= -719 ? POSITION_MIN : position;
}

float MidiPositionToValue(int32_t position) { return static_cast<float>(position) / MIDI_POSITION_MAX; }

int32_t MidiValueToPosition(float value) {
    if (!(value > 0.0f)) return 0;
    return static_cast<int32_t>(std::floor(std::min(value, 1.0f) * MIDI_POSITION_MAX + 0.5f));
}
