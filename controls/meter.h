// tQMMETER: peak meter of one to six channels, as bars on a decibel scale, with marks for the highest and
// lowest recent levels, a sticky readout of the highest level, and labels. A plain record that its owner
// embeds, feeds with levels and paints; it has no window, and knows nothing of audio. As a window it is
// "GUICS_Meter_Class".
//
// Levels are counts of `range`, or floats in 0..1 whose bits the messages carry. Rectangles are logical
// pixels of the window; the bars themselves move by device pixels. Holds need no timer: they are advanced by
// each paint, with the window's clock. All on the window's thread.
#pragma once

#include "controls/meter_scale.h"
#include "platform/types.h"
#include "platform/ui/messages.h"

class QPainter;
struct ControlHost;
struct MeterBitmaps;
struct MeterModel;
struct tQMSKINBMP;
class ControlWindow;

// Style. A bar a channel is always there; METERS_STRIP_EACH gives each one its own readout too.
inline constexpr uint32_t METERS_VERTICAL = 0x0001, METERS_LOWEST = 0x0002, METERS_OWN_MENU = 0x0004,
                          METERS_CLIP_SHOWN = 0x0008, METERS_CLIP_CLICK = 0x0010, METERS_STRIP_EACH = 0x0020,
                          METERS_LABELS_OTHER_SIDE = 0x0040, METERS_CLIP_ROOM = 0x0080,
                          METERS_HOLD_LOW = 0x0100, METERS_HOLD_HIGH = 0x0200, METERS_LABELS = 0x0400,
                          METERS_AUTO_VERTICAL = 0x0800, METERS_UI_COLORS = 0x1000, METERS_LINEAR = 0x8000;

// State. METERST_MAY_CUT and METERST_CENTRED are given at init.
inline constexpr uint32_t METERST_VERTICAL = 0x1, METERST_MAY_CUT = 0x2, METERST_FLOAT = 0x4,
                          METERST_INSTANCE = 0x8, METERST_CENTRED = 0x20, METERST_STYLE_2000 = 0x40,
                          METERST_ONE_STRIP = 0x80, METERST_LABELS_FIT = 0x100, METERST_MARKED = 0x200,
                          METERST_PLAIN_CLIP = 0x400;

// Messages; wparam and lparam in this order. Levels are int32_t, or the bits of a float.
inline constexpr uint32_t METERM_GETLEVELS =
                              1546,  ///< -, count; int32_t*. A count of 0 gives channel 0's level
    METERM_GETRANGE = 1547,          ///< BOOL* is float or null; float* or null
    METERM_SETLEVELS = 1548,         ///< redraw, count; const int32_t*, or one level when the count is 0
    METERM_SETRANGE = 1549,          ///< redraw, is float; range
    METERM_GETDISPLAYRANGE = 1550,
                          METERM_SETDISPLAYRANGE = 1551,  ///< redraw; count, 0 for all
    METERM_GETSTYLE = 1552,
                          METERM_CHANGESTYLE = 1553,  ///< bits; non-zero sets them, zero clears them
    METERM_GETCHANNELS = 1554,
                          METERM_SETCHANNELS = 1555,  ///< redraw; count
    METERM_GETFORMAT = 1556,                          ///< room in characters; char16_t*
    METERM_SETFORMAT = 1557,                          ///< redraw; const char16_t*, at most 15 characters
    METERM_GETCLIP = 1558,                            ///< -, count; int32_t*
    METERM_SETCLIP = 1559,  ///< -, count; const int32_t*, or one value when the count is 0
    METERM_RESETCLIP = 1560,
                          METERM_CLEAR = 1561,  ///< redraw
    METERM_GETMINLENGTH = 1562,
                          METERM_SETNAMES = 1563,  ///< 0 or another list, count; const char16_t* const*
    METERM_GETRECT = 1564,                         ///< METER_PART_, channel; RECT*
    METERM_SETMARKED = 1565,                       ///< -; flag
    METERM_SETPLAINCLIP = 1566,                    ///< zero: a float meter says "Clip" instead of the level
    METERM_SETCOLORS = 1567,      ///< background; text. In all three UICOLOR_NONE leaves a colour
    METERM_SETCLIPCOLORS = 1568,  ///< clip text; its background
    METERM_SETCLIPBACKGROUND = 1569;

inline constexpr uint32_t METER_PART_BAR = 1, METER_PART_STRIP = 2;
inline constexpr uint32_t kMeterMaxChannels = 6;
inline constexpr uint32_t kMeterMaxBands = 10;
inline constexpr uint32_t kMeterHoldMilliseconds = 700;

/// Code of the notification that the display range was changed from the menu.
inline constexpr int32_t METERN_RANGE = 1646;
/// WM_NOTIFY about the item that a menu shows: METERMENUHELP. With METERS_OWN_MENU.
inline constexpr int32_t METERN_MENUHELP = -103;

struct METERMENUHELP {
    NMHDR head;
    uint32_t item;   ///< 0 when the menu closes
    uint32_t flags;  ///< MF_ of the item
    const char16_t* text;
};

/// Part of the bar from a level up to the next band.
struct METERBAND {
    int32_t threshold;  ///< tenths of a decibel below full scale; the first band also holds all below it
    COLORREF lit, unlit;
};

struct METERCHANNEL {
    int32_t level, highHold, lowHold;
    int32_t clip;                        ///< the sticky peak, or lowest level
    uint32_t highTime, lowTime;          ///< milliseconds
    int32_t pixel, highPixel, lowPixel;  ///< of the scale
    int32_t shown, shownHigh, shownLow;  ///< of the bar, as it was painted last
    int32_t shownClip;
};

struct tQMMETER {
    uint32_t style, state;
    ControlHost* window;  ///< never null
    uint32_t id;
    ControlHost* owner;
    uintptr_t userData;
    RECT client;
    SIZE strip;  ///< the readout of one channel
    MeterBitmaps*
        bitmaps;  ///< lit and unlit bar, shared with meters that look alike; null until the next paint
    COLORREF background, text, clipText, clipTextBackground, clipBackground;
    int32_t scalePixels;  ///< pixels of the scale, the part below the bar included
    MeterScale scale;
    char16_t labelFormat[16];
    uint32_t channels;
    const char16_t* const* names[2];  ///< the caller's
    uint32_t nameCounts[2];
    METERCHANNEL channel[kMeterMaxChannels];
    METERBAND bands[kMeterMaxBands];
    uint32_t bandCount;         ///< 0: the theme's colours
    const MeterModel* model;    ///< never null
    const tQMSKINBMP* skinDib;  ///< the caller's; null for the drawn bar
    RECT painted;  ///< where the bars were painted last, in device pixels; empty when they have to be painted
                   ///< whole
};

extern "C" {
QM_API uint32_t MeterInst_GetSize();
QM_API void MeterInst_Init(tQMMETER* meter, uint32_t style, const RECT* rect, ControlHost* window,
                           uint32_t id, uintptr_t userData, uint32_t flags);
/// Gives the bitmaps back.
QM_API void MeterInst_Deinit(tQMMETER* meter);
QM_API void MeterInst_SetOwnerHwnd(tQMMETER* meter, ControlHost* owner);
/// Who moves a control repaints its place.
QM_API void MeterInst_Move(tQMMETER* meter, const RECT* rect);
/// At most kMeterMaxBands, copied; none goes back to the theme's colours.
QM_API void MeterInst_SetBands(tQMMETER* meter, const METERBAND* bands, uint32_t count);

/// An image in place of the drawn bar: its left half the lit bar, its right half the unlit one, upright,
/// stretched to the bar's size. Null goes back. The caller keeps it alive.
QM_API void MeterInst_SetSkinDib(tQMMETER* meter, const tQMSKINBMP* skin);

/// Chosen item and context; returns whether the item was used. Without it the owner gets a WM_COMMAND.
typedef BOOL (*METERMENUPROC)(tQMMETER* meter, uint32_t item, uintptr_t context);
/// Shows the context menu at a point of the screen and does what is chosen; what the meter does not know goes
/// to the callback first, then to the owner. Returns the chosen item, or 0.
QM_API uint32_t MeterInst_ContextMenu(tQMMETER* meter, const POINT* screen, METERMENUPROC callback,
                                      uintptr_t context);

/// Paints all of the meter, on a ground that the owner painted.
QM_API void MeterInst_Draw(tQMMETER* meter, QPainter* painter);
/// Over what the last paint left, paints the rows of the bars that changed since then and the readouts whose
/// value changed; the pixels become those of MeterInst_Draw. *changed receives the area. 0 when nothing had
/// changed. Where the bars were not painted at this place before, they are painted whole, without the labels.
QM_API BOOL MeterInst_DrawChanges(tQMMETER* meter, QPainter* painter, RECT* changed);

/// The messages above, and clicks on the readout. WM_NCHITTEST takes a point of the window here.
QM_API intptr_t MeterInst_Message(tQMMETER* meter, uint32_t message, uintptr_t wparam, intptr_t lparam);

/// Registers the window class "GUICS_Meter_Class"; 0 when that was done before.
QM_API BOOL MeterInitialize();
QM_API void MeterTerminate();
}
