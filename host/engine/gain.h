// Decibels and linear gains.
#pragma once

namespace host {

/// Decibels to a linear factor; at or below kSilenceDb exactly 0. [any-thread]
float GainFromDb(double db);

/// The decibels whose factor is `gain`, within kSilenceDb..kMaxGainDb. For gains in that range the way back
/// gives the same float. [any-thread]
double DbFromGain(float gain);

/// The same for a level, which may be above any fader's range; kSilenceDb at least. [any-thread]
double DbFromLevel(float level);

}  // namespace host
