#include "controls/fader_layout.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace {
constexpr int32_t kDefaultTicks[] = {120, 60, 30, -30, -60, -90, -120, -150, -180, -240, -420, -600, -720};
constexpr int32_t kTickDistance = 6;
constexpr int32_t kLabelOverlap = 3;  // a line's height has air in it
constexpr int32_t kLabelSpace = 4;    // between two labels side by side
constexpr int32_t kDrawnThumbWidth = 24;
constexpr int32_t kLabelGap = 8;  // between a label and the thumb: room for the tick

int32_t Scaled(const tQMFADER& f, int32_t pixels) {
    return static_cast<int32_t>(std::floor(static_cast<float>(pixels) * f.interfaceScale));
}

int32_t Across(const tQMFADER& f) { return IsVertical(f) ? f.client.Width() : f.client.Height(); }

int32_t ThumbAcross(const tQMFADER& f) {
    int32_t width = Scaled(f, kDrawnThumbWidth);
    if (f.thumbImageSize.cx > 0) width = IsVertical(f) ? f.thumbImageSize.cx : f.thumbImageSize.cy;
    width = std::min(width, Across(f));
    // An odd width leaves the two thumbs of a pair a line between them.
    if (f.state & FADERST_STEREO && width > 0 && width % 2 == 0) width--;
    return width;
}

// The rectangle that spans [low, high) across and the whole client along the axis.
RECT AcrossRect(const tQMFADER& f, int32_t low, int32_t high) {
    return IsVertical(f) ? RECT{low, f.client.top, high, f.client.bottom}
                         : RECT{f.client.left, low, f.client.right, high};
}
}  // namespace

bool FaderHasLabels(const tQMFADER& f) {
    if (!(f.state & FADERST_LABELS) || f.state & FADERST_NO_TICKS) return false;
    const SIZE label = FaderLabelSize();
    return Across(f) >= (IsVertical(f) ? label.cx : label.cy) + kLabelGap + ThumbAcross(f);
}

SIZE FaderMinSize(const tQMFADER& f) {
    const bool drawn = f.state & FADERST_DRAWN_THUMB;
    const int32_t t = drawn ? 0 : Scaled(f, 20);
    const int32_t length = t + ((t >> 1) - (drawn ? 1 : 2)) * 2;
    int32_t across = Scaled(f, drawn ? 3 : 8);
    if (f.state & FADERST_STEREO) across = std::max(across, Scaled(f, 13));
    return IsVertical(f) ? SIZE{across, length} : SIZE{length, across};
}

void FaderLayout(tQMFADER& f) {
    const SIZE least = FaderMinSize(f);
    const bool tooSmall = f.client.Width() < least.cx || f.client.Height() < least.cy;
    f.state &= ~(FADERST_TOO_SMALL | FADERST_NO_TICKS | FADERST_LABELS);
    if (!(f.style & FADERS_TICKS)) f.state |= FADERST_NO_TICKS;
    if (f.style & FADERS_LABELS) f.state |= FADERST_LABELS;
    if (tooSmall) f.state |= FADERST_TOO_SMALL | FADERST_NO_TICKS | FADERST_LABELS;

    const int32_t length = IsVertical(f) ? f.client.Height() : f.client.Width();
    f.travel = std::max(length - f.thumbLength, 0);
    f.marginX = f.thumbLength / 2;
    f.marginY = f.thumbLength - f.thumbLength / 2;
    f.focus = f.client;

    const int32_t thumb = ThumbAcross(f);
    const int32_t low = IsVertical(f) ? f.client.left : f.client.top;
    int32_t before = (Across(f) - thumb) / 2;
    if (FaderHasLabels(f)) {
        const SIZE label = FaderLabelSize();
        const int32_t labels = (IsVertical(f) ? label.cx : label.cy) + kLabelGap;
        before = labels + (Across(f) - labels - thumb) / 2;
    }
    f.track = AcrossRect(f, low + before, low + before + thumb);
    const bool fine = f.travel >= int64_t{f.scale.max} - f.scale.min;
    f.state = fine ? f.state | FADERST_FINE_PIXELS : f.state & ~FADERST_FINE_PIXELS;
    FaderPlaceThumbs(f);
}

void FaderPlaceThumbs(tQMFADER& f) {
    const int32_t low = IsVertical(f) ? f.track.left : f.track.top;
    const int32_t width = IsVertical(f) ? f.track.Width() : f.track.Height();
    const int32_t one = f.channels == 2 ? (width - 1) / 2 : width;
    for (uint32_t c = 0; c < f.channels; c++) {
        const int32_t first = FaderPixel(f, f.pos[c]) - f.thumbLength / 2;
        const int32_t side = c == 0 ? low : low + width - one;
        f.thumbs[c].rect = IsVertical(f) ? RECT{side, first, side + one, first + f.thumbLength}
                                         : RECT{first, side, first + f.thumbLength, side + one};
        f.thumbs[c].split = side + one / 2;
    }
}

int32_t FaderPixel(const tQMFADER& f, int32_t value) {
    // A value out of range is kept, but its thumb stays on the track.
    const int32_t d = std::clamp(f.scale.Distance(value, f.travel), 0, f.travel);
    return IsVertical(f) ? f.client.bottom - f.marginY - d : f.client.left + f.marginX + d;
}

int32_t FaderValue(const tQMFADER& f, int32_t pixel) {
    return f.scale.Value(
        IsVertical(f) ? f.client.bottom - f.marginY - pixel : pixel - f.client.left - f.marginX, f.travel);
}

POINT FaderThumbCentre(const tQMFADER& f, uint32_t channel) {
    const int32_t along = FaderPixel(f, f.pos[channel]), across = f.thumbs[channel].split;
    return IsVertical(f) ? POINT{across, along} : POINT{along, across};
}

FaderHit FaderHitTest(const tQMFADER& f, POINT at, bool shift) {
    FaderHit hit{FADER_NOWHERE, f.channelMask, f.activeChannel};
    if (f.state & (FADERST_DISABLED | FADERST_TOO_SMALL) || !f.client.Contains(at)) return hit;
    const bool gang = shift != static_cast<bool>(f.state & FADERST_GANG_INVERTED);
    for (uint32_t c = 0; c < f.channels; c++) {
        if (!f.thumbs[c].rect.Contains(at)) continue;
        const int32_t across = FaderAcross(f, at), split = f.thumbs[c].split;
        const bool innerHalf = f.channels == 2 && !(f.state & FADERST_NO_HALF_GANG) &&
                               (c == 0 ? across > split : across <= split);
        return {FADER_THUMB, gang || innerHalf ? FaderAllChannels(f) : 1u << c, c};
    }
    const int32_t thumb = FaderPixel(f, f.pos[f.activeChannel]), mouse = FaderAlong(f, at);
    const bool larger = IsVertical(f) ? mouse < thumb : mouse > thumb;
    const uint32_t up = f.track.Contains(at) ? FADER_PAGE_UP : FADER_LINE_UP;
    hit.part = static_cast<int32_t>(larger ? up : up + 1);
    return hit;
}

std::span<const int32_t> FaderTickList(const tQMFADER& f) {
    if (!f.ticks) return kDefaultTicks;
    return {f.ticks, f.tickCount};
}

std::vector<FaderTick> FaderTicks(const tQMFADER& f) {
    std::vector<FaderTick> ticks;
    if (!(f.state & FADERST_TAPER)) return ticks;
    const SIZE label = FaderLabelSize();
    const int32_t room = IsVertical(f) ? label.cy - kLabelOverlap : label.cx + kLabelSpace;
    std::vector<int32_t> taken;
    if (FaderShowsUnity(f)) taken.push_back(FaderPixel(f, 0));
    for (const int32_t value : FaderTickList(f)) {
        if (value <= f.scale.min || value >= f.scale.max) continue;
        const int32_t pixel = FaderPixel(f, value);
        if (!ticks.empty() && std::abs(pixel - ticks.back().pixel) <= kTickDistance) continue;
        const bool free =
            std::none_of(taken.begin(), taken.end(), [&](int32_t t) { return std::abs(t - pixel) < room; });
        if (free) taken.push_back(pixel);
        ticks.push_back({value, pixel, free});
    }
    return ticks;
}

bool FaderShowsUnity(const tQMFADER& f) {
    return f.state & FADERST_TAPER && f.scale.min < 0 && f.scale.max > 0;
}
