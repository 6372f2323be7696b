// Messages, key codes and flags of the console's window protocol, by their fixed numbers, and the packing of
// their parameters. No window system is needed here: controls are written against this header alone.
//
// Points lie in lparam, x in the low and y in the high 16 bits, both signed; they are pixels of the window,
// except in WM_NCHITTEST, WM_MOUSEWHEEL, WM_MOUSEHWHEEL and WM_CONTEXTMENU, which give pixels of the screen.
#pragma once

#include "platform/types.h"

inline constexpr uint32_t WM_CREATE = 1;  ///< -1 refuses
inline constexpr uint32_t WM_DESTROY = 2;
inline constexpr uint32_t WM_SIZE = 5;  ///< wparam SIZE_; lparam width and height
inline constexpr uint32_t WM_SETFOCUS = 7;
inline constexpr uint32_t WM_KILLFOCUS = 8;
inline constexpr uint32_t WM_ENABLE = 10;          ///< wparam non-zero when enabled
inline constexpr uint32_t WM_PAINT = 15;           ///< wparam: PaintInfo*
inline constexpr uint32_t WM_SYSCOLORCHANGE = 21;  ///< the window system has another palette
inline constexpr uint32_t WM_SHOWWINDOW = 24;      ///< wparam non-zero when shown
inline constexpr uint32_t WM_SETTINGCHANGE = 26;   ///< the window system has another font
inline constexpr uint32_t WM_CANCELMODE = 31;      ///< a drag has to end
inline constexpr uint32_t WM_SETCURSOR =
    32;  ///< low word of lparam the hit code; non-zero when the cursor is set
inline constexpr uint32_t WM_NOTIFY = 78;        ///< wparam the control's id; lparam: NMHDR*
inline constexpr uint32_t WM_CONTEXTMENU = 123;  ///< lparam -1 from the keyboard
inline constexpr uint32_t WM_NCHITTEST = 132;    ///< HT_ code
inline constexpr uint32_t WM_GETDLGCODE = 135;
inline constexpr uint32_t WM_KEYDOWN = 256;  ///< wparam VK_; lparam KEY_ bits
inline constexpr uint32_t WM_KEYUP = 257;
inline constexpr uint32_t WM_COMMAND = 273;  ///< wparam: id low, notification code high
inline constexpr uint32_t WM_TIMER = 275;    ///< wparam the timer's id
inline constexpr uint32_t WM_MOUSEFIRST = 512;
inline constexpr uint32_t WM_MOUSEMOVE = 512;  ///< mouse messages: low word of wparam MK_ flags
inline constexpr uint32_t WM_LBUTTONDOWN = 513;
inline constexpr uint32_t WM_LBUTTONUP = 514;
inline constexpr uint32_t WM_LBUTTONDBLCLK = 515;  ///< in place of the second press
inline constexpr uint32_t WM_RBUTTONDOWN = 516;
inline constexpr uint32_t WM_RBUTTONUP = 517;
inline constexpr uint32_t WM_RBUTTONDBLCLK = 518;
inline constexpr uint32_t WM_MBUTTONDOWN = 519;
inline constexpr uint32_t WM_MBUTTONUP = 520;
inline constexpr uint32_t WM_MBUTTONDBLCLK = 521;
inline constexpr uint32_t WM_MOUSEWHEEL =
    522;  ///< high word of wparam the signed rotation, WHEEL_DELTA a notch
inline constexpr uint32_t WM_XBUTTONDOWN = 523;  ///< high word of wparam 1 or 2
inline constexpr uint32_t WM_XBUTTONUP = 524;
inline constexpr uint32_t WM_XBUTTONDBLCLK = 525;
inline constexpr uint32_t WM_MOUSEHWHEEL = 526;
inline constexpr uint32_t WM_MOUSELAST = 526;
inline constexpr uint32_t WM_CAPTURECHANGED = 533;
inline constexpr uint32_t WM_MOUSELEAVE = 675;
inline constexpr uint32_t WM_DPICHANGED =
    736;  ///< the screen's scale changed; images are rendered anew when drawn
inline constexpr uint32_t WM_USER = 1024;
inline constexpr uint32_t WM_APP = 32768;

inline constexpr uintptr_t SIZE_RESTORED = 0, SIZE_MINIMIZED = 1;
inline constexpr intptr_t HTTRANSPARENT = -1, HTCLIENT = 1;
inline constexpr int32_t WHEEL_DELTA = 120;
inline constexpr intptr_t KEY_REPEATED = intptr_t{1} << 30;  ///< the low 16 bits hold the repeat count, 1

inline constexpr uint32_t MK_LBUTTON = 1, MK_RBUTTON = 2, MK_SHIFT = 4, MK_CONTROL = 8, MK_MBUTTON = 16,
                          MK_XBUTTON1 = 32, MK_XBUTTON2 = 64;

// Letters and digits are their own codes.
inline constexpr uint32_t VK_LBUTTON = 1, VK_RBUTTON = 2, VK_MBUTTON = 4, VK_BACK = 8, VK_TAB = 9,
                          VK_CLEAR = 12, VK_RETURN = 13, VK_SHIFT = 16, VK_CONTROL = 17, VK_MENU = 18,
                          VK_PAUSE = 19, VK_CAPITAL = 20, VK_ESCAPE = 27, VK_SPACE = 32, VK_PRIOR = 33,
                          VK_NEXT = 34, VK_END = 35, VK_HOME = 36, VK_LEFT = 37, VK_UP = 38, VK_RIGHT = 39,
                          VK_DOWN = 40, VK_INSERT = 45, VK_DELETE = 46, VK_APPS = 93, VK_NUMPAD0 = 96,
                          VK_NUMPAD9 = 105, VK_MULTIPLY = 106, VK_ADD = 107, VK_SUBTRACT = 109,
                          VK_DECIMAL = 110, VK_DIVIDE = 111, VK_F1 = 112, VK_F2 = 113, VK_F3 = 114,
                          VK_F6 = 117, VK_F9 = 120, VK_F24 = 135, VK_OEM_3 = 192;  ///< the key left of 1

/// Cursor ids of ControlHost::SetPointer and QmGetUICursor.
inline constexpr uint32_t CURSOR_SPLIT_COLUMNS = 11, CURSOR_SPLIT_ROWS = 12, CURSOR_THUMB_LEFT = 27,
                          CURSOR_THUMB_RIGHT = 28, CURSOR_ARROW = 32512;

/// Head of every notification record.
struct NMHDR {
    struct ControlHost* from;
    uintptr_t id;
    int32_t code;
};

constexpr uint16_t LowWord(uintptr_t v) { return static_cast<uint16_t>(v); }
constexpr uint16_t HighWord(uintptr_t v) { return static_cast<uint16_t>(v >> 16); }
constexpr int16_t SignedLowWord(uintptr_t v) { return static_cast<int16_t>(LowWord(v)); }
constexpr int16_t SignedHighWord(uintptr_t v) { return static_cast<int16_t>(HighWord(v)); }

/// Low and high 16 bits of a wparam, or of an lparam that holds two numbers.
constexpr uintptr_t PackWords(uint32_t low, uint32_t high) {
    return (low & 0xFFFFu) | (high & 0xFFFFu) << 16;
}
constexpr intptr_t PackPoint(POINT p) {
    return static_cast<intptr_t>(PackWords(static_cast<uint32_t>(p.x), static_cast<uint32_t>(p.y)));
}
constexpr POINT UnpackPoint(intptr_t lparam) {
    const auto v = static_cast<uintptr_t>(lparam);
    return {SignedLowWord(v), SignedHighWord(v)};
}
