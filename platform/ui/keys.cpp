#include "platform/ui/keys.h"

#include "platform/ui/messages.h"

#include <QGuiApplication>
#include <QKeyEvent>

#include <algorithm>
#include <iterator>

namespace {
struct QtKeyRow {
    int qt;
    uint32_t vk;
};
constexpr QtKeyRow kKeys[] = {
    {Qt::Key_Backspace, VK_BACK},  {Qt::Key_Tab, VK_TAB},          {Qt::Key_Backtab, VK_TAB},
    {Qt::Key_Clear, VK_CLEAR},     {Qt::Key_Return, VK_RETURN},    {Qt::Key_Enter, VK_RETURN},
    {Qt::Key_Shift, VK_SHIFT},     {Qt::Key_Control, VK_CONTROL},  {Qt::Key_Alt, VK_MENU},
    {Qt::Key_Pause, VK_PAUSE},     {Qt::Key_CapsLock, VK_CAPITAL}, {Qt::Key_Escape, VK_ESCAPE},
    {Qt::Key_Space, VK_SPACE},     {Qt::Key_PageUp, VK_PRIOR},     {Qt::Key_PageDown, VK_NEXT},
    {Qt::Key_End, VK_END},         {Qt::Key_Home, VK_HOME},        {Qt::Key_Left, VK_LEFT},
    {Qt::Key_Up, VK_UP},           {Qt::Key_Right, VK_RIGHT},      {Qt::Key_Down, VK_DOWN},
    {Qt::Key_QuoteLeft, VK_OEM_3}, {Qt::Key_AsciiTilde, VK_OEM_3}, {Qt::Key_Insert, VK_INSERT},
    {Qt::Key_Delete, VK_DELETE},   {Qt::Key_Menu, VK_APPS},
};
constexpr QtKeyRow kKeypad[] = {
    {Qt::Key_Asterisk, VK_MULTIPLY}, {Qt::Key_Plus, VK_ADD},      {Qt::Key_Minus, VK_SUBTRACT},
    {Qt::Key_Period, VK_DECIMAL},    {Qt::Key_Comma, VK_DECIMAL}, {Qt::Key_Slash, VK_DIVIDE},
};

template <size_t N>
uint32_t Lookup(const QtKeyRow (&rows)[N], int key) {
    const auto* row =
        std::find_if(std::begin(rows), std::end(rows), [key](const QtKeyRow& r) { return r.qt == key; });
    return row == std::end(rows) ? 0 : row->vk;
}

const EventKeys* g_current = nullptr;  // window's thread
}  // namespace

uint32_t VirtualKey(const QKeyEvent& event) {
    const int key = event.key();
    if (event.modifiers() & Qt::KeypadModifier) {
        if (key >= Qt::Key_0 && key <= Qt::Key_9) return VK_NUMPAD0 + static_cast<uint32_t>(key - Qt::Key_0);
        if (const uint32_t vk = Lookup(kKeypad, key)) return vk;
    }
    if ((key >= Qt::Key_0 && key <= Qt::Key_9) || (key >= Qt::Key_A && key <= Qt::Key_Z))
        return static_cast<uint32_t>(key);
    if (key >= Qt::Key_F1 && key <= Qt::Key_F24) return VK_F1 + static_cast<uint32_t>(key - Qt::Key_F1);
    return Lookup(kKeys, key);
}

uint32_t MouseKeys(Qt::MouseButtons buttons, Qt::KeyboardModifiers modifiers) {
    return (buttons & Qt::LeftButton ? MK_LBUTTON : 0) | (buttons & Qt::RightButton ? MK_RBUTTON : 0) |
           (buttons & Qt::MiddleButton ? MK_MBUTTON : 0) | (buttons & Qt::BackButton ? MK_XBUTTON1 : 0) |
           (buttons & Qt::ForwardButton ? MK_XBUTTON2 : 0) | (modifiers & Qt::ShiftModifier ? MK_SHIFT : 0) |
           (modifiers & Qt::ControlModifier ? MK_CONTROL : 0);
}

bool IsVirtualKeyDown(uint32_t virtualKey) {
    switch (virtualKey) {
    case VK_LBUTTON: return QGuiApplication::mouseButtons() & Qt::LeftButton;
    case VK_RBUTTON: return QGuiApplication::mouseButtons() & Qt::RightButton;
    case VK_MBUTTON: return QGuiApplication::mouseButtons() & Qt::MiddleButton;
    default: break;
    }
    const auto modifiers = g_current ? g_current->m_modifiers : QGuiApplication::queryKeyboardModifiers();
    switch (virtualKey) {
    case VK_SHIFT: return modifiers & Qt::ShiftModifier;
    case VK_CONTROL: return modifiers & Qt::ControlModifier;
    case VK_MENU: return modifiers & Qt::AltModifier;
    default: return false;
    }
}

EventKeys::EventKeys(const QInputEvent& event) : m_outer(g_current), m_modifiers(event.modifiers()) {
    g_current = this;
}
EventKeys::~EventKeys() { g_current = m_outer; }
