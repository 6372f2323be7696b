#include "console/strip.h"

#include "console/console_images.h"
#include "console/console_plugin.h"
#include "console/gain.h"
#include "console/mixer_view.h"
#include "console/texts.h"
#include "controls/number_text.h"
#include "kernel/ui/theme.h"
#include "kernel/ui/ui_colors.h"
#include "platform/ui/window.h"

#include <algorithm>
#include <cmath>
#include <cstring>

using namespace tarn;

namespace {

constexpr uint32_t FADER_STYLE =
    FADERS_VERTICAL | FADERS_NO_FOCUS | FADERS_TAPER | FADERS_UI_COLORS | FADERS_SELF_KEYS | FADERS_TICKS;
static_assert(FADER_STYLE == (0x2889 | FADERS_TICKS));
// The console's meter, with the readout and the marks of the highest recent levels.
constexpr uint32_t METER_STYLE = METERS_VERTICAL | METERS_CLIP_CLICK | METERS_UI_COLORS | METERS_CLIP_SHOWN |
                                 METERS_CLIP_ROOM | METERS_HOLD_HIGH;
constexpr uint32_t CONTROL_ID_FADER = 4000;

struct KindWordRow {
    uint32_t mask, value;
    ConsoleTextId textId;
};
constexpr KindWordRow KIND_WORDS[] = {
    {KIND_AUDIO_TRACK, KIND_AUDIO_TRACK, IDS_KIND_AUDIO},
    {KIND_MIDI_TRACK, KIND_MIDI_TRACK, IDS_KIND_MIDI},
    {KIND_MASTER, KIND_MASTER, IDS_KIND_MASTER},
    {KIND_INPUT_BUS, KIND_INPUT_BUS, IDS_KIND_INPUT},
    {KIND_AUDIO_BUS, KIND_AUDIO_BUS, IDS_KIND_BUS},
    {KIND_FX, KIND_FX, IDS_KIND_FX},
    {KIND_SYNTH, KIND_SYNTH, IDS_KIND_SYNTH},
};

bool Differs(float a, float b) { return !(a == b); }  // a NaN differs from itself too

}  // namespace

Strip::Strip(ChannelEntry& entry, const StripSite& site) : m_entry(entry), m_site(site) {
    const RECT none{};
    const auto id = static_cast<uint32_t>(entry.id.channel);
    uint32_t style = FADER_STYLE;
    if (entry.IsMidi()) style &= ~(FADERS_TICKS | FADERS_TAPER);
    FaderInst_Init(&m_fader, style, &none, &site.window, id + CONTROL_ID_FADER, site.onFader,
                   reinterpret_cast<uintptr_t>(this), 1.0f);
    FADERSETUP setup{};
    setup.min = entry.IsMidi() ? 0 : POSITION_MIN;
    setup.max = entry.IsMidi() ? MIDI_POSITION_MAX : POSITION_MAX;
    setup.def = entry.IsMidi() ? MIDI_POSITION_DEFAULT : 0;
    FaderInst_Message(&m_fader, FADERM_SETUP, 0, reinterpret_cast<intptr_t>(&setup));

    const uint32_t meters = entry.IsMidi() ? 1 : 2;
    MeterInst_Init(&m_meter, METER_STYLE, &none, &site.window, id, reinterpret_cast<uintptr_t>(this),
                   METERST_MAY_CUT | METERST_CENTRED);
    constexpr uintptr_t FLOAT_LEVELS = PackWords(0, 1);
    constexpr intptr_t AUDIO_RANGE = 0x800000, MIDI_RANGE = 128;
    MeterInst_Message(&m_meter, METERM_SETRANGE, FLOAT_LEVELS, entry.IsMidi() ? MIDI_RANGE : AUDIO_RANGE);
    MeterInst_Message(&m_meter, METERM_SETDISPLAYRANGE, 0, static_cast<intptr_t>(site.plugin.MeterRange()));
    MeterInst_Message(&m_meter, METERM_SETCHANNELS, 0, meters);
    const MeterTones tones = ThemeMeterTones();
    MeterInst_Message(&m_meter, METERM_SETCOLORS, tones.background, tones.text);
    MeterInst_Message(&m_meter, METERM_SETCLIPCOLORS, tones.clipText, tones.clipTextBackground);
    MeterInst_Message(&m_meter, METERM_SETCLIPBACKGROUND, tones.clipBackground, 0);
}

Strip::~Strip() {
    FaderInst_Deinit(&m_fader);
    MeterInst_Deinit(&m_meter);
}

LONG Strip::Width() const {
    return m_entry.kind & KIND_SURROUND ? ConsoleMetrics().cxSurroundCurrent
                                        : ConsoleMetrics().cxChannelCurrent;
}

int32_t Strip::Position() const { return m_fader.pos[0]; }

double Strip::PeakDb() const {
    const double level = std::max(m_levels[0], m_levels[1]);
    return level > 0 ? std::max(20.0 * std::log10(level), METER_SILENCE_DB) : METER_SILENCE_DB;
}

std::u16string Strip::KindWord() const {
    if (m_entry.kind & KIND_SPECIAL) return {};
    for (const KindWordRow& row : KIND_WORDS)
        if ((m_entry.kind & row.mask) == row.value) return ConsoleText(row.textId);
    return {};
}

std::u16string Strip::ValueText(bool offBySolo) const {
    if (m_switches & SWITCH_MUTE) return ConsoleText(IDS_MUTED);
    if (offBySolo) return ConsoleText(IDS_OFF_SOLO);
    return Position() <= POSITION_MIN && !m_entry.IsMidi() ? ConsoleText(IDS_SILENCE)
           : m_entry.IsMidi()                              ? NumberText(Position(), u"$.0f")
                                                           : NumberText(Position() / 10.0);
}

void Strip::Layout(const RECT& rect) {
    const tConsoleMetrics& metrics = ConsoleMetrics();
    const bool narrow = rect.Width() < metrics.cxChannelDefault;
    const ImageList& thumb = narrow ? m_site.images.smallThumbs : m_site.images.thumbs;
    const SIZE size = thumb.Size();
    StripTraits traits{};
    traits.kindIconWidth = ConsoleImages::KindIcon(m_entry.kind) < 0 ? 0 : metrics.cxTitleIcon;
    traits.thumb = size;
    traits.meterPreferred = metrics.nLabelColumnWidth;
    traits.faderTicks = m_fader.style & FADERS_TICKS;
    traits.phaseButton = m_entry.kind & KIND_AUDIO_TRACK;
    m_rects = LayoutStrip(rect, metrics, traits);
    FaderInst_SetThumbImageList(&m_fader, &thumb, &size);
    FaderInst_Move(&m_fader, &m_rects.fader);
    MeterInst_Move(&m_meter, &m_rects.meter);

    uint32_t present = 0, bit = 1;
    for (const StripPart& part : StripParts()) {
        if (!part.area(*this).IsEmpty()) present |= bit;
        bit <<= 1;
    }
    if (std::exchange(m_present, present) != present) m_nodes.clear();
}

uint32_t Strip::HitTest(POINT at, std::u16string& tip, RECT& area) const {
    for (const StripPart& part : StripParts()) {
        area = part.area(*this);
        if (!area.Contains(at)) continue;
        tip = part.tip ? part.tip(*this, part) : std::u16string();
        return part.element;
    }
    return ELEMENT_NONE;
}

bool Strip::ReadBack() {
    MPCHANNELREC rec{};
    rec.pairSelector = SPEAKER_FRONT;
    if (m_site.plugin.GetChannelRecord(m_entry.id, &rec, MASK_VOLUME) == S_OK &&
        m_fader.dragPart == FADER_NOWHERE) {  // a thumb under the mouse is ahead of the host
        const int32_t position =
            m_entry.IsMidi() ? MidiValueToPosition(rec.volume) : GainToPosition(rec.volume);
        if (position != Position()) {
            FaderInst_Message(&m_fader, FADERM_SETPOS, 1, position);
            m_site.window.Invalidate(m_rects.valueLabel);
        }
    }
    rec = {};
    if (m_site.plugin.GetChannelRecord(m_entry.id, &rec, MASK_SWITCHES) != S_OK) return false;
    const uint32_t changed = std::exchange(m_switches, rec.switches) ^ rec.switches;
    for (const StripPart& part : StripParts())
        if (changed & part.bit) m_site.window.Invalidate(part.area(*this));
    if (changed & (SWITCH_MUTE | SWITCH_SOLO)) m_site.window.Invalidate(m_rects.valueLabel);
    if (changed & SWITCH_SELECTED) m_site.window.Invalidate(m_rects.strip);
    return changed != 0;
}

void Strip::TickMeters(WindowPainter& painter) {
    float levels[2] = {};
    for (int side = 0; side < 2; side++) {
        MPCHANNELREC rec{};
        rec.switches = SWITCH_METER_REQUEST;
        rec.selector = SELECT_METER_PEAK;
        rec.pairSelector = SPEAKER_FRONT & (side == 0 ? SPEAKER_LEFT_HAND : SPEAKER_RIGHT_HAND);
        if (m_site.plugin.GetChannelRecord(m_entry.id, &rec, MASK_METERS) != S_OK) return;
        levels[side] = rec.meter.level;
    }
    if (Differs(levels[0], m_levels[0]) || Differs(levels[1], m_levels[1])) {
        std::copy(std::begin(levels), std::end(levels), m_levels);
        int32_t bits[2];
        std::memcpy(bits, levels, sizeof bits);
        MeterInst_Message(&m_meter, METERM_SETLEVELS, PackWords(0, m_meter.channels),
                          reinterpret_cast<intptr_t>(bits));
    }
    // Holds fall by time, so a meter may change without a new level.
    RECT changed{};
    if (MeterInst_DrawChanges(&m_meter, &*painter, &changed)) painter.Drawn(changed);
}

bool Strip::WriteSwitches(uint32_t set, uint32_t clear) {
    MPCHANNELREC rec{};
    if (m_site.plugin.GetChannelRecord(m_entry.id, &rec, MASK_SWITCHES) != S_OK) return false;
    const uint32_t before = rec.switches;
    rec.switches = (before & ~clear) | set;
    rec.selector = SELECT_CONSOLE_WRITE;
    return rec.switches == before ||
           Succeeded(m_site.plugin.SetChannelRecord(m_entry.id, &rec, MASK_SWITCHES));
}

void Strip::Toggle(uint32_t bit) {
    MPCHANNELREC rec{};
    if (m_site.plugin.GetChannelRecord(m_entry.id, &rec, MASK_SWITCHES) != S_OK) return;
    if (rec.switches & bit)
        WriteSwitches(0, bit);
    else
        WriteSwitches(bit, 0);
    ReadBack();
}

void Strip::SetSelected(bool on) {
    if (on)
        WriteSwitches(SWITCH_SELECTED, 0);
    else
        WriteSwitches(0, SWITCH_SELECTED);
    ReadBack();
}
