// tQMMETEREX: meter with a scale of its owner's, for VU and PPM. Scale, colours and labels are tables from
// outside; the display holds a peak for a time and then falls linearly in units of the scale.
//
// Levels are floats in units of the scale. Layout, drawing, readouts and styles are those of the peak meter
// (see meter.h; METERS_LOWEST and METERS_LINEAR have no meaning). Tables belong to the caller and outlive the
// meter. As a window it is "GUICS_MeterEx_Class". All on the window's thread.
#pragma once

#include "controls/meter.h"

inline constexpr uint32_t METERLAW_LINEAR = 0, METERLAW_CURVED = 1;

/// From this level down to the next one's.
struct METERSEGMENT {
    float level;     ///< at the upper end
    uint32_t law;    ///< METERLAW_
    float position;  ///< of that level along the bar, from the top, 0..1
};

/// Colours from this level down to the next one's; with METERLAW_CURVED they pass into the next one's.
struct METERZONE {
    float level;
    uint32_t law;
    COLORREF lit, unlit;
};

struct METERLABEL {
    float level;
    uint32_t importance;  ///< 0 the most; the others go first where two would collide
};

// Messages; wparam and lparam in this order. Levels are floats.
inline constexpr uint32_t METEREXM_GETLEVELS =
                              1546,  ///< -, count; float*. A count of 0 gives channel 0's bits
    METEREXM_SETLEVELS = 1547,  ///< redraw, count; const float*, or the bits of one level when the count is 0
    METEREXM_SETSEGMENTS = 1548,  ///< redraw, count; const METERSEGMENT*
    METEREXM_SETZONES = 1549,     ///< redraw, count; const METERZONE*
    METEREXM_SETLABELS = 1550,    ///< decimals, count; const METERLABEL*
    METEREXM_GETSTYLE = 1551,
                          METEREXM_CHANGESTYLE = 1552,  ///< bits; non-zero sets them, zero clears them
    METEREXM_GETCHANNELS = 1553,
                          METEREXM_SETCHANNELS = 1554,  ///< redraw; count
    METEREXM_GETFORMAT = 1555,                          ///< room in characters; char16_t*
    METEREXM_SETFORMAT = 1556,                          ///< redraw; const char16_t*, at most 15 characters
    METEREXM_GETCLIP = 1558,                            ///< -, count; float*
    METEREXM_SETCLIP = 1559,                            ///< -, count; const float*
    METEREXM_RESETCLIP = 1560, METEREXM_CLEAR = 1561,   ///< redraw
    METEREXM_REBUILD = 1562,
                          METEREXM_SETHOLD = 1563,  ///< milliseconds
    METEREXM_SETDECAY = 1564,                       ///< -; const float*, units of the scale a millisecond
    METEREXM_SETFLOOR = 1565,                       ///< -; const float*, level of an empty meter
    METEREXM_SETCOLORS = 1566,                      ///< background; text
    METEREXM_GETSAMPLES = 1567,                     ///< -, count; float*
    METEREXM_SETSAMPLES = 1568;                     ///< -, count; const float*

struct METEREXCHANNEL {
    float value;      ///< as it was set last
    float displayed;  ///< what the bar shows
    float held;       ///< what it fell from
    float highHold, lowHold;
    uint32_t displayTime, highTime, lowTime, peakTime;  ///< milliseconds
    float sample;                                       ///< of the owner
};

struct tQMMETEREX {
    tQMMETER base;  ///< pixels, sticky values and everything that is drawn
    float bottom, top, floorLevel;
    char16_t secondFormat[16];  ///< of the labels
    const METERSEGMENT* segments;
    const METERZONE* zones;
    const METERLABEL* labels;
    uint32_t segmentCount, zoneCount, labelCount;
    uint32_t holdTime;
    float decayRate;
    METEREXCHANNEL channel[kMeterMaxChannels];
};

/// Pixels from the low end of a bar of that many; below 0 for a level that is off the scale.
int32_t MeterExPixel(const METERSEGMENT* segments, uint32_t count, float level, int32_t pixels);
/// The display at `now`; holdTime in milliseconds, decayRate in units a millisecond.
void MeterExFollow(METEREXCHANNEL& channel, uint32_t now, uint32_t holdTime, float decayRate, float bottom);

extern "C" {
QM_API uint32_t MeterExInst_GetSize();
QM_API void MeterExInst_Init(tQMMETEREX* meter, uint32_t style, const RECT* rect, ControlHost* window,
                             uint32_t id, uintptr_t userData, uint32_t flags);
/// Gives the bitmaps back.
QM_API void MeterExInst_Deinit(tQMMETEREX* meter);
QM_API void MeterExInst_SetOwnerHwnd(tQMMETEREX* meter, ControlHost* owner);
QM_API void MeterExInst_Move(tQMMETEREX* meter, const RECT* rect);
QM_API void MeterExInst_Draw(tQMMETEREX* meter, QPainter* painter);
/// As MeterInst_DrawChanges.
QM_API BOOL MeterExInst_DrawChanges(tQMMETEREX* meter, QPainter* painter, RECT* changed);
QM_API intptr_t MeterExInst_Message(tQMMETEREX* meter, uint32_t message, uintptr_t wparam, intptr_t lparam);

/// Registers the window class; 0 when that was done before.
QM_API BOOL MeterExInitialize();
QM_API void MeterExTerminate();
}
