#include "console/strip_parameter.h"

#include "console/gain.h"

#include <algorithm>
#include <cmath>

namespace {

constexpr int32_t PAN_MAX = 100, PLACE_MAX = 10000, MIDI_PAN_DEFAULT = 64;

int32_t Scaled(float value, int32_t most) {
    if (std::isnan(value)) return 0;
    return static_cast<int32_t>(std::lround(std::clamp(value, -1.0f, 1.0f) * static_cast<float>(most)));
}

}  // namespace

GestureParameter StripParameter::ToHost() const {
    return {.mask = mask,
            .pairSelector = pairSelector,
            .selector = SELECT_CONSOLE_WRITE,
            .field = field,
            .linked = linked,
            .changeMask = MASK_AUTOMATION};
}

int32_t StripParameter::Position(float value) const {
    switch (scale) {
    case Scale::Gain: return GainToPosition(value);
    case Scale::Midi: return MidiValueToPosition(value);
    case Scale::Pan: return Scaled(value, PAN_MAX);
    case Scale::MidiPan: return MidiValueToPosition((value + 1) / 2);
    case Scale::Place: return Scaled(value, PLACE_MAX);
    }
    return 0;
}

float StripParameter::Value(int32_t position) const {
    switch (scale) {
    case Scale::Gain: return PositionToGain(position);
    case Scale::Midi: return MidiPositionToValue(position);
    case Scale::Pan: return static_cast<float>(position) / PAN_MAX;
    case Scale::MidiPan: return MidiPositionToValue(position) * 2 - 1;
    case Scale::Place: return static_cast<float>(position) / PLACE_MAX;
    }
    return 0;
}

int32_t StripParameter::Least() const {
    switch (scale) {
    case Scale::Gain: return POSITION_MIN;
    case Scale::Pan: return -PAN_MAX;
    case Scale::Place: return -PLACE_MAX;
    case Scale::Midi:
    case Scale::MidiPan: break;
    }
    return 0;
}

int32_t StripParameter::Most() const {
    switch (scale) {
    case Scale::Gain: return POSITION_MAX;
    case Scale::Pan: return PAN_MAX;
    case Scale::Place: return PLACE_MAX;
    case Scale::Midi:
    case Scale::MidiPan: break;
    }
    return MIDI_POSITION_MAX;
}

int32_t StripParameter::Default() const {
    return scale == Scale::Midi ? MIDI_POSITION_DEFAULT : scale == Scale::MidiPan ? MIDI_PAN_DEFAULT : 0;
}

StripParameter VolumeParameter(uint32_t speakers, bool midi, bool pair) {
    return {.mask = MASK_VOLUME,
            .pairSelector = speakers,
            .field = &MPCHANNELREC::volume,
            .linked = pair ? &MPCHANNELREC::linkedVolume : nullptr,
            .scale = midi ? StripParameter::Scale::Midi : StripParameter::Scale::Gain};
}

StripParameter PanParameter(bool midi) {
    return {.mask = MASK_PAN,
            .pairSelector = SPEAKER_FRONT,
            .field = &MPCHANNELREC::pan,
            .scale = midi ? StripParameter::Scale::MidiPan : StripParameter::Scale::Pan};
}

StripParameter PlaceParameter(bool rear) {
    return {.mask = MASK_PAN,
            .pairSelector = rear ? SPEAKER_REAR : SPEAKER_FRONT,
            .field = &MPCHANNELREC::pan,
            .scale = StripParameter::Scale::Place};
}

StripParameter WidthParameter() {
    return {.mask = MASK_PAN,
            .pairSelector = SPEAKER_CENTER,
            .field = &MPCHANNELREC::pan,
            .scale = StripParameter::Scale::Pan};
}

StripParameter LfeParameter() { return VolumeParameter(SPEAKER_LFE, false, false); }

StripParameter SendLevelParameter(uint64_t send) {
    return {.mask = MASK_SEND,
            .field = &MPCHANNELREC::sendLevel,
            .scale = StripParameter::Scale::Gain,
            .send = send};
}

StripParameter SendPanParameter(uint64_t send) {
    return {.mask = MASK_PAN, .field = &MPCHANNELREC::pan, .scale = StripParameter::Scale::Pan, .send = send};
}
