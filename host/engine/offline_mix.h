// The mixer without a device: the same graph and the same samples, as fast as the machine goes.
#pragma once

#include "host/engine/mix_model.h"

#include <filesystem>

namespace host {

struct OfflineOptions {
    EffectLibrary* effects = nullptr;
    size_t threads = 0;  ///< 0 is one for each core
};

/// Plays a session from a frame on, without its loop and without the preview bus. Whatever the numbers of
/// frames asked for and of threads, the samples are the same; what effects hold back is left out at the
/// start. One user.
class OfflineMix {
public:
    /// Throws SessionError. `problems` and the effects must outlive the mix.
    OfflineMix(const Session& session, const std::filesystem::path& folder, int64_t start,
               ProblemLog& problems, const OfflineOptions& options = {});

    /// 2, or 6 in the order of a wave file.
    size_t Sides() const { return m_graph->Sides(); }
    /// The next n frames of each side.
    void Process(float* const* sides, size_t n);
    /// Changes levels from the next frame on, or in a mix with effects from the next chunk on.
    void SetLevels(const std::vector<Channel>& channels) { m_model.SetLevels(channels); }
    std::vector<MixModel::Named> Strips() const { return m_model.Strips(); }

    std::vector<std::string> Faults() const { return m_model.Faults(); }

private:
    void MixChunk(float* const* sides, size_t n);

    MixPool m_pool;
    MixModel m_model;
    std::unique_ptr<MixGraph> m_graph;
    std::vector<std::shared_ptr<TrackStream>> m_streams;
    PlayPlan m_plan;
    int64_t m_at = 0;
    MixBuffer m_chunk{};  ///< mixed ahead, so that effects get whole chunks
    size_t m_chunkUsed = kChunkFrames;
};

}  // namespace host
