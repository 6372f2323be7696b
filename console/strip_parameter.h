// A value of a strip that a hand can move: how the host names it, and the positions of the control that shows
// it.
#pragma once

#include "controlmap/parameter_gesture.h"

#include <cstdint>

struct StripParameter {
    /// Gain: tenths of a decibel, POSITION_MIN is silence. Midi: 0 to 127. Pan: hundredths. Place: ten
    /// thousandths, for the pad.
    enum class Scale { Gain, Midi, Pan, MidiPan, Place };

    uint32_t mask = 0;  ///< MASK_ of the value; 0 for no parameter
    uint32_t pairSelector = 0;
    float MPCHANNELREC::*field = nullptr;
    float MPCHANNELREC::*linked = nullptr;  ///< the other part of a pair of faders
    Scale scale = Scale::Gain;
    uint64_t send = 0;  ///< of a send: its id; 0 for a value of the channel itself

    GestureParameter ToHost() const;
    int32_t Position(float value) const;
    float Value(int32_t position) const;
    int32_t Least() const;
    int32_t Most() const;
    /// What a double-click restores.
    int32_t Default() const;
};

/// The parameter of a channel's fader for a group of speakers.
StripParameter VolumeParameter(uint32_t speakers, bool midi, bool pair);
/// The parameters of pan slider, and of the pad's two axes.
StripParameter PanParameter(bool midi);
StripParameter PlaceParameter(bool rear);
/// From mono over the sound as it is, in the middle, to twice the difference of its sides.
StripParameter WidthParameter();
/// How much of a placed channel goes to the low frequency channel as well.
StripParameter LfeParameter();
StripParameter SendLevelParameter(uint64_t send);
StripParameter SendPanParameter(uint64_t send);
