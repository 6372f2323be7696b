// The session's records as JSON and back.
#include "host/session/session.h"
#include "host/session/strict_json.h"

#include <array>

namespace host {

using nlohmann::ordered_json;

namespace {

constexpr std::string_view kFormat = "tarn-session";
constexpr int kVersion = 1;

struct KindName {
    ChannelKind kind;
    const char* name;
};
constexpr std::array<KindName, 4> kKindNames{{{ChannelKind::AudioTrack, "track"},
                                              {ChannelKind::AudioBus, "bus"},
                                              {ChannelKind::Master, "master"},
                                              {ChannelKind::PreviewBus, "preview"}}};

struct Flag {
    const char* name;
    bool Channel::*member;
};
constexpr std::array<Flag, 5> kFlags{{{"mute", &Channel::mute},
                                      {"solo", &Channel::solo},
                                      {"phase", &Channel::phase},
                                      {"selected", &Channel::selected},
                                      {"hidden", &Channel::hidden}}};

ChannelKind ReadKind(const JsonNode& node) {
    const std::string text = node.Text(kMaxTextBytes);
    for (const KindName& k : kKindNames)
        if (text == k.name) return k.kind;
    node.Refuse("must be track, bus, master or preview");
}

const char* NameOf(ChannelKind kind) {
    for (const KindName& k : kKindNames)
        if (k.kind == kind) return k.name;
    return "";
}

Clip ReadClip(const JsonNode& node) {
    node.ExpectMembers({"file", "start", "offset", "length", "gain_db"});
    Clip clip;
    clip.file = node.Member("file").Text(kMaxTextBytes * 4);
    clip.start = node.Member("start").Number(0, kMaxSeconds);
    clip.length = node.Member("length").Number(0, kMaxSeconds);
    if (auto n = node.Optional("offset")) clip.offset = n->Number(0, kMaxSeconds);
    if (auto n = node.Optional("gain_db")) clip.gain_db = n->Number(kSilenceDb, kMaxGainDb);
    return clip;
}

Channel ReadChannel(const JsonNode& node) {
    node.ExpectMembers({"id", "kind", "name", "fader_db", "pan", "mute", "solo", "phase", "selected",
                        "hidden", "colour", "output", "clips"});
    Channel channel;
    channel.id = static_cast<ChannelId>(node.Member("id").Integer(1, kMaxChannelId));
    channel.kind = ReadKind(node.Member("kind"));
    channel.name = node.Member("name").Text(kMaxTextBytes);
    if (auto n = node.Optional("fader_db")) channel.fader_db = n->Number(kSilenceDb, kMaxGainDb);
    if (auto n = node.Optional("pan")) channel.pan = n->Number(-1, 1);
    for (const Flag& flag : kFlags)
        if (auto n = node.Optional(flag.name)) channel.*flag.member = n->Bool();
    if (auto n = node.Optional("colour"))
        channel.colour = static_cast<uint32_t>(n->Integer(0, kTrackColours - 1));
    if (auto n = node.Optional("output"))
        channel.output = static_cast<ChannelId>(n->Integer(1, kMaxChannelId));
    if (auto n = node.Optional("clips"))
        n->Each(kMaxClips, [&](const JsonNode& c) { channel.clips.push_back(ReadClip(c)); });
    return channel;
}

constexpr std::string_view kHexDigits = "0123456789abcdef";

std::vector<uint8_t> ReadHex(const JsonNode& node) {
    const std::string text = node.Text(kMaxPreferenceBytes * 2);
    if (text.size() % 2) node.Refuse("must have two digits a byte");
    std::vector<uint8_t> bytes;
    for (size_t i = 0; i < text.size(); i += 2) {
        const size_t high = kHexDigits.find(text[i]), low = kHexDigits.find(text[i + 1]);
        if (high == std::string_view::npos || low == std::string_view::npos)
            node.Refuse("must be hexadecimal digits in lower case");
        bytes.push_back(static_cast<uint8_t>(high << 4 | low));
    }
    return bytes;
}

std::string Hex(const std::vector<uint8_t>& bytes) {
    std::string text;
    for (uint8_t b : bytes) {
        text += kHexDigits[b >> 4];
        text += kHexDigits[b & 15];
    }
    return text;
}

void ReadPreference(const JsonNode& node, Preferences& preferences) {
    node.ExpectMembers({"section", "key", "int", "uint", "text", "hex"});
    PreferenceKey key;
    key.section = node.Member("section").Text(kMaxTextBytes);
    const JsonNode keyNode = node.Member("key");
    if (keyNode.IsText())
        key.key = keyNode.Text(kMaxTextBytes);
    else
        key.key = static_cast<uint32_t>(keyNode.Integer(0, UINT32_MAX));

    std::optional<PreferenceValue> value;
    const auto take = [&](PreferenceValue v) {
        if (value) node.Refuse("has more than one value");
        value = std::move(v);
    };
    if (auto n = node.Optional("int")) take(static_cast<int32_t>(n->Integer(INT32_MIN, INT32_MAX)));
    if (auto n = node.Optional("uint")) take(static_cast<uint32_t>(n->Integer(0, UINT32_MAX)));
    if (auto n = node.Optional("text")) take(n->Text(kMaxPreferenceBytes));
    if (auto n = node.Optional("hex")) take(ReadHex(*n));
    if (!value) node.Refuse("has no value: int, uint, text or hex");
    if (!preferences.emplace(std::move(key), std::move(*value)).second)
        keyNode.Refuse("this key is given twice");
}

LoopRange ReadLoop(const JsonNode& node) {
    node.ExpectMembers({"start", "end", "on"});
    LoopRange loop;
    loop.start = node.Member("start").Number(0, kMaxSeconds);
    loop.end = node.Member("end").Number(0, kMaxSeconds);
    loop.on = node.Member("on").Bool();
    return loop;
}

ordered_json Format(const Clip& clip) {
    return {{"file", clip.file},
            {"start", clip.start},
            {"offset", clip.offset},
            {"length", clip.length},
            {"gain_db", clip.gain_db}};
}

ordered_json Format(const Channel& channel) {
    ordered_json out{{"id", channel.id},
                     {"kind", NameOf(channel.kind)},
                     {"name", channel.name},
                     {"fader_db", channel.fader_db},
                     {"pan", channel.pan}};
    for (const Flag& flag : kFlags) out[flag.name] = channel.*flag.member;
    out["colour"] = channel.colour;
    if (channel.output != kNoChannel) out["output"] = channel.output;
    if (channel.kind != ChannelKind::AudioTrack) return out;
    ordered_json& clips = out["clips"] = ordered_json::array();
    for (const Clip& clip : channel.clips) clips.push_back(Format(clip));
    return out;
}

ordered_json Format(const PreferenceKey& key, const PreferenceValue& value) {
    ordered_json out{{"section", key.section}};
    std::visit([&](const auto& k) { out["key"] = k; }, key.key);
    if (auto* v = std::get_if<int32_t>(&value)) out["int"] = *v;
    if (auto* v = std::get_if<uint32_t>(&value)) out["uint"] = *v;
    if (auto* v = std::get_if<std::string>(&value)) out["text"] = *v;
    if (auto* v = std::get_if<std::vector<uint8_t>>(&value)) out["hex"] = Hex(*v);
    return out;
}

ordered_json Format(const Preferences& preferences) {
    ordered_json out = ordered_json::array();
    for (const auto& [key, value] : preferences) out.push_back(Format(key, value));
    return out;
}

}  // namespace

Session ParseSession(std::string_view text) {
    const nlohmann::json document = ParseStrictJson(text);
    const JsonNode root(document);
    if (root.Member("format").Text(kMaxTextBytes) != kFormat)
        root.Member("format").Refuse("is not a session");
    if (root.Member("version").Integer(1, INT32_MAX) != kVersion)
        root.Member("version").Refuse("is of a newer program, this one reads version 1");
    root.ExpectMembers(
        {"format", "version", "sample_rate", "length", "loop", "tempo", "channels", "preferences"});

    Session session;
    session.sample_rate =
        static_cast<int>(root.Member("sample_rate").Integer(kMinSampleRate, kMaxSampleRate));
    session.length = root.Member("length").Number(0, kMaxSeconds);
    if (auto n = root.Optional("loop")) session.loop = ReadLoop(*n);
    if (auto n = root.Optional("tempo")) session.tempo = n->Number(kMinTempo, kMaxTempo);
    root.Member("channels").Each(kMaxChannels, [&](const JsonNode& n) {
        session.channels.push_back(ReadChannel(n));
    });
    if (auto n = root.Optional("preferences"))
        n->Each(kMaxPreferences, [&](const JsonNode& p) { ReadPreference(p, session.preferences); });
    CheckSession(session);
    return session;
}

std::string FormatSession(const Session& session) {
    CheckSession(session);
    ordered_json out{
        {"format", kFormat},
        {"version", kVersion},
        {"sample_rate", session.sample_rate},
        {"length", session.length},
        {"loop", {{"start", session.loop.start}, {"end", session.loop.end}, {"on", session.loop.on}}}};
    if (session.tempo) out["tempo"] = *session.tempo;
    ordered_json& channels = out["channels"] = ordered_json::array();
    for (const Channel& channel : session.channels) channels.push_back(Format(channel));
    out["preferences"] = Format(session.preferences);
    std::string text = out.dump(2) + "\n";
    if (text.size() > kMaxSessionBytes) throw SessionError({}, {}, "is larger than a session may be");
    return text;
}

Preferences ParsePreferences(std::string_view text) {
    const nlohmann::json document = ParseStrictJson(text);
    Preferences preferences;
    JsonNode(document).Each(kMaxPreferences, [&](const JsonNode& p) { ReadPreference(p, preferences); });
    return preferences;
}

std::string FormatPreferences(const Preferences& preferences) { return Format(preferences).dump(); }

}  // namespace host
