// Where the parts of a channel strip lie: rectangles in, rectangles out. Painting and hit-testing both read
// the result.
#pragma once

#include "console/metrics.h"

/// What of a channel and its controls decides the layout.
struct StripTraits {
    LONG kindIconWidth;   ///< 0 for a channel without icon and word
    SIZE thumb;           ///< of the main fader
    LONG meterPreferred;  ///< width at which the meter shows its labels
    bool faderTicks;
    bool phaseButton;
};

/// Pixels of the page; empty rectangles are absent parts.
struct StripRects {
    RECT strip;
    RECT title, kindIcon, kindWord;
    RECT namePlate, name;
    RECT faders;  ///< the region of fader, meter and switches
    RECT mute, solo, phase;
    RECT fader, meter;
    RECT valueLabel;
};

StripRects LayoutStrip(const RECT& strip, const tConsoleMetrics& metrics, const StripTraits& traits);
