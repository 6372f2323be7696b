#pragma once
#include "platform/ui/control_host.h"
#include "platform/ui/messages.h"
class QPainter;
struct tQMMETER { int x; };
inline constexpr uint32_t METERS_CONSOLE = 0x3015, METERM_SETRANGE=1549, METERM_SETDISPLAYRANGE=1551, METERM_SETCHANNELS=1555, METERM_SETCOLORS=1567, METERM_SETCLIPTEXTCOLORS=1568,METERM_SETCLIPCOLOR=1569;
inline void MeterInst_Init(tQMMETER*, uint32_t, const RECT*, ControlHost*, uint32_t, uintptr_t, uint32_t) {}
inline void MeterInst_Deinit(tQMMETER*) {}
inline void MeterInst_Move(tQMMETER*, const RECT*) {}
inline void MeterInst_Draw(tQMMETER*, QPainter*) {}
inline intptr_t MeterInst_Message(tQMMETER*, uint32_t, uintptr_t, intptr_t) { return 0; }
inline void MeterInst_SetLevels(tQMMETER*, const float*, int) {}
