#include "console/fader_gesture.h"

#include "console/console_plugin.h"
#include "console/gain.h"

#include <algorithm>

namespace {

constexpr uint32_t NEVER_ALONG = KIND_NO_STRIP | KIND_SPECIAL;
constexpr uint32_t MASK_TOUCHED_VOLUME = MASK_AUTOMATION | MASK_VOLUME;

int32_t Clamp(const ChannelEntry& entry, int32_t position) {
    return entry.IsMidi() ? std::clamp(position, 0, MIDI_POSITION_MAX)
                          : std::clamp(position, POSITION_MIN, POSITION_MAX);
}

}  // namespace

bool FaderGesture::SetTouch(ChannelEntry& entry, bool on, int32_t* position) {
    MPCHANNELREC rec{};
    rec.pairSelector = SPEAKER_FRONT;
    if (on)
        entry.state |= ENTRY_GESTURE;
    else
        entry.state &= ~ENTRY_GESTURE;
    // The value goes back as it came: a touch must not round it to a position.
    if (m_plugin.GetChannelRecord(entry.id, &rec, MASK_VOLUME) != S_OK) return false;
    *position = entry.IsMidi() ? MidiValueToPosition(rec.volume) : GainToPosition(rec.volume);
    rec.automation = on ? AUTOMATION_TOUCH : 0;
    rec.selector = SELECT_CONSOLE_WRITE;
    rec.pairSelector = SPEAKER_FRONT;
    return Succeeded(m_plugin.SetChannelRecord(entry.id, &rec, MASK_TOUCHED_VOLUME));
}

void FaderGesture::Move(ChannelEntry& entry, int32_t position) {
    MPCHANNELREC rec{};
    rec.automation = AUTOMATION_TOUCH;
    rec.selector = SELECT_CONSOLE_WRITE;
    rec.pairSelector = SPEAKER_FRONT;
    rec.volume = rec.linkedVolume = entry.IsMidi() ? MidiPositionToValue(position) : PositionToGain(position);
    m_plugin.SetChannelRecord(entry.id, &rec, MASK_TOUCHED_VOLUME);
}

void FaderGesture::Begin(ChannelEntry& source, bool selected) {
    End();
    m_source.entry = &source;
    m_offset = 0;
    SetTouch(source, true, &m_source.start);
    if (!selected) return;
    for (ChannelEntry* entry : m_plugin.Entries()) {
        if (entry == &source || (entry->kind & NEVER_ALONG) || entry->IsMidi() != source.IsMidi()) continue;
        MPCHANNELREC rec{};
        if (m_plugin.GetChannelRecord(entry->id, &rec, MASK_SWITCHES) != S_OK) continue;
        Member member{entry, 0};
        if ((rec.switches & SWITCH_SELECTED) && SetTouch(*entry, true, &member.start))
            m_others.push_back(member);
    }
}

void FaderGesture::Change(int32_t position) {
    if (!IsRunning()) return;
    position = Clamp(*m_source.entry, position);
    if (position == m_source.start + m_offset) return;
    m_offset = position - m_source.start;
    Move(*m_source.entry, position);
    for (const Member& member : m_others) Move(*member.entry, Clamp(*member.entry, member.start + m_offset));
}

void FaderGesture::EndOthers() {
    int32_t position = 0;
    for (const Member& member : std::exchange(m_others, {})) SetTouch(*member.entry, false, &position);
}

void FaderGesture::End() {
    if (!IsRunning()) return;
    int32_t position = 0;
    SetTouch(*std::exchange(m_source, {}).entry, false, &position);
    EndOthers();
}

void FaderGesture::Forget(const ChannelEntry* entry) {
    if (!entry) {
        m_source = {};
        m_others.clear();
    } else if (m_source.entry == entry) {
        m_source = {};
        EndOthers();
    } else {
        std::erase_if(m_others, [entry](const Member& member) { return member.entry == entry; });
    }
}
