#include "controls/pan_point.h"

#include "kernel/lang/kernel_strings.h"
#include "kernel/print/print_text.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdlib>
#include <numbers>

using namespace tarn;

namespace {
// Degrees; the screen's y points down.
constexpr double kAngles[kPanSpeakers] = {-120, -90, -60, 0, 20, 90, 160, 180};
constexpr LONG kRoomForWideFrame = 8, kLeastPuck = 8, kFocusRoom = 2;
constexpr double kSnap = 0.5;  // of a speaker's cell

double Unit(double v) { return std::clamp(v, -1.0, 1.0); }

bool AlongX(uint32_t mode) { return mode == 1 || mode == 2 || mode == 5 || mode == 6; }
bool AlongY(uint32_t mode) { return mode == 3 || mode == 4 || mode == 7 || mode == 8; }

RECT Around(POINT centre, SIZE size) {
    const LONG left = centre.x - size.cx / 2, top = centre.y - size.cy / 2;
    return {left, top, left + size.cx, top + size.cy};
}

// Through the centre and the start of the drag.
PanPoint OnLine(const tQMPAN& p, PanPoint mouse) {
    const double length = std::hypot(p.startX, p.startY);
    if (length == 0) return mouse;
    const PanPoint direction{p.startX / length, p.startY / length};
    double along = mouse.x * direction.x + mouse.y * direction.y;
    if (p.style & PANS_CIRCULAR) {
        along = Unit(along);
    } else {
        const double longest = 1 / std::max(std::abs(direction.x), std::abs(direction.y));
        along = std::clamp(along, -longest, longest);
    }
    return {direction.x * along, direction.y * along};
}

PanPoint Snapped(const tQMPAN& p, PanPoint point) {
    const double radius = kSnap * p.cell.cx / std::max<double>(p.field.Width() / 2.0, 1);
    for (uint32_t i = 0; i < kPanSpeakers; i++) {
        const PanPoint speaker = PanSpeakerPoint(i);
        const double dx = point.x - speaker.x, dy = point.y - speaker.y;
        if (p.at.channelsMask & 1u << i && dx * dx + dy * dy < radius * radius) return speaker;
    }
    return point;
}
}  // namespace

void PanLayout(tQMPAN& p) {
    const bool wide = p.client.Width() >= kRoomForWideFrame && p.client.Height() >= kRoomForWideFrame;
    p.state = wide ? p.state | PANST_WIDE_FRAME : p.state & ~PANST_WIDE_FRAME;
    const LONG least = std::min(p.client.Width(), p.client.Height());
    p.cell = p.state & PANST_SKIN && p.skin.speaker ? p.skin.speakerSize : SIZE{least / 8, least / 8};
    LONG inset = (wide ? 3 : 2) + (p.style & PANS_FOCUS_ROOM ? kFocusRoom : 0);
    // The speakers' symbols reach half out of the field.
    if (p.at.channelsMask) inset += p.cell.cx / 2;
    RECT f{p.client.left + inset, p.client.top + inset, p.client.right - inset, p.client.bottom - inset};
    f.right = std::max(f.right, f.left);
    f.bottom = std::max(f.bottom, f.top);
    if (p.style & PANS_CIRCULAR) {
        const LONG side = std::min(f.Width(), f.Height());
        f.left += (f.Width() - side) / 2;
        f.top += (f.Height() - side) / 2;
        f = {f.left, f.top, f.left + side, f.top + side};
    }
    p.field = f;
    const LONG puck = std::max(f.Width() / 10, kLeastPuck);
    p.puck = p.state & PANST_SKIN && p.skin.puck ? p.skin.puckSize : SIZE{puck, puck};
}

PanPoint PanPointAt(const tQMPAN& p, double px, double py) {
    const double w = std::max(p.field.Width(), 1), h = std::max(p.field.Height(), 1);
    return {Unit(2 * (px - p.field.left) / w - 1), Unit(2 * (p.field.bottom - py) / h - 1)};
}

POINT PanPixel(const tQMPAN& p, PanPoint at) {
    return {p.field.left + static_cast<LONG>(std::lround((at.x + 1) / 2 * p.field.Width())),
            p.field.bottom - static_cast<LONG>(std::lround((at.y + 1) / 2 * p.field.Height()))};
}

RECT PanPuckRect(const tQMPAN& p) { return Around(PanPixel(p, {p.at.x, p.at.y}), p.puck); }

PanPoint PanSpeakerPoint(uint32_t speaker) {
    const double angle = kAngles[speaker] * std::numbers::pi / 180;
    return {std::cos(angle), -std::sin(angle)};
}

RECT PanSpeakerRect(const tQMPAN& p, uint32_t speaker) {
    const PanPoint at = PanSpeakerPoint(speaker);
    const double radius = std::min(p.field.Width(), p.field.Height()) / 2.0;
    const POINT centre{(p.field.left + p.field.right) / 2 + static_cast<LONG>(std::lround(at.x * radius)),
                       (p.field.top + p.field.bottom) / 2 - static_cast<LONG>(std::lround(at.y * radius))};
    return Around(centre, p.cell);
}

PanHit PanHitTest(const tQMPAN& p, POINT at) {
    if (PanPuckRect(p).Contains(at)) return {PAN_PUCK, 0};
    for (uint32_t i = 0; i < kPanSpeakers && !(p.style & PANS_NO_SPEAKER_CLICK); i++)
        if (p.at.channelsMask & 1u << i && PanSpeakerRect(p, i).Contains(at)) return {PAN_SPEAKER, i};
    return {PAN_NOWHERE, 0};
}

PanPoint PanInField(const tQMPAN& p, PanPoint point) {
    const double length = std::hypot(point.x, point.y);
    if (p.style & PANS_CIRCULAR && length > 1) return {point.x / length, point.y / length};
    return {Unit(point.x), Unit(point.y)};
}

PanPoint PanConstrained(const tQMPAN& p, PanPoint point, bool shift, bool alt) {
    if (p.at.lock == 1 || AlongX(p.at.panMode)) point.y = p.startY;
    if (p.at.lock == 2 || AlongY(p.at.panMode)) point.x = p.startX;
    if (alt && p.at.lock == 0) {
        const double angle = std::atan2(point.y, point.x);
        const double radius = shift ? 1 : std::hypot(p.startX, p.startY);
        point = {radius * std::cos(angle), radius * std::sin(angle)};
    } else if (shift) {
        point = OnLine(p, point);
    }
    point = PanInField(p, point);
    return p.style & PANS_CIRCULAR ? Snapped(p, point) : point;
}

void PanNudge(tQMPAN& p, uint32_t code, double size) {
    struct Row {
        uint32_t code;
        double x, y;
    };
    constexpr Row kRows[] = {{PAN_FINE_LEFT, -0.01, 0}, {PAN_FINE_FRONT, 0, 0.01}, {PAN_FINE_RIGHT, 0.01, 0},
                             {PAN_FINE_REAR, 0, -0.01}, {PAN_FRONT, 0, 0.1},       {PAN_REAR, 0, -0.1},
                             {PAN_LEFT, -0.1, 0},       {PAN_RIGHT, 0.1, 0}};
    const auto* row = std::ranges::find(kRows, code, &Row::code);
    if (row == std::end(kRows)) return;
    // In a pan mode the first nudge along its axis only leaves the mode.
    PanPoint point{p.at.x, p.at.y};
    if (!AlongX(p.at.panMode)) point.x += row->x * size;
    if (!AlongY(p.at.panMode)) point.y += row->y * size;
    point = PanInField(p, point);
    p.at.x = point.x;
    p.at.y = point.y;
    if (p.at.panMode) p.at.modeMuteMask = 0;
    p.at.panMode = 0;
}

std::u16string PanText(PanPoint at) {
    const auto a = static_cast<int32_t>(at.x * 100), b = static_cast<int32_t>(at.y * 100);
    const QMLANGSTRINGID* const kTexts[3][3] = {
        {&KS_Pan_Left_Rear, &KS_Pan_Left_Center, &KS_Pan_Left_Front},
        {&KS_Pan_Center_Rear, &KS_Pan_Center_Center, &KS_Pan_Center_Front},
        {&KS_Pan_Right_Rear, &KS_Pan_Right_Center, &KS_Pan_Right_Front},
    };
    const auto sign = [](int32_t v) { return v < 0 ? 0 : v > 0 ? 2 : 1; };
    const char16_t* format = KernelText(*kTexts[sign(a)][sign(b)]);
    if (a != 0) return PrintText(format, std::abs(a), std::abs(b));
    return PrintText(format, std::abs(b));
}
