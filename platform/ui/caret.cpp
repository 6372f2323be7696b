#include "platform/ui/caret.h"

#include "platform/ui/paint.h"

#include <QGuiApplication>
#include <QStyleHints>
#include <QTimerEvent>
#include <QWidget>

void Caret::Update() const { m_window.update(ToQRect(Area())); }

void Caret::Create(SIZE size) {
    Destroy();
    m_size = size;
}

void Caret::Move(POINT leftTop) {
    if (m_shown) Update();
    m_at = leftTop;
    if (m_shown) Update();
}

void Caret::Show(bool on) {
    if (on == m_shown) return;
    m_shown = m_lit = on;
    if (const int flash = QGuiApplication::styleHints()->cursorFlashTime(); on && flash > 1)
        m_blink.start(flash / 2, &m_window);
    else
        m_blink.stop();
    Update();
}

void Caret::Destroy() {
    Show(false);
    m_size = {};
}

void Caret::SetColor(COLORREF color) { m_color = color; }

void Caret::Paint(QPainter& painter) const {
    if (m_shown && m_lit) FillRect(painter, Area(), m_color);
}

bool Caret::OnTimer(const QTimerEvent& event) {
    if (event.timerId() != m_blink.timerId()) return false;
    m_lit = !m_lit;
    Update();
    return true;
}
