// What effects there are, found out by a process of its own: a plug-in that crashes or hangs takes only that
// along.
#pragma once

#include "host/effects/effect.h"
#include "platform/process.h"

#include <nlohmann/json_fwd.hpp>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace host {

/// Sample rate that a scan starts effects at.
inline constexpr int SCAN_RATE = 48000;
/// Begins a line of the scanning process; others are what plug-ins print.
inline constexpr char SCAN_MARK = '\x1e';

nlohmann::ordered_json ToJson(const EffectInfo& info);
/// Throws nlohmann::json::exception.
EffectInfo EffectInfoFrom(const nlohmann::ordered_json& json);

struct EffectScanOrder {
    std::vector<std::string> program;            ///< with its arguments
    std::vector<std::filesystem::path> bundles;  ///< all there are: they refer to each other
    std::vector<std::filesystem::path> examine;  ///< those to report on
    std::chrono::milliseconds patience;          ///< with one effect
};

class EffectScan {
public:
    /// What a bundle holds, called when all of it is known.
    using Found = std::function<void(const std::filesystem::path& bundle, std::vector<EffectInfo> effects)>;

    EffectScan(EffectScanOrder order, Found found);
    /// Until all is examined, or cancelled. Throws std::runtime_error when the program can't do its work.
    /// [worker]
    void Run();
    /// [any-thread]
    void Cancel();

private:
    struct Bundle {
        std::filesystem::path path;
        std::vector<EffectInfo> effects;
        std::set<std::string> done;  ///< URIs
        bool isDone = false;
    };
    /// What the process does: it reads a bundle, or examines one, there perhaps a certain effect.
    struct Place {
        std::string reads, bundle, uri;
        std::optional<EffectInfo> effect;
        std::string firstPrinted, lastPrinted;  ///< there, by others than the process itself
    };

    void RunOnce();
    std::string Request() const;
    void Take(const nlohmann::ordered_json& message);
    void Add(Bundle* bundle, EffectInfo effect, const std::string& problem);
    void Finish(Bundle& bundle);
    /// The process came to a bad end where it was.
    void Blame(const std::string& verb, const std::string& reason);
    Bundle* Find(const std::string& path);

    EffectScanOrder m_order;
    Found m_found;
    std::vector<Bundle> m_bundles;                    ///< those to examine
    std::set<std::string> m_unreadable;               ///< bundles that end the process
    std::map<std::string, std::string> m_complaints;  ///< what was printed when a bundle was read
    Place m_at;
    std::mutex m_guard;
    tarn::ChildProcess* m_child = nullptr;
    std::atomic<bool> m_cancelled{false};
};

}  // namespace host
