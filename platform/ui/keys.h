// Keys: Qt's codes as virtual key codes, and the state of the modifiers.
#pragma once

#include <QtCore/Qt>

#include <cstdint>

class QInputEvent;
class QKeyEvent;

/// 0 for keys that the protocol does not name.
uint32_t VirtualKey(const QKeyEvent& event);

/// MK_ flags of a mouse event.
uint32_t MouseKeys(Qt::MouseButtons buttons, Qt::KeyboardModifiers modifiers);

/// Modifiers and mouse buttons: as the event being handled has them, else as the window system has them now.
bool IsVirtualKeyDown(uint32_t virtualKey);

/// While it lives, IsVirtualKeyDown answers from this event.
class EventKeys {
public:
    explicit EventKeys(const QInputEvent& event);
    ~EventKeys();
    EventKeys(const EventKeys&) = delete;
    EventKeys& operator=(const EventKeys&) = delete;

private:
    const EventKeys* m_outer;
    Qt::KeyboardModifiers m_modifiers;

    friend bool IsVirtualKeyDown(uint32_t);
};
