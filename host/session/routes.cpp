#include "host/session/routes.h"

#include <algorithm>

namespace host {

std::unordered_map<ChannelId, size_t> PlacesOf(std::span<const Channel> channels) {
    std::unordered_map<ChannelId, size_t> places;
    for (size_t i = 0; i < channels.size(); i++) places.emplace(channels[i].id, i);
    return places;
}

std::vector<std::vector<size_t>> FeedsOf(std::span<const Channel> channels) {
    const auto places = PlacesOf(channels);
    std::vector<std::vector<size_t>> feeds(channels.size());
    const auto add = [&](size_t from, ChannelId to) {
        const auto target = places.find(to);
        if (target != places.end() && std::ranges::find(feeds[from], target->second) == feeds[from].end())
            feeds[from].push_back(target->second);
    };
    for (size_t i = 0; i < channels.size(); i++) {
        add(i, channels[i].output);
        for (const Send& send : channels[i].sends) add(i, send.target);
        if (channels[i].input.source != InputSource::Channel) continue;
        if (const auto heard = places.find(channels[i].input.channel); heard != places.end())
            add(heard->second, channels[i].id);
    }
    return feeds;
}

// Walks in depth first, without recursion: a session may hold a way as long as it has channels.
std::vector<size_t> FindCircle(const std::vector<std::vector<size_t>>& feeds) {
    enum : char { Unseen, OnPath, Done };
    std::vector<char> state(feeds.size(), Unseen);
    std::vector<size_t> path, next(feeds.size(), 0);
    for (size_t start = 0; start < feeds.size(); start++) {
        if (state[start] != Unseen) continue;
        path.push_back(start);
        state[start] = OnPath;
        while (!path.empty()) {
            const size_t at = path.back();
            if (next[at] == feeds[at].size()) {
                state[at] = Done;
                path.pop_back();
                continue;
            }
            const size_t to = feeds[at][next[at]++];
            if (state[to] == OnPath) {
                path.erase(path.begin(), std::ranges::find(path, to));
                return path;
            }
            if (state[to] == Unseen) {
                state[to] = OnPath;
                path.push_back(to);
            }
        }
    }
    return {};
}

}  // namespace host
