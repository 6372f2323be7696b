// ControlHost: what a control asks of the window that it lives in. MessageWindow implements it; tests
// implement it with a record of what was asked. All operations on the window's thread.
#pragma once

#include "platform/types.h"

#include <string_view>

struct ControlHost {
    /// The area's pixels are out of date; it is painted soon, not now.
    virtual void Invalidate(const RECT& area) = 0;

    /// While captured, mouse messages arrive from outside the window too, and no WM_NCHITTEST comes before
    /// them. Losing the capture, by this call or otherwise, brings WM_CAPTURECHANGED.
    virtual void SetCapture(bool on) = 0;
    virtual void TakeFocus() = 0;

    /// Starts or restarts a repeating timer: WM_TIMER with that id.
    virtual void SetTimer(uint32_t id, uint32_t milliseconds) = 0;
    virtual void KillTimer(uint32_t id) = 0;

    /// Moves the mouse cursor to a point of the window; a mouse move to that point may follow.
    virtual void WarpCursor(POINT at) = 0;
    virtual void SetPointer(uint32_t cursorId) = 0;

    /// A point of the window on the screen.
    virtual POINT ToScreen(POINT client) const = 0;

    /// VK_SHIFT, VK_CONTROL, VK_MENU and the mouse buttons: as of the event being handled, else as of now.
    virtual bool IsKeyDown(uint32_t virtualKey) const = 0;

    /// The window's one caret, a blinking mark. Made hidden.
    virtual void CreateCaret(SIZE size) = 0;
    virtual void MoveCaret(POINT leftTop) = 0;
    virtual void ShowCaret(bool on) = 0;
    virtual void DestroyCaret() = 0;

    /// Shows a tip near a point of the screen, in place of the last one; an empty text hides it.
    virtual void TrackTip(std::u16string_view text, POINT screen) = 0;

    /// Sends a message to the window itself: WM_COMMAND, WM_NOTIFY.
    virtual intptr_t Send(uint32_t message, uintptr_t wparam, intptr_t lparam) = 0;

    /// Milliseconds of a clock that never goes back.
    virtual uint32_t Now() const = 0;

protected:
    ~ControlHost() = default;
};
