// Where the parts of a channel strip lie: rectangles in, rectangles out. Painting and hit-testing both read
// the result.
#pragma once

#include "console/strip_show.h"

inline constexpr int INSERT_ROWS = 32, SEND_ROWS = 4;
/// The groups of speakers that a surround master has faders for: front, rear, centre, LFE. Every other strip
/// has the first alone.
inline constexpr int SPEAKER_GROUPS = 4;

/// What of a channel and its controls decides the layout.
struct StripTraits {
    LONG kindIconWidth = 0;   ///< 0 for a channel without icon and word
    SIZE thumb{};             ///< of the faders
    LONG sendThumb = 0;       ///< height of a send's
    LONG meterPreferred = 0;  ///< width at which the meter shows its labels
    LONG valueHeight = 0;     ///< of a number in the small font
    LONG postWidth = 0;       ///< of "POST" in it
    int meterChannels = 2;
    bool faderTicks = true;

    bool pan = false, surroundPan = false;
    bool chain = false;
    int effects = 0, sends = 0;          ///< that the channel has
    int firstInsert = 0, firstSend = 0;  ///< of those that are shown
    bool canSend = false, sendPan = false;
    bool input = false, midi = false;
    int outputs = 1;
    bool automation = false;
    bool arm = false, monitor = false;
    bool phase = false, soloSafe = false;
    bool pair = false;        ///< a fader of two parts
    bool fourFaders = false;  ///< a group of speakers each
};

struct SendRects {
    RECT row, target, pan, level, prePost, value;
};

/// Which rows of a list are on view.
struct ShownRows {
    int first, count, all;
    RECT column;  ///< that tells it, where not all are
};

/// Pixels of the page; empty rectangles are absent parts.
struct StripRects {
    RECT strip;
    RECT title, kindIcon, kindWord;
    RECT namePlate, name;
    RECT region[STRIP_REGIONS];  ///< with its label
    RECT label[STRIP_REGIONS];

    RECT inserts[INSERT_ROWS];
    ShownRows insertRows;  ///< the last one adds
    SendRects sends[SEND_ROWS];
    ShownRows sendRows;
    RECT addSend;
    RECT input, outputs[3], midiChannel;
    RECT scope, vu, peak;
    RECT automation;
    RECT arm, monitor;
    RECT mute, solo, chain, phase, soloSafe;
    RECT pan, panPad, panValue;
    RECT fader[SPEAKER_GROUPS], meter[SPEAKER_GROUPS], groupName[SPEAKER_GROUPS];
    RECT lock;
    RECT value[2];
    RECT groupValue[SPEAKER_GROUPS];

    const RECT& Region(StripRegion which) const { return region[IndexOf(which)]; }
};

StripRects LayoutStrip(const RECT& strip, const tConsoleMetrics& metrics, const StripTraits& traits,
                       const StripView& view);
