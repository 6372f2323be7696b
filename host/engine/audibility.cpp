#include "host/engine/audibility.h"

#include <unordered_map>

namespace host {

std::vector<bool> AudibleChannels(const std::vector<Channel>& channels) {
    std::unordered_map<ChannelId, size_t> index;
    for (size_t i = 0; i < channels.size(); i++) index.emplace(channels[i].id, i);
    const auto next = [&](size_t i) {
        const auto it = index.find(channels[i].output);
        return it == index.end() ? channels.size() : it->second;
    };
    const auto solo = [&](size_t i) {
        return channels[i].solo && channels[i].kind != ChannelKind::PreviewBus;
    };

    bool any = false;
    std::vector<bool> open(channels.size(), false);
    for (size_t i = 0; i < channels.size(); i++) {
        if (!solo(i)) continue;
        any = true;
        for (size_t at = i; at < channels.size(); at = next(at)) open[at] = true;
    }
    std::vector<bool> audible(channels.size());
    for (size_t i = 0; i < channels.size(); i++) {
        bool feedsSolo = false;
        for (size_t at = i; at < channels.size() && !feedsSolo; at = next(at)) feedsSolo = solo(at);
        const bool exempt = !any || channels[i].kind == ChannelKind::PreviewBus;
        audible[i] = !channels[i].mute && (exempt || open[i] || feedsSolo);
    }
    return audible;
}

}  // namespace host
