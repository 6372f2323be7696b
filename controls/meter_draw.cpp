#include "controls/meter_model.h"
#include "kernel/color_math.h"
#include "kernel/ui/theme.h"
#include "kernel/ui/ui_colors.h"
#include "kernel/ui/ui_fonts.h"
#include "platform/ui/control_host.h"
#include "platform/ui/paint.h"

#include <algorithm>
#include <cmath>

namespace {
constexpr LONG kMarkGap = 2, kMarkSpace = 4;  // between labels, one above the other and side by side
constexpr COLORREF kNoBitmaps = 0xFF0000;
// The bitmaps and the pixels of the scale belong to a size of the bars: made when that is first seen.
bool Prepare(tQMMETER& m, const MeterBars& bars) {
    if (m.bitmaps && m.bitmaps->look.length == bars.length && m.bitmaps->look.width == bars.width)
        return true;
    ReleaseMeterBitmaps(m.bitmaps);
    m.painted = {};
    m.model->rescale(m, bars.length);
    MeterLook look{bars.length, bars.width, bars.vertical, {}, m.skinDib};
    m.model->look(m, look);
    m.bitmaps = AcquireMeterBitmaps(look);
    return m.bitmaps;
}

void Blit(QPainter& p, const QImage& image, const MeterBars& bars, uint32_t channel, int32_t from,
          int32_t to) {
    if (to <= from) return;
    const QRect target = bars.Part(channel, from, to - from);
    const QRect source = bars.vertical ? QRect(0, bars.length - to, bars.width, to - from)
                                       : QRect(from, 0, to - from, bars.width);
    p.drawImage(target.topLeft(), image, source);
}

int32_t MarkSize(const MeterBars& bars) { return 2 * (bars.step - bars.width); }

// Paints pixels [from, to) of a bar as the channel's shown levels want them; all painting of bars is done
// here, so that a part looks as it does in the whole. The highest level is a mark of lit pixels above the
// bar, the lowest one a mark of unlit pixels in it.
void PaintBar(const tQMMETER& m, QPainter& p, const MeterBars& bars, uint32_t channel, int32_t from,
              int32_t to) {
    const METERCHANNEL& c = m.channel[channel];
    Blit(p, m.bitmaps->lit, bars, channel, from, std::min(to, c.shown));
    Blit(p, m.bitmaps->unlit, bars, channel, std::max(from, c.shown), to);
    const auto mark = [&](const QImage& image, int32_t at) {
        Blit(p, image, bars, channel, std::max(from, at - MarkSize(bars)), std::min(to, at));
    };
    if (m.style & METERS_HOLD_HIGH && c.shownHigh > c.shown) mark(m.bitmaps->lit, c.shownHigh);
    if (m.style & METERS_HOLD_LOW && c.shownLow < c.shown) mark(m.bitmaps->unlit, c.shownLow);
}

void TakePixels(const tQMMETER& m, const MeterBars& bars, METERCHANNEL& c) {
    c.shown = MeterBarPixel(m, bars.length, c.pixel);
    c.shownHigh = MeterBarPixel(m, bars.length, c.highPixel);
    c.shownLow = MeterBarPixel(m, bars.length, c.lowPixel);
}

// Paints what differs between the shown levels and the new ones, and gives the pixels
// [*low, *high) that it touched.
bool PaintBarChanges(tQMMETER& m, QPainter& p, const MeterBars& bars, uint32_t channel, int32_t* low,
                     int32_t* high) {
    METERCHANNEL& c = m.channel[channel];
    const METERCHANNEL old = c;
    TakePixels(m, bars, c);
    *low = bars.length;
    *high = 0;
    const auto paint = [&](int32_t from, int32_t to) {
        from = std::max(from, 0);
        if (to <= from) return;
        PaintBar(m, p, bars, channel, from, to);
        *low = std::min(*low, from);
        *high = std::max(*high, to);
    };
    const int32_t mark = MarkSize(bars);
    const bool moved = c.shown != old.shown;
    if (moved) paint(std::min(c.shown, old.shown), std::max(c.shown, old.shown));
    // A mark also changes when the level passes it.
    if (m.style & METERS_HOLD_HIGH &&
        (c.shownHigh != old.shownHigh || (moved && c.shownHigh - mark < std::max(c.shown, old.shown)))) {
        paint(old.shownHigh - mark, old.shownHigh);
        paint(c.shownHigh - mark, c.shownHigh);
    }
    if (m.style & METERS_HOLD_LOW &&
        (c.shownLow != old.shownLow || (moved && c.shownLow >= std::min(c.shown, old.shown)))) {
        paint(old.shownLow - mark, old.shownLow);
        paint(c.shownLow - mark, c.shownLow);
    }
    return *high > *low;
}

uint32_t StripCount(const tQMMETER& m) { return m.state & METERST_ONE_STRIP ? 1 : m.channels; }

int32_t StripValue(const tQMMETER& m, uint32_t strip) {
    return m.state & METERST_ONE_STRIP ? MeterCommonClip(m) : m.channel[strip].clip;
}

void PaintStrip(const tQMMETER& m, QPainter& p, const RECT& strips, uint32_t strip) {
    RECT r = MeterStripRect(m, strips, strip);
    // Numbers side by side would run together.
    (m.state & METERST_VERTICAL ? r.right : r.bottom) -= strip + 1 < StripCount(m);
    const MeterReadout readout = m.model->readout(m, m.channel[strip].shownClip);
    FillRect(p, r, readout.clipped ? m.clipTextBackground : m.background);
    if (readout.clipped) FrameRect(p, r, m.clipBackground);
    const QFont& font = QmGetUIFont(UIFONT_SMALL);
    std::u16string text = readout.text;
    const auto width = [&] {
        return QmGetTextExtent(font, text.data(), static_cast<int32_t>(text.size())).cx;
    };
    if (m.state & METERST_MAY_CUT && text.size() > 2 && width() > r.Width()) text.resize(text.size() - 2);
    const bool centred = m.state & METERST_CENTRED || width() > r.Width() - 4;
    r.right -= centred ? 0 : 2;
    DrawText(p, r, text, font, readout.clipped ? m.clipText : ReadableOn(m.text, m.background),
             centred ? TEXT_CENTER : TEXT_RIGHT);
}

// The column of labels along the bars: a tick at the side of the bars, and its
// number, kept inside the column.
void PaintLabels(const tQMMETER& m, QPainter& p, const MeterLayout& layout, const MeterBars& bars,
                 qreal scale) {
    const bool vertical = bars.vertical, far = m.style & METERS_LABELS_OTHER_SIDE;
    const SIZE size = MeterLabelSize(m);
    const RECT& box = layout.labels;
    const COLORREF face = QmGetUIColor(COLOR_BTNFACE);
    const COLORREF tickColor = VisibleOn(QmSkin_BlendColor(m.text, face, 120, 0), face);
    const LONG labelUnits = vertical ? size.cy + kMarkGap : size.cx + kMarkSpace;
    // A line of the well at each end.
    const LONG units = std::max((vertical ? layout.bars.Height() : layout.bars.Width()) - 2, 0);
    const auto line = [&](LONG at, LONG reach) {
        if (vertical)
            HLine(p, far ? box.left : box.right - reach, far ? box.left + reach : box.right, at, tickColor);
        else
            VLine(p, at, far ? box.top : box.bottom - reach, far ? box.top + reach : box.bottom, tickColor);
    };
    const auto textBox = [&](LONG at) -> RECT {
        if (vertical) {
            const LONG top = std::clamp(at - size.cy / 2, box.top, std::max(box.bottom - size.cy, box.top));
            return {far ? box.left + kTickRoom : box.left, top, far ? box.right : box.right - kTickRoom,
                    top + size.cy};
        }
        const LONG left = std::clamp(at - size.cx / 2, box.left, std::max(box.right - size.cx, box.left));
        return {left, far ? box.top + kTickRoom : box.top, left + size.cx,
                far ? box.bottom : box.bottom - kTickRoom};
    };
    for (const MeterMark& mark : m.model->marks(m, bars.length, units, labelUnits)) {
        const double pixel = (bars.Margin() + mark.pixel - (m.scalePixels - bars.length)) / scale;
        const auto at =
            static_cast<LONG>(std::lround(vertical ? layout.bars.bottom - pixel : layout.bars.left + pixel));
        const RECT text = textBox(at);
        line(at, mark.text.empty() ? 2 : 4);
        DrawText(p, text, mark.text, QmGetUIFont(UIFONT_SMALL), m.text, vertical ? TEXT_RIGHT : TEXT_CENTER);
    }
}

// The first list's name where it fits, else the second's.
void PaintNames(const tQMMETER& m, QPainter& p, const RECT& names) {
    const QFont& font = QmGetUIFont(UIFONT_SMALL);
    for (uint32_t i = 0; i < m.channels; i++) {
        const RECT r = MeterBarRect(m, names, i);
        for (const size_t list : {size_t{0}, size_t{1}}) {
            if (i >= m.nameCounts[list]) continue;
            const char16_t* name = m.names[list][i];
            if (list == 0 && m.nameCounts[1] > i && QmGetTextExtent(font, name, -1).cx > r.Width()) continue;
            DrawText(p, r, name, font, m.text, TEXT_CENTER | TEXT_ELIDE);
            break;
        }
    }
}

bool IsCovered(const QPainter& p, const RECT& area) {
    if (!p.hasClipping()) return true;
    // A region takes memory, and at each tick the meters that the window cuts come here.
    const QRect rect = ToQRect(area);
    return p.clipBoundingRect().contains(rect) && (QRegion(rect) - p.clipRegion()).isEmpty();
}

int32_t DeviceLine(const QPainter& p) {
    return static_cast<int32_t>(std::lround(LineWidth(p) * p.deviceTransform().m22()));
}

// The opaque part: bars and readouts, whole. False when there was no memory for the bitmaps.
bool PaintWhole(tQMMETER& m, QPainter& p, const MeterLayout& layout, MeterBars* bars) {
    const int32_t line = DeviceLine(p);
    // Under a clip the rest of the bars stays as it was painted before, so this part
    // is painted as of then, too.
    const bool covered = IsCovered(p, m.client);
    {
        const DevicePixels device(p);
        const QRect well = device.Map(layout.bars);
        *bars = MeterBarsIn(m, well, line);
        if (!Prepare(m, *bars)) {
            p.fillRect(device.Map(m.client), ToColor(kNoBitmaps));
            return false;
        }
        if (covered || m.painted != FromQRect(well)) {
            m.model->advance(m, m.window->Now());
            for (METERCHANNEL& c : m.channel) TakePixels(m, *bars, c);
            for (uint32_t i = 0; i < StripCount(m); i++) m.channel[i].shownClip = StripValue(m, i);
            m.painted = covered ? FromQRect(well) : RECT{};
        }
        p.fillRect(well, ToColor(m.background));
        for (uint32_t i = 0; i < m.channels; i++) PaintBar(m, p, *bars, i, 0, bars->length);
    }
    if (m.style & METERS_CLIP_SHOWN)
        for (uint32_t i = 0; i < StripCount(m); i++) PaintStrip(m, p, layout.strip, i);
    return true;
}

// The area of the bars that was touched, in logical pixels.
RECT PaintBarsChanges(tQMMETER& m, QPainter& p, const MeterBars& bars, const DevicePixels& device) {
    QRect touched;
    for (uint32_t i = 0; i < m.channels; i++) {
        int32_t low = 0, high = 0;
        if (PaintBarChanges(m, p, bars, i, &low, &high)) touched |= bars.Part(i, low, high - low);
    }
    return touched.isEmpty() ? RECT{} : device.Unmap(touched);
}
}  // namespace

void MeterInst_Draw(tQMMETER* meter, QPainter* painter) {
    tQMMETER& m = *meter;
    if (m.client.IsEmpty()) return;
    const MeterLayout layout = MeterLayoutOf(m);
    MeterBars bars;
    if (!PaintWhole(m, *painter, layout, &bars)) return;
    const qreal scale =
        layout.bars.Height() > 0 ? bars.well.height() / static_cast<qreal>(layout.bars.Height()) : 1;
    if (!layout.labels.IsEmpty()) PaintLabels(m, *painter, layout, bars, scale);
    if (!layout.names.IsEmpty()) PaintNames(m, *painter, layout.names);
}

BOOL MeterInst_DrawChanges(tQMMETER* meter, QPainter* painter, RECT* changed) {
    tQMMETER& m = *meter;
    *changed = {};
    if (m.client.IsEmpty()) return 0;
    const MeterLayout layout = MeterLayoutOf(m);
    const int32_t line = DeviceLine(*painter);
    bool known = false;
    {
        const DevicePixels device(*painter);
        MeterBars bars = MeterBarsIn(m, device.Map(layout.bars), line);
        known = Prepare(m, bars) && m.painted == FromQRect(bars.well);
        if (known) {
            m.model->advance(m, m.window->Now());
            *changed = PaintBarsChanges(m, *painter, bars, device);
        }
    }
    if (!known) {
        MeterBars bars;
        PaintWhole(m, *painter, layout, &bars);
        *changed = m.client;
        return 1;
    }
    if (m.style & METERS_CLIP_SHOWN) {
        for (uint32_t i = 0; i < StripCount(m); i++) {
            if (StripValue(m, i) == m.channel[i].shownClip) continue;
            m.channel[i].shownClip = StripValue(m, i);
            PaintStrip(m, *painter, layout.strip, i);
            *changed = FromQRect(ToQRect(*changed) | ToQRect(MeterStripRect(m, layout.strip, i)));
        }
    }
    return !changed->IsEmpty();
}
