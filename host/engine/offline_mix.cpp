#include "host/engine/offline_mix.h"

#include "host/engine/denormals.h"

#include <algorithm>
#include <array>

namespace host {

namespace {
constexpr size_t kOfflineFill = 4096;
static_assert(kOfflineFill % kChunkFrames == 0);
constexpr int kRing = 0;
}  // namespace

OfflineMix::OfflineMix(const Session& session, const std::filesystem::path& folder, int64_t start,
                       ProblemLog& problems, const OfflineOptions& options)
    : m_pool(options.threads), m_model(session.sample_rate, problems, options.effects) {
    CheckSession(session);
    m_graph = m_model.Build(session, folder, false);
    m_streams = m_model.Streams();
    m_plan.serial = 1;
    m_plan.start = start;
    for (const auto& stream : m_streams) stream->Begin(kRing, m_plan.serial, 0);
    const FlushDenormals flush;
    const MixPool::Stretch stretch(m_pool, true);
    // In whole chunks, as they are in real time; the last one may end later than what is left out.
    const size_t late = m_graph->Latency();
    for (size_t done = 0; done < late; done += kChunkFrames) MixChunk(m_chunk.Sides().data(), kChunkFrames);
    if (late % kChunkFrames) m_chunkUsed = late % kChunkFrames;
}

void OfflineMix::MixChunk(float* const* sides, size_t n) {
    const auto wants = [&](const auto& stream) { return stream->Ahead(kRing) < static_cast<int64_t>(n); };
    if (std::ranges::any_of(m_streams, wants))
        m_pool.Run(m_streams.size(), [&](size_t i) {
            if (m_streams[i]->Ahead(kRing) < static_cast<int64_t>(kOfflineFill))
                m_streams[i]->Fill(kRing, m_plan, kOfflineFill);
        });
    m_graph->Mix({.serial = m_plan.serial, .ring = kRing, .at = m_at, .plan = m_plan, .offline = true}, n,
                 sides, m_pool);
    m_at += static_cast<int64_t>(n);
}

void OfflineMix::Process(float* const* sides, size_t n) {
    const FlushDenormals flush;
    const MixPool::Stretch stretch(m_pool, true);
    for (size_t done = 0; done < n;) {
        std::array<float*, kMaxSides> into{};
        for (size_t s = 0; s < Sides(); s++) into[s] = sides[s] + done;
        size_t count = std::min(kChunkFrames, n - done);
        if (!m_graph->HasEffects()) {
            MixChunk(into.data(), count);
        } else {
            if (m_chunkUsed == kChunkFrames) {
                MixChunk(m_chunk.Sides().data(), kChunkFrames);
                m_chunkUsed = 0;
            }
            count = std::min(count, kChunkFrames - m_chunkUsed);
            for (size_t s = 0; s < Sides(); s++)
                std::copy_n(m_chunk.side[s].data() + m_chunkUsed, count, into[s]);
            m_chunkUsed += count;
        }
        done += count;
    }
}

}  // namespace host
