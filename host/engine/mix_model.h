// A session's mixer as it is kept from one graph to the next: the strips and streams of its channels, by id.
#pragma once

#include "host/engine/mix_graph.h"
#include "host/engine/problem_log.h"

#include <filesystem>
#include <map>
#include <memory>
#include <vector>

namespace host {

class MixModel {
public:
    /// `problems` must outlive the model and everything that it made.
    MixModel(int sampleRate, ProblemLog& problems) : m_sampleRate(sampleRate), m_problems(problems) {}

    int SampleRate() const { return m_sampleRate; }

    /// Takes the session over and makes its graph. Channels known from before keep their strip, and their
    /// stream where the clips are the same. Opens the files of new clips.
    std::unique_ptr<MixGraph> Build(const Session& session, const std::filesystem::path& folder,
                                    bool withPreview);

    /// Takes over fader, pan, mute, solo and phase of every channel it knows.
    void SetLevels(const std::vector<Channel>& channels);

    /// Streams of all tracks that have clips.
    std::vector<std::shared_ptr<TrackStream>> Streams() const;

    struct Named {
        ChannelId id;
        std::shared_ptr<ChannelStrip> strip;
    };
    std::vector<Named> Strips() const;

private:
    struct Entry {
        MixGraph::Part part;
        std::vector<Clip> clips;  ///< with the files' whole paths
    };

    const int m_sampleRate;
    ProblemLog& m_problems;
    std::map<ChannelId, Entry> m_entries;
};

}  // namespace host
