#include "tests/support/page_driver.h"

#include <QAccessible>
#include <QApplication>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QThread>
#include <QWheelEvent>

#include <gtest/gtest.h>

namespace {

QAccessibleInterface* Child(QAccessibleInterface* parent, const QString& name) {
    for (int i = 0; parent && i < parent->childCount(); i++)
        if (parent->child(i)->text(QAccessible::Name) == name) return parent->child(i);
    return nullptr;
}

QAccessibleInterface* Control(QWidget& page, const QString& channel, const QString& name) {
    return Child(Child(QAccessible::queryAccessibleInterface(&page), channel), name);
}

}  // namespace

void PageDriver::Settle() {
    QApplication::processEvents();
    QThread::msleep(1);
    QApplication::processEvents();
}

void PageDriver::Mouse(QEvent::Type type, QPoint at, Qt::MouseButton button, Qt::MouseButtons buttons,
                       Qt::KeyboardModifiers modifiers) {
    QWidget& page = Page();
    QMouseEvent event(type, QPointF(at), QPointF(page.mapToGlobal(at)), button, buttons, modifiers);
    QApplication::sendEvent(&page, &event);
    QApplication::processEvents();
}

void PageDriver::Press(QPoint at, Qt::KeyboardModifiers modifiers) {
    Mouse(QEvent::MouseMove, at, Qt::NoButton, Qt::NoButton, modifiers);
    Mouse(QEvent::MouseButtonPress, at, Qt::LeftButton, Qt::LeftButton, modifiers);
}
void PageDriver::Move(QPoint at, Qt::KeyboardModifiers modifiers) {
    Mouse(QEvent::MouseMove, at, Qt::NoButton, Qt::LeftButton, modifiers);
}
void PageDriver::Release(QPoint at, Qt::KeyboardModifiers modifiers) {
    Mouse(QEvent::MouseButtonRelease, at, Qt::LeftButton, Qt::NoButton, modifiers);
}
void PageDriver::Click(QPoint at, Qt::KeyboardModifiers modifiers) {
    Press(at, modifiers);
    Release(at, modifiers);
}
void PageDriver::DoubleClick(QPoint at) {
    Click(at);
    Mouse(QEvent::MouseButtonDblClick, at, Qt::LeftButton, Qt::LeftButton, Qt::NoModifier);
    Release(at);
}

void PageDriver::Wheel(QPoint at, int turn, Qt::KeyboardModifiers modifiers) {
    QWidget& page = Page();
    QWheelEvent event(QPointF(at), QPointF(page.mapToGlobal(at)), QPoint(), QPoint(0, turn), Qt::NoButton,
                      modifiers, Qt::NoScrollPhase, false);
    QApplication::sendEvent(&page, &event);
    QApplication::processEvents();
}

void PageDriver::Key(Qt::Key key, Qt::KeyboardModifiers modifiers) {
    for (QEvent::Type type : {QEvent::KeyPress, QEvent::KeyRelease}) {
        QKeyEvent event(type, key, modifiers);
        QApplication::sendEvent(&Page(), &event);
    }
    QApplication::processEvents();
}

QRect PageDriver::Area(const QString& channel, const QString& control) {
    QAccessibleInterface* found = Control(Page(), channel, control);
    if (found && found->role() == QAccessible::Slider) found = found->child(0);
    EXPECT_TRUE(found) << channel.toStdString() << " " << control.toStdString();
    return found ? QRect(Page().mapFromGlobal(found->rect().topLeft()), found->rect().size()) : QRect();
}

QPoint PageDriver::Centre(const QString& channel, const QString& control) {
    return Area(channel, control).center();
}

double PageDriver::FaderDb(const QString& channel) {
    QAccessibleInterface* found = Control(Page(), channel, QStringLiteral("Volume"));
    return found ? found->valueInterface()->currentValue().toDouble() : -1000;
}

double PageDriver::LevelDb(const QString& channel) {
    QAccessibleInterface* found = Control(Page(), channel, QStringLiteral("Level"));
    return found ? found->valueInterface()->currentValue().toDouble() : -1000;
}

bool PageDriver::IsChecked(const QString& channel, const QString& control) {
    QAccessibleInterface* found = Control(Page(), channel, control);
    return found && found->state().checked;
}

bool PageDriver::IsSelected(const QString& channel) {
    QAccessibleInterface* found = Child(QAccessible::queryAccessibleInterface(&Page()), channel);
    return found && found->state().selected;
}

QStringList PageDriver::Channels() {
    QStringList names;
    QAccessibleInterface* page = QAccessible::queryAccessibleInterface(&Page());
    for (int i = 0; page && i < page->childCount(); i++)
        if (page->child(i)->role() == QAccessible::Grouping) names += page->child(i)->text(QAccessible::Name);
    return names;
}

QPoint PageDriver::Title(const QString& channel) {
    return Area(channel, QStringLiteral("Mute")).topLeft() + QPoint(30, -12);
}
