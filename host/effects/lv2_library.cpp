#include "host/effects/lv2_library.h"

#include "host/effects/lv2_effect.h"

#include <algorithm>
#include <tuple>

namespace host {

Lv2Library::Lv2Library(std::vector<std::filesystem::path> folders) : m_world(std::make_shared<Lv2World>()) {
    for (const std::filesystem::path& bundle : BundlesIn(folders)) m_world->Load(bundle);
    m_world->LoadSpecifications();
    const LilvPlugins* plugins = lilv_world_get_all_plugins(m_world->Get());
    LILV_FOREACH(plugins, i, plugins)
    m_effects.push_back(DescribeLv2(*m_world, lilv_plugins_get(plugins, i), 48000).info);
    std::ranges::sort(m_effects, {}, [](const EffectInfo& e) { return std::tie(e.family, e.name); });
}

std::vector<EffectInfo> Lv2Library::List() const { return m_effects; }

std::unique_ptr<Effect> Lv2Library::Make(std::string_view uri, int sampleRate) {
    return std::make_unique<Lv2Effect>(m_world, std::string(uri), sampleRate);
}

}  // namespace host
