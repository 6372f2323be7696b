// Decibels, linear gains and the pan law.
#pragma once

namespace host {

/// Factors of the two sides.
struct StereoGain {
    float left = 0;
    float right = 0;

    friend bool operator==(const StereoGain&, const StereoGain&) = default;
};

/// Decibels to a linear factor; at or below kSilenceDb exactly 0. [any-thread]
float GainFromDb(double db);

/// The decibels whose factor is `gain`, within kSilenceDb..kMaxGainDb. For gains in that range the way back
/// gives the same float. [any-thread]
double DbFromGain(float gain);

/// The same for a level, which may be above any fader's range; kSilenceDb at least. [any-thread]
double DbFromLevel(float level);

/// Pan law: constant power with the centre at unity, so that an untouched channel passes its samples
/// unchanged. pan: -1 left .. 1 right, clamped. At an end the near side is at +3.01 dB and the far side
/// exactly silent; for a mono signal the sum of the two powers is the same everywhere. A stereo signal is
/// balanced by the same factors. [any-thread]
StereoGain PanGains(double pan);

}  // namespace host
