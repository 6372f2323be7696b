#include "host/effects/lv2_worker.h"

namespace host {
namespace {
constexpr size_t RING_BYTES = size_t{1} << 16;
constexpr int MOST_LAST_WORKS = 1000;

std::span<const uint8_t> Bytes(const void* data, uint32_t size) {
    return {static_cast<const uint8_t*>(data), data ? size : 0};
}
}  // namespace

Lv2Worker::Lv2Worker(const LV2_Worker_Interface& plugin, LV2_Handle instance)
    : m_plugin(plugin), m_instance(instance), m_requests(RING_BYTES), m_answers(RING_BYTES) {
    m_answer.reserve(RING_BYTES);
    m_thread = std::thread([this] { Run(); });
}

Lv2Worker::~Lv2Worker() {
    m_ends = true;
    m_wake.release();
    m_thread.join();
    // What is on its way may be blocks that the plug-in alone can free. One that always asks for more is
    // left.
    std::vector<uint8_t> request;
    for (int i = 0; i < MOST_LAST_WORKS; i++)
        if (m_requests.Read(request))
            WorkNow(static_cast<uint32_t>(request.size()), request.data());
        else if (m_answers.Read(m_answer))
            m_plugin.work_response(m_instance, static_cast<uint32_t>(m_answer.size()), m_answer.data());
        else
            break;
}

LV2_Worker_Status Lv2Worker::Schedule(uint32_t size, const void* data) {
    m_pending.fetch_add(1, std::memory_order_relaxed);
    if (!m_requests.Write(Bytes(data, size))) {
        m_pending.fetch_sub(1, std::memory_order_relaxed);
        return LV2_WORKER_ERR_NO_SPACE;
    }
    m_wake.release();
    return LV2_WORKER_SUCCESS;
}

void Lv2Worker::Respond() {
    // As many as fit at most: answers that come meanwhile wait for the next block.
    for (size_t read = 0; read < RING_BYTES && m_answers.Read(m_answer);
         read += m_answer.size() + sizeof(uint32_t))
        m_plugin.work_response(m_instance, static_cast<uint32_t>(m_answer.size()), m_answer.data());
    if (m_plugin.end_run) m_plugin.end_run(m_instance);
}

void Lv2Worker::WaitUntilIdle() const {
    while (m_pending.load(std::memory_order_acquire))
        std::this_thread::sleep_for(std::chrono::microseconds(50));
}

LV2_Worker_Status Lv2Worker::WorkNow(uint32_t size, const void* data) {
    const auto respond = [](LV2_Worker_Respond_Handle handle, uint32_t bytes, const void* answer) {
        return static_cast<Lv2Worker*>(handle)->m_answers.Write(Bytes(answer, bytes))
                   ? LV2_WORKER_SUCCESS
                   : LV2_WORKER_ERR_NO_SPACE;
    };
    return m_plugin.work(m_instance, respond, this, size, data);
}

void Lv2Worker::Run() {
    std::vector<uint8_t> request;
    for (;;) {
        m_wake.acquire();
        if (m_ends) return;
        const std::unique_lock work = HoldWork();
        if (!m_requests.Read(request)) continue;
        WorkNow(static_cast<uint32_t>(request.size()), request.data());
        m_pending.fetch_sub(1, std::memory_order_release);
    }
}

}  // namespace host
