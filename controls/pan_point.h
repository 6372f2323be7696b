// Where a pan pad's things are and where its point may go. No window in sight.
#pragma once

#include "controls/pan.h"

#include <string>

struct PanPoint {
    double x, y;
};

void PanLayout(tQMPAN& pan);
PanPoint PanPointAt(const tQMPAN& pan, double px, double py);
/// Centre of the puck, or of any point.
POINT PanPixel(const tQMPAN& pan, PanPoint point);
RECT PanPuckRect(const tQMPAN& pan);
/// Of one of the kPanSpeakers.
PanPoint PanSpeakerPoint(uint32_t speaker);
RECT PanSpeakerRect(const tQMPAN& pan, uint32_t speaker);

struct PanHit {
    int32_t part;  ///< PAN_PUCK, PAN_SPEAKER, PAN_NOWHERE
    uint32_t speaker;
};
PanHit PanHitTest(const tQMPAN& pan, POINT at);

/// The nearest point of the field: both coordinates within -1..1, in a circular field the unit circle too.
PanPoint PanInField(const tQMPAN& pan, PanPoint point);
/// What a drag makes of the mouse's point: lock, pan mode, Alt (the distance from the centre stays, 1 with
/// Shift), Shift (along the line through the centre), the circle and the speakers that a point snaps to.
PanPoint PanConstrained(const tQMPAN& pan, PanPoint mouse, bool shift, bool alt);
/// Moves the point by a code of PAN_FINE_LEFT to PAN_RIGHT and leaves the pan mode.
void PanNudge(tQMPAN& pan, uint32_t code, double size);

/// "Left: 50 %, Front: 25 %" in the kernel's language.
std::u16string PanText(PanPoint point);
