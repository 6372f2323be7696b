#include "host/app/gesture.h"

#include <QAccessible>
#include <QApplication>
#include <QMouseEvent>
#include <QRegularExpression>
#include <QWidget>

#include <algorithm>
#include <cmath>
#include <vector>

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

/// The console's own word for a strip's main fader.
const QString FADER = QStringLiteral("fader");

/// A strip tells its channel's number in the console's own word, which names do not do: two may be alike.
QAccessibleInterface* StripOf(QWidget& page, ChannelId channel) {
    return ChildWithText(QAccessible::queryAccessibleInterface(&page), QAccessible::UserText,
                         QString::number(channel));
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

/// Brings a strip that is scrolled away, or lies under a pane, into view, by turning the wheel over the page.
void ScrollIntoView(QWidget& page, ChannelId channel) {
    const QRect view(page.mapToGlobal(QPoint(0, 0)), page.size());
    QAccessibleInterface* root = QAccessible::queryAccessibleInterface(&page);
    for (int turn = 0; turn < 100; turn++) {
        QAccessibleInterface* strip = StripOf(page, channel);
        if (!strip || !strip->isValid()) return;
        const QRect rect = strip->rect();
        const auto shows = [&](int x) { return root->childAt(x, rect.center().y()) == strip; };
        const bool left = shows(rect.left()), right = shows(rect.right());
        if (left && right) return;
        // A notch is a strip; nobody turns through thousands of them one by one.
        constexpr int NOTCH = 120, MOST_NOTCHES = 200;
        const bool beyond = left || (!right && rect.center().x() > view.center().x());
        const int distance = beyond ? rect.right() - view.right() : view.left() - rect.left();
        const int notches = std::clamp(distance / std::max(1, rect.width()), 1, MOST_NOTCHES);
        const int delta = (beyond ? -NOTCH : NOTCH) * notches;
        const QPoint at(view.right() - 4, view.top() + 4);  // over the strips, whatever panes there are
        QWheelEvent event(QPointF(page.mapFromGlobal(at)), QPointF(at), QPoint(), QPoint(0, delta),
                          Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
        QApplication::sendEvent(&page, &event);
        QApplication::processEvents();
        if (QAccessibleInterface* moved = StripOf(page, channel); moved && moved->rect() == rect) return;
    }
}

bool SetFader(QWidget& page, const Gesture& gesture, ChannelId channel, QString* error) {
    QAccessibleInterface* slider = ChildWithText(StripOf(page, channel), QAccessible::UserText, FADER);
    QAccessibleInterface* thumb = ChildOfRole(slider, QAccessible::Indicator);
    if (!thumb || !slider->valueInterface()) {
        *error = QStringLiteral("channel \"%1\" has no fader on the page").arg(gesture.channel);
        return false;
    }
    QAccessibleValueInterface& value = *slider->valueInterface();
    const double low = value.minimumValue().toDouble(), high = value.maximumValue().toDouble();
    const double target = std::clamp(gesture.number, low, high);
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

bool SetSwitch(QWidget& page, const Gesture& gesture, ChannelId channel, QString* error) {
    // The console's own word, which unlike the switch's name is the same in every language.
    const QString name =
        gesture.kind == Gesture::Kind::Mute ? QStringLiteral("mute") : QStringLiteral("solo");
    const auto find = [&] { return ChildWithText(StripOf(page, channel), QAccessible::UserText, name); };
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

const char* const Gesture::FORMS =
    "NAME:fader=DECIBELS, NAME:pan=-1..1, NAME:width=mono|stereo|wide or 0..2; NAME:mute, NAME:solo, "
    "NAME:arm, "
    "NAME:monitor=on|off; NAME:send+=CHANNEL, NAME:send1=DECIBELS|pre|post|on|off|remove; NAME:insert+=URI, "
    "NAME:insert1=bypass|on|remove; NAME:automation=off|read|touch|latch|write; command=NUMBER; import=FILE";

bool Gesture::Parse(const QString& text, Gesture* out, QString* error) {
    *error = QStringLiteral("gesture \"%1\" is not one of: %2").arg(text, QLatin1String(FORMS));
    static const QRegularExpression commandForm(QStringLiteral("^command=([0-9]{1,5})$"));
    if (const QRegularExpressionMatch command = commandForm.match(text); command.hasMatch()) {
        out->kind = Kind::Command;
        out->number = command.captured(1).toDouble();
        return true;
    }
    static const QString importForm = QStringLiteral("import=");
    if (text.startsWith(importForm)) {
        out->kind = Kind::Import;
        out->word = text.mid(importForm.size());
        return !out->word.isEmpty();
    }
    // A value may hold anything, an address too; the control's name ends the channel's.
    static const QRegularExpression form(QStringLiteral(
        "^(.+?):(fader|mute|solo|arm|monitor|pan|width|automation|send|insert)([0-9]{0,3})([+]?)=(.+)$"));
    const QRegularExpressionMatch match = form.match(text);
    if (!match.hasMatch()) return false;
    out->channel = match.captured(1);
    const QString control = match.captured(2), number = match.captured(3), value = match.captured(5);
    const bool adds = !match.captured(4).isEmpty();
    out->word = value;
    out->on = value == QStringLiteral("on");
    bool isNumber = false;
    out->number = value.toDouble(&isNumber);
    isNumber = isNumber && std::isfinite(out->number);
    const auto isOneOf = [&](std::initializer_list<const char*> words) {
        return std::ranges::any_of(words, [&](const char* w) { return value == QLatin1String(w); });
    };
    if (control == QStringLiteral("send") || control == QStringLiteral("insert")) {
        const bool send = control == QStringLiteral("send");
        if (adds) {
            out->kind = send ? Kind::SendAdd : Kind::InsertAdd;
            return number.isEmpty();
        }
        out->index = number.toUInt() - 1;
        out->kind = !send ? Kind::InsertSwitch : isNumber ? Kind::SendLevel : Kind::SendSwitch;
        return number.toUInt() >= 1 &&
               ((send && isNumber) || (send ? isOneOf({"pre", "post", "on", "off", "remove"})
                                            : isOneOf({"bypass", "on", "remove"})));
    }
    if (adds || !number.isEmpty()) return false;
    struct Row {
        const char* control;
        Kind kind;
        bool isSwitch;
    };
    constexpr Row ROWS[] = {{"mute", Kind::Mute, true},    {"solo", Kind::Solo, true},
                            {"arm", Kind::Arm, true},      {"monitor", Kind::Monitor, true},
                            {"fader", Kind::Fader, false}, {"pan", Kind::Pan, false},
                            {"width", Kind::Width, false}, {"automation", Kind::Automation, false}};
    const Row& row =
        *std::ranges::find_if(ROWS, [&](const Row& r) { return control == QLatin1String(r.control); });
    out->kind = row.kind;
    if (row.isSwitch) return isOneOf({"on", "off"});
    if (row.kind == Kind::Automation) return isOneOf({"off", "read", "touch", "latch", "write"});
    if (row.kind == Kind::Width && isOneOf({"mono", "stereo", "wide"})) {
        out->number = value == QStringLiteral("mono") ? 0 : value == QStringLiteral("wide") ? kMaxWidth : 1;
        return true;
    }
    const double low = row.kind == Kind::Pan     ? -1
                       : row.kind == Kind::Width ? 0
                                                 : -1000,
                 high = row.kind == Kind::Pan     ? 1
                        : row.kind == Kind::Width ? kMaxWidth
                                                  : 1000;
    return isNumber && out->number >= low && out->number <= high;
}

bool IsOnPage(Gesture::Kind kind) {
    return kind == Gesture::Kind::Fader || kind == Gesture::Kind::Mute || kind == Gesture::Kind::Solo;
}

ChannelId ChannelNamed(const Session& session, const QString& name, QString* error) {
    const auto named = [&](const QString& wanted) {
        std::vector<ChannelId> ids;
        for (const Channel& channel : session.channels)
            if (QString::fromStdString(channel.name) == wanted) ids.push_back(channel.id);
        return ids;
    };
    const std::vector<ChannelId> whole = named(name);
    if (whole.size() == 1) return whole.front();
    if (whole.size() > 1) {
        *error = QStringLiteral("%1 channels are called \"%2\": say which, as \"%2#1\"")
                     .arg(whole.size())
                     .arg(name);
        return kNoChannel;
    }
    const qsizetype mark = name.lastIndexOf(QLatin1Char('#'));
    const std::vector<ChannelId> alike = mark > 0 ? named(name.left(mark)) : whole;
    const uint number = name.mid(mark + 1).toUInt();
    if (number >= 1 && number <= alike.size()) return alike[number - 1];
    *error = QStringLiteral("there is no channel \"%1\"").arg(name);
    return kNoChannel;
}

bool Perform(QWidget& page, const Gesture& gesture, ChannelId channel, QString* error) {
    if (!StripOf(page, channel)) {
        *error = QStringLiteral("channel \"%1\" has no strip on the page").arg(gesture.channel);
        return false;
    }
    ScrollIntoView(page, channel);
    return gesture.kind == Gesture::Kind::Fader ? SetFader(page, gesture, channel, error)
                                                : SetSwitch(page, gesture, channel, error);
}

std::map<ChannelId, double> ShownFadersDb(QWidget& page) {
    std::map<ChannelId, double> shown;
    QAccessibleInterface* strips = QAccessible::queryAccessibleInterface(&page);
    for (int i = 0, count = strips ? strips->childCount() : 0; i < count; i++) {
        QAccessibleInterface* strip = strips->child(i);
        QAccessibleInterface* slider = ChildWithText(strip, QAccessible::UserText, FADER);
        if (slider && slider->valueInterface())
            shown[strip->text(QAccessible::UserText).toULongLong()] =
                slider->valueInterface()->currentValue().toDouble();
    }
    return shown;
}

}  // namespace host
