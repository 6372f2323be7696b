// MessageWindow: a window of the console, which receives everything as messages.
//
// Qt's events become calls of OnMessage in one place, with the numbers of messages.h; all on the
// window's thread. Before a mouse message, unless the mouse is captured, comes WM_NCHITTEST and then
// WM_SETCURSOR. What an override does not handle it passes to MessageWindow::OnMessage, which for keys
// means that they go on to the parent.
//
// A derived class calls Create() when it is complete and Destroy() in its destructor: in between, and
// only then, it gets messages.
#pragma once

#include "platform/types.h"
#include "platform/ui/back_image.h"
#include "platform/ui/caret.h"
#include "platform/ui/control_host.h"
#include "platform/ui/mailbox.h"
#include "platform/ui/messages.h"
#include "platform/ui/paint.h"
#include "platform/ui/tips.h"

#include <QWidget>

#include <memory>
#include <vector>

class QWindow;

class MessageWindow : public QWidget, public ControlHost {
public:
    explicit MessageWindow(QWidget* parent = nullptr);
    ~MessageWindow() override;

    /// Sends WM_CREATE; false when it was refused with -1.
    bool Create();
    /// Sends WM_DESTROY, once. Posts are refused from here on.
    void Destroy();

    /// Makes the window a child of another one: a widget of this process, or any window of the window system.
    /// False when there is no such window.
    bool EmbedIn(HWND parent);
    HWND Handle() { return static_cast<HWND>(winId()); }

    virtual intptr_t OnMessage(uint32_t message, uintptr_t wparam, intptr_t lparam);

    /// To be given to other threads.
    MessagePoster Poster() const { return MessagePoster(m_mailbox); }
    bool Post(uint32_t message, uintptr_t wparam = 0, intptr_t lparam = 0) const {
        return m_mailbox->Post({message, wparam, lparam});
    }

    RECT ClientRect() const { return {0, 0, width(), height()}; }
    POINT ToScreen(POINT client) const override;
    POINT ToClient(POINT screen) const;
    /// Device pixels a logical pixel.
    qreal Scale() const { return devicePixelRatioF(); }

    Tips& TipService() { return m_tips; }
    Caret& CaretService() { return m_caret; }
    bool HasCapture() const { return m_captured; }
    void InvalidateAll() { Invalidate(ClientRect()); }
    /// What the window shows within an area goes to the right; what comes in is painted.
    void Scroll(const RECT& area, LONG distance);

    void Invalidate(const RECT& area) override;
    void SetCapture(bool on) override;
    void TakeFocus() override;
    void SetTimer(uint32_t id, uint32_t milliseconds) override;
    void KillTimer(uint32_t id) override;
    void WarpCursor(POINT at) override;
    void SetPointer(uint32_t cursorId) override;
    bool IsKeyDown(uint32_t virtualKey) const override;
    void CreateCaret(SIZE size) override { m_caret.Create(size); }
    void MoveCaret(POINT leftTop) override { m_caret.Move(leftTop); }
    void ShowCaret(bool on) override { m_caret.Show(on); }
    void DestroyCaret() override { m_caret.Destroy(); }
    void TrackTip(std::u16string_view text, POINT screen) override { m_tips.Track(text, screen); }
    intptr_t Send(uint32_t message, uintptr_t wparam, intptr_t lparam) override;
    uint32_t Now() const override;

protected:
    bool event(QEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    bool focusNextPrevChild(bool) override { return false; }  // Tab is a key like any other

private:
    friend class WindowPainter;
    struct Timer {
        uint32_t id;
        int qtId;
    };

    bool Translate(QEvent& event);
    void TranslateMouse(class QMouseEvent& event);
    void TranslateWheel(class QWheelEvent& event);
    void TranslateKey(class QKeyEvent& event, uint32_t message);
    void TranslateFocus(class QFocusEvent& event, uint32_t message);
    bool TranslateTimer(class QTimerEvent& event);
    void HitTest(POINT screen, uint32_t message);
    void DeliverPosted();
    void CancelDrag();
    void PaintInvalid();

    std::shared_ptr<Mailbox> m_mailbox;
    std::unique_ptr<QWindow> m_foreignParent;
    std::vector<Timer> m_timers;
    BackImage m_back;
    std::vector<QRect> m_drawn;  ///< a WindowPainter's, kept for the next one's
    Caret m_caret;
    Tips m_tips;
    bool m_alive = false;
    bool m_captured = false;
    bool m_keyPassedOn = false;
    uint32_t m_pointer = CURSOR_ARROW;
};

/// Drawing on the window outside WM_PAINT, for what changes often and little: meters, outlines under the
/// mouse. What is drawn stays until it is painted over.
class WindowPainter {
public:
    explicit WindowPainter(MessageWindow& window);
    /// Puts what was marked on the screen with the next turn of the event loop.
    ~WindowPainter();
    WindowPainter(const WindowPainter&) = delete;
    WindowPainter& operator=(const WindowPainter&) = delete;

    /// False before the window's first paint, and while its size is changing: WM_PAINT is on its way then.
    explicit operator bool() const { return m_painter.isActive(); }
    QPainter& operator*() { return m_painter; }
    /// Marks an area as drawn. Areas that are not marked do not show.
    void Drawn(const RECT& area);

private:
    MessageWindow& m_window;
    QPainter m_painter;
};
