// What a channel of each kind may have.
#include "host/session/automation.h"
#include "host/session/rule_checker.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <set>

namespace host {

namespace {

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

void CheckClip(const Clip& clip, const RuleChecker& check) {
    check.Text(clip.file, kMaxTextBytes * 4, "/file");
    check.Require(!clip.file.empty(), "/file", "is empty");
    check.Require(clip.file.front() != '/', "/file", "must be relative to the session's folder");
    check.Range(clip.start, 0, kMaxSeconds, "/start");
    check.Range(clip.offset, 0, kMaxSeconds, "/offset");
    check.Range(clip.length, 0, kMaxSeconds, "/length");
    check.Require(clip.length > 0, "/length", "must be above 0");
    check.Range(clip.gain_db, kSilenceDb, kMaxGainDb, "/gain_db");
}

void CheckInsert(const Insert& insert, const RuleChecker& check) {
    check.Require(insert.id != kNoSub, "/id", "is out of range");
    check.Text(insert.uri, kMaxTextBytes, "/uri");
    check.Require(!insert.uri.empty(), "/uri", "is empty");
    check.Text(insert.name, kMaxTextBytes, "/name");
    check.Text(insert.state, kMaxStateBytes, "/state");
}

void CheckCurve(const Channel& channel, const AutomationCurve& curve, const RuleChecker& check) {
    const AutomationKey& key = curve.key;
    const TargetTraits& traits = TraitsOf(key.target);
    switch (traits.owner) {
    case TargetOwner::Channel:
        check.Require(key.sub == kNoSub, "/key/sub", "belongs to no send or effect");
        break;
    case TargetOwner::Send: check.Require(FindSend(channel, key.sub), "/key/sub", "no such send"); break;
    case TargetOwner::Effect:
        check.Require(FindInsert(channel, key.sub), "/key/sub", "no such effect");
        break;
    }
    const bool parameter = key.target == AutomationTarget::Parameter;
    check.Require(parameter == !key.parameter.empty(), "/key/parameter",
                  parameter ? "is empty" : "is for effects");
    check.Text(key.parameter, kMaxTextBytes, "/key/parameter");
    check.Require(!curve.points.empty(), "/points", "is empty");
    check.Require(curve.points.size() <= kMaxPoints, "/points", "has too many elements");
    double before = -1;
    for (const AutomationPoint& point : curve.points) {
        check.Range(point.seconds, 0, kMaxSeconds, "/points");
        check.Require(point.seconds > before, "/points", "must rise in time");
        check.Range(point.value, traits.low, traits.high, "/points");
        before = point.seconds;
    }
}

void CheckParts(const Channel& channel, const std::string& place) {
    RuleChecker check(place);
    const KindTraits& traits = TraitsOf(channel.kind);
    check.Require(channel.inserts.empty() || traits.audio, "/inserts", "this kind has no chain");
    check.Require(channel.inserts.size() <= kMaxInserts, "/inserts", "has too many elements");
    check.Require(!channel.instrument || channel.kind == ChannelKind::Synth, "/instrument",
                  "only a soft synth has one");
    check.Require(channel.sends.empty() || traits.sends, "/sends", "this kind has no sends");
    check.Require(channel.sends.size() <= kMaxSends, "/sends", "has too many elements");
    check.Require(channel.automation.size() <= kMaxCurves, "/automation", "has too many elements");
    std::set<SubId> ids;
    const auto unique = [&](SubId id) {
        check.Require(ids.insert(id).second, "/id", "another send or effect has this id");
    };
    if (channel.instrument) {
        check.Enter(place + "/instrument");
        CheckInsert(*channel.instrument, check);
        unique(channel.instrument->id);
    }
    for (size_t i = 0; i < channel.inserts.size(); i++) {
        check.Enter(place + "/inserts/" + std::to_string(i));
        CheckInsert(channel.inserts[i], check);
        unique(channel.inserts[i].id);
    }
    std::set<ChannelId> targets;
    for (size_t i = 0; i < channel.sends.size(); i++) {
        const Send& send = channel.sends[i];
        check.Enter(place + "/sends/" + std::to_string(i));
        check.Require(send.id != kNoSub, "/id", "is out of range");
        unique(send.id);
        check.Require(targets.insert(send.target).second, "/target", "another send goes there");
        check.Range(send.level_db, kSilenceDb, kMaxGainDb, "/level_db");
        check.Range(send.pan, -1, 1, "/pan");
    }
    std::set<AutomationKey> keys;
    for (size_t i = 0; i < channel.automation.size(); i++) {
        check.Enter(place + "/automation/" + std::to_string(i));
        check.Require(keys.insert(channel.automation[i].key).second, "/key", "another curve has this key");
        CheckCurve(channel, channel.automation[i], check);
    }
}

void CheckRoutes(const Channel& channel, const RuleChecker& check) {
    const KindTraits& traits = TraitsOf(channel.kind);
    const InputRoute& input = channel.input;
    check.Require(input.source == InputSource::None || traits.recordsInput, "/input",
                  "this kind has no input");
    check.Require(input.source != InputSource::Channel || channel.kind == ChannelKind::AudioTrack,
                  "/input/source", "only an audio track listens to a bus");
    check.Require(input.first < kMaxDeviceInputs, "/input/first", "is out of range");
    check.Text(input.midi_port, kMaxTextBytes, "/input/midi_port");
    check.Require(input.midi_channel <= 16, "/input/midi_channel", "is out of range");
    check.Require(channel.midi_channel <= 16, "/midi_channel", "is out of range");
}

}  // namespace

void RuleChecker::Text(const std::string& text, size_t maxBytes, const char* member) const {
    Require(text.size() <= maxBytes, member, "is too long");
    Require(text.find('\0') == std::string::npos, member, "holds a character 0");
    Require(IsUtf8(text), member, "is not UTF-8");
}

void CheckChannel(const Channel& channel, const std::string& place) {
    RuleChecker check(place);
    check.Require(channel.id >= 1 && channel.id <= kMaxChannelId, "/id", "is out of range");
    check.Text(channel.name, kMaxTextBytes, "/name");
    check.Range(channel.fader_db, kSilenceDb, kMaxGainDb, "/fader_db");
    check.Range(channel.fader_right_db.value_or(0), kSilenceDb, kMaxGainDb, "/fader_right_db");
    check.Range(channel.pan, -1, 1, "/pan");
    check.Range(channel.width, 0, kMaxWidth, "/width");
    check.Range(channel.input_db, kSilenceDb, kMaxGainDb, "/input_db");
    check.Range(channel.input_pan, -1, 1, "/input_pan");
    check.Range(channel.place.x, -1, 1, "/place/x");
    check.Range(channel.place.y, -1, 1, "/place/y");
    check.Range(channel.place.lfe_db, kSilenceDb, kMaxGainDb, "/place/lfe_db");
    check.Range(channel.faders.rear_db, kSilenceDb, kMaxGainDb, "/faders/rear_db");
    check.Range(channel.faders.center_db, kSilenceDb, kMaxGainDb, "/faders/center_db");
    check.Range(channel.faders.lfe_db, kSilenceDb, kMaxGainDb, "/faders/lfe_db");
    check.Require(channel.colour < kTrackColours, "/colour", "is out of range");
    check.Require(channel.clips.empty() || TraitsOf(channel.kind).clips, "/clips", "only a track has clips");
    check.Require(channel.clips.size() <= kMaxClips, "/clips", "has too many elements");
    for (size_t i = 0; i < channel.clips.size(); i++) {
        check.Enter(place + "/clips/" + std::to_string(i));
        CheckClip(channel.clips[i], check);
        check.Require(channel.clips[i].gain_db == 0 || channel.kind == ChannelKind::AudioTrack, "/gain_db",
                      "is for audio");
    }
    CheckRoutes(channel, RuleChecker(place));
    CheckParts(channel, place);
}

}  // namespace host
