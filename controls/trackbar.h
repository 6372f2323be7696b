// tQMTRACKBAR: a slider of one value, always linear: trim, pan, send level. It is a fader within, with keys,
// wheel and codes of its own: in a horizontal trackbar code 0 and 2 go to smaller values, to the left.
//
// Rectangles are logical pixels of the window. As a window it is "GUICS_Trackbar_Class". All on the window's
// thread.
#pragma once

#include "controls/fader.h"

struct tQMTRACKBAR;

/// The codes are the fader's.
typedef void (*TRACKBARSCROLLPROC)(tQMTRACKBAR* trackbar, uint32_t id, uintptr_t userData, uint32_t code,
                                   int32_t value);

// Style: FADERS_VERTICAL, _NO_FOCUS, _TICKS, _COMMANDS, _DISABLED and _SELF_KEYS (the trackbar moves itself)
// are the fader's.
inline constexpr uint32_t TRACKBARS_NO_BORDER = 0x0800,
                          TRACKBARS_USUAL = FADERS_NO_FOCUS | TRACKBARS_NO_BORDER;

inline constexpr uint32_t TRACKBARST_NO_CENTRE = 0x80,  ///< no mark where the default is
    TRACKBARST_MARKED = 0x200;

// Messages besides the fader's 1546 to 1551, 1553, 1575, 1577, 1578 and 1581.
inline constexpr uint32_t TRACKBARM_SETPOS = 1552,  ///< non-zero clamps it to the range; value
    TRACKBARM_SETWORD = 1554,                       ///< -; a word for the owner
    TRACKBARM_GETSIZES = 1566,                      ///< thumb: length low, breadth high
    TRACKBARM_SETMARKED = 1567,                     ///< -; flag
    TRACKBARM_SETCENTRE = 1568,                     ///< -; zero: no mark at the default
    TRACKBARM_SETTHUMBIMAGES = 1579;                ///< const ImageList*; const SIZE*

struct tQMTRACKBAR {
    tQMFADER slider;
    uint32_t state;  ///< TRACKBARST_; everything else stands in the slider's
    TRACKBARSCROLLPROC scrollProc;
    intptr_t word;
    RECT client;
};

extern "C" {
QM_API uint32_t TrackbarInst_GetSize();
QM_API void TrackbarInst_Init(tQMTRACKBAR* trackbar, uint32_t style, const RECT* rect, ControlHost* window,
                              uint32_t id, TRACKBARSCROLLPROC scrollProc, uintptr_t userData, float scale);
/// Ends a drag and gives up caret and timer.
QM_API void TrackbarInst_Deinit(tQMTRACKBAR* trackbar);
QM_API void TrackbarInst_GetMinSize(tQMTRACKBAR* trackbar, SIZE* size);
QM_API void TrackbarInst_GetThumbRect(const tQMTRACKBAR* trackbar, RECT* rect);
QM_API void TrackbarInst_SetId(tQMTRACKBAR* trackbar, uint32_t id);
QM_API void TrackbarInst_SetOwnerHwnd(tQMTRACKBAR* trackbar, ControlHost* owner);
QM_API void TrackbarInst_Move(tQMTRACKBAR* trackbar, const RECT* rect);
QM_API void TrackbarInst_Draw(const tQMTRACKBAR* trackbar, QPainter* painter);
QM_API void TrackbarInst_DrawThumb(const tQMTRACKBAR* trackbar, QPainter* painter);
/// As the fader's functions of these names.
QM_API const QPixmap* TrackbarInst_SetThumbBitmap(tQMTRACKBAR* trackbar, const QPixmap* bitmap);
QM_API void TrackbarInst_SetThumbImageList(tQMTRACKBAR* trackbar, const ImageList* images, const SIZE* size);
QM_API intptr_t TrackbarInst_Message(tQMTRACKBAR* trackbar, uint32_t message, uintptr_t wparam,
                                     intptr_t lparam);

/// The value that a scroll code leads to, within the range. A page of 0 is a tenth of the range; with Ctrl
/// held it is ten times as far.
QM_API int32_t TrackbarInst_DefScrollProc(uint32_t code, int32_t value, int32_t min, int32_t max,
                                          int32_t line, int32_t page, BOOL vertical);

/// Registers the window class; 0 when that was done before.
QM_API BOOL TrackbarInitialize();
QM_API void TrackbarTerminate();
/// Moves a trackbar that is a window by a scroll code; its new value. The first argument is not used.
QM_API int32_t Trackbar_DefScrollProc(uintptr_t unused, uint32_t code, ControlWindow* window, int32_t line,
                                      int32_t page);
}
