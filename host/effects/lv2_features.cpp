#include "host/effects/lv2_features.h"

#include "host/effects/effect.h"
#include "host/effects/lv2_description.h"
#include "host/effects/lv2_urids.h"
#include "host/effects/lv2_worker.h"

#include <lv2/buf-size/buf-size.h>

#include <cstdio>

namespace host {

Lv2Features::Lv2Features(int sampleRate)
    : m_rate(static_cast<float>(sampleRate)), m_longest(kMaxEffectFrames), m_sequenceBytes(EVENT_BYTES) {
    const Lv2Ids& id = Ids();
    const auto option = [](uint32_t key, uint32_t type, const auto& value) {
        return LV2_Options_Option{LV2_OPTIONS_INSTANCE, 0, key, sizeof value, type, &value};
    };
    m_options = {option(id.minBlockLength, id.atomInt, m_shortest),
                 option(id.maxBlockLength, id.atomInt, m_longest),
                 option(id.nominalBlockLength, id.atomInt, m_longest),
                 option(id.sequenceSize, id.atomInt, m_sequenceBytes),
                 option(id.sampleRate, id.atomFloat, m_rate),
                 {}};

    m_log.handle = this;
    m_log.vprintf = [](LV2_Log_Handle handle, LV2_URID type, const char* format, va_list values) {
        return static_cast<Lv2Features*>(handle)->Log(type, format, values);
    };
    m_log.printf = Print;
    m_schedule.handle = this;
    m_schedule.schedule_work = [](LV2_Worker_Schedule_Handle handle, uint32_t size, const void* data) {
        Lv2Worker* worker = static_cast<Lv2Features*>(handle)->m_worker;
        return worker ? worker->Schedule(size, data) : LV2_WORKER_ERR_UNKNOWN;
    };

    m_workNow.handle = this;
    m_workNow.schedule_work = [](LV2_Worker_Schedule_Handle handle, uint32_t size, const void* data) {
        Lv2Worker* worker = static_cast<Lv2Features*>(handle)->m_worker;
        return worker ? worker->WorkNow(size, data) : LV2_WORKER_ERR_UNKNOWN;
    };

    m_features = {{{LV2_URID__map, Urids().MapFeature()},
                   {LV2_URID__unmap, Urids().UnmapFeature()},
                   {LV2_OPTIONS__options, m_options.data()},
                   {LV2_BUF_SIZE__boundedBlockLength, nullptr},
                   {LV2_LOG__log, &m_log},
                   {LV2_STATE__loadDefaultState, nullptr},
                   {LV2_STATE__mapPath, m_files.MapPath()},
                   {LV2_STATE__makePath, m_files.MakePath()},
                   {LV2_STATE__freePath, m_files.FreePath()},
                   {LV2_WORKER__schedule, &m_schedule},
                   {LV2_WORKER__schedule, &m_workNow}}};
    for (size_t i = 0; i + 2 < m_features.size(); i++) m_list[i] = m_restoring[i] = &m_features[i];
    m_list[m_features.size() - 2] = &m_features[m_features.size() - 2];
    m_restoring[m_features.size() - 2] = &m_features[m_features.size() - 1];
}

int Lv2Features::Print(LV2_Log_Handle handle, LV2_URID type, const char* format, ...) {
    va_list values;
    va_start(values, format);
    const int length = static_cast<Lv2Features*>(handle)->Log(type, format, values);
    va_end(values);
    return length;
}

int Lv2Features::Log(uint32_t type, const char* format, va_list values) {
    if (type != Ids().logError) return 0;
    // It may be the audio thread; a second error at the same moment is not worth its wait.
    const std::unique_lock lock(m_errorGuard, std::try_to_lock);
    return lock ? std::vsnprintf(m_error.data(), m_error.size(), format, values) : 0;
}

std::string Lv2Features::LastError() const {
    const std::lock_guard lock(m_errorGuard);
    std::string text = m_error.data();
    while (!text.empty() && static_cast<unsigned char>(text.back()) <= ' ') text.pop_back();
    for (char& c : text)
        if (static_cast<unsigned char>(c) < ' ') c = ' ';
    return text;
}

}  // namespace host
