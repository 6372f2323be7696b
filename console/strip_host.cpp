// What a strip reads from the host and asks of it.
#include "console/console_plugin.h"
#include "console/mixer_view.h"
#include "console/strip.h"
#include "console/texts.h"

#include <algorithm>

using namespace tarn;

namespace {

/// A text that came with a record, which is the reader's to free.
std::u16string TakeText(char16_t*& text) {
    if (!text) return {};
    std::u16string taken = text;
    CoTaskMemFree(text);
    text = nullptr;
    return taken;
}

}  // namespace

bool Strip::ReadSwitches() {
    MPCHANNELREC rec{};
    if (Get(m_entry.id, rec, MASK_SWITCHES) != S_OK) return false;
    const uint32_t changed = std::exchange(m_switches, rec.switches) ^ rec.switches;
    if (!changed || !m_laidOut) return changed != 0;
    for (const StripPart& part : StripParts())
        if (changed & part.bit) {
            m_site.window.Invalidate(part.area(*this, 0));
            TellChange(part.element);
        }
    if (changed & (SWITCH_MUTE | SWITCH_SOLO)) InvalidateNumbers();
    if (changed & SWITCH_STRIP_10000) m_site.window.Invalidate(m_rects.Region(StripRegion::Inserts));
    if (changed & SWITCH_SELECTED) m_site.window.Invalidate(m_rects.strip);
    return true;
}

void Strip::InvalidateNumbers() const {
    for (const RECT& value : m_rects.value) m_site.window.Invalidate(value);
    for (const RECT& value : m_rects.groupValue) m_site.window.Invalidate(value);
}

bool Strip::IsSelectedNow() {
    ReadSwitches();
    return IsSelected();
}

/// True when it shows something else now.
bool Strip::ReadControl(StripControl& control) {
    if (control.IsHeld()) return false;  // a thumb under the mouse is ahead of the host
    StripPositions shown = control.Positions();
    const StripPositions before = shown;
    for (size_t i = 0; i < control.Parameters().size(); i++) {
        const StripParameter& p = control.Parameters()[i];
        MPCHANNELREC rec{};
        rec.pairSelector = p.pairSelector;
        if (Get({m_entry.id.channel, p.send, 0}, rec, p.mask) != S_OK) return false;
        shown[i] = p.Position(rec.*p.field);
        if (control.Parameters().size() == 1) shown[1] = p.linked ? p.Position(rec.*p.linked) : shown[0];
        if (p.mask == MASK_PAN && !p.send) m_panModel = rec.panModel;
        if (p.mask == MASK_SEND)
            for (StripSend& send : m_sends)
                if (send.id.sub == p.send &&
                    std::exchange(send.switches, rec.sendSwitches) != rec.sendSwitches)
                    m_site.window.Invalidate(m_rects.Region(StripRegion::Sends));
    }
    if (shown == before) return false;
    control.Show(shown);
    TellChange(control.Element());
    return true;
}

bool Strip::ReadBack() {
    if (m_made)
        for (const auto& control : m_controls) {
            if (!ReadControl(*control)) continue;
            const uint32_t element = control->Element();
            if (control->Parameter().send)
                m_site.window.Invalidate(m_rects.Region(StripRegion::Sends));
            else if (element == ELEMENT_PAN)
                m_site.window.Invalidate(m_rects.panValue);
            else
                InvalidateNumbers();
        }
    if (m_traits.automation) {
        MPCHANNELREC rec{};
        if (Get(m_entry.id, rec, MASK_AUTOMATION) == S_OK &&
            std::exchange(m_automation, rec.automation) != rec.automation)
            m_site.window.Invalidate(m_rects.automation);
    }
    return ReadSwitches();
}

std::u16string Strip::NameOf(uint64_t channel) const {
    if (channel == 0) return {};
    char16_t name[CHANNEL_NAME_SIZE] = {};
    if (m_site.plugin.GetChannelName({channel, 0, 0}, SELECT_LONG_NAME, name, CHANNEL_NAME_SIZE) != S_OK)
        return {};
    return name;
}

void Strip::ReadParts() {
    std::vector<StripInsert> inserts;
    std::vector<StripSend> sends;
    for (const MPCHANNELID& id : m_site.plugin.PartsOf(m_entry.id)) {
        MPCHANNELREC rec{};
        if (Get(id, rec, MASK_FIXED) != S_OK) continue;
        const bool isSend = rec.switches & SWITCH_SEND;
        MPCHANNELREC texts{};
        if (isSend) {
            if (Get(id, texts, MASK_SEND) != S_OK) continue;
            sends.push_back({id, texts.sendTarget, NameOf(texts.sendTarget), texts.sendSwitches});
        } else if (!(rec.effectState & EFFECT_INSTRUMENT)) {
            Get(id, texts, MASK_EFFECT_STATE | MASK_SHORT_NAME);
            inserts.push_back({id, TakeText(texts.effectShortName), texts.effectState});
        }
    }
    const auto id = [](const StripSend& send) { return send.id.sub; };
    const bool otherSends = !std::ranges::equal(sends, m_sends, {}, id, id);
    m_inserts = std::move(inserts);
    m_sends = std::move(sends);
    if (!m_made) return;
    if (otherSends) MakeSendControls();
    m_laidOut = false;
    for (const StripRegion region : {StripRegion::Inserts, StripRegion::Sends})
        m_site.window.Invalidate(m_rects.Region(region));
    ReadBack();
}

void Strip::ReadRoutes() {
    MPCHANNELREC rec{};
    if (Get(m_entry.id, rec, MASK_INPUT_ROUTE) == S_OK)
        m_input = {rec.inputTarget, rec.inputIndex, NameOf(rec.inputTarget)};
    rec = {};
    if (Get(m_entry.id, rec, MASK_OUTPUT_ROUTE) == S_OK)
        m_output = {rec.outputTarget, rec.outputIndex, NameOf(rec.outputTarget)};
    m_site.window.Invalidate(m_rects.Region(StripRegion::Io));
}

// Wishes
// -------------------------------------------------------------------------------------------------------------

bool Strip::WriteSwitches(uint32_t set, uint32_t clear) {
    MPCHANNELREC rec{};
    if (Get(m_entry.id, rec, MASK_SWITCHES) != S_OK) return false;
    const uint32_t before = rec.switches;
    rec.switches = (before & ~clear) | set;
    return rec.switches == before || Succeeded(Set(m_entry.id, rec, MASK_SWITCHES));
}

void Strip::Toggle(uint32_t bit) {
    MPCHANNELREC rec{};
    if (Get(m_entry.id, rec, MASK_SWITCHES) != S_OK) return;
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
    ReadSwitches();
}

void Strip::ToggleLock() {
    const bool lock = !IsLocked();
    m_entry.state &= ~(ENTRY_LOCKED | ENTRY_UNLOCKED);
    m_entry.state |= lock ? ENTRY_LOCKED : ENTRY_UNLOCKED;
    for (const auto& control : m_controls) control->SetLinked(lock);
    m_site.window.Invalidate(m_rects.lock);
}

/// The modes alone: what else stands in the word is the host's.
void Strip::SetAutomation(uint32_t mode) {
    MPCHANNELREC rec{};
    if (Get(m_entry.id, rec, MASK_AUTOMATION) != S_OK) return;
    rec.automation = (rec.automation & ~AUTOMATION_MODES) | mode;
    Set(m_entry.id, rec, MASK_AUTOMATION);
    ReadBack();
}

void Strip::SetEffectState(size_t insert, uint32_t state, uint32_t mask) {
    if (insert >= m_inserts.size()) return;
    const MPCHANNELID id = m_inserts[insert].id;
    MPCHANNELREC rec{};
    if (Get(id, rec, MASK_EFFECT_STATE) != S_OK) return;
    rec.effectState = (rec.effectState & ~mask) | (state & mask);
    Set(id, rec, MASK_EFFECT_STATE);
    ReadParts();
}

void Strip::MoveEffect(size_t insert, size_t target) {
    if (insert >= m_inserts.size() || target >= m_inserts.size() || insert == target) return;
    MPCHANNELREC rec{};
    rec.effectTarget = target;
    Set(m_inserts[insert].id, rec, MASK_EFFECT_POSITION);
    ReadParts();
}

void Strip::RemovePart(const MPCHANNELID& id) {
    m_site.plugin.RemoveAtHost(id);
    ReadParts();
}

void Strip::SetSendSwitches(size_t send, uint32_t switches) {
    if (send >= m_sends.size()) return;
    const MPCHANNELID id = m_sends[send].id;
    MPCHANNELREC rec{};
    if (Get(id, rec, MASK_SEND) != S_OK) return;
    rec.sendSwitches = switches;
    Set(id, rec, MASK_SEND);
    ReadParts();
}

void Strip::SetSendTarget(size_t send, uint64_t target) {
    if (send >= m_sends.size()) return;
    MPCHANNELREC rec{};
    rec.sendTarget = target;
    Set(m_sends[send].id, rec, MASK_SEND | MASK_TARGET);
    ReadParts();
}

void Strip::AddSend(uint64_t target) {
    MPCHANNELREC rec{};
    rec.sendTarget = target;
    m_site.plugin.InsertAtHost(m_entry.id, rec);
    ReadParts();
}

void Strip::AddEffect(const GUID& effectClass) {
    MPCHANNELREC rec{};
    rec.effectClass = effectClass;
    rec.order = ORDER_APPEND;
    m_site.plugin.InsertAtHost(m_entry.id, rec);
    ReadParts();
}

void Strip::SetRoute(uint32_t mask, uint64_t target, int32_t index) {
    MPCHANNELREC rec{};
    rec.inputTarget = rec.outputTarget = target;
    rec.inputIndex = rec.outputIndex = index;
    Set(m_entry.id, rec, mask);
    ReadRoutes();
}

std::optional<int32_t> Strip::PositionOf(const StripParameter& parameter) const {
    MPCHANNELREC rec{};
    rec.pairSelector = parameter.pairSelector;
    if (m_site.plugin.GetChannelRecord(m_entry.id, &rec, parameter.mask) != S_OK) return std::nullopt;
    return parameter.Position(rec.*parameter.field);
}

void Strip::SetPanModel(uint32_t model) {
    MPCHANNELREC rec{};
    rec.pairSelector = SPEAKER_FRONT;
    if (Get(m_entry.id, rec, MASK_PAN) != S_OK) return;
    rec.panModel = model;
    Set(m_entry.id, rec, MASK_PAN);
    ReadBack();
}

void Strip::Rename(const std::u16string& name) {
    MPCHANNELREC rec{};
    std::u16string text = name;
    rec.name = text.data();
    Set(m_entry.id, rec, MASK_NAME);
}
