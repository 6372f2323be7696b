#include "platform/ui/window.h"

#include "platform/ui/cursors.h"
#include "platform/ui/keys.h"

#include <QCursor>
#include <QElapsedTimer>
#include <QPaintEvent>
#include <QWindow>

#include <algorithm>

MessageWindow::MessageWindow(QWidget* parent)
    : QWidget(parent), m_mailbox(std::make_shared<Mailbox>(this)), m_caret(*this), m_tips(*this) {
    setAttribute(Qt::WA_OpaquePaintEvent);
    setAttribute(Qt::WA_NoSystemBackground);
    setAttribute(Qt::WA_AlwaysShowToolTips);
    setMouseTracking(true);
    setFocusPolicy(Qt::TabFocus);  // a click takes the focus only where the console wants it to
    setContextMenuPolicy(
        Qt::PreventContextMenu);  // WM_CONTEXTMENU comes from the release of the right button
}

MessageWindow::~MessageWindow() {
    m_alive = false;
    m_mailbox->Close();
    // The native window is a child of the foreign one, and must not die with it.
    if (m_foreignParent) destroy();
}

bool MessageWindow::Create() {
    m_alive = true;
    if (OnMessage(WM_CREATE, 0, 0) != -1) return true;
    Destroy();
    return false;
}

void MessageWindow::Destroy() {
    if (!m_alive) return;
    SetCapture(false);
    OnMessage(WM_DESTROY, 0, 0);
    m_alive = false;
    m_mailbox->Close();
    m_tips.HideHover();
    m_tips.HideTracked();
    m_caret.Destroy();
    while (!m_timers.empty()) KillTimer(m_timers.back().id);
}

bool MessageWindow::EmbedIn(HWND parent) {
    if (!parent) return false;
    if (QWidget* widget = QWidget::find(parent)) {
        setParent(widget);
        return true;
    }
    std::unique_ptr<QWindow> foreign(QWindow::fromWinId(parent));
    if (!foreign) return false;
    create();
    windowHandle()->setParent(foreign.get());
    m_foreignParent = std::move(foreign);
    return true;
}

intptr_t MessageWindow::OnMessage(uint32_t message, uintptr_t wparam, intptr_t lparam) {
    switch (message) {
    case WM_NCHITTEST: return HTCLIENT;
    case WM_SETCURSOR: SetPointer(CURSOR_ARROW); return 1;
    case WM_RBUTTONUP: return OnMessage(WM_CONTEXTMENU, 0, PackPoint(ToScreen(UnpackPoint(lparam))));
    case WM_KEYUP:
        if (wparam == VK_APPS) return OnMessage(WM_CONTEXTMENU, 0, -1);
        [[fallthrough]];
    case WM_KEYDOWN: m_keyPassedOn = true; return 0;
    default: return 0;
    }
}

POINT MessageWindow::ToScreen(POINT client) const {
    const QPoint p = mapToGlobal(QPoint(client.x, client.y));
    return {p.x(), p.y()};
}

POINT MessageWindow::ToClient(POINT screen) const {
    const QPoint p = mapFromGlobal(QPoint(screen.x, screen.y));
    return {p.x(), p.y()};
}

void MessageWindow::Invalidate(const RECT& area) {
    if (area.IsEmpty()) return;
    m_back.Invalidate(ToQRect(area));
    update(ToQRect(area));
}

void MessageWindow::Scroll(const RECT& area, LONG distance) {
    if (area.IsEmpty()) return;
    if (!m_back.Scroll(ToQRect(area), distance)) m_back.Invalidate(ToQRect(area));
    update(ToQRect(area));
}

// A pressed button already keeps the mouse here, so the capture is a state of ours and needs no grab.
void MessageWindow::SetCapture(bool on) {
    if (on == m_captured) return;
    m_captured = on;
    if (!on && m_alive) OnMessage(WM_CAPTURECHANGED, 0, 0);
}

void MessageWindow::CancelDrag() {
    if (!m_captured) return;
    OnMessage(WM_CANCELMODE, 0, 0);
    SetCapture(false);
}

void MessageWindow::TakeFocus() {
    setFocus(Qt::OtherFocusReason);
    if (m_foreignParent) windowHandle()->requestActivate();
}

void MessageWindow::SetTimer(uint32_t id, uint32_t milliseconds) {
    KillTimer(id);
    // Coarse timers may be late by a twentieth: too much where meters run.
    const auto type = milliseconds < 100 ? Qt::PreciseTimer : Qt::CoarseTimer;
    m_timers.push_back({id, startTimer(static_cast<int>(milliseconds), type)});
}

void MessageWindow::KillTimer(uint32_t id) {
    const auto it =
        std::find_if(m_timers.begin(), m_timers.end(), [id](const Timer& t) { return t.id == id; });
    if (it == m_timers.end()) return;
    killTimer(it->qtId);
    m_timers.erase(it);
}

void MessageWindow::WarpCursor(POINT at) { QCursor::setPos(screen(), mapToGlobal(QPoint(at.x, at.y))); }

void MessageWindow::SetPointer(uint32_t cursorId) {
    if (cursorId == m_pointer) return;
    m_pointer = cursorId;
    setCursor(QmGetUICursor(cursorId));
}

bool MessageWindow::IsKeyDown(uint32_t virtualKey) const { return IsVirtualKeyDown(virtualKey); }

intptr_t MessageWindow::Send(uint32_t message, uintptr_t wparam, intptr_t lparam) {
    return m_alive ? OnMessage(message, wparam, lparam) : 0;
}

uint32_t MessageWindow::Now() const {
    static const QElapsedTimer clock = [] {
        QElapsedTimer t;
        t.start();
        return t;
    }();
    // A clock that starts near 0 would make "long ago" hard to say.
    return static_cast<uint32_t>(clock.elapsed()) + 60000;
}

void MessageWindow::PaintInvalid() {
    const QRegion invalid = m_back.TakeInvalid();
    if (invalid.isEmpty() || !m_alive) return;
    QPainter painter(&m_back.Image());
    painter.setClipRegion(invalid);
    PaintInfo info{painter, FromQRect(invalid.boundingRect())};
    OnMessage(WM_PAINT, reinterpret_cast<uintptr_t>(&info), 0);
}

void MessageWindow::paintEvent(QPaintEvent* event) {
    const bool rescaled = !m_back.Image().isNull() && m_back.Image().devicePixelRatio() != Scale();
    m_back.Fit(size(), Scale());
    if (rescaled && m_alive) OnMessage(WM_DPICHANGED, 0, 0);
    PaintInvalid();
    QPainter painter(this);
    const qreal scale = Scale();
    for (const QRect& r : Simplified(event->region())) {
        // Whole device pixels around the rectangle: a fraction of one would be blended.
        const QRect source =
            QRectF(r.x() * scale, r.y() * scale, r.width() * scale, r.height() * scale).toAlignedRect() &
            m_back.Image().rect();
        painter.drawImage(
            QRectF(source.x() / scale, source.y() / scale, source.width() / scale, source.height() / scale),
            m_back.Image(), source);
    }
    m_caret.Paint(painter);
}

WindowPainter::WindowPainter(MessageWindow& window) : m_window(window) {
    if (window.m_back.IsFit(window.size(), window.Scale())) m_painter.begin(&window.m_back.Image());
}

WindowPainter::~WindowPainter() {
    if (!m_painter.isActive()) return;
    m_painter.end();
    std::vector<QRect>& drawn = m_window.m_drawn;
    QRect bounds;
    if (drawn.size() <= kMaxRects)
        for (const QRect& r : drawn) m_window.update(r);
    else
        for (const QRect& r : drawn) bounds |= r;
    if (!bounds.isEmpty()) m_window.update(bounds);
    drawn.clear();
}

void WindowPainter::Drawn(const RECT& area) { m_window.m_drawn.push_back(ToQRect(area)); }
