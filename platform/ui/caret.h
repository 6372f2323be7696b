// The blinking mark of the keyboard focus. It lies over what the window painted and is no part of it, so
// nothing has to be hidden while the window paints.
#pragma once

#include "platform/types.h"

#include <QBasicTimer>

class QPainter;
class QTimerEvent;
class QWidget;

class Caret {
public:
    explicit Caret(QWidget& window) : m_window(window) {}

    void Create(SIZE size);
    void Move(POINT leftTop);
    /// Showing starts with the visible half of the blink.
    void Show(bool on);
    void Destroy();

    void SetColor(COLORREF color);
    void Paint(QPainter& painter) const;
    /// True when the timer was the caret's.
    bool OnTimer(const QTimerEvent& event);

    bool IsShown() const { return m_shown; }
    RECT Area() const { return {m_at.x, m_at.y, m_at.x + m_size.cx, m_at.y + m_size.cy}; }

private:
    void Update() const;

    QWidget& m_window;
    QBasicTimer m_blink;
    SIZE m_size{};
    POINT m_at{};
    COLORREF m_color = 0xFFFFFF;
    bool m_shown = false;
    bool m_lit = false;
};
