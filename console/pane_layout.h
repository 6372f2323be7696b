// Layout of the left pane: numbers in, rectangles out. From the top it stacks the channel list, the groups
// with their tool bar and the region buttons; splitters lie between them and along the pane's right edge.
#pragma once

#include "platform/types.h"

#include <cstdint>

/// The stacked sections, as far as they are shown.
struct PaneShow {
    bool list = false, groups = false, buttons = false;
    bool Any() const { return list || groups || buttons; }
};

/// Stored between layouts; 0 is none yet. A hidden section has none.
struct PaneSizes {
    LONG width = 0, list = 0, groups = 0, buttons = 0;
};

/// The pane as the user has it; it outlives the page. Where the host has no groups, or the page no bar of
/// buttons, those sections stay away whatever is stored here.
struct PaneView {
    PaneShow show{true, false, true};
    PaneSizes sizes{-1, 0, 0, 0};  ///< a width below 0: the first layout is yet to come
};

/// What the arithmetic needs to know of fonts and of the bar of region buttons.
struct PaneMetrics {
    LONG gap = 0, row = 0;
    LONG buttonsWidth = 0;  ///< that the bar would like to have
    LONG buttonsLeast = 0, buttonsMost = 0;
};

struct PaneRects {
    RECT pane{};
    RECT list{}, toolBar{}, groups{}, buttons{};
    RECT columnSplitter{};  ///< with list or groups
    RECT upperSplitter{};   ///< between list and groups
    RECT lowerSplitter{};   ///< above the buttons
    RECT separator{};       ///< with the buttons alone
    RECT showButton{};      ///< of the channel list, on the column splitter
};

/// Where a pane that nobody has sized starts.
LONG FirstPaneWidth(const PaneMetrics& metrics);
struct PaneWidths {
    LONG least, standard, most;
};
PaneWidths WidthsOfPane(const PaneShow& show, const PaneMetrics& metrics);

/// Lays the pane out along the left edge of `area` and takes its width off there, possibly all of the area
/// and more. `sizes` and `rects` come from the layout before, since a new height is shared out by what was
/// there. False when there is no room to lay out, and both stay.
bool LayoutPane(RECT& area, const PaneShow& show, const PaneMetrics& metrics, PaneSizes& sizes,
                PaneRects& rects);

enum class PaneSection { List, Groups, Buttons };
/// Shows or hides a section; the other sections share the height anew. False when nothing changes. A list
/// that is shown once more counts as a change.
bool ShowSection(PaneShow& show, PaneSizes& sizes, PaneSection section, bool on);

// What a splitter does that is dragged to a coordinate. False when it stays.

bool DragColumnSplitter(LONG x, const PaneShow& show, const PaneMetrics& metrics, const PaneRects& rects,
                        PaneSizes& sizes);
bool DragUpperSplitter(LONG y, const PaneMetrics& metrics, const PaneRects& rects, PaneSizes& sizes);
bool DragLowerSplitter(LONG y, const PaneShow& show, const PaneMetrics& metrics, const PaneRects& rects,
                       PaneSizes& sizes);
