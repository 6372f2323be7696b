#include "controls/meter_ex.h"

#include "controls/control_window.h"
#include "controls/meter_face.h"
#include "controls/meter_model.h"
#include "controls/number_text.h"
#include "kernel/lang/kernel_strings.h"
#include "kernel/print/print_text.h"
#include "kernel/ui/ui_colors.h"
#include "platform/ui/control_host.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstddef>
#include <new>

using namespace tarn;

namespace {
static_assert(offsetof(tQMMETEREX, base) == 0);
tQMMETEREX& Ex(tQMMETER& m) { return reinterpret_cast<tQMMETEREX&>(m); }
const tQMMETEREX& Ex(const tQMMETER& m) { return reinterpret_cast<const tQMMETEREX&>(m); }

int32_t Bits(float value) { return std::bit_cast<int32_t>(value); }

int32_t Pixel(const tQMMETEREX& m, float level) {
    return std::clamp(MeterExPixel(m.segments, m.segmentCount, level, m.base.scalePixels), 0,
                      m.base.scalePixels);
}

// The holds stand still for a time, then jump to the display.
void Hold(float displayed, float& hold, uint32_t& time, uint32_t now, bool passed) {
    if (now - time <= kMeterHoldMilliseconds && !passed) return;
    hold = displayed;
    time = now;
}

void Advance(tQMMETER& base, uint32_t now) {
    tQMMETEREX& m = Ex(base);
    for (uint32_t i = 0; i < base.channels; i++) {
        METEREXCHANNEL& c = m.channel[i];
        MeterExFollow(c, now, m.holdTime, m.decayRate, m.bottom);
        Hold(c.displayed, c.highHold, c.highTime, now, c.displayed >= c.highHold);
        Hold(c.displayed, c.lowHold, c.lowTime, now, c.displayed <= c.lowHold);
        base.channel[i].pixel = Pixel(m, c.displayed);
        base.channel[i].highPixel = std::max(Pixel(m, c.highHold), base.channel[i].pixel);
        base.channel[i].lowPixel = std::min(Pixel(m, c.lowHold), base.channel[i].pixel);
    }
}

void Look(const tQMMETER& base, MeterLook& look) {
    const tQMMETEREX& m = Ex(base);
    for (uint32_t i = m.zoneCount; i-- > 0;) {
        const METERZONE& low = m.zones[i];
        const METERZONE& high = m.zones[i ? i - 1 : 0];
        const bool passes = i > 0 && high.law == METERLAW_CURVED;
        const METERZONE& from = passes ? low : high;
        const int32_t pixel = look.bands.empty() ? 0 : Pixel(m, low.level);
        look.bands.push_back({pixel, from.lit, from.unlit, high.lit, high.unlit});
    }
    if (look.bands.empty()) {
        const COLORREF lit = QmGetUIColor(UICOLOR_METER_LOW);
        look.bands.push_back({0, lit, base.background, lit, base.background});
    }
}

std::vector<MeterMark> Marks(const tQMMETER& base, int32_t length, int32_t units, int32_t labelUnits) {
    const tQMMETEREX& m = Ex(base);
    const auto pixelOf = [&](uint32_t i, int32_t pixels) {
        return MeterExPixel(m.segments, m.segmentCount, m.labels[i].level, pixels);
    };
    std::vector<MeterMark> marks;
    std::vector<uint32_t> order;
    for (uint32_t i = 0; i < m.labelCount; i++) {
        marks.push_back({pixelOf(i, length), {}});
        if (marks[i].pixel >= 0 && marks[i].pixel <= length) order.push_back(i);
    }
    std::ranges::stable_sort(order, {}, [&](uint32_t i) { return m.labels[i].importance; });
    std::vector<int32_t> taken;
    for (const uint32_t i : order) {
        const int32_t at = MeterLabelPlace(pixelOf(i, units), units, labelUnits);
        const bool clear =
            std::ranges::all_of(taken, [&](int32_t other) { return std::abs(other - at) >= labelUnits; });
        if (!clear) continue;
        taken.push_back(at);
        marks[i].text = NumberText(static_cast<double>(m.labels[i].level), m.secondFormat);
    }
    std::erase_if(marks, [&](const MeterMark& mark) { return mark.pixel < 0 || mark.pixel > length; });
    return marks;
}

MeterReadout Readout(const tQMMETER& base, int32_t value) {
    const float level = std::bit_cast<float>(value);
    if (!(level >= Ex(base).bottom)) return {{}, false};
    if (!std::isfinite(level)) return {KernelText(KS_Value_PlusInfinity), true};
    return {NumberText(static_cast<double>(level), base.labelFormat), level > Ex(base).top};
}

constexpr MeterModel kModel = {[](tQMMETER& m, int32_t length) { m.scalePixels = length; }, Advance, Look,
                               Marks, Readout};

// Looks different from now on.
void Rebuild(tQMMETEREX& m, bool redraw) {
    MeterInst_Deinit(&m.base);
    if (redraw) m.base.window->Invalidate(m.base.client);
}

void Clear(tQMMETEREX& m) {
    for (METEREXCHANNEL& c : m.channel)
        c.value = c.displayed = c.held = c.highHold = c.lowHold = m.floorLevel;
}

void ResetClip(tQMMETEREX& m) {
    for (uint32_t i = 0; i < kMeterMaxChannels; i++) m.base.channel[i].clip = Bits(m.channel[i].value);
}

void SetLevel(tQMMETEREX& m, uint32_t i, float level) {
    if (std::isnan(level)) level = m.floorLevel;
    m.channel[i].value = level;
    // The sticky value of the readout, and what a click on it goes back to.
    METERCHANNEL& shown = m.base.channel[i];
    shown.level = Bits(level);
    if (level > std::bit_cast<float>(shown.clip)) shown.clip = Bits(level);
}

template <class Set>
void SetEach(tQMMETEREX& m, uint32_t count, intptr_t lparam, Set set) {
    if (count == 0) return set(0u, std::bit_cast<float>(static_cast<int32_t>(lparam)));
    for (uint32_t i = 0; i < std::min(count, m.base.channels); i++)
        set(i, reinterpret_cast<const float*>(lparam)[i]);
}

template <class Get>
intptr_t GetEach(const tQMMETEREX& m, uint32_t count, intptr_t lparam, Get get) {
    if (count == 0) return Bits(get(0u));
    const uint32_t n = std::min(count, m.base.channels);
    for (uint32_t i = 0; i < n; i++) reinterpret_cast<float*>(lparam)[i] = get(i);
    return n;
}

void SetSegments(tQMMETEREX& m, const METERSEGMENT* segments, uint32_t count) {
    m.segments = segments;
    m.segmentCount = segments ? count : 0;
    if (m.segmentCount == 0) return;
    m.top = segments[0].level;
    m.bottom = segments[count - 1].level;
}

void SetLabels(tQMMETEREX& m, const METERLABEL* labels, uint32_t count, uint32_t decimals) {
    m.labels = labels;
    m.labelCount = labels ? count : 0;
    const std::u16string format = PrintText(u"$$.%df", static_cast<int32_t>(std::min(decimals, 9u)));
    m.secondFormat[format.copy(m.secondFormat, std::size(m.secondFormat) - 1)] = 0;
}
}  // namespace

int32_t MeterExPixel(const METERSEGMENT* segments, uint32_t count, float level, int32_t pixels) {
    if (!segments || count < 2) return 0;
    uint32_t i = 0;
    while (i + 2 < count && level < segments[i + 1].level) i++;
    const METERSEGMENT &high = segments[i], &low = segments[i + 1];
    const float h = high.level - low.level, f = low.position - high.position;
    if (!(h > 0)) return pixels;
    float w = (level - low.level) / h;
    if (high.law == METERLAW_CURVED) {
        const float u = (high.level - level) / h;
        if (u > 1) return -1;
        w = (1 - u) * (1 - u);
    }
    const double pixel =
        (1.0 - (1.0 - static_cast<double>(w)) * static_cast<double>(f) - static_cast<double>(high.position)) *
            pixels +
        0.45;
    return static_cast<int32_t>(std::clamp(pixel, -1e9, 1e9));
}

void MeterExFollow(METEREXCHANNEL& c, uint32_t now, uint32_t holdTime, float decayRate, float bottom) {
    const uint32_t passed = now - c.displayTime;
    if (c.value < c.held && passed < holdTime) {
        c.displayed = c.held;
        return;
    }
    if (decayRate > 0 && c.value < c.held) {
        // From the held value on, so that the fall is the same however often it is painted.
        const float fallen = std::max(c.held - static_cast<float>(passed - holdTime) * decayRate, bottom - 1);
        if (fallen > c.value) {
            c.displayed = fallen;
            return;
        }
    }
    c.displayed = c.held = c.value;
    c.displayTime = c.peakTime = now;
}

uint32_t MeterExInst_GetSize() { return sizeof(tQMMETEREX); }

void MeterExInst_Init(tQMMETEREX* m, uint32_t style, const RECT* rect, ControlHost* window, uint32_t id,
                      uintptr_t userData, uint32_t flags) {
    new (m) tQMMETEREX{};
    MeterInst_Init(&m->base, style & ~(METERS_LOWEST | METERS_LINEAR), rect, window, id, userData, flags);
    m->base.model = &kModel;
    m->base.scale.isFloat = true;
    m->top = 1.0f;
    SetLabels(*m, nullptr, 0, 0);
    Clear(*m);
    ResetClip(*m);
}

void MeterExInst_Deinit(tQMMETEREX* m) { MeterInst_Deinit(&m->base); }
void MeterExInst_SetOwnerHwnd(tQMMETEREX* m, ControlHost* owner) { m->base.owner = owner; }
void MeterExInst_Move(tQMMETEREX* m, const RECT* rect) { MeterInst_Move(&m->base, rect); }
void MeterExInst_Draw(tQMMETEREX* m, QPainter* painter) { MeterInst_Draw(&m->base, painter); }
BOOL MeterExInst_DrawChanges(tQMMETEREX* m, QPainter* painter, RECT* changed) {
    return MeterInst_DrawChanges(&m->base, painter, changed);
}

intptr_t MeterExInst_Message(tQMMETEREX* meter, uint32_t message, uintptr_t wparam, intptr_t lparam) {
    tQMMETEREX& m = *meter;
    const uint32_t count = HighWord(wparam);
    const bool redraw = LowWord(wparam);
    const auto clipOf = [&](uint32_t i) { return std::bit_cast<float>(m.base.channel[i].clip); };
    const auto plain = [&](uint32_t other) { return MeterInst_Message(&m.base, other, wparam, lparam); };
    switch (message) {
    case METEREXM_GETLEVELS: return GetEach(m, count, lparam, [&](uint32_t i) { return m.channel[i].value; });
    case METEREXM_SETLEVELS:
        SetEach(m, count, lparam, [&](uint32_t i, float level) { SetLevel(m, i, level); });
        if (redraw) m.base.window->Invalidate(m.base.client);
        return 0;
    case METEREXM_SETSEGMENTS:
        SetSegments(m, reinterpret_cast<const METERSEGMENT*>(lparam), count);
        return Rebuild(m, redraw), 0;
    case METEREXM_SETZONES:
        m.zones = reinterpret_cast<const METERZONE*>(lparam);
        m.zoneCount = m.zones ? count : 0;
        return Rebuild(m, redraw), 0;
    case METEREXM_SETLABELS:
        SetLabels(m, reinterpret_cast<const METERLABEL*>(lparam), count, LowWord(wparam));
        return Rebuild(m, true), 0;
    case METEREXM_GETSTYLE: return plain(METERM_GETSTYLE);
    case METEREXM_CHANGESTYLE: return plain(METERM_CHANGESTYLE);
    case METEREXM_GETCHANNELS: return m.base.channels;
    case METEREXM_SETCHANNELS: return plain(METERM_SETCHANNELS);
    case METEREXM_GETFORMAT: return plain(METERM_GETFORMAT);
    case METEREXM_SETFORMAT: return plain(METERM_SETFORMAT);
    case METEREXM_GETCLIP: return GetEach(m, count, lparam, clipOf);
    case METEREXM_SETCLIP:
        SetEach(m, count, lparam, [&](uint32_t i, float clip) { m.base.channel[i].clip = Bits(clip); });
        return 0;
    case METEREXM_RESETCLIP: return ResetClip(m), 0;
    case METEREXM_CLEAR:
        Clear(m);
        if (redraw) m.base.window->Invalidate(m.base.client);
        return 0;
    case METEREXM_REBUILD: return Rebuild(m, true), 0;
    case METEREXM_SETHOLD: m.holdTime = static_cast<uint32_t>(wparam); return 0;
    case METEREXM_SETDECAY: m.decayRate = *reinterpret_cast<const float*>(lparam); return 0;
    case METEREXM_SETFLOOR: m.floorLevel = *reinterpret_cast<const float*>(lparam); return 0;
    case METEREXM_SETCOLORS: return plain(METERM_SETCOLORS);
    case METEREXM_GETSAMPLES:
        return GetEach(m, count, lparam, [&](uint32_t i) { return m.channel[i].sample; });
    case METEREXM_SETSAMPLES:
        SetEach(m, count, lparam, [&](uint32_t i, float sample) { m.channel[i].sample = sample; });
        return 0;
    default: return message < WM_USER ? plain(message) : 0;
    }
}

namespace {
tQMMETEREX& MeterExOf(void* record) { return *static_cast<tQMMETEREX*>(record); }
const tQMMETEREX& MeterExOf(const void* record) { return *static_cast<const tQMMETEREX*>(record); }

double Highest(const void* r) {
    float level = MeterExOf(r).bottom;
    for (uint32_t i = 0; i < MeterExOf(r).base.channels; i++)
        level = std::max(level, MeterExOf(r).channel[i].displayed);
    return static_cast<double>(level);
}

void InitMeterExWindow(void* record, uint32_t style, const RECT* rect, ControlHost* window, uint32_t id) {
    MeterExInst_Init(&MeterExOf(record), style, rect, window, id, 0, 0);
    MeterExOf(record).base.state &= ~METERST_INSTANCE;
    TakeThemeColors(MeterExOf(record).base);
}

constexpr ControlFace kMeterExFace = {ControlFace::Kind::Meter,
                                      MeterName,
                                      Highest,
                                      [](const void* r) { return static_cast<double>(MeterExOf(r).bottom); },
                                      [](const void* r) { return static_cast<double>(MeterExOf(r).top); },
                                      [](const void*) { return 0.1; },
                                      [](const void* r) { return NumberText(Highest(r)); },
                                      nullptr};
constexpr ControlClass kMeterExClass = [] {
    ControlClass type =
        ControlClassOf<tQMMETEREX, MeterExInst_Deinit, MeterExInst_Move, MeterExInst_Draw,
                       MeterExInst_Message>(u"GUICS_MeterEx_Class", InitMeterExWindow, kMeterExFace, false);
    type.drawChanges = [](void* r, QPainter* painter, RECT* changed) {
        return MeterExInst_DrawChanges(&MeterExOf(r), painter, changed);
    };
    return type;
}();
}  // namespace

BOOL MeterExInitialize() { return RegisterControlClass(kMeterExClass); }
void MeterExTerminate() { UnregisterControlClass(kMeterExClass); }
