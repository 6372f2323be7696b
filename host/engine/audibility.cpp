#include "host/engine/audibility.h"

#include "host/session/routes.h"

#include <algorithm>

namespace host {

namespace {

using Ways = std::vector<std::vector<size_t>>;

// Everything that the marked ones lead to.
void Spread(const Ways& ways, std::vector<bool>& marked) {
    std::vector<size_t> waiting;
    for (size_t i = 0; i < marked.size(); i++)
        if (marked[i]) waiting.push_back(i);
    while (!waiting.empty()) {
        const size_t at = waiting.back();
        waiting.pop_back();
        for (size_t to : ways[at])
            if (!marked[to]) {
                marked[to] = true;
                waiting.push_back(to);
            }
    }
}

Ways Reversed(const Ways& ways) {
    Ways back(ways.size());
    for (size_t i = 0; i < ways.size(); i++)
        for (size_t to : ways[i]) back[to].push_back(i);
    return back;
}

}  // namespace

std::vector<Audibility> AudibleChannels(const std::vector<Channel>& channels) {
    std::vector<Audibility> audible(channels.size());
    std::vector<bool> soloed(channels.size());
    for (size_t i = 0; i < channels.size(); i++) {
        soloed[i] = channels[i].solo && channels[i].kind != ChannelKind::PreviewBus;
        audible[i].sends.assign(channels[i].sends.size(), true);
    }
    if (std::ranges::find(soloed, true) == soloed.end()) return audible;

    const auto places = PlacesOf(channels);
    const Ways feeds = FeedsOf(channels);
    Ways outputs(channels.size());
    for (size_t i = 0; i < channels.size(); i++)
        if (const auto to = places.find(channels[i].output); to != places.end())
            outputs[i].push_back(to->second);

    std::vector<bool> fed = soloed, feeding = soloed, leading = soloed;
    Spread(feeds, fed);
    Spread(Reversed(outputs), feeding);
    Spread(Reversed(feeds), leading);
    for (size_t i = 0; i < channels.size(); i++) {
        const Channel& channel = channels[i];
        audible[i].output =
            channel.kind == ChannelKind::PreviewBus || channel.solo_safe || fed[i] || feeding[i];
        for (size_t k = 0; k < channel.sends.size(); k++) {
            const auto to = places.find(channel.sends[k].target);
            audible[i].sends[k] = audible[i].output || (to != places.end() && leading[to->second]);
        }
    }
    return audible;
}

}  // namespace host
