// Geometry of a fader: where the travel, the thumbs and the ticks lie, and what lies under a point. Painting
// and tracking both ask here. No window in sight.
#pragma once

#include "controls/fader.h"

#include <span>
#include <vector>

/// Lays out `client` and everything in it.
void FaderLayout(tQMFADER& fader);
/// Puts the thumbs where the values are.
void FaderPlaceThumbs(tQMFADER& fader);
SIZE FaderMinSize(const tQMFADER& fader);

/// Coordinate along the axis of the thumb's centre at a value, and the value at such a coordinate.
int32_t FaderPixel(const tQMFADER& fader, int32_t value);
int32_t FaderValue(const tQMFADER& fader, int32_t pixel);
POINT FaderThumbCentre(const tQMFADER& fader, uint32_t channel);

inline bool IsVertical(const tQMFADER& fader) { return fader.state & FADERST_VERTICAL; }
inline int32_t FaderAlong(const tQMFADER& fader, POINT p) { return IsVertical(fader) ? p.y : p.x; }
inline int32_t FaderAcross(const tQMFADER& fader, POINT p) { return IsVertical(fader) ? p.x : p.y; }
inline uint32_t FaderAllChannels(const tQMFADER& fader) { return fader.channels == 2 ? 3 : 1; }

struct FaderHit {
    int32_t part;  ///< FADER_LINE_UP to FADER_PAGE_DOWN, FADER_THUMB, FADER_NOWHERE
    uint32_t channelMask, activeChannel;
};
FaderHit FaderHitTest(const tQMFADER& fader, POINT at, bool shift);

struct FaderTick {
    int32_t value, pixel;
    bool labelled;  ///< its label has room
};
/// The values of the ticks: the caller's, else the default ones.
std::span<const int32_t> FaderTickList(const tQMFADER& fader);
/// The ticks that are drawn: inside the range, none within 6 pixels of the one before. Empty in a linear
/// fader. Labels are given in the order of the list, and only where they meet neither each other nor unity's.
std::vector<FaderTick> FaderTicks(const tQMFADER& fader);
/// Unity has a mark and a label of its own, whatever the list says.
bool FaderShowsUnity(const tQMFADER& fader);
/// Whether the labels have room beside the thumb.
bool FaderHasLabels(const tQMFADER& fader);

/// Room of the widest label. [needs fonts]
SIZE FaderLabelSize();
