// tQMFADER: the console's gain slider, with one thumb or a stereo pair, a decibel taper, a scale, and
// the rules for mouse, wheel and keys. A plain record that its owner embeds, paints and sends
// messages to; it has no window. As a window it is "GUICS_Fader_Class".
//
// Values are tenths of a decibel in a tapered fader, plain numbers otherwise. A value out of range that
// is set by message is kept as given; only mouse, wheel and keys clamp. Rectangles are logical pixels
// of the window. The fader asks its window to repaint what changed, only when a thumb's pixel moved.
// All on the window's thread.
#pragma once

#include "controls/fader_scale.h"
#include "platform/types.h"
#include "platform/ui/messages.h"

class ControlWindow;
class ImageList;
class QPainter;
class QPixmap;
struct ControlHost;
struct tQMFADER;

/// `values` are the positions of all channels; bit n of the mask is set when channel n is meant.
typedef void (*FADERSCROLLPROC)(tQMFADER* fader, uint32_t id, uintptr_t userData, uint32_t code,
                                const int32_t* values, uint32_t channelMask);

// Codes of the scroll proc. 0 to 3 and FADER_THUMB are also the parts of the hit test.
inline constexpr uint32_t FADER_LINE_UP = 0, FADER_LINE_DOWN = 1, FADER_PAGE_UP = 2, FADER_PAGE_DOWN = 3,
                          FADER_SET = 4, FADER_TRACK = 5, FADER_TOP = 6, FADER_BOTTOM = 7, FADER_END = 8,
                          FADER_START = 9;
inline constexpr int32_t FADER_NOWHERE = -1, FADER_THUMB = 5;

// Style. FADERS_SCALE given at init becomes FADERS_TICKS; with FADERS_LABELS the scale is one-sided.
inline constexpr uint32_t FADERS_VERTICAL = 0x0001, FADERS_NO_FOCUS = 0x0008, FADERS_STEREO = 0x0040,
                          FADERS_TAPER = 0x0080, FADERS_ONE_SIDED = 0x0030, FADERS_TICKS = 0x0100,
                          FADERS_LABELS = 0x0400, FADERS_UI_COLORS = 0x0800, FADERS_SCALE = 0x1000,
                          FADERS_SELF_KEYS = 0x2000, FADERS_COMMANDS = 0x8000, FADERS_DISABLED = 0x08000000;

// State.
inline constexpr uint32_t FADERST_DISABLED = 0x1, FADERST_FOCUSED = 0x2, FADERST_INSTANCE = 0x4,
                          FADERST_VERTICAL = 0x8, FADERST_STEREO = 0x10, FADERST_TAPER = 0x20,
                          FADERST_DRAWN_THUMB = 0x40, FADERST_NO_TICKS = 0x200, FADERST_LABELS = 0x400,
                          FADERST_TOO_SMALL = 0x800, FADERST_ONE_SIDED = 0x1000, FADERST_FINE_PIXELS = 0x2000,
                          FADERST_FINE_DRAG = 0x4000, FADERST_MOVED = 0x8000, FADERST_WARPED = 0x10000,
                          FADERST_OTHER_BUTTON = 0x20000, FADERST_BITMAP = 0x40000,
                          FADERST_PRESSED = 0x10000000, FADERST_COMMANDS = 0x80000,
                          FADERST_GANG_INVERTED = 0x100000, FADERST_NO_HALF_GANG = 0x200000,
                          FADERST_NO_AXIS = 0x400000, FADERST_FOCUS_RECT = 0x800000,
                          FADERST_CONTROLLER = 0x20000000, FADERST_CONTROLLED = 0x40000000;

// Messages; wparam and lparam in this order.
inline constexpr uint32_t FADERM_GETPOS = 1546, FADERM_GETMIN = 1547, FADERM_GETMAX = 1548,
                          FADERM_SETRANGE = 1549,  ///< redraw; low word min, high word max, signed
    FADERM_SETMIN = 1550,                          ///< redraw; value
    FADERM_SETMAX = 1551,                          ///< redraw; value
    FADERM_SETPOS = 1552,                          ///< redraw; value
    FADERM_SETDEFAULT = 1553,                      ///< -; value
    FADERM_SETFOCUSRECT = 1575,                    ///< -; flag
    FADERM_SETUSERDATA = 1577, FADERM_GETUSERDATA = 1578,
                          FADERM_SETUP = 1581,  ///< -; FADERSETUP*
    FADERM_SETCHANNELMASK = 1582,               ///< -; mask
    FADERM_SETVALUES = 1583,  ///< redraw, channel + 1 or 0; value, or pointer to all of them
    FADERM_GETVALUES = 1584,  ///< -, channel + 1 or 0; pointer when 0
    FADERM_SETGANG = 1585, FADERM_GETGANG = 1586, FADERM_SETNOHALFGANG = 1587, FADERM_GETNOHALFGANG = 1588,
                          FADERM_SETTHUMBIMAGES = 1589,  ///< const ImageList*; const SIZE*
    FADERM_GETSTYLE = 1590,
                          FADERM_CHANGESTYLE = 1591,  ///< bits; non-zero sets them, zero clears them
    FADERM_SETTICKS = 1592,                           ///< count; const int32_t*, null for the default list
    FADERM_GETTICKS = 1593,                           ///< -; uint32_t* count or null. The list that is shown
    FADERM_REPLACESTYLE = 1594,                       ///< bits to set; bits to clear
    FADERM_SETSTEREO = 1595;                          ///< -; flag

/// Result of a wheel message that the fader used.
inline constexpr intptr_t FADER_WHEEL_USED = 105;

// Notification codes: in WM_COMMAND (FADERS_COMMANDS), and in WM_NOTIFY.
inline constexpr uint32_t FADERN_SETFOCUS = 1, FADERN_KILLFOCUS = 2, FADERN_PRESSED = 3, FADERN_RELEASED = 4;
inline constexpr int32_t FADERN_KEY = -102,  ///< lparam: FADERKEY*
    FADERN_LOSTFOCUS = -8;                   ///< of a fader that is a window

struct FADERKEY {
    NMHDR head;
    uint32_t key;   ///< VK_
    uint32_t data;  ///< lparam of the key message
};

/// CONTROLN_UNUSED (see game_controller.h): a message of the controller that the control has no use for.
struct CONTROLUNUSED {
    NMHDR head;
    uint32_t message;
    uintptr_t wparam;
    intptr_t lparam;
};

struct FADERSETUP {
    int32_t min, max, def;
    int32_t line, page;  ///< 0: computed
    uint32_t style, styleMask;
    const int32_t* values;  ///< of all channels, or null
};

struct FADERTHUMB {
    RECT rect;
    int32_t split;  ///< middle of the thumb across the travel: the half that faces the other thumb gangs
};

inline constexpr uint32_t kFaderMaxTicks = 64;

struct tQMFADER {
    uint32_t style, state;
    FaderScale scale;
    int32_t def;  ///< what a double-click restores
    int32_t pos[2];
    uint32_t channels;    ///< 1 or 2
    ControlHost* window;  ///< never null
    uint32_t id;
    ControlHost* owner;  ///< receives the notifications; null for `window`
    RECT client, focus, track;
    int32_t travel;  ///< pixels between the thumb's two ends
    int32_t marginX,
        marginY;  ///< from the client's low end to the thumb's centre at the low end, horizontal and vertical
    int32_t thumbLength;
    POINT grab;  ///< from the thumb's centre to the mouse, when the drag began
    POINT lastMouse;
    int32_t line, page;  ///< a page of 0 is a tenth of the range
    int32_t dragPart;    ///< FADER_NOWHERE when nothing is dragged
    int32_t saved[2];    ///< values when the drag began
    FADERTHUMB thumbs[2];
    uint32_t channelMask, activeChannel;  ///< what the next action moves
    uintptr_t userData;
    FADERSCROLLPROC scrollProc;
    const int32_t* ticks;  ///< the caller's; null for the default list
    uint32_t tickCount;
    float interfaceScale;
    const ImageList* thumbImages;
    SIZE thumbImageSize;
    const QPixmap* thumbBitmap;
};

extern "C" {
/// Bytes to reserve for a record.
QM_API uint32_t FaderInst_GetSize();
/// Makes the record's defaults: range 0..100, values 50, all channels meant.
QM_API void FaderInst_Init(tQMFADER* fader, uint32_t style, const RECT* rect, ControlHost* window,
                           uint32_t id, FADERSCROLLPROC scrollProc, uintptr_t userData, float scale);
/// Ends a drag and gives up caret and timer.
QM_API void FaderInst_Deinit(tQMFADER* fader);
QM_API void FaderInst_GetMinSize(tQMFADER* fader, SIZE* size);
QM_API void FaderInst_SetId(tQMFADER* fader, uint32_t id);
QM_API void FaderInst_SetScrollProc(tQMFADER* fader, FADERSCROLLPROC scrollProc);
QM_API void FaderInst_SetOwnerHwnd(tQMFADER* fader, ControlHost* owner);
/// Lays the fader out in another rectangle. Who moves a control repaints its place.
QM_API void FaderInst_Move(tQMFADER* fader, const RECT* rect);
QM_API BOOL FaderInst_IsStereo(const tQMFADER* fader);

/// Scale, labels and thumbs, on a ground that the owner painted.
QM_API void FaderInst_Draw(const tQMFADER* fader, QPainter* painter);
QM_API void FaderInst_DrawThumb(const tQMFADER* fader, QPainter* painter, uint32_t channel);
/// Returns the previous bitmap; null goes back to the drawn thumb. The caller keeps the bitmap alive.
QM_API const QPixmap* FaderInst_SetThumbBitmap(tQMFADER* fader, const QPixmap* bitmap);
/// Images 0 of the list, cut in half for the two thumbs of a pair. The caller keeps the list alive.
QM_API void FaderInst_SetThumbImageList(tQMFADER* fader, const ImageList* images, const SIZE* size);

/// Mouse, wheel, key, focus and timer messages, and the messages above.
QM_API intptr_t FaderInst_Message(tQMFADER* fader, uint32_t message, uintptr_t wparam, intptr_t lparam);
/// Moves the meant channels by a scroll code, for owners that do not leave that to the fader
/// (FADERS_SELF_KEYS). With Ctrl a page is ten times as far, and FADER_TOP goes to the top instead of unity.
/// Returns the active value.
QM_API int32_t FaderInst_DefScrollProc(tQMFADER* fader, uint32_t code, int32_t line, int32_t page);

/// Registers the window class "GUICS_Fader_Class"; 0 when that was done before. A fader of that class reports
/// with WM_VSCROLL or WM_HSCROLL to the window above.
QM_API BOOL FaderInitialize();
QM_API void FaderTerminate();
/// FaderInst_DefScrollProc for a fader that is a window. The first argument is not used.
QM_API int32_t Fader_DefScrollProc(uintptr_t unused, uint32_t code, ControlWindow* window, int32_t line,
                                   int32_t page);
}
