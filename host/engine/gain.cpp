#include "host/engine/gain.h"

#include "host/session/session.h"

#include <algorithm>
#include <cmath>

namespace host {

float GainFromDb(double db) {
    if (!(db > kSilenceDb)) return 0.0f;
    return static_cast<float>(std::pow(10.0, db / 20.0));
}

double DbFromLevel(float level) {
    if (!(level > 0.0f)) return kSilenceDb;
    return std::max(kSilenceDb, 20.0 * std::log10(static_cast<double>(level)));
}

double DbFromGain(float gain) { return std::min(kMaxGainDb, DbFromLevel(gain)); }

}  // namespace host
