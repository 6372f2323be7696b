// Where a channel's sound goes: pan laws, width, places in the room, downmix.
#pragma once

#include "host/engine/speakers.h"
#include "host/session/channel.h"

#include <array>

namespace host {

/// Share of each input side in each output side, [from][to].
using StereoMatrix = std::array<std::array<float, kStereoSides>, kStereoSides>;
using RoomMatrix = std::array<std::array<float, kMaxSides>, kStereoSides>;

/// pan -1 left .. 1 right, clamped; width as a channel's. p is the share of the way from the centre to the
/// side, the near side the one that pan points to. With width 1:
///
///   model          near side        far side                     far input in the near output
///   Add            1                1 - p                        p
///   Balance0       1                1 - p                        0
///   Balance3       sin((1 + p) * 45 degrees)   cos(same)         0      centre -3 dB
///   Balance6       (1 + p) / 2      (1 - p) / 2                  0      centre -6 dB
///   ConstantPower  as Balance3, 3 dB more: the centre passes unchanged, the power of a mono sound stays
///   Film           1                cos(p * 90 degrees)          sin(p * 90 degrees)
///
/// Ends are exact: what is silent is 0. [any-thread]
StereoMatrix PanMatrix(PanModel model, double pan, double width);

/// A stereo channel in the room: its two sides stand on both sides of the place, as far apart as width (up to
/// 1) and the walls let them. Between front and rear, and from side to side, the powers of neighbours make 1.
/// In the front the model Film goes by way of the centre speaker, the others straight from left to right. At
/// the place of a new channel the two sides come out of the front speakers unchanged. lfe is a gain.
/// [any-thread]
RoomMatrix PlaceInRoom(PanModel model, double x, double y, double width, float lfe);

/// Two channels of six by ITU-R BS.775: centre and rear at -3 dB, the low frequency channel left out.
inline constexpr float kDownmixShare = 0.70710678f;

}  // namespace host
