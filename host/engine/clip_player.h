// The clips of one track as a continuous stereo signal at the project's rate.
#pragma once

#include "host/engine/audio_file.h"
#include "host/engine/open_files.h"
#include "host/engine/problem_log.h"
#include "host/session/session.h"

#include <cstdint>
#include <filesystem>
#include <memory>
#include <vector>

namespace host {

/// Project seconds to the nearest frame. [any-thread]
int64_t FrameAt(double seconds, int sampleRate);

class ClipPlayer {
public:
    /// Opens each file once to see that it can be played; one that cannot is reported with its name and is
    /// silent. Afterwards files are open while they are played, see OpenFileShare. `problems` must outlive
    /// the player.
    ClipPlayer(const std::vector<Clip>& clips, const std::filesystem::path& folder, int sampleRate,
               ProblemLog& problems);
    ~ClipPlayer();

    /// The n frames of the project from `frame` on; clips that overlap are added in the order of the session.
    /// One thread at a time. [disk-thread]
    void Produce(int64_t frame, size_t n, float* left, float* right);

private:
    struct Placed {
        int64_t start, end;  ///< project frames, end outside
        int64_t offset;      ///< frames into the file
        float gain;
        size_t file;
        size_t order;      ///< in the session
        int64_t endSoFar;  ///< the latest end of this clip and those before it
    };
    struct Source {
        std::string name;
        std::filesystem::path path;
        std::unique_ptr<FileAtRate> open;
        bool broken = false;
        int64_t usedAt = 0;  ///< project frame
    };

    void Add(const Placed& clip, int64_t frame, size_t n, float* left, float* right);
    FileAtRate* Open(size_t index, int64_t frame);
    void CloseDistant(int64_t frame);
    void KeepOpen(size_t most);

    const int m_sampleRate;
    ProblemLog& m_problems;
    const OpenFileShare m_share;
    std::vector<Source> m_sources;
    std::vector<size_t> m_open;   ///< sources, the one used last at the end
    std::vector<Placed> m_clips;  ///< by start
    std::vector<const Placed*> m_found;
};

}  // namespace host
