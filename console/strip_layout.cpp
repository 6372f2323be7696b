#include "console/strip_layout.h"

#include <algorithm>
#include <iterator>

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

class Layout {
public:
    Layout(const RECT& strip, const tConsoleMetrics& metrics, const StripTraits& traits,
           const StripView& shared)
        : m(metrics), t(traits), view(shared), g(m.nGap), r(m.nRowHeight), s(m.nSmallRowHeight),
          narrow(strip.Width() < (t.fourFaders ? m.cxSurroundDefault : m.cxChannelDefault)) {
        out.strip = strip;
    }

    StripRects Run() {
        RECT rest = out.strip;
        Title(rest);
        NamePlate(rest);
        Regions(rest);
        return out;
    }

private:
    struct Need {
        LONG least;  ///< without its label
        LONG wanted;
        LONG label;  ///< its bar's height
    };
    using Needs = Need[STRIP_REGIONS];

    void Title(RECT& rest);
    void NamePlate(RECT& rest);
    void Measure(Needs& needs) const;
    void Regions(RECT rest);
    void Fill(StripRegion region, const RECT& inside);
    ShownRows ShowRows(RECT& list, int first, int count, int all, LONG height) const;
    void Inserts(const RECT& area);
    void Sends(const RECT& area);
    void InputAndOutputs(const RECT& area);
    void ButtonRow(const RECT& area, std::initializer_list<RECT*> buttons);
    void Pan(const RECT& area);
    void Faders(RECT area);
    void FadersUpright(RECT area);
    void SurroundFaders(RECT area);
    void PlaceFader(const RECT& share, LONG top, LONG bottom, int group);
    LONG ButtonSize() const { return narrow && !out.Region(StripRegion::Peaks).Height() ? s : r; }
    bool MeterBesideFader() const { return out.peak.IsEmpty(); }

    const tConsoleMetrics& m;
    const StripTraits& t;
    const StripView& view;
    const LONG g, r, s;
    const bool narrow;
    StripRects out{};
};

void Layout::Title(RECT& rest) {
    const LONG height = (m.nTitleExtraRows + 2) * g + r;
    if (rest.Height() < height) return;
    out.title = TakeTop(rest, height);
    if (!t.kindIconWidth) return;
    const RECT row{out.title.left + g, out.title.top + g, out.title.right - g, out.title.top + g + r};
    out.kindIcon = {row.left, row.top, row.left + t.kindIconWidth, row.bottom};
    out.kindWord = {out.kindIcon.right + 3, row.top, row.right, row.bottom};
}

void Layout::NamePlate(RECT& rest) {
    const LONG height = r + 2 * g;
    if (rest.Height() < height) return;
    out.namePlate = TakeBottom(rest, height);
    out.name = Inset(out.namePlate, g, g);
}

void Layout::Measure(Needs& needs) const {
    const StripSizes sizes = UsableSizes(view.sizes, m);
    const LONG vuLeast = (g + 2 * r) * 2;
    const struct {
        StripRegion region;
        LONG least, wanted;
        bool labelled;
    } rows[] = {
        {StripRegion::Inserts, g + 2 * (r + g), sizes.inserts, true},
        {StripRegion::Sends, 3 * r + 4 * g, sizes.sends, true},
        {StripRegion::Io, r + 2 * g, g + 2 * (r + g), true},
        {StripRegion::Scopes, m.cxChannelNarrow, sizes.scopes, true},
        {StripRegion::Vu, vuLeast, sizes.vu, true},
        {StripRegion::Peaks, vuLeast, sizes.peaks, true},
        {StripRegion::Automation, r + 2 * g, r + 2 * g, false},
        {StripRegion::Record, 3 * g + r, 3 * g + r, false},
        {StripRegion::Switches, r + 2 * g, r + 2 * g, false},
        {StripRegion::Pan, 3 * g + r + s, 3 * g + r + s, false},
        {StripRegion::Faders, 4 * (r + g) + s, 4 * (r + g) + s, false},
    };
    for (const auto& row : rows)
        if (view.show.Shows(row.region))
            needs[IndexOf(row.region)] = {row.least, row.wanted,
                                          row.labelled && view.show.bShowLabels ? s : 0};
}

/// From the top each region takes what it wants, less what those below it cannot do without. Where that is
/// not enough the labels go first, then the region. Meters and scope also go with the lists above them, so
/// that a low strip keeps its faders and does not show them in turns.
void Layout::Regions(RECT rest) {
    Needs needs{};
    Measure(needs);
    LONG below = 0, labelsBelow = 0;
    for (const Need& need : needs) below += need.least, labelsBelow += need.label;
    bool listsFit = true;
    for (size_t i = 0; i < STRIP_REGIONS; i++) {
        const Need& need = needs[i];
        if (!need.least) continue;
        const auto region = static_cast<StripRegion>(i);
        below -= need.least;
        labelsBelow -= need.label;
        const LONG space = rest.Height();
        const bool isMeter =
            region == StripRegion::Scopes || region == StripRegion::Vu || region == StripRegion::Peaks;
        const bool labels = space >= need.least + need.label + below + labelsBelow;
        if (space < need.least + below || (isMeter && !listsFit)) {
            if (region == StripRegion::Inserts || region == StripRegion::Sends) listsFit = false;
            continue;
        }
        const LONG label = labels ? need.label : 0;
        const LONG reserved = below + (labels ? labelsBelow : 0);
        const LONG height =
            region == StripRegion::Faders
                ? space
                : std::max(need.least + label, std::min(need.wanted + label, space - reserved));
        RECT inside = TakeTop(rest, height);
        out.region[i] = inside;
        if (label) out.label[i] = TakeTop(inside, label);
        Fill(region, inside);
    }
}

void Layout::Fill(StripRegion region, const RECT& inside) {
    switch (region) {
    case StripRegion::Inserts: return Inserts(inside);
    case StripRegion::Sends: return Sends(inside);
    case StripRegion::Io: return InputAndOutputs(inside);
    case StripRegion::Scopes: out.scope = Inset(inside, g, g); return;
    case StripRegion::Vu: out.vu = Inset(inside, g, g); return;
    case StripRegion::Peaks: out.peak = Inset(inside, g, g); return;
    case StripRegion::Automation:
        if (t.automation) out.automation = Inset(inside, g, g);
        return;
    case StripRegion::Record:
        ButtonRow(inside, {t.arm ? &out.arm : nullptr, t.monitor ? &out.monitor : nullptr});
        return;
    case StripRegion::Switches:
        ButtonRow(inside,
                  {t.chain && out.Region(StripRegion::Inserts).IsEmpty() ? &out.chain : nullptr, &out.mute,
                   &out.solo, t.phase ? &out.phase : nullptr, t.soloSafe ? &out.soloSafe : nullptr});
        return;
    case StripRegion::Pan: return Pan(inside);
    case StripRegion::Faders:
        if (t.fourFaders) return SurroundFaders(inside);
        return view.show.bVerticalLayout ? FadersUpright(inside) : Faders(inside);
    }
}

/// Where not all fit the list gets a column beside it, as high as the rows.
ShownRows Layout::ShowRows(RECT& list, int first, int count, int all, LONG height) const {
    ShownRows rows{std::clamp(first, 0, all - count), count, all, {}};
    if (count == 0 || count == all) return rows;
    rows.column = {list.right - r / 2, list.top, list.right, list.top + height};
    list.right = rows.column.left - g;
    return rows;
}

void Layout::Inserts(const RECT& area) {
    if (!t.chain) return;
    const int fit = std::min<int>((area.Height() - g) / (r + g), INSERT_ROWS);
    if (fit < 2) return;
    const int all = t.effects + 1;  // the last one adds
    RECT column = Inset(area, g, g);
    out.insertRows = ShowRows(column, t.firstInsert, std::min(fit, all), all, fit * (r + g) - g);
    for (int i = 0; i < out.insertRows.count; i++) {
        const LONG top = column.top + i * (r + g);
        out.inserts[i] = {column.left, top, column.right, top + r};
    }
}

void Layout::Sends(const RECT& area) {
    if (!t.canSend) return;
    const LONG height = 3 * r + 4 * g;
    const int rows = std::min<int>({t.sends, SEND_ROWS, static_cast<int>(area.Height() / height)});
    RECT rest = area, column = Inset(area, g, g);
    out.sendRows = ShowRows(column, t.firstSend, rows, t.sends, rows * height - 2 * g);
    for (int i = 0; i < rows; i++) {
        SendRects& send = out.sends[i];
        send.row = TakeTop(rest, height);
        RECT inside{column.left, send.row.top + g, column.right, send.row.bottom - g};
        send.target = TakeTop(inside, r);
        const RECT numbers = TakeBottom(inside, r);
        inside = Inset(inside, 0, g);
        // Between target and numbers the level has the room of a row; the pan shares it.
        if (t.sendPan) {
            send.pan = TakeTop(inside, inside.Height() / 2);
        }
        const LONG level = std::min(t.sendThumb, inside.Height());
        const LONG top = inside.top + (inside.Height() - level) / 2;
        send.level = {inside.left, top, inside.right, top + level};
        send.prePost = {numbers.left, numbers.top, std::min(numbers.left + t.postWidth + 10, numbers.right),
                        numbers.bottom};
        send.value = {send.prePost.right + g, numbers.top, numbers.right, numbers.bottom};
        if (send.value.Width() < t.postWidth / 2) send.value = {};
    }
    if (out.sendRows.first + rows == t.sends && rest.Height() >= r + 2 * g)
        out.addSend = {rest.left + g, rest.top + g, rest.right - g, rest.top + g + r};
}

void Layout::InputAndOutputs(const RECT& area) {
    const RECT inside = Inset(area, g, g);
    const bool one = inside.Height() < 2 * r + g;
    RECT first{inside.left, inside.top, inside.right, inside.top + r}, second = first;
    if (one) {
        first.right = (inside.left + inside.right - g) / 2;
        second.left = first.right + g;
    } else {
        second.top += r + g;
        second.bottom += r + g;
    }
    if (t.input) {
        out.input = first;
        RECT* beside = t.midi                                   ? &out.midiChannel
                       : t.monitor && view.show.bVerticalLayout ? &out.monitor
                                                                : nullptr;
        if (beside && first.Width() >= 3 * r) {
            *beside = {first.right - r, first.top, first.right, first.bottom};
            out.input.right = beside->left - g;
        }
    }
    for (int i = 0; i < t.outputs; i++) {
        const LONG width = second.Width();
        out.outputs[i] = {second.left + width * i / t.outputs + (i ? g : 0), second.top,
                          second.left + width * (i + 1) / t.outputs, second.bottom};
    }
}

/// From the left, as many as there is room for.
void Layout::ButtonRow(const RECT& area, std::initializer_list<RECT*> buttons) {
    LONG x = area.left + g;
    const LONG top = area.top + (area.Height() - r) / 2;
    for (RECT* button : buttons) {
        if (!button || x + r > area.right - g) continue;
        *button = {x, top, x + r, top + r};
        x += r + g;
    }
}

void Layout::Pan(const RECT& area) {
    if (t.surroundPan) {
        out.panPad = Inset(area, g, g);
        return;
    }
    if (!t.pan) return;
    RECT inside = Inset(area, g, g);
    out.panValue = TakeBottom(inside, s);
    out.pan = {inside.left, inside.top, inside.right, inside.top + r};
}

/// A fader centred in its share, wide enough for its thumb and its ticks.
void Layout::PlaceFader(const RECT& share, LONG top, LONG bottom, int group) {
    if (share.Width() < t.thumb.cx || bottom - top < 2 * t.thumb.cy) return;
    out.fader[group] = {share.left, top, share.right, bottom};
}

void Layout::Faders(RECT area) {
    const LONG width = out.strip.Width();
    area.bottom -= g;
    const RECT values = Inset(TakeBottom(area, t.valueHeight), g, 0);
    out.value[0] = out.value[1] = values;
    if (t.pair) {
        out.value[0].right = (values.left + values.right) / 2;
        out.value[1].left = out.value[0].right;
    } else {
        out.value[1] = {};
    }
    area.bottom -= g;
    const LONG size = ButtonSize();
    const RECT row = TakeBottom(area, size);
    if (t.pair) out.lock = {row.left + g, row.top, row.left + g + size, row.bottom};
    area.bottom -= g;
    const LONG top = area.top + g + t.thumb.cy / 2;
    RECT share = Inset(area, g, 0);
    if (MeterBesideFader()) {
        LONG meter = width / 2;
        if (width == m.cxChannelWide) meter = t.meterChannels == 2 ? t.meterPreferred : 2 * (width / 3);
        meter = std::min(meter, share.Width() - t.thumb.cx);
        out.meter[0] = {share.right - meter, top + r + g, share.right, area.bottom};
        // What does not divide among the bars goes from its right and left edge in turn.
        for (LONG over = t.meterChannels > 2 ? meter % t.meterChannels : 0; over > 0; over--)
            over % 2 ? out.meter[0].right-- : out.meter[0].left++;
        share.right = out.meter[0].left;
    }
    PlaceFader(share, area.top + g, area.bottom, 0);
}

void Layout::FadersUpright(RECT area) {
    const LONG width = out.strip.Width(), size = ButtonSize();
    area.bottom -= g;
    const RECT values = Inset(TakeBottom(area, s), g, 0);
    out.value[0] = values;
    if (t.pair && !narrow) {
        out.value[0].right = (values.left + values.right) / 2;
        out.value[1] = {out.value[0].right, values.top, values.right, values.bottom};
    }
    area.bottom -= g;
    LONG y = area.top + g;
    const LONG left = area.left + g;
    const bool switches = view.show.bShowSwitches, record = view.show.bShowRecord;
    const struct {
        RECT* where;
        bool there;
    } column[] = {
        {&out.mute, switches},
        {&out.solo, switches},
        {&out.chain, switches && t.chain},
        {&out.phase, switches && t.phase},
        {&out.soloSafe, switches && t.soloSafe},
        {&out.arm, record && t.arm},
        {&out.monitor, record && t.monitor && out.monitor.IsEmpty()},
        {&out.lock, t.pair},
    };
    bool any = false;
    for (const auto& button : column) {
        if (!button.there) continue;
        any = true;
        if (y + size > area.bottom) break;
        *button.where = {left, y, left + size, y + size};
        y += size + g;
    }
    RECT share{any ? left + size + g : left, area.top + g, area.right - g, area.bottom};
    if (MeterBesideFader()) {
        LONG meter = std::min(t.meterPreferred / 2, m.nPeakTextWidth - 3);
        if (width >= m.cxChannelWide)
            meter = std::min(t.meterPreferred, m.nLabelColumnWidth);
        else if (narrow)
            meter = s - (t.faderTicks ? g : 0);
        meter = std::clamp<LONG>(meter, 0, std::max<LONG>(0, share.Width() - t.thumb.cx));
        out.meter[0] = {share.right - meter, share.top, share.right, share.bottom};
        share.right = out.meter[0].left - g;
    }
    PlaceFader(share, share.top, share.bottom, 0);
}

/// Quarters from the right: front, rear, centre, LFE; each with its meter at its right. What is left over at
/// the left has the buttons.
void Layout::SurroundFaders(RECT area) {
    const LONG width = out.strip.Width(), size = ButtonSize();
    area.bottom -= g;
    const RECT values = Inset(TakeBottom(area, s), g, 0);
    area.bottom -= g;
    const RECT names = TakeTop(area, s);
    LONG y = area.top + g;
    const LONG left = area.left + g;
    for (RECT* button : {&out.mute, &out.solo, &out.chain}) {
        if ((button == &out.chain && !t.chain) || !view.show.bShowSwitches || !view.show.bVerticalLayout ||
            y + size > area.bottom)
            continue;
        *button = {left, y, left + size, y + size};
        y += size + g;
    }
    const LONG column = std::max(width / 8, size + 2 * g);
    const LONG quarter = (width - column - g) / SPEAKER_GROUPS;
    LONG right = area.right - g;
    for (int group = 0; group < SPEAKER_GROUPS; group++) {
        RECT share{right - quarter, area.top + g, right, area.bottom};
        right -= quarter;
        out.groupName[group] = {share.left, names.top, share.right, names.bottom};
        out.groupValue[group] = {share.left + 1, values.top, share.right - 1, values.bottom};
        if (MeterBesideFader()) {
            LONG meter = std::max<LONG>(quarter / 4, 2 * 4);
            if (group == SPEAKER_GROUPS - 1 && width < m.cxSurroundWide) meter /= 2;
            out.meter[group] = {share.right - meter, share.top, share.right - 1, share.bottom};
            share.right = out.meter[group].left - 1;
        }
        PlaceFader(share, share.top, share.bottom, group);
    }
}

}  // namespace

StripRects LayoutStrip(const RECT& strip, const tConsoleMetrics& metrics, const StripTraits& traits,
                       const StripView& view) {
    return Layout(strip, metrics, traits, view).Run();
}
