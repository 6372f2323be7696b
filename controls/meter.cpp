#include "controls/meter.h"

#include "controls/meter_bitmaps.h"
#include "controls/meter_layout.h"
#include "controls/meter_levels.h"
#include "controls/meter_model.h"
#include "kernel/ui/ui_colors.h"
#include "platform/ui/control_host.h"

#include <algorithm>
#include <bit>
#include <new>
#include <string_view>

namespace {
constexpr uint32_t kStyle2000 = 0x2000;

void Repaint(tQMMETER& m, bool redraw) {
    if (redraw) m.window->Invalidate(m.client);
}

// The bars look different from now on; the next paint builds what it needs.
void Rebuild(tQMMETER& m) {
    ReleaseMeterBitmaps(m.bitmaps);
    m.bitmaps = nullptr;
    m.painted = {};
}

uint32_t With(uint32_t word, uint32_t bits, bool on) { return on ? word | bits : word & ~bits; }

void DeriveState(tQMMETER& m) {
    const bool tall = m.client.Height() > m.client.Width();
    m.state =
        With(m.state, METERST_VERTICAL, m.style & METERS_AUTO_VERTICAL ? tall : m.style & METERS_VERTICAL);
    m.state = With(m.state, METERST_STYLE_2000, m.style & kStyle2000);
    m.state = With(m.state, METERST_ONE_STRIP, !(m.style & METERS_STRIP_EACH) && m.channels > 1);
    m.scale.linear = m.style & METERS_LINEAR;
}

uint32_t ChangeStyle(tQMMETER& m, uint32_t bits, bool set) {
    m.style = With(m.style, bits, set);
    DeriveState(m);
    Rebuild(m);
    Repaint(m, true);
    return LowWord(m.style);
}

void ResetLevels(tQMMETER& m) {
    for (METERCHANNEL& c : m.channel) {
        c.level = c.highHold = c.lowHold = 0;
        c.clip = MeterNoClip(m);
    }
}

void SetRange(tQMMETER& m, int32_t range, bool isFloat) {
    m.scale.SetRange(range, isFloat);
    m.state = With(m.state, METERST_FLOAT, isFloat);
    if (m.scale.displayRange >= m.scale.range) m.scale.displayRange = 0;
    ResetLevels(m);
    Rebuild(m);
}

intptr_t GetRange(const tQMMETER& m, BOOL* isFloat, float* range) {
    if (isFloat) *isFloat = m.scale.isFloat;
    if (range) *range = static_cast<float>(m.scale.range);
    return m.scale.range;
}

// A count of 0 means one value for channel 0, in lparam itself.
template <class Set>
void SetEach(tQMMETER& m, uint32_t count, intptr_t lparam, Set set) {
    if (count == 0) return set(m.channel[0], static_cast<int32_t>(lparam));
    const auto* values = reinterpret_cast<const int32_t*>(lparam);
    for (uint32_t i = 0; i < std::min(count, m.channels); i++) set(m.channel[i], values[i]);
}

intptr_t GetEach(const tQMMETER& m, uint32_t count, intptr_t lparam, int32_t METERCHANNEL::*field) {
    if (count == 0) return m.channel[0].*field;
    const uint32_t n = std::min(count, m.channels);
    for (uint32_t i = 0; i < n; i++) reinterpret_cast<int32_t*>(lparam)[i] = m.channel[i].*field;
    return n;
}

void SetChannels(tQMMETER& m, uint32_t count) {
    m.channels = std::clamp(count, 1u, kMeterMaxChannels);
    DeriveState(m);
    Rebuild(m);
}

intptr_t GetFormat(const tQMMETER& m, size_t room, char16_t* out) {
    if (room == 0) return 0;
    const std::u16string_view format(m.labelFormat);
    const size_t n = std::min(format.size(), room - 1);
    std::copy_n(format.data(), n, out);
    out[n] = 0;
    return static_cast<intptr_t>(n);
}

void SetFormat(tQMMETER& m, const char16_t* text) {
    const std::u16string_view format(text);
    const size_t n = std::min(format.size(), std::size(m.labelFormat) - 1);
    std::copy_n(format.data(), n, m.labelFormat);
    m.labelFormat[n] = 0;
    Rebuild(m);
}

void ResetClip(tQMMETER& m, uint32_t first, uint32_t end) {
    for (uint32_t i = first; i < end; i++) m.channel[i].clip = m.channel[i].level;
}

void SetNames(tQMMETER& m, uintptr_t wparam, intptr_t lparam) {
    const size_t list = LowWord(wparam) != 0;
    m.names[list] = reinterpret_cast<const char16_t* const*>(lparam);
    m.nameCounts[list] = m.names[list] ? HighWord(wparam) : 0;
    Rebuild(m);
}

intptr_t GetRect(tQMMETER& m, uint32_t part, uint32_t channel, RECT* out) {
    const MeterLayout layout = MeterLayoutOf(m);
    *out = part == METER_PART_STRIP ? MeterStripRect(m, layout.strip, channel)
                                    : MeterBarRect(m, layout.bars, channel);
    return 0;
}

void SetColor(tQMMETER& m, COLORREF& slot, uint32_t color) {
    if (color == UICOLOR_NONE) return;
    slot = color;
    Rebuild(m);
}

intptr_t Click(tQMMETER& m, POINT at) {
    const RECT strip = MeterLayoutOf(m).strip;
    if (!(m.style & METERS_CLIP_CLICK) || !strip.Contains(at)) return 0;
    const bool vertical = m.state & METERST_VERTICAL;
    const int32_t offset = vertical ? at.x - strip.left : at.y - strip.top;
    const auto channel =
        static_cast<uint32_t>(int64_t{offset} * m.channels / (vertical ? strip.Width() : strip.Height()));
    const bool all = m.state & METERST_ONE_STRIP;
    ResetClip(m, all ? 0 : channel, all ? m.channels : channel + 1);
    m.window->Invalidate(strip);
    return 1;
}

// The meter's own menu, or the owner's: it gets the message that asks for one.
intptr_t AskForMenu(tQMMETER& m, uintptr_t wparam, intptr_t lparam) {
    if (m.style & METERS_OWN_MENU) {
        const POINT at =
            lparam == -1 ? m.window->ToScreen({m.client.left, m.client.bottom}) : UnpackPoint(lparam);
        MeterInst_ContextMenu(&m, &at, nullptr, 0);
        return 1;
    }
    ControlHost* owner = m.owner ? m.owner : m.state & METERST_INSTANCE ? nullptr : m.window;
    return owner ? owner->Send(WM_CONTEXTMENU, wparam, lparam) : 0;
}

// For who has no mouse: what a click on the readouts does.
void KeyDown(tQMMETER& m, uint32_t key) {
    if (!(m.style & METERS_CLIP_CLICK) || (key != VK_SPACE && key != VK_DELETE)) return;
    ResetClip(m, 0, m.channels);
    m.window->Invalidate(m.client);
}

intptr_t HitTest(tQMMETER& m, POINT at) {
    const MeterLayout layout = MeterLayoutOf(m);
    return layout.strip.Contains(at) || layout.bars.Contains(at) ? HTCLIENT : HTTRANSPARENT;
}
}  // namespace

uint32_t MeterInst_GetSize() { return sizeof(tQMMETER); }

void MeterInst_Init(tQMMETER* m, uint32_t style, const RECT* rect, ControlHost* window, uint32_t id,
                    uintptr_t userData, uint32_t flags) {
    new (m) tQMMETER{};
    m->style = style;
    m->state = METERST_INSTANCE | (flags & (METERST_CENTRED | METERST_MAY_CUT));
    m->client = *rect;
    m->window = window;
    m->id = id;
    m->userData = userData;
    m->text = style & METERS_UI_COLORS ? QmGetUIColor(COLOR_BTNTEXT) : QmGetSysColor(COLOR_BTNTEXT);
    m->clipText = 0x0000FF;
    m->clipTextBackground = 0xFFFFFF;
    m->clipBackground = 0x0023FF;
    m->channels = 1;
    m->model = &kPeakMeterModel;
    SetFormat(*m, u"$.1f");
    DeriveState(*m);
    SetRange(*m, 32768, false);
}

void MeterInst_Deinit(tQMMETER* m) { Rebuild(*m); }
void MeterInst_SetOwnerHwnd(tQMMETER* m, ControlHost* owner) { m->owner = owner; }

void MeterInst_Move(tQMMETER* m, const RECT* rect) {
    const bool sized = rect->Width() != m->client.Width() || rect->Height() != m->client.Height();
    m->client = *rect;
    if (!sized) return;
    DeriveState(*m);
    Rebuild(*m);
}

void MeterInst_SetSkinDib(tQMMETER* m, const tQMSKINBMP* skin) {
    m->skinDib = skin;
    Rebuild(*m);
}

void MeterInst_SetBands(tQMMETER* m, const METERBAND* bands, uint32_t count) {
    m->bandCount = std::min(count, kMeterMaxBands);
    std::copy_n(bands, m->bandCount, m->bands);
    Rebuild(*m);
}

intptr_t MeterInst_Message(tQMMETER* meter, uint32_t message, uintptr_t wparam, intptr_t lparam) {
    tQMMETER& m = *meter;
    const uint32_t count = HighWord(wparam);
    const bool redraw = LowWord(wparam);
    const auto bits = static_cast<uint32_t>(wparam);
    const auto value = static_cast<int32_t>(lparam);
    const auto color = static_cast<COLORREF>(lparam);
    switch (message) {
    case WM_LBUTTONDOWN:
    case WM_LBUTTONDBLCLK: return Click(m, UnpackPoint(lparam));
    case WM_KEYDOWN: return KeyDown(m, bits), 0;
    case WM_CONTEXTMENU: return AskForMenu(m, wparam, lparam);
    case WM_NCHITTEST: return HitTest(m, UnpackPoint(lparam));
    case METERM_GETLEVELS: return GetEach(m, count, lparam, &METERCHANNEL::level);
    case METERM_GETRANGE:
        return GetRange(m, reinterpret_cast<BOOL*>(wparam), reinterpret_cast<float*>(lparam));
    case METERM_SETLEVELS:
        SetEach(m, count, lparam, [&](METERCHANNEL& c, int32_t level) { MeterSetLevel(m, c, level); });
        break;
    case METERM_SETRANGE: SetRange(m, value, count); break;
    case METERM_GETDISPLAYRANGE: return m.scale.displayRange;
    case METERM_SETDISPLAYRANGE:
        m.scale.displayRange = value > 0 && value < m.scale.range ? value : 0;
        Rebuild(m);
        break;
    case METERM_GETSTYLE: return LowWord(m.style);
    case METERM_CHANGESTYLE: return ChangeStyle(m, bits, lparam);
    case METERM_GETCHANNELS: return m.channels;
    case METERM_SETCHANNELS: SetChannels(m, static_cast<uint32_t>(std::max(value, 1))); break;
    case METERM_GETFORMAT: return GetFormat(m, wparam, reinterpret_cast<char16_t*>(lparam));
    case METERM_SETFORMAT: SetFormat(m, reinterpret_cast<const char16_t*>(lparam)); break;
    case METERM_GETCLIP: return GetEach(m, count, lparam, &METERCHANNEL::clip);
    case METERM_SETCLIP:
        // The bits of a negative float are negative too.
        SetEach(m, count, lparam, [](METERCHANNEL& c, int32_t clip) { c.clip = std::max(clip, 0); });
        return 0;
    case METERM_RESETCLIP: return ResetClip(m, 0, m.channels), 0;
    case METERM_CLEAR: MeterClear(m); break;
    case METERM_GETMINLENGTH: return MeterMinLength(m);
    case METERM_SETNAMES: return SetNames(m, wparam, lparam), 0;
    case METERM_GETRECT: return GetRect(m, LowWord(wparam), count, reinterpret_cast<RECT*>(lparam));
    case METERM_SETMARKED:
        m.state = With(m.state, METERST_MARKED, lparam);
        return (m.state & METERST_MARKED) != 0;
    case METERM_SETPLAINCLIP: m.state = With(m.state, METERST_PLAIN_CLIP, !wparam); return 0;
    case METERM_SETCOLORS: return SetColor(m, m.background, bits), SetColor(m, m.text, color), 0;
    case METERM_SETCLIPCOLORS:
        return SetColor(m, m.clipText, bits), SetColor(m, m.clipTextBackground, color), 0;
    case METERM_SETCLIPBACKGROUND: return SetColor(m, m.clipBackground, bits), 0;
    default: return 0;
    }
    Repaint(m, redraw);
    return 0;
}
