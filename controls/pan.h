// tQMPAN: surround pan pad, a square or round field in which a puck stands for the place of a sound, among
// the symbols of the speakers in use. It keeps a point and some masks; panning laws are the host's.
//
// x is -1 at the left and 1 at the right, y -1 at the rear and 1 at the front. Rectangles are logical pixels
// of the window. As a window it is "GUICS_Pan_Class". All on the window's thread.
#pragma once

#include "platform/types.h"
#include "platform/ui/messages.h"

class ControlWindow;
class QPainter;
struct ControlHost;
struct PanPicture;
struct tQMSKINBMP;
struct tQMPAN;

/// `values` are x and y; the mask is 3, the last argument 0.
typedef void (*PANPROC)(tQMPAN* pan, uint32_t id, uintptr_t userData, uint32_t code, const double* values,
                        uint32_t channelMask, uintptr_t reserved);

// Codes of the callback. 10 to 17 are nudges: fine ones by a hundredth, coarse ones by a tenth.
inline constexpr uint32_t PAN_SET = 4, PAN_TRACK = 5, PAN_END = 8, PAN_START = 9, PAN_FINE_LEFT = 10,
                          PAN_FINE_FRONT = 11, PAN_FINE_RIGHT = 12, PAN_FINE_REAR = 13, PAN_FRONT = 14,
                          PAN_REAR = 15, PAN_LEFT = 16, PAN_RIGHT = 17;
inline constexpr int32_t PAN_NOWHERE = -1, PAN_SPEAKER = -3, PAN_PUCK = 5;

// Style.
inline constexpr uint32_t PANS_SPEAKER_KEYS = 0x0002, PANS_NO_JUMP = 0x0004, PANS_NO_FOCUS = 0x0008,
                          PANS_FOCUS_ROOM = 0x0010, PANS_CIRCULAR = 0x0080, PANS_GRID = 0x0400,
                          PANS_NO_SPEAKER_CLICK = 0x0800, PANS_MARKER = 0x1000;
// State.
inline constexpr uint32_t PANST_DISABLED = 0x1, PANST_INSTANCE = 0x4, PANST_HIGH_COLOR = 0x8,
                          PANST_WIDE_FRAME = 0x10, PANST_SKIN = 0x20, PANST_SKIN_STRETCHED = 0x40,
                          PANST_SKIN_NO_SPEAKERS = 0x80, PANST_FINE = 0x200, PANST_NO_MOUSE = 0x800,
                          PANST_OTHER_BUTTON = 0x1000, PANST_BACKGROUND = 0x2000, PANST_FROZEN = 0x4000,
                          PANST_FOCUSED = 0x10000, PANST_DRAGGING = 0x20000, PANST_CONTROLLER = 0x40000,
                          PANST_CONTROLLED = 0x80000;

inline constexpr uint32_t PANM_GETVALUES = 1536,  ///< -, channel + 1 or 0; double*
    PANM_GETSTATE = 1537,                         ///< -; PANSTATE*
    PANM_SETSTATE = 1538,                         ///< non-zero lays out anew; const PANSTATE*
    PANM_GETMUTE = 1539, PANM_SETMUTE = 1540,     ///< -; mask
    PANM_GETCHANNELS = 1541,
                          PANM_SETCHANNELS = 1542,     ///< -; mask
    PANM_GETTEXT = 1543,                               ///< room in characters; char16_t*
    PANM_GETMODEMUTE = 1544, PANM_SETMODEMUTE = 1545,  ///< -; mask
    PANM_GETAUDIBLE = 1546,                            ///< -; PANSTATE*, its channels those not muted
    PANM_SETAUDIBLE = 1547,                            ///< -; const PANSTATE*, the same
    PANM_SETSKIN = 1548,                               ///< -; const PANSKIN* or null
    PANM_GETLOCK = 1549, PANM_SETLOCK = 1550,          ///< -; lock
    PANM_SETCIRCULAR = 1551,                           ///< -; flag
    PANM_SETGRID = 1552,                               ///< -; flag
    PANM_FREEZE = 1553,                                ///< -; non-zero unfreezes
    PANM_SHOWMARKER = 1554,                            ///< flag; percent
    PANM_SETMARKER = 1555;                             ///< -; percent

/// Keys X and Y tell the owner of the new axis lock: WM_NOTIFY with this code.
inline constexpr int32_t PANN_LOCK = -109;

struct PANSTATE {
    double x, y;
    uint32_t panMode;  ///< 0 free; a drag moves along x only in 1, 2, 5, 6, along y only in 3, 4, 7, 8
    uint32_t modeMuteMask, muteMask, channelsMask;
    uint32_t lock;  ///< 0 none; 1 y stays; 2 x stays
};

inline constexpr uint32_t PANSKIN_STRETCHED = 1, PANSKIN_NO_SPEAKERS = 2;
/// Images that take the place of the drawn ones where they are not null; the caller keeps them alive.
struct PANSKIN {
    const tQMSKINBMP *background, *speaker, *puck;
    SIZE speakerSize, puckSize;  ///< logical pixels
    uint32_t options;            ///< PANSKIN_
};

inline constexpr uint32_t kPanSpeakers = 8;

struct tQMPAN {
    uint32_t style, state;
    PANSTATE at;
    uint32_t channelCount;
    int32_t focusSpeaker;  ///< -1 for none
    ControlHost* window;   ///< never null
    uint32_t id;
    ControlHost* owner;
    uintptr_t userData;
    PANPROC callback;
    RECT client;
    RECT field;       ///< where the point moves
    SIZE puck, cell;  ///< of the puck and of a speaker
    double startX, startY;
    double mouseX, mouseY;  ///< pixels that a drag stands for: of the mouse, or half its way when fine
    POINT lastMouse;
    int32_t marker;
    PANSKIN skin;
    PanPicture* picture;  ///< field and speakers; null until the next paint
};

extern "C" {
QM_API uint32_t PanInst_GetSize();
QM_API void PanInst_Init(tQMPAN* pan, uint32_t style, const RECT* rect, ControlHost* window, uint32_t id,
                         PANPROC callback, uintptr_t userData);
/// Ends a drag and gives the picture back.
QM_API void PanInst_Deinit(tQMPAN* pan);
QM_API void PanInst_GetMinSize(const tQMPAN* pan, SIZE* size);
QM_API void PanInst_SetId(tQMPAN* pan, uint32_t id);
QM_API void PanInst_SetOwnerHwnd(tQMPAN* pan, ControlHost* owner);
QM_API void PanInst_Move(tQMPAN* pan, const RECT* rect);
QM_API void PanInst_Draw(tQMPAN* pan, QPainter* painter);
QM_API intptr_t PanInst_Message(tQMPAN* pan, uint32_t message, uintptr_t wparam, intptr_t lparam);

/// Registers the window class; 0 when that was done before. A pan pad of that class reports with WM_HSCROLL.
QM_API BOOL PanInitialize();
QM_API void PanTerminate();
}
