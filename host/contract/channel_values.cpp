#include "host/contract/channel_values.h"

#include "host/contract/channel_words.h"
#include "host/engine/gain.h"

#include <algorithm>
#include <cmath>

namespace host {
namespace {

using Target = AutomationTarget;

/// Which channels have the value.
enum class Where : uint8_t { All, Flat, Wide, Placed, Fx, Send };

struct Row {
    uint32_t mask;  ///< with MASK_INPUT_SIDE
    uint32_t pair;  ///< a pair selector with one of these bits; 0 is without any
    Where where;
    Target target;
    float MPCHANNELREC::*field;
    bool isGain;
    double offset = 0;
};
constexpr uint32_t ANY_SIDE = SPEAKER_FRONT;
// The first row that fits counts.
constexpr Row ROWS[] = {
    {MASK_VOLUME, ANY_SIDE, Where::All, Target::Volume, &MPCHANNELREC::volume, true},
    {MASK_VOLUME, SPEAKER_REAR, Where::Wide, Target::RearVolume, &MPCHANNELREC::volume, true},
    {MASK_VOLUME, SPEAKER_CENTER, Where::Wide, Target::CenterVolume, &MPCHANNELREC::volume, true},
    {MASK_VOLUME, SPEAKER_LFE, Where::Wide, Target::LfeVolume, &MPCHANNELREC::volume, true},
    {MASK_VOLUME, SPEAKER_LFE, Where::Placed, Target::SurroundLfe, &MPCHANNELREC::volume, true},
    {MASK_VOLUME | MASK_INPUT_SIDE, ANY_SIDE, Where::Fx, Target::InputVolume, &MPCHANNELREC::volume, true},
    {MASK_PAN, ANY_SIDE, Where::Placed, Target::SurroundX, &MPCHANNELREC::pan, false},
    {MASK_PAN, ANY_SIDE, Where::All, Target::Pan, &MPCHANNELREC::pan, false},
    {MASK_PAN, SPEAKER_REAR, Where::Placed, Target::SurroundY, &MPCHANNELREC::pan, false},
    {MASK_PAN, SPEAKER_CENTER, Where::Flat, Target::Width, &MPCHANNELREC::pan, false, 1},
    {MASK_PAN | MASK_INPUT_SIDE, ANY_SIDE, Where::Fx, Target::InputPan, &MPCHANNELREC::pan, false},
    {MASK_AUX, ANY_SIDE, Where::Fx, Target::InputVolume, &MPCHANNELREC::aux, true},
    {MASK_INSERT, ANY_SIDE, Where::Fx, Target::InputVolume, &MPCHANNELREC::insertLevel, true},
    {MASK_SEND, 0, Where::Send, Target::SendLevel, &MPCHANNELREC::sendLevel, true},
};
// A send as an object of its own is worked like a small channel.
constexpr Row SEND_ROWS[] = {
    {MASK_SEND, 0, Where::Send, Target::SendLevel, &MPCHANNELREC::sendLevel, true},
    {MASK_VOLUME, 0, Where::Send, Target::SendLevel, &MPCHANNELREC::volume, true},
    {MASK_PAN, 0, Where::Send, Target::SendPan, &MPCHANNELREC::pan, false},
};

bool IsThere(Where where, const Session& session, const Channel& channel) {
    switch (where) {
    case Where::All:
    case Where::Send: return true;
    case Where::Flat: return TraitsOf(channel.kind).audio && !IsWide(session, channel.kind);
    case Where::Wide: return IsWide(session, channel.kind);
    case Where::Placed: return IsPlaced(session, channel);
    case Where::Fx: return channel.kind == ChannelKind::Fx;
    }
    return false;
}

}  // namespace

std::optional<std::vector<ChannelValue>> ValuesOf(const Session& session, const Channel& channel, SubId send,
                                                  uint32_t level, const MPCHANNELREC& rec, uint32_t mask) {
    std::vector<ChannelValue> values;
    const bool ofSend = level != LEVEL_CHANNEL;
    const std::span<const Row> rows = ofSend ? std::span<const Row>(SEND_ROWS) : std::span<const Row>(ROWS);
    // A value that has an input side means that one; those without one are not concerned.
    for (const uint32_t bit : {MASK_VOLUME, MASK_PAN, MASK_SEND, MASK_INSERT, MASK_AUX}) {
        if (!(mask & bit)) continue;
        const bool hasInputSide = bit == MASK_VOLUME || bit == MASK_PAN;
        const uint32_t wanted = bit | (hasInputSide ? mask & MASK_INPUT_SIDE : 0);
        const uint32_t pair = rec.pairSelector ? rec.pairSelector : ANY_SIDE;
        const auto at = std::ranges::find_if(rows, [&](const Row& row) {
            return row.mask == wanted && (ofSend || row.pair == 0 || (row.pair & pair)) &&
                   IsThere(row.where, session, channel);
        });
        if (at == rows.end() || (at->where == Where::Send && send == kNoSub)) return std::nullopt;
        values.push_back(
            {{at->target, at->where == Where::Send ? send : kNoSub, {}}, at->field, at->isGain, at->offset});
    }
    return values;
}

float ToRecord(const ChannelValue& value, double setting) {
    return value.isGain ? GainFromDb(setting) : static_cast<float>(setting - value.offset);
}

std::optional<double> FromRecord(const ChannelValue& value, float number) {
    if (!std::isfinite(number) || (value.isGain && number < 0)) return std::nullopt;
    return value.isGain ? DbFromGain(number) : double{number} + value.offset;
}

}  // namespace host
