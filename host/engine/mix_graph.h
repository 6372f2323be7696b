// Who feeds whom, made ready for the audio thread: channels in an order in which every input comes before its
// output. A graph does not change once it is built; a change of routing makes a new one.
#pragma once

#include "host/engine/channel_strip.h"
#include "host/engine/track_stream.h"
#include "host/session/session.h"

#include <memory>
#include <vector>

namespace host {

/// Where the streams stand. `serial` 0 means that nothing plays.
struct StreamPlace {
    uint64_t serial = 0;
    int ring = 0;
    int64_t at = 0;
};

class MixGraph {
public:
    /// What a channel brings along; `stream` is null for what has no clips.
    struct Part {
        std::shared_ptr<ChannelStrip> strip;
        std::shared_ptr<TrackStream> stream;
    };

    /// parts[i] belongs to channels[i]; the channels obey CheckSession's rules. Without the preview bus it
    /// and what feeds it alone still run and are metered, but do not reach the output.
    MixGraph(const std::vector<Channel>& channels, const std::vector<Part>& parts, int sampleRate,
             bool withPreview);

    /// Mixes n frames, at most kChunkFrames, into left and right, which it overwrites. A bus sums its
    /// tracks in the order of the session and then its busses in the order that they are ready in, always the
    /// same. Returns false when a track should have sounded and its samples were not there. [audio-thread]
    bool Mix(const StreamPlace& place, size_t n, float* left, float* right);

private:
    static constexpr int kToDevice = -1, kToNothing = -2;

    struct Node {
        Part part;
        int input = kToNothing;  ///< bus buffer that feeds it; none for a track
        int output = kToNothing;
    };
    struct BusBuffer {
        float side[2][kChunkFrames];
    };

    bool MixTrack(Node& node, const StreamPlace& place, size_t n, float* const into[2]);

    std::vector<Node> m_nodes;
    std::vector<BusBuffer> m_buffers;
    BusBuffer m_nothing{};
    const MeterInertia m_inertia;
};

}  // namespace host
