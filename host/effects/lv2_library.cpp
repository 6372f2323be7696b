#include "host/effects/lv2_library.h"

#include "host/effects/lv2_effect.h"
#include "platform/file.h"
#include "platform/module.h"
#include "platform/user_folders.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cstdlib>
#include <tuple>

#include <sys/stat.h>

using namespace tarn;

namespace host {
namespace {

namespace fs = std::filesystem;
using nlohmann::ordered_json;

constexpr int CACHE_VERSION = 1;
constexpr size_t LARGEST_CACHE = size_t{256} << 20;

/// Names are in the language that the user had then.
std::string Language() {
    const char* language = std::getenv("LANG");
    return language ? language : "";
}

/// Of the names, sizes and times of a bundle's files.
std::string StampOf(const fs::path& bundle) {
    std::vector<std::string> files;
    std::error_code error;
    for (fs::directory_iterator at(bundle, error), end; !error && at != end; at.increment(error)) {
        struct stat info {};
        if (::stat(at->path().c_str(), &info) != 0) continue;
        files.push_back(at->path().filename().string() + '/' + std::to_string(info.st_size) + '/' +
                        std::to_string(info.st_mtim.tv_sec) + '.' + std::to_string(info.st_mtim.tv_nsec));
    }
    std::ranges::sort(files);
    uint64_t hash = 14695981039346656037u;  // FNV-1a
    for (const std::string& file : files)
        for (const char c : file + '\n') hash = (hash ^ static_cast<uint8_t>(c)) * 1099511628211u;
    return std::to_string(hash);
}

bool CanAllBeUsed(const std::vector<EffectInfo>& effects) {
    return std::ranges::all_of(effects, [](const EffectInfo& e) { return e.problem.empty(); });
}

}  // namespace

fs::path Lv2LibraryOptions::DefaultCacheFile() {
    const fs::path folder = UserCacheFolder();
    return folder.empty() ? folder : folder / "tarn" / "effects.json";
}

std::vector<std::string> Lv2LibraryOptions::DefaultScanProgram() {
    std::error_code error;
    return {fs::read_symlink("/proc/self/exe", error).parent_path() / "tarn-effect-scan"};
}

Lv2Library::Lv2Library(Lv2LibraryOptions options) : m_options(std::move(options)) {
    ReadCache();
    m_thread = std::thread([this] { Search(); });
}

Lv2Library::~Lv2Library() {
    {
        const std::lock_guard lock(m_guard);
        m_ends = true;
        if (m_scan) m_scan->Cancel();
    }
    m_thread.join();
}

void Lv2Library::ReadCache() try {
    std::string text, error;
    // Whatever is wrong with it, it can be made again.
    if (m_options.cacheFile.empty() || !ReadWholeFile(m_options.cacheFile, LARGEST_CACHE, text, error))
        return;
    const ordered_json cache = ordered_json::parse(text);
    if (cache.at("version") != CACHE_VERSION || cache.at("language") != Language()) return;
    std::map<std::string, Bundle> bundles;
    for (const auto& [path, kept] : cache.at("bundles").items()) {
        Bundle& bundle = bundles[path];
        bundle.stamp = kept.at("stamp").get<std::string>();
        for (const ordered_json& effect : kept.at("effects"))
            bundle.effects.push_back(EffectInfoFrom(effect));
    }
    m_bundles = std::move(bundles);
} catch (const ordered_json::exception&) {
}

void Lv2Library::WriteCache() {
    if (m_options.cacheFile.empty()) return;
    ordered_json bundles = ordered_json::object();
    {
        const std::lock_guard lock(m_guard);
        for (const auto& [path, bundle] : m_bundles) {
            ordered_json effects = ordered_json::array();
            for (const EffectInfo& effect : bundle.effects) effects.push_back(ToJson(effect));
            bundles[path] = {{"stamp", bundle.stamp}, {"effects", std::move(effects)}};
        }
    }
    const ordered_json cache{
        {"version", CACHE_VERSION}, {"language", Language()}, {"bundles", std::move(bundles)}};
    std::error_code ignored;
    fs::create_directories(m_options.cacheFile.parent_path(), ignored);
    std::string error;
    if (!ReplaceFile(m_options.cacheFile, cache.dump(-1, ' ', false, ordered_json::error_handler_t::replace),
                     error))
        SetProblem("the list of effects is not kept: " + error);
}

void Lv2Library::Search() {
    const std::vector<fs::path> there = BundlesIn(m_options.folders);
    EffectScanOrder order{m_options.scanProgram, there, {}, m_options.patience};
    std::map<std::string, std::string> stamps;
    for (const fs::path& path : there) stamps.emplace(path, StampOf(path));
    {
        const std::lock_guard lock(m_guard);
        const size_t gone = std::erase_if(m_bundles, [&](const auto& known) {
            const auto stamp = stamps.find(known.first);
            return stamp == stamps.end() || stamp->second != known.second.stamp ||
                   (m_options.tryAgain && !CanAllBeUsed(known.second.effects));
        });
        for (const auto& [path, stamp] : stamps)
            if (!m_bundles.contains(path)) order.examine.emplace_back(path);
        if (gone == 0 && order.examine.empty()) {
            m_searching = false;
            m_searched.notify_all();
            return;
        }
        m_scan = std::make_unique<EffectScan>(std::move(order),
                                              [&](const fs::path& path, std::vector<EffectInfo> effects) {
                                                  {
                                                      const std::lock_guard found(m_guard);
                                                      m_bundles[path] = {stamps[path], std::move(effects)};
                                                  }
                                                  m_options.onChange();
                                              });
        if (m_ends) m_scan->Cancel();
    }
    try {
        m_scan->Run();
    } catch (const std::exception& e) {
        SetProblem(e.what());
    }
    WriteCache();
    {
        const std::lock_guard lock(m_guard);
        m_searching = false;
    }
    m_searched.notify_all();
    m_options.onChange();
}

void Lv2Library::SetProblem(const std::string& problem) {
    const std::lock_guard lock(m_guard);
    m_problem = problem;
}

std::string Lv2Library::Problem() const {
    const std::lock_guard lock(m_guard);
    return m_problem;
}

void Lv2Library::Wait() const {
    std::unique_lock lock(m_guard);
    m_searched.wait(lock, [&] { return !m_searching; });
}

std::vector<EffectInfo> Lv2Library::List() const {
    std::vector<EffectInfo> list;
    {
        const std::lock_guard lock(m_guard);
        for (const auto& [path, bundle] : m_bundles)
            std::ranges::copy(bundle.effects, std::back_inserter(list));
    }
    std::ranges::sort(list, {}, [](const EffectInfo& e) { return std::tie(e.family, e.name, e.uri); });
    return list;
}

std::optional<EffectInfo> Lv2Library::Find(std::string_view uri) const {
    const std::lock_guard lock(m_guard);
    for (const auto& [path, bundle] : m_bundles)
        if (const auto found = std::ranges::find(bundle.effects, uri, &EffectInfo::uri);
            found != bundle.effects.end())
            return *found;
    return std::nullopt;
}

std::shared_ptr<Lv2World> Lv2Library::World() {
    const std::lock_guard lock(m_worldGuard);
    if (!m_world) {
        auto world = std::make_shared<Lv2World>();
        for (const fs::path& bundle : BundlesIn(m_options.folders)) world->Load(bundle);
        world->LoadSpecifications();
        m_world = std::move(world);
    }
    return m_world;
}

std::unique_ptr<Effect> Lv2Library::Make(std::string_view uri, int sampleRate) {
    std::optional<EffectInfo> info = Find(uri);
    if (!info) {
        Wait();
        info = Find(uri);
    }
    if (!info) {
        const std::string problem = Problem();
        throw EffectError("effect " + std::string(uri) + " is not installed" +
                          (problem.empty() ? "" : ", as far as is known: " + problem));
    }
    if (!info->problem.empty()) throw EffectError(info->name + " " + info->problem);
    return std::make_unique<Lv2Effect>(World(), info->uri, sampleRate);
}

}  // namespace host
