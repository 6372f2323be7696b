#include "controls/control_window.h"

#include "controls/control_accessible.h"
#include "kernel/ui/ui_colors.h"

#include <algorithm>
#include <string_view>
#include <vector>

namespace {
std::vector<const ControlClass*>& Classes() {
    static std::vector<const ControlClass*> classes;
    return classes;
}

const ControlClass* Find(std::u16string_view name) {
    const auto it = std::ranges::find_if(Classes(), [&](const ControlClass* c) { return name == c->name; });
    return it == Classes().end() ? nullptr : *it;
}

// The window above may take Tab for a key like any other, so the next control is looked for here.
void PassFocus(QWidget& from, bool back) {
    const auto step = [back](QWidget* w) { return back ? w->previousInFocusChain() : w->nextInFocusChain(); };
    for (QWidget* w = step(&from); w != &from; w = step(w)) {
        if (!(w->focusPolicy() & Qt::TabFocus) || !w->isEnabled() || !w->isVisible()) continue;
        if (w->window() == from.window() && !w->isWindow())
            return w->setFocus(back ? Qt::BacktabFocusReason : Qt::TabFocusReason);
    }
}
}  // namespace

bool RegisterControlClass(const ControlClass& type) {
    if (Find(type.name)) return false;
    InstallControlAccessibility();
    Classes().push_back(&type);
    return true;
}

void UnregisterControlClass(const ControlClass& type) { std::erase(Classes(), &type); }

ControlWindow::ControlWindow(const ControlClass& type, uint32_t style, uint32_t id, QWidget* parent)
    : MessageWindow(parent), m_class(type), m_record(std::make_unique<std::byte[]>(type.recordSize)) {
    setProperty("controlId", id);
    const RECT client = ClientRect();
    m_class.init(m_record.get(), style, &client, this, id);
    Create();
}

ControlWindow::~ControlWindow() {
    Destroy();
    m_class.deinit(m_record.get());
}

void ControlWindow::Paint(const PaintInfo& paint) {
    FillRect(paint.painter, ClientRect(), QmGetUIColor(COLOR_BTNFACE));
    m_class.draw(m_record.get(), &paint.painter);
    if (m_focused && !m_class.showsFocus)
        FrameRect(paint.painter, ClientRect(), QmGetUIColor(COLOR_HIGHLIGHT));
}

void ControlWindow::Refresh() {
    WindowPainter painter(*this);
    if (!painter || !m_class.drawChanges || (m_focused && !m_class.showsFocus)) return InvalidateAll();
    RECT changed{};
    if (m_class.drawChanges(m_record.get(), &*painter, &changed)) painter.Drawn(changed);
}

intptr_t ControlWindow::Key(uint32_t message, uintptr_t wparam, intptr_t lparam) {
    const intptr_t used = m_class.message(m_record.get(), message, wparam, lparam);
    if (wparam == VK_TAB && !used) {
        if (message == WM_KEYDOWN) PassFocus(*this, IsKeyDown(VK_SHIFT));
        return 0;
    }
    if (wparam == VK_APPS && message == WM_KEYUP) return OnMessage(WM_CONTEXTMENU, 0, -1);
    return used;
}

intptr_t ControlWindow::OnMessage(uint32_t message, uintptr_t wparam, intptr_t lparam) {
    switch (message) {
    case WM_PAINT: Paint(*reinterpret_cast<const PaintInfo*>(wparam)); return 0;
    case WM_SIZE: {
        const RECT client = ClientRect();
        m_class.move(m_record.get(), &client);
        InvalidateAll();
        return 0;
    }
    case WM_NCHITTEST: {
        const intptr_t hit =
            m_class.message(m_record.get(), message, wparam, PackPoint(ToClient(UnpackPoint(lparam))));
        return hit ? hit : HTCLIENT;
    }
    case WM_SETCURSOR:
        return m_class.message(m_record.get(), message, wparam, lparam)
                   ? 1
                   : MessageWindow::OnMessage(message, wparam, lparam);
    case WM_RBUTTONUP:
        m_class.message(m_record.get(), message, wparam, lparam);
        return HasCapture() ? 0 : MessageWindow::OnMessage(message, wparam, lparam);
    case WM_KEYDOWN:
    case WM_KEYUP: return Key(message, wparam, lparam);
    case WM_SETFOCUS:
    case WM_KILLFOCUS:
        m_focused = message == WM_SETFOCUS;
        if (!m_class.showsFocus) InvalidateAll();
        return m_class.message(m_record.get(), message, wparam, lparam);
    default: return m_class.message(m_record.get(), message, wparam, lparam);
    }
}

intptr_t ControlWindow::Send(uint32_t message, uintptr_t wparam, intptr_t lparam) {
    if (message == WM_HSCROLL || message == WM_VSCROLL) AnnounceControlValue(*this);
    if (OnNotify)
        if (const intptr_t answer = OnNotify(message, wparam, lparam)) return answer;
    if (auto* parent = dynamic_cast<MessageWindow*>(parentWidget()))
        return parent->Send(message, wparam, lparam);
    return 0;
}

void ControlWindow::TrackTip(std::u16string_view text, POINT screen) {
    if (text.empty() && !m_tip) return;
    if (!m_tip) m_tip = std::make_unique<Tips>(*window());
    m_tip->Track(text, screen);
}

ControlWindow* QmCreateControl(const char16_t* className, uint32_t style, const RECT* rect, QWidget* parent,
                               uint32_t id) {
    const ControlClass* type = className ? Find(className) : nullptr;
    if (!type) return nullptr;
    auto* window = new ControlWindow(*type, style, id, parent);
    window->setGeometry(ToQRect(*rect));
    return window;
}

intptr_t QmSendControl(ControlWindow* window, uint32_t message, uintptr_t wparam, intptr_t lparam) {
    return window ? window->OnMessage(message, wparam, lparam) : 0;
}
