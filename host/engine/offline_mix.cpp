#include "host/engine/offline_mix.h"

#include "host/engine/denormals.h"

#include <algorithm>

namespace host {

namespace {
constexpr size_t kFillFrames = 4096;
constexpr int kRing = 0;
}  // namespace

OfflineMix::OfflineMix(const Session& session, const std::filesystem::path& folder, int64_t start,
                       ProblemLog& problems)
    : m_model(session.sample_rate, problems) {
    CheckSession(session);
    m_graph = m_model.Build(session, folder, false);
    m_streams = m_model.Streams();
    m_plan.serial = 1;
    m_plan.start = start;
    for (const auto& stream : m_streams) stream->Begin(kRing, m_plan.serial, 0);
}

void OfflineMix::Process(float* left, float* right, size_t n) {
    const FlushDenormals flush;
    for (size_t done = 0; done < n;) {
        const size_t count = std::min(kChunkFrames, n - done);
        for (const auto& stream : m_streams)
            if (stream->Ahead(kRing) < static_cast<int64_t>(count)) stream->Fill(kRing, m_plan, kFillFrames);
        m_graph->Mix({m_plan.serial, kRing, m_at}, count, left + done, right + done);
        m_at += static_cast<int64_t>(count);
        done += count;
    }
}

}  // namespace host
