#include "host/effects/lv2_world.h"

#include <algorithm>
#include <cstdlib>
#include <new>
#include <system_error>

namespace host {
namespace fs = std::filesystem;

std::vector<fs::path> Lv2Folders() {
    const char* given = std::getenv("LV2_PATH");
    const std::string path = given && *given ? given
                                             : "~/.lv2:/usr/local/lib/lv2:/usr/lib/" LIBRARY_ARCHITECTURE
                                               "/lv2:/usr/lib/lv2";
    std::vector<fs::path> folders;
    for (size_t at = 0; at <= path.size();) {
        const size_t end = std::min(path.find(':', at), path.size());
        std::string folder = path.substr(at, end - at);
        at = end + 1;
        const char* home = std::getenv("HOME");
        if (home && (folder == "~" || folder.starts_with("~/"))) folder.replace(0, 1, home);
        if (!folder.empty() && folder[0] == '/') folders.emplace_back(folder);
    }
    return folders;
}

std::vector<fs::path> BundlesIn(const std::vector<fs::path>& folders) {
    std::vector<fs::path> bundles;
    for (const fs::path& folder : folders) {
        const auto first = static_cast<std::ptrdiff_t>(bundles.size());
        std::error_code error;
        for (fs::directory_iterator at(folder, error), end; !error && at != end; at.increment(error)) {
            std::error_code missing;
            if (fs::exists(at->path() / "manifest.ttl", missing)) bundles.push_back(at->path());
        }
        std::sort(bundles.begin() + first, bundles.end());
    }
    return bundles;
}

Lv2World::Lv2World() : m_world(lilv_world_new()) {
    if (!m_world) throw std::bad_alloc();
    // Manifests that are made by a plug-in's own code would run that code in this process.
    const LilvPtr<LilvNode> no(lilv_new_bool(m_world.get(), false));
    lilv_world_set_option(m_world.get(), LILV_OPTION_DYN_MANIFEST, no.get());
}

std::string Lv2World::BundleUri(const fs::path& bundle) const {
    const LilvPtr<LilvNode> node(lilv_new_file_uri(m_world.get(), nullptr, (bundle / "").c_str()));
    if (!node) throw std::bad_alloc();
    return lilv_node_as_uri(node.get());
}

void Lv2World::Load(const fs::path& bundle) { lilv_world_load_bundle(m_world.get(), Uri(BundleUri(bundle))); }

void Lv2World::LoadSpecifications() {
    lilv_world_load_specifications(m_world.get());
    lilv_world_load_plugin_classes(m_world.get());
}

const LilvPlugin* Lv2World::Find(const std::string& uri) {
    const LilvNode* node = Uri(uri);
    return node ? lilv_plugins_get_by_uri(lilv_world_get_all_plugins(m_world.get()), node) : nullptr;
}

const LilvNode* Lv2World::Uri(const std::string& uri) {
    LilvPtr<LilvNode>& node = m_uris[uri];
    if (!node) node.reset(lilv_new_uri(m_world.get(), uri.c_str()));
    return node.get();
}

}  // namespace host
