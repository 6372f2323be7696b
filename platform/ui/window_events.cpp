// Qt's events become messages here, and nowhere else.
#include "platform/ui/keys.h"
#include "platform/ui/window.h"

#include <QFocusEvent>
#include <QHelpEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QResizeEvent>
#include <QTimerEvent>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>

namespace {
POINT Floor(QPointF p) {
    return {static_cast<LONG>(std::floor(p.x())), static_cast<LONG>(std::floor(p.y()))};
}

struct ButtonRow {
    Qt::MouseButton button;
    uint32_t press;   // the release and the double click follow it
    uint32_t number;  // in the high word of wparam
};
constexpr ButtonRow kButtons[] = {
    {Qt::LeftButton, WM_LBUTTONDOWN, 0},    {Qt::RightButton, WM_RBUTTONDOWN, 0},
    {Qt::MiddleButton, WM_MBUTTONDOWN, 0},  {Qt::BackButton, WM_XBUTTONDOWN, 1},
    {Qt::ForwardButton, WM_XBUTTONDOWN, 2},
};
}  // namespace

bool MessageWindow::event(QEvent* event) {
    if (event->type() == Mailbox::WakeEvent()) {
        DeliverPosted();
        return true;
    }
    return (m_alive && Translate(*event)) || QWidget::event(event);
}

// True when the event is a message of the protocol and Qt has nothing more to do with it.
bool MessageWindow::Translate(QEvent& event) {
    if (event.isInputEvent() && !isEnabled()) return false;
    switch (event.type()) {
    case QEvent::MouseMove:
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonRelease:
    case QEvent::MouseButtonDblClick: TranslateMouse(static_cast<QMouseEvent&>(event)); return true;
    case QEvent::Wheel: TranslateWheel(static_cast<QWheelEvent&>(event)); return true;
    case QEvent::KeyPress: TranslateKey(static_cast<QKeyEvent&>(event), WM_KEYDOWN); return true;
    case QEvent::KeyRelease: TranslateKey(static_cast<QKeyEvent&>(event), WM_KEYUP); return true;
    case QEvent::FocusIn: TranslateFocus(static_cast<QFocusEvent&>(event), WM_SETFOCUS); return true;
    case QEvent::FocusOut: TranslateFocus(static_cast<QFocusEvent&>(event), WM_KILLFOCUS); return true;
    case QEvent::Timer: return TranslateTimer(static_cast<QTimerEvent&>(event));
    case QEvent::ToolTip: m_tips.OnHelp(static_cast<QHelpEvent&>(event)); return true;
    case QEvent::Leave:
        m_tips.HideHover();
        OnMessage(WM_MOUSELEAVE, 0, 0);
        break;
    case QEvent::Resize: {
        const QSize size = static_cast<QResizeEvent&>(event).size();
        OnMessage(WM_SIZE, SIZE_RESTORED, PackPoint({size.width(), size.height()}));
        break;
    }
    case QEvent::Show: OnMessage(WM_SHOWWINDOW, 1, 0); break;
    case QEvent::Hide:
        CancelDrag();
        OnMessage(WM_SHOWWINDOW, 0, 0);
        break;
    case QEvent::EnabledChange:
        if (!isEnabled()) CancelDrag();
        OnMessage(WM_ENABLE, isEnabled(), 0);
        break;
    // The application's own changes reach windows inside others by these only.
    case QEvent::PaletteChange: OnMessage(WM_SYSCOLORCHANGE, 0, 0); break;
    case QEvent::FontChange: OnMessage(WM_SETTINGCHANGE, 0, 0); break;
    case QEvent::WindowDeactivate: CancelDrag(); break;
    default: break;
    }
    return false;
}

void MessageWindow::HitTest(POINT screen, uint32_t message) {
    if (m_captured) return;
    const intptr_t hit = OnMessage(WM_NCHITTEST, 0, PackPoint(screen));
    OnMessage(WM_SETCURSOR, 0, static_cast<intptr_t>(PackWords(static_cast<uint32_t>(hit), message)));
}

void MessageWindow::TranslateMouse(QMouseEvent& event) {
    uint32_t message = WM_MOUSEMOVE, number = 0;
    if (event.type() != QEvent::MouseMove) {
        const auto* row = std::find_if(std::begin(kButtons), std::end(kButtons),
                                       [&](const ButtonRow& r) { return r.button == event.button(); });
        if (row == std::end(kButtons)) return;
        number = row->number;
        message = row->press + (event.type() == QEvent::MouseButtonRelease    ? 1
                                : event.type() == QEvent::MouseButtonDblClick ? 2
                                                                              : 0);
    }
    const EventKeys keys(event);
    HitTest(Floor(event.globalPosition()), message);
    OnMessage(message, PackWords(MouseKeys(event.buttons(), event.modifiers()), number),
              PackPoint(Floor(event.position())));
}

void MessageWindow::TranslateWheel(QWheelEvent& event) {
    const EventKeys keys(event);
    const POINT screen = Floor(event.globalPosition());
    const uint32_t flags = MouseKeys(event.buttons(), event.modifiers());
    const QPoint turn = event.angleDelta();
    HitTest(screen, WM_MOUSEWHEEL);
    if (turn.y())
        OnMessage(WM_MOUSEWHEEL, PackWords(flags, static_cast<uint32_t>(turn.y())), PackPoint(screen));
    // Qt counts to the left, the protocol to the right.
    if (turn.x())
        OnMessage(WM_MOUSEHWHEEL, PackWords(flags, static_cast<uint32_t>(-turn.x())), PackPoint(screen));
    event.accept();
}

void MessageWindow::TranslateKey(QKeyEvent& event, uint32_t message) {
    const EventKeys keys(event);
    const uint32_t vk = VirtualKey(event);
    m_keyPassedOn = vk == 0;
    if (vk) OnMessage(message, vk, event.isAutoRepeat() ? KEY_REPEATED | 1 : 1);
    event.setAccepted(!m_keyPassedOn);
}

void MessageWindow::TranslateFocus(QFocusEvent& event, uint32_t message) {
    // A menu takes the keys for a while; the focus stays where it was. But what is held is released there.
    if (event.reason() != Qt::PopupFocusReason)
        OnMessage(message, 0, 0);
    else if (message == WM_KILLFOCUS)
        OnMessage(WM_CANCELMODE, 0, 0);
}

bool MessageWindow::TranslateTimer(QTimerEvent& event) {
    if (m_caret.OnTimer(event)) return true;
    const auto it = std::find_if(m_timers.begin(), m_timers.end(),
                                 [&](const Timer& t) { return t.qtId == event.timerId(); });
    if (it == m_timers.end()) return false;
    OnMessage(WM_TIMER, it->id, 0);
    return true;
}

void MessageWindow::DeliverPosted() {
    const auto box = m_mailbox;  // the window may die in a message, and closes the box then
    box->OnWake();
    for (PostedMessage m; box->Take(m);) OnMessage(m.message, m.wparam, m.lparam);
}
