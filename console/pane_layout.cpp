#include "console/pane_layout.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace {

LONG LeastList(const PaneMetrics& m) { return (m.gap + 2 * m.row) * 2; }
LONG LeastGroups(const PaneMetrics& m) { return 3 * m.gap + 5 * m.row; }

/// The heights of a stack that nobody has sized.
void SplitHeights(LONG height, const PaneShow& show, const PaneMetrics& m, PaneSizes& sizes) {
    const LONG g = m.gap, r = m.row, mostButtons = m.buttonsMost;
    LONG list = 0, groups = 0, buttons = 0;
    const auto half = [mostButtons](LONG x) { return std::max<LONG>(std::min(mostButtons, x / 2), 0); };
    if (show.list && show.groups && show.buttons) {
        const LONG x = height - 5 * g - r, rest = x - x / 3;
        list = std::max(rest / 2, LeastList(m));
        groups = std::max(rest - rest / 2, LeastGroups(m));
        buttons = std::max(x / 3, m.buttonsLeast);
    } else if (show.list && show.groups) {
        const LONG x = height - 7 * g - r;
        list = x - x / 2;
        groups = x / 2;
    } else if (show.list && show.buttons) {
        const LONG x = height - 2 * g;
        buttons = half(x);
        list = x - 2 * g - buttons;
    } else if (show.groups && show.buttons) {
        const LONG x = height - 3 * g - r;
        buttons = half(x);
        groups = x - 2 * g - buttons;
    } else if (show.list) {
        list = height - 2 * g;
    } else if (show.groups) {
        groups = height - 2 * g;
    } else if (height > m.buttonsLeast) {
        buttons = height;
    }
    sizes.list = std::max<LONG>(list, 0);
    sizes.groups = std::max<LONG>(groups, 0);
    sizes.buttons = std::max<LONG>(buttons, 0);
}

/// Brings the heights back to what there is after `height` became another.
void FitHeights(LONG height, const PaneShow& show, const PaneMetrics& m, PaneSizes& sizes) {
    LONG spare = std::min<LONG>(height - sizes.list - sizes.groups - sizes.buttons, 0);
    if (!show.list && !show.groups) {
        sizes.buttons -= spare;  // the bar cuts itself to its own size
        return;
    }
    if (sizes.buttons > m.buttonsMost) {
        spare += sizes.buttons - m.buttonsMost;
        sizes.buttons = m.buttonsMost;
    }
    if (show.buttons && sizes.buttons < m.buttonsLeast) {
        spare -= m.buttonsLeast - sizes.buttons;
        sizes.buttons = m.buttonsLeast;
    }
    (show.groups ? sizes.groups : sizes.list) += spare;
    if (show.list && sizes.list < LeastList(m)) {
        const LONG raised = LeastList(m) - sizes.list;
        sizes.list += raised;
        if (show.buttons) sizes.buttons = std::max(sizes.buttons - raised, m.buttonsLeast);
    }
}

/// What is left of the pane's height for the sections.
LONG UsableHeight(LONG height, const PaneShow& show, LONG gap) {
    if (show.list && show.groups) height -= 2 * gap;
    if (show.buttons && (show.list || show.groups)) height -= 2 * gap;
    return std::max<LONG>(height, 0);
}

void ShareHeight(LONG height, LONG change, const PaneShow& show, const PaneMetrics& m, const PaneRects& old,
                 PaneSizes& sizes) {
    const bool stands =
        (!show.list || sizes.list) && (!show.groups || sizes.groups) && (!show.buttons || sizes.buttons);
    if (change == 0) {
        if (!stands) SplitHeights(height, show, m, sizes);
        return;
    }
    if (old.buttons.Height() > 0 && sizes.buttons > 0) {
        sizes.buttons += change;
    } else if (old.groups.Height() > 0 && sizes.groups > 0) {
        const LONG above = old.list.Height() > 0 && sizes.list > 0 ? change / 2 : 0;
        sizes.list += above;
        sizes.groups += change - above;
    } else if (old.list.Height() > 0 && sizes.list > 0) {
        sizes.list += change;
    } else {
        SplitHeights(height, show, m, sizes);
        return;
    }
    FitHeights(height, show, m, sizes);
}

PaneRects StackRects(const RECT& pane, const PaneShow& show, const PaneMetrics& m, const PaneSizes& sizes) {
    const LONG g = m.gap;
    PaneRects out;
    out.pane = pane;
    const bool lists = show.list || show.groups;
    const LONG right = pane.right - (lists ? 4 * g : 1);
    const RECT edge{right, pane.top, pane.right, pane.bottom};
    (lists ? out.columnSplitter : out.separator) = edge;
    if (lists) {
        const LONG middle = (pane.top + pane.bottom) / 2, reach = 2 * m.row;
        out.showButton = {right + 1, std::max(pane.top, middle - reach), pane.right,
                          std::min(pane.bottom, middle + reach)};
    }
    LONG y = pane.top;
    if (sizes.list) {
        out.list = {pane.left + 2 * g, y, right, y + sizes.list};
        y = out.list.bottom;
        if (sizes.groups) {
            out.upperSplitter = {pane.left, y + 2 * g, right, y + 4 * g};
            y = out.upperSplitter.bottom;
        }
    }
    if (sizes.groups) {
        const LONG top = y + 1 + (out.upperSplitter.Height() > 0 ? g : 0);
        out.toolBar = {pane.left + 2 * g, top, right, top + g + m.row};
        y = out.toolBar.bottom;
        out.groups = {pane.left + 2 * g, y, right, y + sizes.groups - (sizes.buttons ? 2 * g : 0)};
        y = out.groups.bottom;
    }
    if (sizes.buttons) {
        if (lists) {
            const LONG top = std::max(pane.top, y + 2 * g);
            out.lowerSplitter = {pane.left, top, right, top + 2 * g};
            y = out.lowerSplitter.bottom;
        }
        const LONG top = std::max(pane.top, y);
        out.buttons = {pane.left, top, pane.right, top + sizes.buttons};
    }
    return out;
}

}  // namespace

LONG FirstPaneWidth(const PaneMetrics& m) { return (m.gap + 4 * m.row) * 2; }

PaneWidths WidthsOfPane(const PaneShow& show, const PaneMetrics& m) {
    const LONG bar = show.buttons ? 4 * m.gap + 6 + m.buttonsWidth : 0;
    const auto width = [&](LONG rows) {
        return std::max(show.list || show.groups ? (2 * m.gap + rows * m.row) * 2 : 0, bar);
    };
    return {width(2), width(4), width(8)};
}

bool LayoutPane(RECT& area, const PaneShow& show, const PaneMetrics& m, PaneSizes& sizes, PaneRects& rects) {
    if (!show.Any()) {
        sizes = {sizes.width, 0, 0, 0};
        rects = {};
        return true;
    }
    const PaneWidths widths = WidthsOfPane(show, m);
    sizes.width = sizes.width ? std::clamp(sizes.width, widths.least, widths.most) : widths.standard;
    const RECT pane{area.left, area.top, area.left + sizes.width,
                    area.top + std::max<LONG>(area.Height(), 0)};
    area.left = pane.right;
    const LONG usable = UsableHeight(pane.Height(), show, m.gap);
    if (usable < 1 || pane.Width() < 1) return false;

    if (!show.list) sizes.list = 0;
    if (!show.groups) sizes.groups = 0;
    if (!show.buttons) sizes.buttons = 0;
    const LONG before = rects.pane.Height();
    ShareHeight(usable, before > 0 ? pane.Height() - before : 0, show, m, rects, sizes);
    rects = StackRects(pane, show, m, sizes);
    return true;
}

bool ShowSection(PaneShow& show, PaneSizes& sizes, PaneSection section, bool on) {
    bool PaneShow::*const flags[] = {&PaneShow::list, &PaneShow::groups, &PaneShow::buttons};
    LONG PaneSizes::*const heights[] = {&PaneSizes::list, &PaneSizes::groups, &PaneSizes::buttons};
    const auto index = static_cast<size_t>(section);
    const bool was = std::exchange(show.*flags[index], on);
    if (!on) sizes.*heights[index] = 0;
    if (was == on && !(was && section == PaneSection::List)) return false;
    bool others = false;
    for (size_t i = 0; i < std::size(flags); i++) {
        if (i == index) continue;
        sizes.*heights[i] = 0;
        others |= show.*flags[i];
    }
    if (!others) sizes.width = 0;
    return true;
}

bool DragColumnSplitter(LONG x, const PaneShow& show, const PaneMetrics& m, const PaneRects& rects,
                        PaneSizes& sizes) {
    const PaneWidths widths = WidthsOfPane(show, m);
    const LONG width = std::clamp(x - rects.pane.left, widths.least, widths.most);
    return std::exchange(sizes.width, width) != width;
}

bool DragUpperSplitter(LONG y, const PaneMetrics& m, const PaneRects& rects, PaneSizes& sizes) {
    const LONG height = y - rects.list.top, least = LeastList(m);
    const LONG groups = sizes.groups + sizes.list - height;
    if (height < least || groups < least || height == sizes.list ||
        rects.pane.Height() - rects.toolBar.Height() - 2 * m.gap - height < least)
        return false;
    sizes.list = height;
    sizes.groups = groups;
    return true;
}

bool DragLowerSplitter(LONG y, const PaneShow& show, const PaneMetrics& m, const PaneRects& rects,
                       PaneSizes& sizes) {
    const LONG move = y - rects.buttons.top;
    LONG& above = show.groups ? sizes.groups : sizes.list;
    const LONG leastAbove = show.groups ? LeastGroups(m) : LeastList(m);
    LONG buttons = sizes.buttons - move, over = above + move;
    const auto give = [](LONG& from, LONG& to, LONG amount) { from -= amount, to += amount; };
    if (over < leastAbove) give(buttons, over, leastAbove - over);
    if (buttons < m.buttonsLeast) give(over, buttons, m.buttonsLeast - buttons);
    if (buttons > m.buttonsMost) give(buttons, over, buttons - m.buttonsMost);
    if (buttons == sizes.buttons && over == above) return false;
    sizes.buttons = buttons;
    above = over;
    return true;
}
