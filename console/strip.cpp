#include "console/strip.h"

#include "console/console_images.h"
#include "console/console_plugin.h"
#include "console/gain.h"
#include "console/mixer_view.h"
#include "console/texts.h"
#include "kernel/ui/ui_fonts.h"
#include "platform/ui/window.h"

#include <algorithm>

namespace {

constexpr uint32_t CONTROL_ID_FADER = 4000, CONTROL_ID_PAN = 3500, CONTROL_ID_SEND = 5000;

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

bool IsKind(const ChannelEntry& entry, uint32_t kind) { return (entry.kind & kind) == kind; }

struct SpeakerGroup {
    uint32_t speakers, element, id;
};
constexpr SpeakerGroup SPEAKERS[SPEAKER_GROUPS] = {{SPEAKER_FRONT, ELEMENT_FADER, 0},
                                                   {SPEAKER_REAR, ELEMENT_REAR_FADER, 500},
                                                   {SPEAKER_CENTER, ELEMENT_CENTER_FADER, 501},
                                                   {SPEAKER_LFE, ELEMENT_LFE_FADER, 502}};

}  // namespace

Strip::Strip(ChannelEntry& entry, const StripSite& site)
    : m_entry(entry), m_site(site), m_meters(site.plugin, site.window, site.images.look, entry) {
    ReadSwitches();
}

Strip::~Strip() { m_nodes.clear(); }

LONG Strip::Width() const {
    const tConsoleMetrics& m = ConsoleMetrics();
    if (m_entry.width) return m_entry.width;
    return m_entry.kind & KIND_SURROUND ? m.cxSurroundCurrent : m.cxChannelCurrent;
}

void Strip::SetWidth(LONG width) {
    const tConsoleMetrics& m = ConsoleMetrics();
    const bool wide = m_entry.kind & KIND_SURROUND;
    m_entry.width = std::clamp(width, wide ? m.cxSurroundNarrow : m.cxChannelNarrow,
                               wide ? m.cxSurroundWide : m.cxChannelWide);
}

// What it has
// ------------------------------------------------------------------------------------------------------

HRESULT Strip::Get(const MPCHANNELID& id, MPCHANNELREC& rec, uint32_t mask) const {
    return m_site.plugin.Access().GetChannel(id, &rec, mask);
}
HRESULT Strip::Set(const MPCHANNELID& id, MPCHANNELREC& rec, uint32_t mask) const {
    rec.selector = SELECT_CONSOLE_WRITE;
    return m_site.plugin.Access().SetChannel(id, &rec, mask);
}

void Strip::MeasureTraits() {
    const tConsoleMetrics& m = ConsoleMetrics();
    const auto has = [&](uint32_t mask, uint32_t pair = SPEAKER_FRONT) {
        MPCHANNELREC rec{};
        rec.pairSelector = pair;
        return Get(m_entry.id, rec, mask) == S_OK;
    };
    const bool special = m_entry.kind & KIND_SPECIAL, midi = m_entry.IsMidi();
    const bool track = m_entry.kind & (KIND_AUDIO_TRACK | KIND_MIDI_TRACK);
    StripTraits t;
    t.kindIconWidth = ConsoleImages::KindIcon(m_entry.kind) < 0 ? 0 : m.cxTitleIcon;
    t.sendThumb = m_site.images.sendThumbs.Size().cy;
    t.meterPreferred = m.nLabelColumnWidth;
    t.valueHeight = m.nSmallRowHeight - 6;
    t.postWidth = m.nPostWidth;
    t.midi = midi;
    t.fourFaders = (m_entry.kind & KIND_SURROUND) && has(MASK_VOLUME, SPEAKER_REAR);
    t.meterChannels = midi ? 1 : m_entry.pairSelector & SPEAKER_REAR ? 6 : 2;
    t.pair = !midi && !t.fourFaders && !special && (m_entry.pairSelector & SPEAKER_FRONT) == SPEAKER_FRONT &&
             m_entry.countClass == 1;
    t.surroundPan = !special && m_site.plugin.IsSurroundProject() && track && has(MASK_PAN, SPEAKER_REAR);
    t.pan = !special && has(MASK_PAN);
    t.chain = !special && !midi && has(MASK_CHAIN);
    t.canSend = !special && !midi && !IsKind(m_entry, KIND_MASTER);
    t.sendPan = m_site.plugin.ShowsSendPans();
    t.input = has(MASK_INPUT_ROUTE);
    t.outputs = !has(MASK_OUTPUT_ROUTE) ? 0 : m_entry.IsSurroundMaster() ? 3 : 1;
    t.automation = !special && has(MASK_AUTOMATION);
    t.arm = track;
    t.monitor = m_entry.kind & KIND_AUDIO_TRACK;
    t.phase = m_entry.kind & KIND_AUDIO_TRACK;
    t.soloSafe = !special && (m_entry.kind & KIND_BUS) && !IsKind(m_entry, KIND_MASTER);
    m_traits = t;
}

void Strip::MakeControls() {
    if (!m_controls.empty()) m_site.view.OnControlsGoing(*this);
    m_nodes.clear();
    m_controls.clear();
    const auto id = static_cast<uint32_t>(m_entry.id.channel);
    const bool ticks = m_site.plugin.View().faderTicks;
    const auto at = [&](uint32_t element, uint32_t controlId) {
        return StripControlPlace{*this, m_site.hand, m_site.window, element, controlId};
    };
    for (const SpeakerGroup& group : SPEAKERS) {
        const bool first = group.element == ELEMENT_FADER;
        if (!first && !m_traits.fourFaders) break;
        const uint32_t controlId = first ? id + CONTROL_ID_FADER : CONTROL_ID_FADER + group.id;
        m_controls.push_back(MakeFader(at(group.element, controlId),
                                       VolumeParameter(group.speakers, m_entry.IsMidi(), m_traits.pair),
                                       ticks));
        m_controls.back()->SetLinked(IsLocked());
    }
    if (m_traits.surroundPan) {
        const StripParameter axes[] = {PlaceParameter(false), PlaceParameter(true)};
        constexpr uint32_t ALL = SPEAKER_FRONT | SPEAKER_REAR | SPEAKER_CENTER;
        m_controls.push_back(MakePad(at(ELEMENT_SURROUND_PAN, id + CONTROL_ID_PAN), axes, ALL));
    } else if (m_traits.pan) {
        m_controls.push_back(
            MakeSlider(at(ELEMENT_PAN, id + CONTROL_ID_PAN), PanParameter(m_entry.IsMidi())));
        m_controls.back()->SetThumbs(m_site.images.panThumbs);
    }
    MakeSendControls();
}

/// A level for each send that has a row, and its pan where pans are shown.
void Strip::MakeSendControls() {
    const auto ofSend = [](const auto& control) { return control->Parameter().send != 0; };
    if (std::ranges::any_of(m_controls, ofSend)) m_site.view.OnControlsGoing(*this);
    m_nodes.clear();
    std::erase_if(m_controls, ofSend);
    const auto first = static_cast<size_t>(m_firstSend);
    for (uint32_t i = 0; i < SEND_ROWS && first + i < m_sends.size(); i++) {
        const uint64_t send = m_sends[first + i].id.sub;
        const auto at = [&](uint32_t element) {
            return StripControlPlace{*this, m_site.hand, m_site.window, element + i,
                                     CONTROL_ID_SEND + element + i};
        };
        m_controls.push_back(MakeSlider(at(ELEMENT_SEND_LEVEL), SendLevelParameter(send)));
        m_controls.back()->SetThumbs(m_site.images.sendThumbs);
        if (!m_traits.sendPan) continue;
        m_controls.push_back(MakeSlider(at(ELEMENT_SEND_PAN), SendPanParameter(send)));
        m_controls.back()->SetThumbs(m_site.images.sendThumbs);
    }
}

StripControl* Strip::Control(uint32_t element) const {
    for (const auto& control : m_controls)
        if (control->Element() == element && control->IsThere()) return control.get();
    return nullptr;
}

std::optional<StripParameter> Strip::Alike(Strip& source, const StripParameter& parameter) {
    Prepare();
    if (parameter.send) {
        // The send to the same target.
        const auto from = std::ranges::find(source.m_sends, parameter.send,
                                            [](const StripSend& send) { return send.id.sub; });
        if (from == source.m_sends.end()) return {};
        const auto own = std::ranges::find(m_sends, from->target, &StripSend::target);
        if (own == m_sends.end()) return {};
        StripParameter alike = parameter;
        alike.send = own->id.sub;
        return alike;
    }
    if (parameter.mask == MASK_VOLUME && (parameter.pairSelector & SPEAKER_FRONT))
        return VolumeParameter(SPEAKER_FRONT, m_entry.IsMidi(), m_traits.pair);
    for (const auto& control : m_controls)
        for (const StripParameter& own : control->Parameters())
            if (own.mask == parameter.mask && own.pairSelector == parameter.pairSelector &&
                own.scale == parameter.scale && own.send == 0)
                return own;
    return {};
}

void Strip::Place(const RECT& rect) {
    const RECT& before = m_rects.strip;
    if (m_laidOut && before == rect) return;
    m_laidOut = m_laidOut && before.Width() == rect.Width() && before.Height() == rect.Height();
    m_moved = true;
    m_rects.strip = rect;
}

void Strip::ViewChanged(bool rebuild) {
    m_laidOut = false;
    if (!rebuild) return;
    m_made = false;
    m_meters.Drop();
}

void Strip::Prepare() {
    if (!m_made) MeasureTraits();
    if (!std::exchange(m_read, true)) {
        ReadParts();
        ReadRoutes();
    }
    if (!m_made) {
        MakeControls();
        m_made = true;
        m_laidOut = false;
        ReadBack();
    }
    if (!m_laidOut)
        Layout();
    else if (m_moved)
        Shift();
}

void Strip::Layout() {
    m_laidOut = true;
    m_moved = false;
    const tConsoleMetrics& m = ConsoleMetrics();
    const LONG standard = m_traits.fourFaders ? m.cxSurroundDefault : m.cxChannelDefault;
    const bool narrow = m_rects.strip.Width() < standard || m_traits.fourFaders;
    const ConsoleImages& images = m_site.images;
    const ImageList& thumb = narrow          ? (m_traits.pair ? images.smallPairThumbs : images.smallThumbs)
                             : m_traits.pair ? images.pairThumbs
                                             : images.thumbs;
    m_traits.thumb = thumb.Size();
    m_traits.faderTicks = m_site.plugin.View().faderTicks && !m_entry.IsMidi();
    m_traits.effects = static_cast<int>(m_inserts.size());
    m_traits.sends = static_cast<int>(m_sends.size());
    m_traits.firstInsert = m_firstInsert;
    m_traits.firstSend = m_firstSend;
    const RECT strip = m_rects.strip;
    m_rects = LayoutStrip(strip, m, m_traits, m_site.plugin.View());
    m_firstInsert = m_rects.insertRows.first;
    const int firstSend = m_rects.sendRows.first;
    if (std::exchange(m_firstSend, firstSend) != firstSend) {
        MakeSendControls();
        ReadBack();
    }

    for (const auto& control : m_controls) {
        const uint32_t element = control->Element();
        for (size_t group = 0; group < SPEAKER_GROUPS; group++)
            if (element == SPEAKERS[group].element) {
                control->SetThumbs(thumb);
                control->SetLabels(m_rects.fader[group].Width() >=
                                   thumb.Size().cx + 2 * m.nSurroundTextWidth);
            }
    }
    PlaceControls();
    m_meters.Layout(m_rects, m_site.plugin.View());
    m_nodes.clear();
}

/// As it was laid out, elsewhere.
void Strip::Shift() {
    m_moved = false;
    const RECT strip = m_rects.strip;
    m_rects = LayoutStrip(strip, ConsoleMetrics(), m_traits, m_site.plugin.View());
    PlaceControls();
    m_meters.Move(m_rects);
}

void Strip::PlaceControls() {
    for (const auto& control : m_controls) {
        const uint32_t element = control->Element();
        for (size_t group = 0; group < SPEAKER_GROUPS; group++)
            if (element == SPEAKERS[group].element) control->Move(m_rects.fader[group]);
        if (element == ELEMENT_PAN) control->Move(m_rects.pan);
        if (element == ELEMENT_SURROUND_PAN) control->Move(m_rects.panPad);
        for (uint32_t row = 0; row < SEND_ROWS; row++) {
            if (element == ELEMENT_SEND_LEVEL + row) control->Move(m_rects.sends[row].level);
            if (element == ELEMENT_SEND_PAN + row) control->Move(m_rects.sends[row].pan);
        }
    }
}

uint32_t Strip::HitTest(POINT at, std::u16string& tip, RECT& area) const {
    for (const StripPart& part : StripParts())
        for (uint32_t i = 0; i < part.count; i++) {
            area = part.area(*this, i);
            if (!area.Contains(at) || part.element == ELEMENT_NONE) continue;
            tip = part.tip ? part.tip(*this, part, i) : std::u16string();
            return part.element + i;
        }
    return ELEMENT_NONE;
}

bool Strip::ScrollRows(uint32_t element, int by) {
    const bool sends = IsOfSend(element);
    const ShownRows& rows = RowsOf(element);
    int& shown = sends ? m_firstSend : m_firstInsert;
    const int first = std::clamp(shown + by, 0, std::max(0, rows.all - rows.count));
    if (std::exchange(shown, first) == first) return false;
    if (sends) {
        MakeSendControls();
        ReadBack();
    }
    m_laidOut = false;
    Prepare();
    m_site.window.Invalidate(m_rects.Region(sends ? StripRegion::Sends : StripRegion::Inserts));
    return true;
}

// Texts
// --------------------------------------------------------------------------------------------------------------

std::u16string Strip::KindWord() const {
    if (m_entry.kind & KIND_SPECIAL) return {};
    for (const KindWordRow& row : KIND_WORDS)
        if ((m_entry.kind & row.mask) == row.value) return ConsoleText(row.textId);
    return {};
}

std::u16string Strip::ValueText(bool offBySolo, size_t part) const {
    if (m_switches & SWITCH_MUTE) return ConsoleText(IDS_MUTED);
    if (offBySolo) return ConsoleText(IDS_OFF_SOLO);
    return m_controls.empty() ? std::u16string() : m_controls.front()->ValueText(part);
}

bool Strip::HasTwoValues() const {
    if (!m_traits.pair || m_controls.empty() || (m_switches & SWITCH_MUTE)) return false;
    const StripPositions at = m_controls.front()->Positions();
    return at[0] != at[1];
}

std::u16string Strip::InsertText(size_t insert) const {
    return insert < m_inserts.size() ? m_inserts[insert].name : ConsoleText(IDS_ADD_INSERT);
}

void Strip::TickMeters(WindowPainter& painter) {
    if (m_laidOut) m_meters.Tick(painter);
}
