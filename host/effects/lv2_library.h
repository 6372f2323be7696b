// The LV2 effects and instruments of this machine. What is known of them is kept between runs; what has
// changed since is looked at in the background, by a process of its own.
#pragma once

#include "host/effects/effect.h"
#include "host/effects/effect_scan.h"
#include "host/effects/lv2_world.h"

#include <condition_variable>
#include <thread>

namespace host {

struct Lv2LibraryOptions {
    std::vector<std::filesystem::path> folders = Lv2Folders();
    std::filesystem::path cacheFile = DefaultCacheFile();  ///< empty: nothing is kept
    std::vector<std::string> scanProgram = DefaultScanProgram();
    std::chrono::milliseconds patience{20000};  ///< with one effect in a scan
    bool tryAgain = false;                      ///< what could not be used before, too
    std::function<void()> onChange = [] {};     ///< the list has changed [scan-thread]

    /// Among what the user's programs keep to be faster.
    static std::filesystem::path DefaultCacheFile();
    /// Beside the running program.
    static std::vector<std::string> DefaultScanProgram();
};

class Lv2Library final : public EffectLibrary {
public:
    /// Reads what is kept, and starts to look for what has changed.
    explicit Lv2Library(Lv2LibraryOptions options = {});
    ~Lv2Library() override;

    /// As far as it is known.
    std::vector<EffectInfo> List() const override;
    /// Waits for the search when it does not know the effect yet. The library may go before its effects.
    std::unique_ptr<Effect> Make(std::string_view uri, int sampleRate) override;

    /// Until the search is over. [any-thread but scan]
    void Wait() const;
    /// Why there could be no search or its results could not be kept; empty when all went well. [any-thread]
    std::string Problem() const;

private:
    struct Bundle {
        std::string stamp;  ///< differs when a file of it does
        std::vector<EffectInfo> effects;
    };

    void ReadCache();
    void WriteCache();
    void Search();
    void SetProblem(const std::string& problem);
    std::optional<EffectInfo> Find(std::string_view uri) const;
    std::shared_ptr<Lv2World> World();

    const Lv2LibraryOptions m_options;
    mutable std::mutex m_guard;
    mutable std::condition_variable m_searched;
    bool m_searching = true;
    std::string m_problem;
    std::map<std::string, Bundle> m_bundles;  ///< by path
    std::unique_ptr<EffectScan> m_scan;
    bool m_ends = false;
    std::mutex m_worldGuard;
    std::shared_ptr<Lv2World> m_world;  ///< made for the first effect
    std::thread m_thread;
};

}  // namespace host
