#include "controls/meter_layout.h"

#include "kernel/ui/ui_fonts.h"

#include <algorithm>

namespace {
constexpr int32_t kGap = 2;
constexpr int32_t kLeastWidth = 32;  // of a meter that has labels
constexpr int32_t kLeastBar = 3;
constexpr int32_t kLeastLength = 24;

bool IsVertical(const tQMMETER& m) { return m.state & METERST_VERTICAL; }

// Takes `size` from the high end (top or right) or the low end of the rectangle, along the scale.
RECT TakeHigh(RECT& r, bool vertical, int32_t size) {
    RECT taken = r;
    if (vertical)
        taken.bottom = r.top = std::min(r.top + size, r.bottom);
    else
        taken.left = r.right = std::max(r.right - size, r.left);
    return taken;
}
RECT TakeLow(RECT& r, bool vertical, int32_t size) {
    RECT taken = r;
    if (vertical)
        taken.top = r.bottom = std::max(r.bottom - size, r.top);
    else
        taken.right = r.left = std::min(r.left + size, r.right);
    return taken;
}

RECT Share(const RECT& r, bool across, uint32_t index, uint32_t count) {
    const auto at = [&](LONG low, LONG size, uint32_t i) {
        return low + static_cast<LONG>(int64_t{size} * i / std::max(count, 1u));
    };
    return across ? RECT{at(r.left, r.Width(), index), r.top, at(r.left, r.Width(), index + 1), r.bottom}
                  : RECT{r.left, at(r.top, r.Height(), index), r.right, at(r.top, r.Height(), index + 1)};
}
}  // namespace

SIZE MeterLabelSize(const tQMMETER& m) {
    static const SIZE usual = QmGetTextExtent(QmGetUIFont(UIFONT_SMALL), u" -00.0", -1);
    static const SIZE wide = QmGetTextExtent(QmGetUIFont(UIFONT_SMALL), u"-100.0", -1);
    return m.scale.Decibels() < 100 ? usual : wide;
}

SIZE MeterStripSize() {
    static const SIZE size = QmGetTextExtent(QmGetUIFont(UIFONT_SMALL), u"-138.0", -1);
    return {size.cx + 4, size.cy + 2};
}

MeterLayout MeterLayoutOf(tQMMETER& m) {
    const bool vertical = IsVertical(m);
    MeterLayout out{};
    out.bars = m.client;
    const int32_t across = vertical ? m.client.Width() : m.client.Height();
    const SIZE label = MeterLabelSize(m), strip = MeterStripSize();

    if (m.style & (METERS_CLIP_SHOWN | METERS_CLIP_ROOM)) {
        out.strip = TakeHigh(out.bars, vertical, vertical ? strip.cy : strip.cx);
        TakeHigh(out.bars, vertical, kGap);
    }
    if (m.nameCounts[0] || m.nameCounts[1])
        out.names = TakeLow(out.bars, vertical, vertical ? label.cy : label.cx);

    const int32_t column = (vertical ? label.cx : label.cy) + kTickRoom;
    const bool fit =
        across >= kLeastWidth && across - column >= static_cast<int32_t>(m.channels) * kLeastBar + 2;
    m.state = fit ? m.state | METERST_LABELS_FIT : m.state & ~METERST_LABELS_FIT;
    if (fit && m.style & METERS_LABELS) {
        const bool high = m.style & METERS_LABELS_OTHER_SIDE;  // labels right of the bars, or below them
        out.labels =
            high != vertical ? TakeLow(out.bars, !vertical, column) : TakeHigh(out.bars, !vertical, column);
        // Names stand at the ends of the bars, not of the labels.
        (vertical ? out.names.left : out.names.top) = vertical ? out.bars.left : out.bars.top;
        (vertical ? out.names.right : out.names.bottom) = vertical ? out.bars.right : out.bars.bottom;
    }
    m.strip = vertical ? SIZE{out.bars.Width() / static_cast<LONG>(m.channels), out.strip.Height()}
                       : SIZE{out.strip.Width(), out.bars.Height() / static_cast<LONG>(m.channels)};
    return out;
}

RECT MeterStripRect(const tQMMETER& m, const RECT& strip, uint32_t channel) {
    return m.state & METERST_ONE_STRIP ? strip : Share(strip, IsVertical(m), channel, m.channels);
}

RECT MeterBarRect(const tQMMETER& m, const RECT& bars, uint32_t channel) {
    return Share(bars, IsVertical(m), channel, m.channels);
}

int32_t MeterMinLength(const tQMMETER& m) {
    const SIZE strip = MeterStripSize();
    const bool hasStrip = m.style & METERS_CLIP_ROOM;
    return kLeastLength + (hasStrip ? (IsVertical(m) ? strip.cy : strip.cx) + kGap : 0);
}

MeterBars MeterBarsIn(const tQMMETER& m, const QRect& well, int32_t line) {
    const bool vertical = IsVertical(m);
    const int32_t channels = static_cast<int32_t>(m.channels);
    const QRect inner = well.adjusted(line, line, -line, -line);
    const int32_t across = vertical ? inner.width() : inner.height();
    const int32_t width = std::max((across - line * (channels - 1)) / channels, 0);
    const int32_t rest = std::max(across - width * channels - line * (channels - 1), 0);
    return {std::max(vertical ? inner.height() : inner.width(), 0),
            width,
            (vertical ? inner.left() : inner.top()) + rest / 2,
            width + line,
            well,
            vertical};
}

QRect MeterBars::Part(uint32_t channel, int32_t from, int32_t count) const {
    const int32_t across = first + static_cast<int32_t>(channel) * step;
    return vertical ? QRect(across, well.top() + Margin() + length - from - count, width, count)
                    : QRect(well.left() + Margin() + from, across, count, width);
}
