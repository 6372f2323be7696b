#include "host/engine/disk_thread.h"

#include "host/engine/denormals.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace host {

namespace {

/// Read at a time for each stream. They have room at the same time, so that this much of all of them is one
/// stretch of work, which must leave its core to the mix within a part of a block.
constexpr size_t kFillFrames = 1024;
constexpr double kPrimeSeconds = 0.15;  ///< read before a plan is offered
constexpr double kLeadSeconds = 0.10;   ///< from the wish for a seamless change to the change
constexpr auto kPoll = std::chrono::milliseconds(10);

}  // namespace

DiskThread::DiskThread(PlayHead& head, int sampleRate)
    : m_head(head), m_primeFrames(static_cast<int64_t>(kPrimeSeconds * sampleRate)),
      m_leadFrames(static_cast<int64_t>(kLeadSeconds * sampleRate)), m_thread([this] { Run(); }) {}

DiskThread::~DiskThread() {
    {
        const std::lock_guard lock(m_mutex);
        m_quit = true;
        m_news = true;
    }
    m_wake.notify_one();
    m_thread.join();
}

void DiskThread::SetStreams(Streams streams) {
    {
        const std::lock_guard lock(m_mutex);
        m_streams.swap(streams);
        m_news = true;
        m_reading.store(true, std::memory_order_release);
    }
    m_wake.notify_one();
}

void DiskThread::Request(const PlayRequest& request) {
    {
        const std::lock_guard lock(m_mutex);
        // A change of the loop alone does not undo a jump that still waits.
        const auto jump = m_request && !request.jump ? m_request->jump : request.jump;
        m_request = request;
        m_request->jump = jump;
        m_news = true;
        m_reading.store(true, std::memory_order_release);
    }
    m_wake.notify_one();
}

void DiskThread::Run() {
    const FlushDenormals flush;
    bool busy = false;
    for (;;) {
        Streams streams;
        std::optional<PlayRequest> request;
        {
            std::unique_lock lock(m_mutex);
            const auto news = [&] { return m_news; };
            if (!m_news && !m_priming) m_reading.store(false, std::memory_order_release);
            if (busy)
                m_wake.wait_for(lock, kPoll, news);
            else
                m_wake.wait(lock, news);
            if (m_quit) return;
            m_news = false;
            streams = m_streams;
            request = std::exchange(m_request, std::nullopt);
        }
        if (request) Consider(*request);
        busy = Work(streams);
    }
}

void DiskThread::Consider(const PlayRequest& request) {
    // A jump that has not sounded yet keeps its place when only the loop is changed after it.
    PlayRequest wanted = request;
    if (!wanted.jump && m_wanted) wanted.jump = m_wanted->jump;
    if (m_priming) {
        if (!wanted.jump && m_primingJumps) wanted.jump = m_priming->plan.start;
        m_priming.reset();
    }
    Settle();
    if (m_offered && m_head.Exchange().Withdraw()) {
        if (!wanted.jump && m_primingJumps) wanted.jump = m_offered->plan.start;
        m_offered.reset();
    }
    m_wanted = wanted;
}

void DiskThread::Settle() {
    if (!m_offered) return;
    const auto settled = m_head.Exchange().Settled();
    if (settled.serial < m_offered->plan.serial) return;
    if (settled.ring == m_offered->ring) m_playing = m_offered;  // else it was dismissed
    m_offered.reset();
}

void DiskThread::BeginPlan(const PlayRequest& request) {
    PlayPlan plan{.serial = request.serial, .start = 0, .loop = request.loop};
    if (request.jump) {
        plan.start = *request.jump;
    } else {
        const PlayState state = m_head.State();
        if (!m_playing || state.serial != m_playing->plan.serial || !state.playing) return;
        plan.takeOverAt = state.at + m_leadFrames;
        plan.start = m_playing->plan.ProjectFrame(plan.takeOverAt);
    }
    m_primingJumps = request.jump.has_value();
    m_priming = {plan, 1 - m_head.Exchange().Settled().ring};
}

// One round of reading; true while another will be needed.
bool DiskThread::Work(const Streams& streams) {
    Settle();
    if (m_wanted && !m_offered) BeginPlan(*std::exchange(m_wanted, std::nullopt));
    size_t filled = 0;
    if (m_priming) {
        for (const auto& stream : streams)
            if (!stream->Serves(m_priming->ring, m_priming->plan.serial))
                stream->Begin(m_priming->ring, m_priming->plan.serial, 0);
        // What plays comes first, as far as it needs it to go on meanwhile.
        if (m_playing) filled += Fill(streams, *m_playing, m_primeFrames);
        filled += Fill(streams, *m_priming, m_primeFrames);
        const bool primed = std::all_of(streams.begin(), streams.end(), [&](const auto& stream) {
            return stream->Ahead(m_priming->ring) >= m_primeFrames;
        });
        if (primed) {
            m_offered = std::exchange(m_priming, std::nullopt);
            m_head.Exchange().Offer(*m_offered);
        }
    }
    if (!m_priming && !m_offered && !m_wanted)
        for (const auto& stream : streams) stream->Release(1 - m_head.Exchange().Settled().ring);
    if (!m_priming) {
        for (auto* plan : {&m_playing, &m_offered})
            if (*plan) filled += Fill(streams, **plan, INT64_MAX);
    }
    if (filled > 0) {
        const std::lock_guard lock(m_mutex);
        m_news = true;  // no waiting while there is room
    }
    // A plan is settled a little before it can be seen to play.
    const PlayState state = m_head.State();
    const bool beginning = m_playing && state.serial < m_playing->plan.serial;
    return filled > 0 || m_offered || m_wanted || state.playing || beginning;
}

// One portion for every stream that has less than that many frames ready.
size_t DiskThread::Fill(const Streams& streams, const ReadyPlan& plan, int64_t ahead) {
    size_t filled = 0;
    for (const auto& stream : streams) {
        if (!stream->Serves(plan.ring, plan.plan.serial)) Join(*stream, plan);
        const int64_t ready = stream->Ahead(plan.ring);
        if (ready < ahead && stream->Capacity() - ready >= static_cast<int64_t>(kFillFrames))
            filled += stream->Fill(plan.ring, plan.plan, kFillFrames);
    }
    return filled;
}

// A stream that was not there when the plan began comes in as soon as it can.
void DiskThread::Join(TrackStream& stream, const ReadyPlan& plan) {
    const PlayState state = m_head.State();
    const int64_t now = state.serial == plan.plan.serial ? state.at : 0;
    stream.Begin(plan.ring, plan.plan.serial, now + m_primeFrames);
}

}  // namespace host
