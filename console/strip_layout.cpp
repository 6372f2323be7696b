#include "console/strip_layout.h"

#include <algorithm>

namespace {

/// Takes `height` from the top of the rectangle.
RECT TakeTop(RECT& rect, LONG height) {
    const RECT taken{rect.left, rect.top, rect.right, rect.top + height};
    rect.top += height;
    return taken;
}

RECT TakeBottom(RECT& rect, LONG height) {
    const RECT taken{rect.left, rect.bottom - height, rect.right, rect.bottom};
    rect.bottom -= height;
    return taken;
}

RECT Inset(const RECT& rect, LONG x, LONG y) {
    return {rect.left + x, rect.top + y, rect.right - x, rect.bottom - y};
}

void LayoutTitle(StripRects& out, RECT& rest, const tConsoleMetrics& m, const StripTraits& traits) {
    const LONG g = m.nGap, r = m.nRowHeight;
    const LONG height = (m.nTitleExtraRows + 2) * g + r;
    if (rest.Height() < height) return;
    out.title = TakeTop(rest, height);
    if (!traits.kindIconWidth) return;
    const RECT row{out.title.left + g, out.title.top + g, out.title.right - g, out.title.top + g + r};
    out.kindIcon = {row.left, row.top, row.left + traits.kindIconWidth, row.bottom};
    out.kindWord = {out.kindIcon.right + 3, row.top, row.right, row.bottom};
}

void LayoutNamePlate(StripRects& out, RECT& rest, const tConsoleMetrics& m) {
    const LONG height = m.nRowHeight + 2 * m.nGap;
    if (rest.Height() < height) return;
    out.namePlate = TakeBottom(rest, height);
    out.name = Inset(out.namePlate, m.nGap, m.nGap);
}

/// Width of the meter beside the fader.
LONG MeterWidth(LONG stripWidth, const tConsoleMetrics& m, const StripTraits& traits) {
    if (stripWidth >= m.cxChannelWide) return std::min(traits.meterPreferred, m.nLabelColumnWidth);
    if (stripWidth < m.cxChannelDefault) return m.nSmallRowHeight - (traits.faderTicks ? m.nGap : 0);
    return std::min(traits.meterPreferred / 2, m.nPeakTextWidth - 3);
}

}  // namespace

StripRects LayoutStrip(const RECT& strip, const tConsoleMetrics& m, const StripTraits& traits) {
    StripRects out{};
    out.strip = strip;
    RECT rest = strip;
    LayoutTitle(out, rest, m, traits);
    LayoutNamePlate(out, rest, m);

    const LONG g = m.nGap, r = m.nRowHeight, s = m.nSmallRowHeight;
    const LONG smallest = 4 * (r + g) + s;
    if (rest.Height() < smallest) return out;
    out.faders = rest;

    // Switches run down the left side; the fader has what lies between them and the meter.
    const LONG button = strip.Width() < m.cxChannelDefault ? s : r;
    LONG y = rest.top + g;
    const auto takeButton = [&](RECT& where) {
        where = {rest.left + g, y, rest.left + g + button, y + button};
        y += button + g;
    };
    takeButton(out.mute);
    takeButton(out.solo);
    if (traits.phaseButton && y + button <= rest.bottom - s - 2 * g) takeButton(out.phase);

    out.valueLabel = {rest.left + g, rest.bottom - g - s, rest.right - g, rest.bottom - g};
    const LONG bottom = out.valueLabel.top - g;
    const LONG meterWidth = std::max<LONG>(0, MeterWidth(strip.Width(), m, traits));
    out.meter = {rest.right - g - meterWidth, rest.top + g, rest.right - g, bottom};
    out.fader = {out.mute.right + g, rest.top + g, out.meter.left - g, bottom};
    if (out.fader.Width() < traits.thumb.cx) out.fader = {};
    return out;
}
