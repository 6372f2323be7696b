// The session's records as JSON and back.
#include "host/session/channel_fields.h"
#include "host/session/session.h"
#include "host/session/strict_json.h"

namespace host {

using nlohmann::ordered_json;

namespace {

constexpr std::string_view kFormat = "tarn-session";
constexpr int kVersion = 2;
constexpr const char* kModeNames[] = {"stereo", "surround_5.1"};

Monitoring ReadMonitoring(const JsonNode& node) {
    node.ExpectMembers({"dim", "downmix"});
    Monitoring monitoring;
    if (auto n = node.Optional("dim")) monitoring.dim = n->Bool();
    if (auto n = node.Optional("downmix")) monitoring.downmix = n->Bool();
    return monitoring;
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
    const auto version = static_cast<int>(root.Member("version").Integer(1, INT32_MAX));
    if (version > kVersion)
        root.Member("version").Refuse("is of a newer program, this one reads up to version " +
                                      std::to_string(kVersion));
    if (version == 1)
        root.ExpectMembers(
            {"format", "version", "sample_rate", "length", "loop", "tempo", "channels", "preferences"});
    else
        root.ExpectMembers({"format", "version", "sample_rate", "length", "loop", "tempo", "mode",
                            "monitoring", "channels", "preferences"});

    Session session;
    session.sample_rate =
        static_cast<int>(root.Member("sample_rate").Integer(kMinSampleRate, kMaxSampleRate));
    session.length = root.Member("length").Number(0, kMaxSeconds);
    if (auto n = root.Optional("loop")) session.loop = ReadLoop(*n);
    if (auto n = root.Optional("tempo")) session.tempo = n->Number(kMinTempo, kMaxTempo);
    if (auto n = root.Optional("mode")) session.mode = static_cast<ChannelMode>(n->OneOf(kModeNames));
    if (auto n = root.Optional("monitoring")) session.monitoring = ReadMonitoring(*n);
    root.Member("channels").Each(kMaxChannels, [&](const JsonNode& n) {
        session.channels.push_back(FieldReader<Channel>::Read(n, version));
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
    out["mode"] = kModeNames[static_cast<size_t>(session.mode)];
    out["monitoring"] = {{"dim", session.monitoring.dim}, {"downmix", session.monitoring.downmix}};
    ordered_json& channels = out["channels"] = ordered_json::array();
    for (const Channel& channel : session.channels) channels.push_back(FieldWriter<Channel>::Write(channel));
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
