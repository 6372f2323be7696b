#include "host/app/gesture.h"

#include <QAccessible>
#include <QApplication>
#include <QMouseEvent>
#include <QRegularExpression>
#include <QWidget>

#include <cmath>
#include <limits>

namespace host {
namespace {

QAccessibleInterface* ChildWithText(QAccessibleInterface* parent, QAccessible::Text which,
                                    const QString& text) {
    for (int i = 0; parent && i < parent->childCount(); i++)
        if (QAccessibleInterface* child = parent->child(i); child && child->text(which) == text) return child;
    return nullptr;
}

QAccessibleInterface* ChildOfRole(QAccessibleInterface* parent, QAccessible::Role role) {
    for (int i = 0; parent && i < parent->childCount(); i++)
        if (QAccessibleInterface* child = parent->child(i); child && child->role() == role) return child;
    return nullptr;
}

QAccessibleInterface* Channel(QWidget& page, const QString& name) {
    return ChildWithText(QAccessible::queryAccessibleInterface(&page), QAccessible::Name, name);
}

/// A mouse with its buttons, as the window system would deliver it.
class Mouse {
public:
    explicit Mouse(QWidget& window) : m_window(window) {}

    void MoveTo(QPoint screen, Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
        m_screen = screen;
        Send(QEvent::MouseMove, Qt::NoButton, modifiers);
    }
    void Press(Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
        m_buttons = Qt::LeftButton;
        Send(QEvent::MouseButtonPress, Qt::LeftButton, modifiers);
    }
    void Release(Qt::KeyboardModifiers modifiers = Qt::NoModifier) {
        m_buttons = Qt::NoButton;
        Send(QEvent::MouseButtonRelease, Qt::LeftButton, modifiers);
    }
    QPoint At() const { return m_screen; }

private:
    void Send(QEvent::Type type, Qt::MouseButton button, Qt::KeyboardModifiers modifiers) {
        const QPoint local = m_window.mapFromGlobal(m_screen);
        QMouseEvent event(type, QPointF(local), QPointF(m_screen), button, m_buttons, modifiers);
        QApplication::sendEvent(&m_window, &event);
        QApplication::processEvents();
    }

    QWidget& m_window;
    QPoint m_screen;
    Qt::MouseButtons m_buttons = Qt::NoButton;
};

/// Brings a strip that is scrolled away into view, by turning the wheel over the page.
void ScrollIntoView(QWidget& page, const QString& channel) {
    const QRect view(page.mapToGlobal(QPoint(0, 0)), page.size());
    for (int turn = 0; turn < 1000; turn++) {
        QAccessibleInterface* strip = Channel(page, channel);
        if (!strip || !strip->isValid()) return;
        const QRect rect = strip->rect();
        if (rect.left() >= view.left() && rect.right() <= view.right()) return;
        const int delta = rect.right() > view.right() ? -120 : 120;
        const QPoint at = view.topLeft() + QPoint(view.width() / 2, 4);
        QWheelEvent event(QPointF(page.mapFromGlobal(at)), QPointF(at), QPoint(), QPoint(0, delta),
                          Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
        QApplication::sendEvent(&page, &event);
        QApplication::processEvents();
        if (QAccessibleInterface* moved = Channel(page, channel); moved && moved->rect() == rect) return;
    }
}

bool SetFader(QWidget& page, const Gesture& gesture, QString* error) {
    QAccessibleInterface* slider = ChildOfRole(Channel(page, gesture.channel), QAccessible::Slider);
    QAccessibleInterface* thumb = ChildOfRole(slider, QAccessible::Indicator);
    if (!thumb || !slider->valueInterface()) {
        *error = QStringLiteral("channel \"%1\" has no fader on the page").arg(gesture.channel);
        return false;
    }
    QAccessibleValueInterface& value = *slider->valueInterface();
    const double low = value.minimumValue().toDouble(), high = value.maximumValue().toDouble();
    const double target = std::clamp(gesture.decibels, low, high);
    const double step = value.minimumStepSize().toDouble();
    const auto distance = [&] { return target - value.currentValue().toDouble(); };

    Mouse mouse(page);
    mouse.MoveTo(thumb->rect().center());
    mouse.Press();
    // Coarse: pixel by pixel until the next pixel would lead past the value.
    const int travel = slider->rect().height();
    for (int i = 0; i < travel && std::abs(distance()) > step / 2; i++) {
        const double before = distance();
        const int up = before > 0 ? -1 : 1;
        mouse.MoveTo(mouse.At() + QPoint(0, up));
        if (before * distance() < 0) break;
    }
    // Fine: Ctrl moves by the smallest step. The cursor may be warped to the thumb, so each move starts
    // there; where the thumb was taken off its centre the first pixel only makes up for that, and the hand
    // goes on a little further.
    constexpr int FURTHEST = 4;
    for (int i = 0, way = 1; i < 400 && way <= FURTHEST && std::abs(distance()) > step / 2; i++) {
        const double before = distance();
        const QPoint from = thumb->rect().center();
        mouse.MoveTo(from + QPoint(0, before > 0 ? -way : way), Qt::ControlModifier);
        way = distance() == before ? way + 1 : 1;
    }
    mouse.Release();
    if (std::abs(distance()) <= step / 2) return true;
    *error = QStringLiteral("the fader of \"%1\" stands at %2 dB, not at %3")
                 .arg(gesture.channel)
                 .arg(value.currentValue().toDouble())
                 .arg(target);
    return false;
}

bool SetSwitch(QWidget& page, const Gesture& gesture, QString* error) {
    // The console's own word, which unlike the switch's name is the same in every language.
    const QString name =
        gesture.kind == Gesture::Kind::Mute ? QStringLiteral("mute") : QStringLiteral("solo");
    const auto find = [&] {
        return ChildWithText(Channel(page, gesture.channel), QAccessible::UserText, name);
    };
    QAccessibleInterface* button = find();
    if (!button || !button->state().checkable) {
        *error = QStringLiteral("channel \"%1\" has no switch \"%2\" on the page").arg(gesture.channel, name);
        return false;
    }
    if (button->state().checked != gesture.on) {
        Mouse mouse(page);
        mouse.MoveTo(button->rect().center());
        mouse.Press();
        mouse.Release();
    }
    button = find();
    if (button && button->state().checked == gesture.on) return true;
    *error = QStringLiteral("the switch \"%2\" of \"%1\" did not change").arg(gesture.channel, name);
    return false;
}

}  // namespace

bool Gesture::Parse(const QString& text, Gesture* out, QString* error) {
    static const QRegularExpression form(QStringLiteral("^(.+):(fader|mute|solo)=([^=]+)$"));
    const QRegularExpressionMatch match = form.match(text);
    bool good = match.hasMatch();
    if (good) {
        out->channel = match.captured(1);
        const QString what = match.captured(2), value = match.captured(3);
        if (what == QStringLiteral("fader")) {
            out->kind = Kind::Fader;
            out->decibels = value.toDouble(&good);
            good = good && std::isfinite(out->decibels);
        } else {
            out->kind = what == QStringLiteral("mute") ? Kind::Mute : Kind::Solo;
            out->on = value == QStringLiteral("on");
            good = out->on || value == QStringLiteral("off");
        }
    }
    if (!good)
        *error =
            QStringLiteral("gesture \"%1\" is not NAME:fader=DECIBELS, NAME:mute=on|off or NAME:solo=on|off")
                .arg(text);
    return good;
}

bool Perform(QWidget& page, const Gesture& gesture, QString* error) {
    if (!Channel(page, gesture.channel)) {
        *error = QStringLiteral("there is no channel \"%1\" on the page").arg(gesture.channel);
        return false;
    }
    ScrollIntoView(page, gesture.channel);
    return gesture.kind == Gesture::Kind::Fader ? SetFader(page, gesture, error)
                                                : SetSwitch(page, gesture, error);
}

double ShownFaderDb(QWidget& page, const QString& channel) {
    QAccessibleInterface* slider = ChildOfRole(Channel(page, channel), QAccessible::Slider);
    return slider && slider->valueInterface() ? slider->valueInterface()->currentValue().toDouble()
                                              : std::numeric_limits<double>::quiet_NaN();
}

}  // namespace host
