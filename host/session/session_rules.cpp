// What a session must obey whether it was read or built in memory.
#include "host/session/session.h"

#include <algorithm>
#include <cmath>
#include <unordered_map>

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

bool IsUtf8(std::string_view s) {
    for (size_t i = 0; i < s.size();) {
        const auto lead = static_cast<unsigned char>(s[i]);
        const size_t length = lead < 0x80   ? 1
                              : lead < 0xC2 ? 0
                              : lead < 0xE0 ? 2
                              : lead < 0xF0 ? 3
                              : lead < 0xF5 ? 4
                                            : 0;
        if (length == 0 || s.size() - i < length) return false;
        uint32_t point = length == 1 ? lead : lead & (0x7Fu >> length);
        for (size_t k = 1; k < length; k++) {
            const auto next = static_cast<unsigned char>(s[i + k]);
            if ((next & 0xC0) != 0x80) return false;
            point = point << 6 | (next & 0x3F);
        }
        const bool overlong = (length == 3 && point < 0x800) || (length == 4 && point < 0x10000);
        if (overlong || point > 0x10FFFF || (point >= 0xD800 && point < 0xE000)) return false;
        i += length;
    }
    return true;
}

// Checks one value after the other and refuses at the first fault.
class Checker {
public:
    void Enter(std::string place) { m_place = std::move(place); }

    void Require(bool good, const char* member, std::string_view reason) const {
        if (!good) throw SessionError({}, m_place + member, reason);
    }
    void Range(double v, double low, double high, const char* member) const {
        Require(v >= low && v <= high, member, "is out of range");  // false for NaN as well
    }
    void Text(const std::string& text, size_t maxBytes, const char* member) const {
        Require(text.size() <= maxBytes, member, "is too long");
        Require(text.find('\0') == std::string::npos, member, "holds a character 0");
        Require(IsUtf8(text), member, "is not UTF-8");
    }

private:
    std::string m_place;
};

bool FeedsDevice(ChannelKind kind) { return kind == ChannelKind::Master || kind == ChannelKind::PreviewBus; }

void CheckClip(const Clip& clip, const Checker& check) {
    check.Text(clip.file, kMaxTextBytes * 4, "/file");
    check.Require(!clip.file.empty(), "/file", "is empty");
    check.Require(clip.file.front() != '/', "/file", "must be relative to the session's folder");
    check.Range(clip.start, 0, kMaxSeconds, "/start");
    check.Range(clip.offset, 0, kMaxSeconds, "/offset");
    check.Range(clip.length, 0, kMaxSeconds, "/length");
    check.Require(clip.length > 0, "/length", "must be above 0");
    check.Range(clip.gain_db, kSilenceDb, kMaxGainDb, "/gain_db");
}

void CheckChannel(const Channel& channel, const std::string& place) {
    Checker check;
    check.Enter(place);
    check.Require(channel.id >= 1 && channel.id <= kMaxChannelId, "/id", "is out of range");
    check.Text(channel.name, kMaxTextBytes, "/name");
    check.Range(channel.fader_db, kSilenceDb, kMaxGainDb, "/fader_db");
    check.Range(channel.pan, -1, 1, "/pan");
    check.Require(channel.colour < kTrackColours, "/colour", "is out of range");
    check.Require(channel.clips.empty() || channel.kind == ChannelKind::AudioTrack, "/clips",
                  "only a track has clips");
    check.Require(channel.clips.size() <= kMaxClips, "/clips", "has too many elements");
    for (size_t i = 0; i < channel.clips.size(); i++) {
        check.Enter(place + "/clips/" + std::to_string(i));
        CheckClip(channel.clips[i], check);
    }
}

void CheckPreferences(const Session& session) {
    Checker check;
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

// Every output exists and takes input; following the outputs from any channel ends at the device.
void CheckRouting(const std::vector<Channel>& channels) {
    std::unordered_map<ChannelId, size_t> index;
    for (size_t i = 0; i < channels.size(); i++)
        if (!index.emplace(channels[i].id, i).second)
            throw SessionError({}, "/channels/" + std::to_string(i) + "/id", "another channel has this id");

    const auto place = [](size_t i) { return "/channels/" + std::to_string(i) + "/output"; };
    for (size_t i = 0; i < channels.size(); i++) {
        const Channel& channel = channels[i];
        if (FeedsDevice(channel.kind)) {
            if (channel.output != kNoChannel)
                throw SessionError({}, place(i), "this kind feeds the device alone");
            continue;
        }
        const auto target = index.find(channel.output);
        if (target == index.end()) throw SessionError({}, place(i), "no such channel");
        const ChannelKind kind = channels[target->second].kind;
        if (kind == ChannelKind::AudioTrack) throw SessionError({}, place(i), "a track takes no input");
    }

    enum : char { Unseen, OnPath, EndsAtDevice };
    std::vector<char> state(channels.size(), Unseen);
    for (size_t start = 0; start < channels.size(); start++) {
        std::vector<size_t> path;
        size_t at = start;
        while (state[at] == Unseen) {
            state[at] = OnPath;
            path.push_back(at);
            if (FeedsDevice(channels[at].kind)) break;
            at = index.at(channels[at].output);
            if (state[at] == OnPath) throw SessionError({}, place(path.back()), "the outputs make a circle");
        }
        for (size_t i : path) state[i] = EndsAtDevice;
    }
}

}  // namespace

SessionError::SessionError(std::string_view file, std::string_view where, std::string_view why)
    : std::runtime_error(Join(file, where, why)), place(where), reason(why) {}

void CheckSession(const Session& session) {
    Checker check;
    check.Range(session.sample_rate, kMinSampleRate, kMaxSampleRate, "/sample_rate");
    check.Range(session.length, 0, kMaxSeconds, "/length");
    check.Range(session.loop.start, 0, kMaxSeconds, "/loop/start");
    check.Range(session.loop.end, session.loop.start, kMaxSeconds, "/loop/end");
    check.Require(!session.loop.on || session.loop.end > session.loop.start, "/loop/end",
                  "must lie after the start");
    if (session.tempo) check.Range(*session.tempo, kMinTempo, kMaxTempo, "/tempo");
    check.Require(session.channels.size() <= kMaxChannels, "/channels", "has too many elements");
    size_t clips = 0;
    for (size_t i = 0; i < session.channels.size(); i++) {
        CheckChannel(session.channels[i], "/channels/" + std::to_string(i));
        clips += session.channels[i].clips.size();
    }
    check.Require(clips <= kMaxSessionClips, "/channels", "have too many clips together");

    const auto count = [&](ChannelKind kind) {
        return std::count_if(session.channels.begin(), session.channels.end(),
                             [&](const Channel& c) { return c.kind == kind; });
    };
    check.Require(count(ChannelKind::Master) == 1, "/channels", "must have one master");
    check.Require(count(ChannelKind::PreviewBus) <= 1, "/channels", "has more than one preview bus");
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
