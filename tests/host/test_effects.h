// Effects whose sound is known beforehand, and some that misbehave.
#pragma once

#include "host/effects/effect.h"

#include <atomic>

namespace host::test {

/// By address: "urn:half" halves; "urn:late:N" passes N frames late; "urn:nan" passes and gives NaN from its
/// 1000th frame on; "urn:huge" likewise 1e30; "urn:absurd" claims 90 seconds; "urn:mono" negates its one
/// channel; "urn:gain" has the parameter "gain" and keeps it in its state; "urn:keys" is an instrument that
/// gives the velocity of the key held last; "urn:six" has six channels and halves; any other can't be made.
class TestEffects final : public EffectLibrary {
public:
    std::vector<EffectInfo> List() const override { return {}; }
    std::unique_ptr<Effect> Make(std::string_view uri, int sampleRate) override;
};

}  // namespace host::test
