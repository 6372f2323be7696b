// What the host offers an LV2 plug-in at its start, in the plug-in's own forms.
#pragma once

#include "host/effects/lv2_state.h"

#include <lv2/log/log.h>
#include <lv2/options/options.h>
#include <lv2/worker/worker.h>

#include <array>
#include <cstdarg>
#include <mutex>
#include <string>

namespace host {

class Lv2Worker;

/// Belongs to one instance, and stays where it is as long as that lives.
class Lv2Features {
public:
    explicit Lv2Features(int sampleRate);
    Lv2Features(const Lv2Features&) = delete;
    Lv2Features& operator=(const Lv2Features&) = delete;

    /// Ends with null.
    const LV2_Feature* const* List() const { return m_list.data(); }
    /// For the restoring of a state, whose thread does the work that the plug-in schedules then.
    const LV2_Feature* const* ListForRestoring() const { return m_restoring.data(); }
    /// Where scheduled work goes; none before, and it is refused.
    void SetWorker(Lv2Worker* worker) { m_worker = worker; }
    Lv2StateFiles& Files() { return m_files; }
    /// The last error that the plug-in logged. [any-thread]
    std::string LastError() const;

private:
    static int Print(LV2_Log_Handle handle, LV2_URID type, const char* format, ...);
    int Log(uint32_t type, const char* format, va_list values);

    float m_rate;
    int32_t m_shortest = 1, m_longest, m_sequenceBytes;
    std::array<LV2_Options_Option, 6> m_options{};
    LV2_Log_Log m_log{};
    LV2_Worker_Schedule m_schedule{}, m_workNow{};  ///< of one handle: plug-ins mix them up
    Lv2Worker* m_worker = nullptr;
    Lv2StateFiles m_files;
    std::array<LV2_Feature, 11> m_features{};
    std::array<const LV2_Feature*, 11> m_list{}, m_restoring{};

    mutable std::mutex m_errorGuard;
    std::array<char, 256> m_error{};
};

}  // namespace host
