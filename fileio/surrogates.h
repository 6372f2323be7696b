// The surrogate processes of a program, one a group of plug-ins. [any-thread]
#pragma once

#include "fileio/plugin_library.h"

#include <chrono>
#include <map>
#include <mutex>

namespace tarn {

class SurrogateProcess;

class Surrogates {
public:
    static constexpr size_t MOST_GROUPS = 30;

    Surrogates(uint32_t langId, std::chrono::milliseconds callLimit)
        : m_langId(langId), m_callLimit(callLimit) {}

    /// A library in the process of its group, which is started where it is not there or has ended. Null with
    /// the reason, and in `status` MEDIA_E_NO_ROOM for one group too many, or what the start gave.
    std::unique_ptr<PluginLibrary> Open(int32_t group, const std::filesystem::path& library, HRESULT* status,
                                        std::string* reason);
    /// In a process of its own, that ends with the library: for those that nobody knows yet.
    std::unique_ptr<PluginLibrary> OpenAlone(const std::filesystem::path& library, std::string* reason);
    void Clear();

    /// Empty where it is not installed; then there are no surrogates.
    static std::filesystem::path Program();

private:
    std::shared_ptr<SurrogateProcess> Start(HRESULT* status, std::string* reason) const;

    const uint32_t m_langId;
    const std::chrono::milliseconds m_callLimit;
    std::mutex m_lock;
    std::map<int32_t, std::shared_ptr<SurrogateProcess>> m_groups;
};

}  // namespace tarn
