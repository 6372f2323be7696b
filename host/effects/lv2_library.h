// The LV2 effects and instruments of this machine.
#pragma once

#include "host/effects/effect.h"
#include "host/effects/lv2_world.h"

namespace host {

class Lv2Library final : public EffectLibrary {
public:
    explicit Lv2Library(std::vector<std::filesystem::path> folders = Lv2Folders());

    std::vector<EffectInfo> List() const override;
    std::unique_ptr<Effect> Make(std::string_view uri, int sampleRate) override;

private:
    std::shared_ptr<Lv2World> m_world;
    std::vector<EffectInfo> m_effects;
};

}  // namespace host
