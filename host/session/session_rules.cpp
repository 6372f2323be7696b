// What a session must obey whether it was read or built in memory.
#include "host/session/channel_fields.h"
#include "host/session/routes.h"
#include "host/session/rule_checker.h"

#include <algorithm>

namespace host {

namespace {

// A line must stay one line, whatever a file's member names and paths hold.
std::string OneLine(std::string_view text) {
    std::string line(text);
    for (char& c : line)
        if (static_cast<unsigned char>(c) < 0x20 || c == 0x7F) c = '?';
    return line;
}

std::string Join(std::string_view file, std::string_view place, std::string_view reason) {
    std::string text;
    for (std::string_view part : {file, place})
        if (!part.empty()) text += std::string(part) + ": ";
    return OneLine(text + std::string(reason));
}

void CheckPreferences(const Session& session) {
    RuleChecker check;
    check.Enter("/preferences");
    check.Require(session.preferences.size() <= kMaxPreferences, "", "has too many elements");
    size_t i = 0;
    for (const auto& [key, value] : session.preferences) {
        check.Enter("/preferences/" + std::to_string(i++));
        check.Text(key.section, kMaxTextBytes, "/section");
        if (auto* name = std::get_if<std::string>(&key.key)) check.Text(*name, kMaxTextBytes, "/key");
        if (auto* text = std::get_if<std::string>(&value)) check.Text(*text, kMaxPreferenceBytes, "/text");
        if (auto* bytes = std::get_if<std::vector<uint8_t>>(&value))
            check.Require(bytes->size() <= kMaxPreferenceBytes, "/hex", "is too long");
    }
}

// The channels on the way, by name, back to the first.
std::string WayRound(const std::vector<Channel>& channels, const std::vector<size_t>& circle) {
    constexpr size_t most = 8;
    std::string way = "the way ";
    const auto add = [&](size_t i) {
        const Channel& channel = channels[i];
        way += channel.name.empty() ? "channel " + std::to_string(channel.id) : channel.name;
    };
    for (size_t i = 0; i < circle.size() && i < most; i++, way += " > ") add(circle[i]);
    if (circle.size() > most) way += "... > ";
    add(circle.front());
    return way + " makes a circle";
}

// Every route leads to what is there and takes it; following the routes from any channel ends.
void CheckRouting(const std::vector<Channel>& channels) {
    const auto index = PlacesOf(channels);
    const auto refuse = [](size_t i, const std::string& member, std::string_view why) {
        throw SessionError({}, "/channels/" + std::to_string(i) + member, why);
    };
    for (size_t i = 0; i < channels.size(); i++)
        if (index.at(channels[i].id) != i) refuse(i, "/id", "another channel has this id");
    for (size_t i = 0; i < channels.size(); i++) {
        const Channel& channel = channels[i];
        const auto find = [&](ChannelId id) {
            const auto at = index.find(id);
            return at == index.end() ? nullptr : &channels[at->second];
        };
        const bool midi = channel.kind == ChannelKind::MidiTrack;
        if (channel.kind == ChannelKind::Master || channel.kind == ChannelKind::PreviewBus) {
            if (channel.output != kNoChannel) refuse(i, "/output", "this kind feeds the device alone");
        } else if (const Channel* target = find(channel.output); target || !midi || channel.output) {
            if (!target) refuse(i, "/output", "no such channel");
            if (midi && target->kind != ChannelKind::Synth) refuse(i, "/output", "is no soft synth");
            if (!midi && !TraitsOf(target->kind).takesOutputs)
                refuse(i, "/output",
                       target->kind == ChannelKind::AudioTrack ? "a track takes no input"
                                                               : "this kind takes no outputs");
        }
        for (size_t k = 0; k < channel.sends.size(); k++) {
            const std::string member = "/sends/" + std::to_string(k) + "/target";
            const Channel* target = find(channel.sends[k].target);
            if (!target) refuse(i, member, "no such channel");
            if (!TraitsOf(target->kind).takesSends) refuse(i, member, "this kind takes no sends");
        }
        if (channel.input.source == InputSource::Channel) {
            const Channel* heard = find(channel.input.channel);
            if (!heard) refuse(i, "/input/channel", "no such channel");
            if (!TraitsOf(heard->kind).sends || heard->kind == ChannelKind::AudioTrack)
                refuse(i, "/input/channel", "is no bus that a track can listen to");
        }
    }
    const std::vector<size_t> circle = FindCircle(FeedsOf(channels));
    if (!circle.empty()) refuse(circle.back(), "", WayRound(channels, circle));
}

}  // namespace

SessionError::SessionError(std::string_view file, std::string_view where, std::string_view why)
    : std::runtime_error(Join(file, where, why)), place(where), reason(why) {}

void CheckSession(const Session& session) {
    RuleChecker check;
    check.Range(session.sample_rate, kMinSampleRate, kMaxSampleRate, "/sample_rate");
    check.Range(session.length, 0, kMaxSeconds, "/length");
    check.Range(session.loop.start, 0, kMaxSeconds, "/loop/start");
    check.Range(session.loop.end, session.loop.start, kMaxSeconds, "/loop/end");
    check.Require(!session.loop.on || session.loop.end > session.loop.start, "/loop/end",
                  "must lie after the start");
    if (session.tempo) check.Range(*session.tempo, kMinTempo, kMaxTempo, "/tempo");
    check.Require(session.channels.size() <= kMaxChannels, "/channels", "has too many elements");
    size_t clips = 0, points = 0;
    for (size_t i = 0; i < session.channels.size(); i++) {
        CheckChannel(session.channels[i], "/channels/" + std::to_string(i));
        clips += session.channels[i].clips.size();
        for (const AutomationCurve& curve : session.channels[i].automation) points += curve.points.size();
    }
    check.Require(clips <= kMaxSessionClips, "/channels", "have too many clips together");
    check.Require(points <= kMaxSessionPoints, "/channels", "have too much automation together");

    const auto count = [&](ChannelKind kind) {
        return std::count_if(session.channels.begin(), session.channels.end(),
                             [&](const Channel& c) { return c.kind == kind; });
    };
    check.Require(count(ChannelKind::Master) == 1, "/channels", "must have one master");
    for (size_t kind = 0; kind < std::size(kKindNames); kind++) {
        const KindTraits& traits = TraitsOf(static_cast<ChannelKind>(kind));
        check.Require(static_cast<size_t>(count(traits.kind)) <= traits.limit, "/channels",
                      "has more than " + std::to_string(traits.limit) + " of the kind " + traits.name);
    }
    CheckRouting(session.channels);
    CheckPreferences(session);
}

Session NewSession() {
    Session session;
    session.channels.push_back({.id = 1, .kind = ChannelKind::Master, .name = "Master"});
    session.channels.push_back({.id = 2, .kind = ChannelKind::PreviewBus, .name = "Preview"});
    return session;
}

Channel* FindChannel(Session& session, ChannelId id) {
    auto it = std::find_if(session.channels.begin(), session.channels.end(),
                           [&](const Channel& c) { return c.id == id; });
    return it == session.channels.end() ? nullptr : &*it;
}

const Channel* FindChannel(const Session& session, ChannelId id) {
    return FindChannel(const_cast<Session&>(session), id);
}

}  // namespace host
