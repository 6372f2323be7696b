#include "console/strip_gesture.h"

#include "console/console_plugin.h"
#include "console/strip.h"

#include <algorithm>
#include <optional>

using namespace tarn;

namespace {

constexpr uint32_t NEVER_ALONG = KIND_NO_STRIP | KIND_SPECIAL;

}  // namespace

bool StripGesture::IsRunningOn(const ChannelEntry& entry, const StripParameter& parameter) const {
    if (m_source.entry != &entry || m_source.axisCount == 0) return false;
    const StripParameter& running = m_source.axes[0].parameter;
    return running.mask == parameter.mask && running.send == parameter.send &&
           running.pairSelector == parameter.pairSelector;
}

bool StripGesture::Touch(Member& member, ChannelEntry& entry, std::span<const StripParameter> parameters) {
    member = {};
    member.entry = &entry;
    entry.state |= ENTRY_GESTURE;
    bool taken = true;
    for (const StripParameter& parameter : parameters.first(std::min(parameters.size(), MOST_AXES))) {
        Axis& axis = member.axes[member.axisCount++];
        axis.parameter = parameter;
        const MPCHANNELID id{entry.id.channel, parameter.send, 0};
        axis.gesture = {m_plugin.Access(), id, parameter.ToHost()};
        HRESULT told = S_OK;
        if (axis.gesture.Begin(&told) != S_OK || Failed(told)) taken = false;
        if (!axis.gesture.IsRunning()) continue;
        const float value = axis.gesture.Value();
        axis.start = {parameter.Position(value), parameter.Position(axis.gesture.LinkedValue())};
        axis.now = axis.start;
    }
    return taken;
}

void StripGesture::Release(Member& member) {
    member.entry->state &= ~ENTRY_GESTURE;
    for (size_t i = 0; i < member.axisCount; i++) member.axes[i].gesture.End();
}

void StripGesture::Begin(ChannelEntry& source, std::span<const StripParameter> parameters, bool selected) {
    End();
    Touch(m_source, source, parameters);
    Strip* own = Strip::Of(source);
    if (!selected || !own) return;
    for (ChannelEntry* entry : m_plugin.Entries()) {
        if (entry == &source || (entry->kind & NEVER_ALONG) || entry->IsMidi() != source.IsMidi()) continue;
        Strip* strip = Strip::Of(*entry);
        if (!strip || !strip->IsSelectedNow()) continue;
        std::vector<StripParameter> alike;
        for (const StripParameter& parameter : parameters)
            if (const std::optional<StripParameter> theirs = strip->Alike(*own, parameter))
                alike.push_back(*theirs);
        Member member;
        if (alike.size() == parameters.size() && Touch(member, *entry, alike)) m_others.push_back(member);
    }
}

/// Each axis by as much as the source's has moved; what the ends of a range take away comes back with the
/// hand.
void StripGesture::Move(Member& member, const StripPositions& offset) {
    for (size_t i = 0; i < member.axisCount; i++) {
        Axis& axis = member.axes[i];
        const StripParameter& p = axis.parameter;
        StripPositions to;
        for (size_t part = 0; part < to.size(); part++) {
            const int32_t moved = offset[p.linked ? part : i];
            to[part] = std::clamp(axis.start[part] + moved, p.Least(), p.Most());
        }
        if (to == axis.now) continue;
        axis.now = to;
        axis.gesture.Change(p.Value(to[0]), p.Value(to[1]));
    }
}

void StripGesture::Change(const StripPositions& positions) {
    if (!IsRunning()) return;
    StripPositions offset{};
    for (size_t part = 0; part < offset.size(); part++) {
        const size_t axis = m_source.axisCount > 1 ? part : 0;
        const Axis& source = m_source.axes[axis];
        offset[part] = positions[part] - source.start[source.parameter.linked ? part : 0];
    }
    Move(m_source, offset);
    for (Member& member : m_others) Move(member, offset);
}

void StripGesture::EndOthers() {
    for (Member& member : std::exchange(m_others, {})) Release(member);
}

void StripGesture::End() {
    if (!IsRunning()) return;
    Member source = std::exchange(m_source, {});
    Release(source);
    EndOthers();
}

void StripGesture::Forget(const ChannelEntry* entry) {
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
