#include "host/contract/channel_copies.h"

#include "host/contract/channel_parts.h"

#include <algorithm>
#include <map>

namespace host {
namespace {

/// "Voice" becomes "Voice 2", and "Voice 2" the next number that is free.
std::string FreeName(const std::string& name, const std::vector<Channel>& first,
                     const std::vector<Channel>& second) {
    const auto taken = [&](const std::string& text) {
        return std::ranges::find(first, text, &Channel::name) != first.end() ||
               std::ranges::find(second, text, &Channel::name) != second.end();
    };
    if (!taken(name)) return name;
    const size_t digits = name.find_last_not_of("0123456789");
    constexpr size_t MOST_DIGITS = 6;
    const bool numbered = digits != name.npos && digits + 1 < name.size() && name[digits] == ' ' &&
                          name.size() - digits <= MOST_DIGITS;
    const std::string stem = numbered ? name.substr(0, digits) : name;
    for (unsigned long n = numbered ? std::stoul(name.substr(digits + 1)) + 1 : 2;; n++)
        if (std::string text = stem + " " + std::to_string(n); !taken(text)) return text;
}

}  // namespace

std::vector<Channel> CopiesOf(std::vector<Channel> channels, const std::vector<Channel>& existing,
                              ChannelId output) {
    ChannelId last = kNoChannel;
    for (const Channel& other : existing) last = std::max(last, other.id);
    std::map<ChannelId, ChannelId> copies;
    for (const Channel& channel : channels) copies[channel.id] = ++last;
    const auto target = [&](ChannelId old) {
        if (const auto at = copies.find(old); at != copies.end()) return at->second;
        return std::ranges::find(existing, old, &Channel::id) == existing.end() ? kNoChannel : old;
    };
    std::vector<Channel> made;
    for (Channel& channel : channels) {
        channel.id = copies[channel.id];
        if (channel.output != kNoChannel) {
            channel.output = target(channel.output);
            if (channel.output == kNoChannel && channel.kind != ChannelKind::MidiTrack)
                channel.output = output;
        }
        if (channel.input.channel != kNoChannel && target(channel.input.channel) == kNoChannel)
            channel.input = {};
        else if (channel.input.channel != kNoChannel)
            channel.input.channel = target(channel.input.channel);
        std::vector<SubId> lost;
        for (Send& send : channel.sends) {
            send.target = target(send.target);
            if (send.target == kNoChannel) lost.push_back(send.id);
        }
        for (const SubId send : lost) RemovePart(channel, send);
        channel.selected = true;
        channel.solo = channel.arm = false;
        std::string name = FreeName(channel.name, existing, made);
        channel.name = std::move(name);
        made.push_back(std::move(channel));
    }
    return made;
}

}  // namespace host
