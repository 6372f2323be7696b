#include "host/engine/route_gains.h"

#include "host/engine/gain.h"
#include "host/engine/pan_law.h"

#include <algorithm>
#include <iterator>

namespace host {

namespace {

constexpr Tap kStereo[] = {{Left, Left}, {Right, Right}, {Left, Right}, {Right, Left}};
constexpr Tap kIntoRoom[] = {{Left, Left},     {Left, Right},     {Left, Center},    {Left, Lfe},
                             {Left, RearLeft}, {Left, RearRight}, {Right, Left},     {Right, Right},
                             {Right, Center},  {Right, Lfe},      {Right, RearLeft}, {Right, RearRight}};
constexpr Tap kRoom[] = {{Left, Left}, {Right, Right},       {Center, Center},
                         {Lfe, Lfe},   {RearLeft, RearLeft}, {RearRight, RearRight}};
constexpr Tap kDownmix[] = {{Left, Left},    {Right, Right},   {Center, Left},
                            {Center, Right}, {RearLeft, Left}, {RearRight, Right}};
static_assert(std::size(kIntoRoom) <= GainCourse::kMost);

struct Volumes {
    float side[kMaxSides];
};

// Of the channel's sides, with polarity and the switches that silence it.
Volumes VolumesOf(const StripSettings& s, Stage stage) {
    const float open = s.mute || !s.heard ? 0.0f : 1.0f;
    if (stage == Stage::AfterVolume) return {{open, open, open, open, open, open}};
    const float sign = s.inverted ? -open : open;
    return {{sign * s.volume[Left], sign * s.volume[Right], sign * s.center, sign * s.low, sign * s.rear,
             sign * s.rear}};
}

GainCourse::Gains RouteGains(const StripSettings& s, const Volumes& v, double pan, PanModel model,
                             double width, size_t fromSides, size_t toSides) {
    GainCourse::Gains gains{};
    if (fromSides == kStereoSides && toSides == kMaxSides) {
        const RoomMatrix room = PlaceInRoom(model, s.x, s.y, s.width, s.lfe);
        for (size_t i = 0; i < std::size(kIntoRoom); i++)
            gains[i] = v.side[kIntoRoom[i].from] * room[kIntoRoom[i].from][kIntoRoom[i].to];
        return gains;
    }
    const StereoMatrix across = PanMatrix(model, pan, fromSides == kStereoSides ? width : 1);
    if (fromSides == kStereoSides) {
        for (size_t i = 0; i < std::size(kStereo); i++)
            gains[i] = v.side[kStereo[i].from] * across[kStereo[i].from][kStereo[i].to];
        return gains;
    }
    // A surround channel's pan balances front and rear alike.
    const float left = across[Left][Left], right = across[Right][Right];
    const float balance[kMaxSides] = {left, right, 1, 1, left, right};
    const std::span<const Tap> taps = TapsOf(fromSides, toSides);
    for (size_t i = 0; i < taps.size(); i++) {
        const Tap tap = taps[i];
        gains[i] = v.side[tap.from] * balance[tap.from];
        if (tap.from != tap.to) gains[i] *= kDownmixShare;
    }
    return gains;
}

}  // namespace

StripSettings SettingsOf(const Channel& channel, bool heard) {
    StripSettings s;
    s.volume[Left] = GainFromDb(channel.fader_db);
    s.volume[Right] = GainFromDb(channel.fader_right_db.value_or(channel.fader_db));
    s.pan = static_cast<float>(channel.pan);
    s.width = static_cast<float>(channel.width);
    s.inputVolume = GainFromDb(channel.input_db);
    s.inputPan = static_cast<float>(channel.input_pan);
    s.x = static_cast<float>(channel.place.x);
    s.y = static_cast<float>(channel.place.y);
    s.lfe = GainFromDb(channel.place.lfe_db);
    s.rear = GainFromDb(channel.faders.rear_db);
    s.center = GainFromDb(channel.faders.center_db);
    s.low = GainFromDb(channel.faders.lfe_db);
    s.panModel = static_cast<uint32_t>(channel.pan_model);
    s.mute = channel.mute;
    s.heard = heard;
    s.inverted = channel.phase;
    return s;
}

SendSettings SettingsOf(const Send& send, bool heard) {
    return {.level = GainFromDb(send.level_db),
            .pan = static_cast<float>(send.pan),
            .panModel = static_cast<uint32_t>(send.pan_model),
            .linked = send.link_pan,
            .before = send.pre_fader,
            .mute = send.mute,
            .heard = heard};
}

void Override(StripSettings& s, AutomationTarget target, double value) {
    using T = AutomationTarget;
    const auto number = static_cast<float>(value);
    switch (target) {
    case T::Volume: s.volume[Left] = s.volume[Right] = GainFromDb(value); break;
    case T::Pan: s.pan = number; break;
    case T::Mute: s.mute = value >= 0.5; break;
    case T::Width: s.width = number; break;
    case T::InputVolume: s.inputVolume = GainFromDb(value); break;
    case T::InputPan: s.inputPan = number; break;
    case T::SurroundX: s.x = number; break;
    case T::SurroundY: s.y = number; break;
    case T::SurroundLfe: s.lfe = GainFromDb(value); break;
    case T::RearVolume: s.rear = GainFromDb(value); break;
    case T::CenterVolume: s.center = GainFromDb(value); break;
    case T::LfeVolume: s.low = GainFromDb(value); break;
    default: break;
    }
}

void Override(SendSettings& s, AutomationTarget target, double value) {
    using T = AutomationTarget;
    if (target == T::SendLevel) s.level = GainFromDb(value);
    if (target == T::SendPan) s.pan = static_cast<float>(value);
    if (target == T::SendMute) s.mute = value >= 0.5;
}

std::span<const Tap> TapsOf(size_t fromSides, size_t toSides) {
    if (fromSides == kStereoSides) return toSides == kStereoSides ? std::span<const Tap>(kStereo) : kIntoRoom;
    return toSides == kStereoSides ? std::span<const Tap>(kDownmix) : kRoom;
}

GainCourse::Gains OutputGains(const StripSettings& s, size_t fromSides, size_t toSides, Stage stage) {
    return RouteGains(s, VolumesOf(s, stage), s.pan, static_cast<PanModel>(s.panModel), s.width, fromSides,
                      toSides);
}

GainCourse::Gains SendGains(const StripSettings& s, const SendSettings& send, size_t fromSides,
                            size_t toSides, Stage stage) {
    // What solo keeps from the output may still be heard through a send, and the other way round.
    StripSettings own = s;
    own.heard = send.heard && !send.mute;
    if (send.before) own.volume[Left] = own.volume[Right] = own.center = own.low = own.rear = 1.0f;
    Volumes v = VolumesOf(own, send.before ? Stage::All : stage);
    for (float& volume : v.side) volume *= send.level;
    const auto model = static_cast<PanModel>(send.linked ? s.panModel : send.panModel);
    return RouteGains(s, v, send.linked ? s.pan : send.pan, model, send.linked ? s.width : 1, fromSides,
                      toSides);
}

GainCourse::Gains VolumeGains(const StripSettings& s, size_t sides) {
    StripSettings open = s;
    open.heard = true;
    open.mute = false;
    const Volumes volumes = VolumesOf(open, Stage::All);
    GainCourse::Gains gains{};
    std::copy_n(volumes.side, sides, gains.begin());
    return gains;
}

GainCourse::Gains InputGains(const StripSettings& s) {
    const StereoMatrix across = PanMatrix(PanModel::ConstantPower, s.inputPan, 1);
    return {s.inputVolume * across[Left][Left], s.inputVolume * across[Right][Right]};
}

}  // namespace host
