// The two tips of a window: one that appears after a rest of the mouse, one that follows a
// value while it is dragged.
#pragma once

#include "platform/types.h"

#include <QPointer>

#include <memory>
#include <string>
#include <string_view>

class QHelpEvent;
class QLabel;
class QWidget;

/// Where a tip of that size goes so that it stays within an area: moved left or up, never
/// past the left or top edge.
POINT PlaceTip(POINT wanted, SIZE size, const RECT& area);

class Tips {
public:
    explicit Tips(QWidget& window);
    ~Tips();

    /// Text of the element under the mouse and that element's area in the window. An empty text takes it
    /// away, and another area or text replaces what shows.
    void SetHover(std::u16string_view text, const RECT& area);
    void HideHover() { SetHover({}, {}); }

    /// Shows or moves the following tip; `at` is a point of the screen. An empty text hides it.
    void Track(std::u16string_view text, POINT at);
    void HideTracked() { Track({}, {}); }

    /// The window's tool tip event: shows the hover tip, for a minute.
    void OnHelp(const QHelpEvent& event);

    bool IsTracking() const;

private:
    QWidget& m_window;
    std::u16string m_text;
    RECT m_area{};
    QPointer<QLabel> m_tracked;
};
