#include "host/session/channel.h"

#include <algorithm>

namespace host {

namespace {

constexpr KindTraits kKinds[] = {
    // kind, name, limit, clips, audio, sends, takesOutputs, takesSends, recordsInput
    {ChannelKind::AudioTrack, "track", 4096, true, true, true, false, false, true},
    {ChannelKind::MidiTrack, "midi", 1024, true, false, false, false, false, true},
    {ChannelKind::AudioBus, "bus", 4096, false, true, true, true, true, false},
    {ChannelKind::Fx, "fx", 128, false, true, true, false, true, false},
    {ChannelKind::Synth, "synth", 128, false, true, true, false, false, false},
    {ChannelKind::InputBus, "input", 64, false, true, true, false, false, true},
    {ChannelKind::Master, "master", 1, false, true, false, true, false, false},
    {ChannelKind::PreviewBus, "preview", 1, false, false, false, true, false, false},
};

template <class Items, class Id>
auto* Find(Items& items, Id id) {
    const auto at = std::ranges::find(items, id, [](const auto& item) { return item.id; });
    return at == items.end() ? nullptr : &*at;
}

}  // namespace

const KindTraits& TraitsOf(ChannelKind kind) { return kKinds[static_cast<size_t>(kind)]; }

Insert* FindInsert(Channel& channel, SubId id) {
    if (channel.instrument && channel.instrument->id == id) return &*channel.instrument;
    return Find(channel.inserts, id);
}

const Insert* FindInsert(const Channel& channel, SubId id) {
    return FindInsert(const_cast<Channel&>(channel), id);
}

Send* FindSend(Channel& channel, SubId id) { return Find(channel.sends, id); }

const Send* FindSend(const Channel& channel, SubId id) { return Find(channel.sends, id); }

SubId FreeSub(const Channel& channel) {
    SubId highest = channel.instrument ? channel.instrument->id : kNoSub;
    for (const Insert& insert : channel.inserts) highest = std::max(highest, insert.id);
    for (const Send& send : channel.sends) highest = std::max(highest, send.id);
    if (highest != UINT32_MAX) return highest + 1;
    SubId id = 1;
    while (FindInsert(channel, id) || FindSend(channel, id)) id++;
    return id;
}

}  // namespace host
