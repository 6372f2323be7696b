#include "console/fader_gesture.h"

#include "console/console_plugin.h"
#include "console/gain.h"

#include <algorithm>

using namespace tarn;

namespace {

constexpr uint32_t NEVER_ALONG = KIND_NO_STRIP | KIND_SPECIAL;

int32_t Clamp(const ChannelEntry& entry, int32_t position) {
    return entry.IsMidi() ? std::clamp(position, 0, MIDI_POSITION_MAX)
                          : std::clamp(position, POSITION_MIN, POSITION_MAX);
}

}  // namespace

bool FaderGesture::Touch(Member& member, ChannelEntry& entry) {
    constexpr GestureParameter VOLUME{.mask = MASK_VOLUME,
                                      .pairSelector = SPEAKER_FRONT,
                                      .selector = SELECT_CONSOLE_WRITE,
                                      .field = &MPCHANNELREC::volume,
                                      .linked = &MPCHANNELREC::linkedVolume,
                                      .changeMask = MASK_AUTOMATION};
    member = {&entry, {m_plugin.Access(), entry.id, VOLUME}, 0};
    entry.state |= ENTRY_GESTURE;
    HRESULT told = S_OK;
    if (member.gesture.Begin(&told) != S_OK) return false;
    const float value = member.gesture.Value();
    member.start = entry.IsMidi() ? MidiValueToPosition(value) : GainToPosition(value);
    return Succeeded(told);
}

void FaderGesture::Release(Member& member) {
    member.entry->state &= ~ENTRY_GESTURE;
    member.gesture.End();
}

void FaderGesture::Move(Member& member, int32_t position) {
    position = Clamp(*member.entry, position);
    member.gesture.Change(member.entry->IsMidi() ? MidiPositionToValue(position) : PositionToGain(position));
}

void FaderGesture::Begin(ChannelEntry& source, bool selected) {
    End();
    m_offset = 0;
    Touch(m_source, source);
    if (!selected) return;
    for (ChannelEntry* entry : m_plugin.Entries()) {
        if (entry == &source || (entry->kind & NEVER_ALONG) || entry->IsMidi() != source.IsMidi()) continue;
        MPCHANNELREC rec{};
        if (m_plugin.GetChannelRecord(entry->id, &rec, MASK_SWITCHES) != S_OK) continue;
        Member member;
        if ((rec.switches & SWITCH_SELECTED) && Touch(member, *entry)) m_others.push_back(member);
    }
}

void FaderGesture::Change(int32_t position) {
    if (!IsRunning()) return;
    position = Clamp(*m_source.entry, position);
    if (position == m_source.start + m_offset) return;
    m_offset = position - m_source.start;
    Move(m_source, position);
    for (Member& member : m_others) Move(member, member.start + m_offset);
}

void FaderGesture::EndOthers() {
    for (Member& member : std::exchange(m_others, {})) Release(member);
}

void FaderGesture::End() {
    if (!IsRunning()) return;
    Member source = std::exchange(m_source, {});
    Release(source);
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
