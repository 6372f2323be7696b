// The mixer without a device: the same graph and the same samples, as fast as the machine goes.
#pragma once

#include "host/engine/mix_model.h"

#include <filesystem>

namespace host {

/// Plays a session from a frame on, without its loop and without the preview bus. Whatever the numbers of
/// frames asked for, the samples are the same. One thread.
class OfflineMix {
public:
    /// Throws SessionError. `problems` must outlive the mix.
    OfflineMix(const Session& session, const std::filesystem::path& folder, int64_t start,
               ProblemLog& problems);

    /// The next n frames.
    void Process(float* left, float* right, size_t n);
    /// Changes levels from the next frame on.
    void SetLevels(const std::vector<Channel>& channels) { m_model.SetLevels(channels); }
    std::vector<MixModel::Named> Strips() const { return m_model.Strips(); }

private:
    MixModel m_model;
    std::unique_ptr<MixGraph> m_graph;
    std::vector<std::shared_ptr<TrackStream>> m_streams;
    PlayPlan m_plan;
    int64_t m_at = 0;
};

}  // namespace host
