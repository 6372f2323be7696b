#include "console/tool_buttons.h"

#include "console/command_images.h"
#include "console/commands.h"
#include "console/texts.h"
#include "kernel/color_math.h"
#include "kernel/ui/theme.h"
#include "kernel/ui/ui_fonts.h"
#include "kernel/ui/ui_glyphs.h"
#include "platform/ui/messages.h"
#include "platform/ui/paint.h"

#include <algorithm>

namespace {
constexpr LONG PADDING = 4;
}  // namespace

std::u16string ToolBarNode::Name() const { return ConsoleText(m_name); }

std::u16string ToolButton::Name() const { return CommandName(text); }

std::u16string ToolButton::Description() const {
    return tip != ConsoleTextId{} ? ConsoleText(tip) : StatusForCommand(command);
}

std::string ToolButton::Identifier() const { return "command" + std::to_string(command); }

ToolButton& ToolButtons::Add(uint32_t command, ConsoleTextId text, bool label) {
    ToolButton::Run run = m_run ? m_run : [this](ToolButton& button) { m_site.RunCommand(button.command); };
    m_buttons.push_back(std::make_unique<ToolButton>(m_bar, command, text, label, std::move(run)));
    ToolButton& made = *m_buttons.back();
    made.isSwitch = CommandStates::IsSwitch(command);
    return made;
}

void ToolButtons::Clear() {
    m_pressed = m_hot = m_focused = nullptr;
    m_buttons.clear();
}

void ToolButtons::ShowStates() {
    const CommandStates states(m_site.Console());
    for (const auto& button : m_buttons) {
        const bool enabled = states.IsEnabled(button->command), checked = states.IsChecked(button->command);
        if (enabled == button->enabled && checked == button->checked) continue;
        button->enabled = enabled;
        button->checked = checked;
        Invalidate(button.get());
    }
}

ToolButton* ToolButtons::At(POINT at) const {
    for (const auto& button : m_buttons)
        if (button->area.Contains(at)) return button.get();
    return nullptr;
}

void ToolButtons::Invalidate(const ToolButton* button) {
    if (button && !button->area.IsEmpty()) m_site.Host().Invalidate(button->area);
}

bool ToolButtons::OnMouse(uint32_t message, POINT at) {
    if (message == WM_CANCELMODE || message == WM_CAPTURECHANGED) {
        Invalidate(std::exchange(m_pressed, nullptr));
        return false;
    }
    ToolButton* over = At(at);
    switch (message) {
    case WM_MOUSEMOVE:
        if (m_pressed && std::exchange(m_inside, over == m_pressed) != m_inside) Invalidate(m_pressed);
        if (ToolButton* before = std::exchange(m_hot, over); before != over) {
            Invalidate(before);
            Invalidate(over);
        }
        return m_pressed || over;
    case WM_LBUTTONDOWN:
    case WM_LBUTTONDBLCLK:
        if (!over || !over->enabled) return over;
        m_pressed = over;
        m_inside = true;
        m_site.Host().SetCapture(true);
        Invalidate(over);
        return true;
    case WM_LBUTTONUP: {
        ToolButton* pressed = std::exchange(m_pressed, nullptr);
        if (!pressed) return over;
        m_site.Host().SetCapture(false);
        Invalidate(pressed);
        if (pressed == over) pressed->Press();
        return true;
    }
    default: return over;
    }
}

void ToolButtons::OnMouseAway() { Invalidate(std::exchange(m_hot, nullptr)); }

void ToolButtons::Paint(QPainter& painter, const RECT& area, const ImageList& images) const {
    const COLORREF face = QmGetUIColor(COLOR_BTNFACE), strong = QmGetUIColor(UICOLOR_STRONG);
    const COLORREF accent = QmGetUIColor(COLOR_HIGHLIGHT);
    for (const auto& button : m_buttons) {
        const RECT& at = button->area;
        if (at.IsEmpty() || !at.Intersects(area)) continue;
        const bool pressed = m_pressed == button.get() && m_inside;
        const bool hot = m_hot == button.get() && !m_pressed && button->enabled;
        COLORREF ground = face;
        if (button->checked) ground = QmSkin_BlendColor(face, accent, 70, 0);
        if (pressed || hot) ground = QmSkin_BlendColor(ground, strong, pressed ? 60 : 30, 0);
        if (ground != face) FillRect(painter, at, ground);
        if (button->checked || hot || pressed)
            FrameRect(painter, at, button->checked ? accent : QmGetUIColor(COLOR_BTNSHADOW));
        const ImageState state =
            button->enabled ? hot ? ImageState::Hot : ImageState::Normal : ImageState::Disabled;
        const int32_t image = ButtonImage(button->command);
        const LONG middle = (at.top + at.bottom) / 2;
        LONG x = at.left + PADDING;
        const LONG inside = at.Width() - (button->dropDown ? DROP_ARROW_WIDTH : 0);
        if (!button->label) x = at.left + (inside - COMMAND_IMAGE) / 2;
        if (image >= 0) images.Draw(painter, image, {x, middle - COMMAND_IMAGE / 2}, state);
        const COLORREF ink =
            ReadableOn(QmGetUIColor(button->enabled ? COLOR_BTNTEXT : COLOR_GRAYTEXT), ground);
        if (button->label)
            DrawText(painter,
                     {image >= 0 ? x + COMMAND_IMAGE + PADDING : x, at.top, at.right - PADDING, at.bottom},
                     button->Name(), QmGetUIFont(UIFONT_TEXT), ink, TEXT_ELIDE);
        if (button->dropDown)
            QmDrawStandardUIGlyph(painter,
                                  {at.right - DROP_ARROW_WIDTH - 1, middle - 4, at.right - 2, middle + 4},
                                  UIGLYPH_DOWN, COLOR_BTNTEXT);
        if (m_focused == button.get() && m_site.HasKeyboardFocus())
            FrameRect(painter, {at.left + 1, at.top + 1, at.right - 1, at.bottom - 1}, accent);
    }
}

void ToolButtons::SetFocused(ToolButton* button) {
    Invalidate(std::exchange(m_focused, button));
    Invalidate(button);
    m_site.FocusMoved();
}

bool ToolButtons::OnKeyDown(uint32_t key) {
    if (!m_focused) return false;
    std::vector<ToolButton*> there;
    for (const auto& button : m_buttons)
        if (!button->area.IsEmpty()) there.push_back(button.get());
    const auto at = std::ranges::find(there, m_focused);
    if (there.empty() || at == there.end()) return false;
    switch (key) {
    case VK_LEFT:
    case VK_UP:
        if (at != there.begin()) SetFocused(*(at - 1));
        return true;
    case VK_RIGHT:
    case VK_DOWN:
        if (at + 1 != there.end()) SetFocused(*(at + 1));
        return true;
    case VK_HOME: SetFocused(there.front()); return true;
    case VK_END: SetFocused(there.back()); return true;
    case VK_SPACE:
    case VK_RETURN: m_focused->Press(); return true;
    case VK_ESCAPE: SetFocused(nullptr); return true;
    default: return false;
    }
}
