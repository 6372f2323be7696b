// The peak meter as a window of its own.
#include "controls/control_window.h"
#include "controls/meter.h"
#include "controls/meter_face.h"
#include "controls/meter_levels.h"

#include <algorithm>
#include <cmath>

namespace {
tQMMETER& M(void* record) { return *static_cast<tQMMETER*>(record); }
const tQMMETER& M(const void* record) { return *static_cast<const tQMMETER*>(record); }

double Floor(const void* r) { return 20 * std::log10(M(r).scale.unit); }
double Decibels(const tQMMETER& m) {
    double share = 0;
    for (uint32_t i = 0; i < m.channels; i++) share = std::max(share, MeterShare(m, m.channel[i].level));
    return std::max(20 * std::log10(share), Floor(&m));
}

void InitMeterWindow(void* record, uint32_t style, const RECT* rect, ControlHost* window, uint32_t id) {
    MeterInst_Init(&M(record), style, rect, window, id, 0, 0);
    M(record).state &= ~METERST_INSTANCE;
    TakeThemeColors(M(record));
}

constexpr ControlFace kMeterFace = {ControlFace::Kind::Meter,
                                    MeterName,
                                    [](const void* r) { return Decibels(M(r)); },
                                    Floor,
                                    [](const void*) { return 0.0; },
                                    [](const void*) { return 0.1; },
                                    [](const void* r) { return DecibelText(Decibels(M(r))); },
                                    nullptr};
constexpr ControlClass kMeterClass = [] {
    ControlClass type =
        ControlClassOf<tQMMETER, MeterInst_Deinit, MeterInst_Move, MeterInst_Draw, MeterInst_Message>(
            u"GUICS_Meter_Class", InitMeterWindow, kMeterFace, false);
    type.drawChanges = [](void* r, QPainter* painter, RECT* changed) {
        return MeterInst_DrawChanges(&M(r), painter, changed);
    };
    return type;
}();
}  // namespace

BOOL MeterInitialize() { return RegisterControlClass(kMeterClass); }
void MeterTerminate() { UnregisterControlClass(kMeterClass); }
