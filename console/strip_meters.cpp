#include "console/strip_meters.h"

#include "console/console_plugin.h"
#include "console/meter_choices.h"
#include "console/strip_part.h"
#include "kernel/ui/theme.h"
#include "platform/ui/window.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace {

constexpr uint32_t METER_STYLE = METERS_VERTICAL | METERS_CLIP_CLICK | METERS_UI_COLORS | METERS_CLIP_SHOWN |
                                 METERS_CLIP_ROOM | METERS_HOLD_HIGH;
constexpr uint32_t VU_STYLE = METERS_VERTICAL | METERS_UI_COLORS | METERS_LABELS;
constexpr uint32_t INIT_FLAGS = METERST_MAY_CUT | METERST_CENTRED;

bool Differs(float a, float b) { return !(a == b); }  // a NaN differs from itself too

}  // namespace

StripMeters::~StripMeters() { Drop(); }

void StripMeters::Drop() {
    for (auto& beside : m_beside)
        if (beside) MeterInst_Deinit(&beside->meter), beside.reset();
    if (m_peak) MeterInst_Deinit(&m_peak->meter), m_peak.reset();
    if (m_vu) MeterExInst_Deinit(m_vu.get()), m_vu.reset();
    if (m_scope) ScopeInst_Deinit(m_scope.get()), m_scope.reset();
    m_groups.clear();
    m_painted = m_silent = false;
}

void StripMeters::MakeGroups(bool fourFaders) {
    using Speakers = std::vector<uint32_t>;
    m_groups.clear();
    const bool wide = fourFaders || (m_entry.pairSelector & SPEAKER_REAR) == SPEAKER_REAR;
    const Speakers front = {SPEAKER_LEFT, SPEAKER_RIGHT};
    const Speakers all = {SPEAKER_LEFT, SPEAKER_RIGHT,     SPEAKER_CENTER,
                          SPEAKER_LFE,  SPEAKER_REAR_LEFT, SPEAKER_REAR_RIGHT};
    const auto add = [this](const Speakers& speakers) {
        m_groups.push_back({speakers, std::vector<float>(speakers.size())});
    };
    if (m_entry.IsMidi()) return add({SPEAKER_LEFT});
    if (fourFaders)
        for (const Speakers& group : {front, Speakers{SPEAKER_REAR_LEFT, SPEAKER_REAR_RIGHT},
                                      Speakers{SPEAKER_CENTER}, Speakers{SPEAKER_LFE}})
            add(group);
    add(wide ? all : front);
    m_vuGroup = {front, std::vector<float>(front.size())};
}

std::unique_ptr<StripMeters::PeakMeter> StripMeters::MakePeak(size_t group, const StripView& view) const {
    auto made = std::make_unique<PeakMeter>(group);
    const RECT none{};
    tQMMETER* m = &made->meter;
    MeterInst_Init(m, METER_STYLE, &none, &m_window, static_cast<uint32_t>(m_entry.id.channel), 0,
                   INIT_FLAGS);
    constexpr uintptr_t FLOAT_LEVELS = PackWords(0, 1);
    constexpr intptr_t AUDIO_RANGE = 0x800000, MIDI_RANGE = 128;
    MeterInst_Message(m, METERM_SETRANGE, FLOAT_LEVELS, m_entry.IsMidi() ? MIDI_RANGE : AUDIO_RANGE);
    MeterInst_Message(m, METERM_SETDISPLAYRANGE, 0, static_cast<intptr_t>(view.meterRange));
    MeterInst_Message(m, METERM_SETCHANNELS, 0, ChannelsOf(m_groups[group]));
    const MeterTones tones = ThemeMeterTones();
    MeterInst_Message(m, METERM_SETCOLORS, tones.background, tones.text);
    MeterInst_Message(m, METERM_SETCLIPCOLORS, tones.clipText, tones.clipTextBackground);
    MeterInst_Message(m, METERM_SETCLIPBACKGROUND, tones.clipBackground, 0);
    m_look.GiveTo(*m);
    return made;
}

void StripMeters::Layout(const StripRects& rects, const StripView& view) {
    const bool four = !rects.groupName[SPEAKER_GROUPS - 1].IsEmpty();
    if (m_groups.empty()) MakeGroups(four);
    const uint32_t chosen = METER_STANDARD_STYLE ^ view.peakFlags;
    const auto put = [&](std::unique_ptr<PeakMeter>& meter, const RECT& rect, size_t group, bool labels) {
        if (!meter) {
            if (rect.IsEmpty()) return;
            meter = MakePeak(group, view);
        }
        for (const uint32_t bit : {METERS_LABELS, METERS_HOLD_HIGH, METERS_HOLD_LOW, METERS_CLIP_SHOWN}) {
            const bool on = (chosen & bit) && (bit != METERS_LABELS || labels);
            MeterInst_Message(&meter->meter, METERM_CHANGESTYLE, bit, on);
        }
        MeterInst_Message(&meter->meter, METERM_SETDISPLAYRANGE, 0, static_cast<intptr_t>(view.meterRange));
    };
    for (size_t i = 0; i < SPEAKER_GROUPS; i++)
        put(m_beside[i], rects.meter[i], std::min(i, m_groups.size() - 1), rects.meter[i].Width() >= 60);
    put(m_peak, rects.peak, m_groups.size() - 1, true);

    if (!rects.vu.IsEmpty() && !m_vu && !m_entry.IsMidi()) {
        const RECT none{};
        m_vu = std::make_unique<tQMMETEREX>();
        MeterExInst_Init(m_vu.get(), VU_STYLE, &none, &m_window, static_cast<uint32_t>(m_entry.id.channel), 0,
                         INIT_FLAGS);
        MeterExInst_Message(m_vu.get(), METEREXM_SETCHANNELS, 0, ChannelsOf(m_vuGroup));
        const MeterTones tones = ThemeMeterTones();
        MeterExInst_Message(m_vu.get(), METEREXM_SETCOLORS, tones.background, tones.text);
        m_vuScale = 0;
    }
    if (m_vu) {
        if (std::exchange(m_vuScale, view.vuScale) != view.vuScale)
            MeterExInst_SetScale(m_vu.get(), &MeterScaleOf(VuScaleIndex(view.vuScale)));
    }
    if (!rects.scope.IsEmpty() && !m_scope && !m_entry.IsMidi()) {
        const RECT none{};
        m_scope = std::make_unique<tQMSCOPE>();
        ScopeInst_Init(m_scope.get(), view.scopeStyle, &none, &m_window,
                       static_cast<uint32_t>(m_entry.id.channel), 0);
        ScopeInst_SetFade(m_scope.get(), 0.5f);
    }
    if (m_scope) {
        constexpr uint32_t STYLES = SCOPES_ROTATED | SCOPES_POLAR_LINEAR | SCOPES_POLAR_CIRCULAR;
        ScopeInst_SetStyle(m_scope.get(), STYLES & ~view.scopeStyle, false);
        ScopeInst_SetStyle(m_scope.get(), view.scopeStyle, true);
    }
    Move(rects);
    m_painted = false;
}

void StripMeters::Move(const StripRects& rects) {
    for (size_t i = 0; i < SPEAKER_GROUPS; i++)
        if (m_beside[i]) MeterInst_Move(&m_beside[i]->meter, &rects.meter[i]);
    if (m_peak) MeterInst_Move(&m_peak->meter, &rects.peak);
    if (m_vu) MeterExInst_Move(m_vu.get(), &rects.vu);
    if (m_scope) ScopeInst_Move(m_scope.get(), &rects.scope);
}

/// True when a level is another than before.
bool StripMeters::ReadGroup(Group& group, uint32_t selector) {
    bool changed = false;
    for (size_t i = 0; i < group.speakers.size(); i++) {
        MPCHANNELREC rec{};
        rec.switches = SWITCH_METER_REQUEST;
        rec.selector = selector;
        rec.pairSelector = group.speakers[i];
        const HRESULT hr = m_plugin.GetChannelRecord(m_entry.id, &rec, MASK_METERS);
        m_silent |= hr == S_FALSE;
        if (hr != S_OK) return false;
        if (Differs(rec.meter.level, std::exchange(group.levels[i], rec.meter.level))) changed = true;
    }
    return changed;
}

void StripMeters::Tick(WindowPainter& painter) {
    if (m_silent || m_groups.empty()) return;
    std::array<bool, SPEAKER_GROUPS + 1> changed{};
    for (size_t i = 0; i < m_groups.size(); i++) {
        const bool fed = (m_peak && m_peak->group == i && !m_peak->meter.client.IsEmpty()) ||
                         std::ranges::any_of(m_beside, [i](const auto& beside) {
                             return beside && beside->group == i && !beside->meter.client.IsEmpty();
                         });
        changed[i] = fed && ReadGroup(m_groups[i], SELECT_METER_PEAK);
    }
    const auto draw = [&](PeakMeter* peak) {
        if (!peak || peak->meter.client.IsEmpty()) return;
        const Group& group = m_groups[peak->group];
        if (changed[peak->group]) {
            int32_t bits[kMeterMaxChannels];
            const size_t count = std::min<size_t>(group.levels.size(), kMeterMaxChannels);
            std::memcpy(bits, group.levels.data(), count * sizeof bits[0]);
            MeterInst_Message(&peak->meter, METERM_SETLEVELS, PackWords(0, static_cast<uint32_t>(count)),
                              reinterpret_cast<intptr_t>(bits));
        }
        // Holds fall by time, so a meter may change without a new level.
        RECT area{};
        if (m_painted && MeterInst_DrawChanges(&peak->meter, &*painter, &area)) painter.Drawn(area);
    };
    for (const auto& beside : m_beside) draw(beside.get());
    draw(m_peak.get());
    TickVu(painter);
    TickScope();
}

void StripMeters::TickVu(WindowPainter& painter) {
    if (!m_vu || m_vu->base.client.IsEmpty()) return;
    if (ReadGroup(m_vuGroup, SELECT_METER_VU)) {
        const METERSCALE& scale = MeterScaleOf(VuScaleIndex(m_vuScale));
        float levels[2];
        std::ranges::transform(m_vuGroup.levels, levels,
                               [&](float level) { return MeterScaleLevel(scale, level); });
        MeterExInst_Message(m_vu.get(), METEREXM_SETLEVELS, PackWords(0, 2),
                            reinterpret_cast<intptr_t>(levels));
    }
    RECT area{};
    if (m_painted && MeterExInst_DrawChanges(m_vu.get(), &*painter, &area)) painter.Drawn(area);
}

void StripMeters::TickScope() {
    if (!m_scope || m_scope->client.IsEmpty()) return;
    float samples[SCOPE_PAIRS * 2];
    MPCHANNELREC rec{};
    rec.switches = SWITCH_METER_REQUEST;
    rec.selector = SELECT_METER_SCOPE;
    rec.scopeSamples = samples;
    if (m_plugin.GetChannelRecord(m_entry.id, &rec, MASK_METERS) != S_OK || rec.scopePairs == 0) return;
    const auto pairs = static_cast<int32_t>(std::min(rec.scopePairs, SCOPE_PAIRS));
    const SCOPESAMPLES update{samples, pairs, 0, 1, 2};
    ScopeInst_SetPos(m_scope.get(), &update);
}

void StripMeters::Draw(QPainter& painter, uint32_t element) {
    m_painted = true;
    switch (element) {
    case ELEMENT_METER:
        for (const auto& beside : m_beside)
            if (beside && !beside->meter.client.IsEmpty()) MeterInst_Draw(&beside->meter, &painter);
        return;
    case ELEMENT_PEAK:
        if (m_peak) MeterInst_Draw(&m_peak->meter, &painter);
        return;
    case ELEMENT_VU:
        if (m_vu) MeterExInst_Draw(m_vu.get(), &painter);
        return;
    case ELEMENT_SCOPE:
        if (m_scope) ScopeInst_Draw(m_scope.get(), &painter);
        return;
    default: return;
    }
}

intptr_t StripMeters::Message(uint32_t element, uint32_t message, uintptr_t wparam, intptr_t lparam) {
    if (element == ELEMENT_PEAK && m_peak) return MeterInst_Message(&m_peak->meter, message, wparam, lparam);
    if (element == ELEMENT_METER)
        for (const auto& beside : m_beside)
            if (beside) MeterInst_Message(&beside->meter, message, wparam, lparam);
    return 0;
}

void StripMeters::ResetPeaks() {
    for (const uint32_t element : {ELEMENT_METER, ELEMENT_PEAK}) Message(element, METERM_RESETCLIP, 1, 0);
    if (m_vu) MeterExInst_Message(m_vu.get(), METEREXM_RESETCLIP, 1, 0);
}

double StripMeters::LoudestDb(uint32_t element) const {
    float loudest = 0;
    const auto read = [&](const Group& group) {
        for (const float level : group.levels) loudest = std::max(loudest, level);
    };
    if (element == ELEMENT_VU)
        read(m_vuGroup);
    else
        std::ranges::for_each(m_groups, read);
    const double level = static_cast<double>(loudest);
    return level > 0 ? std::max(20.0 * std::log10(level), METER_SILENCE_DB) : METER_SILENCE_DB;
}
