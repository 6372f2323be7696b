// Who feeds whom, made ready for the audio thread. A graph does not change once it is built; a change of
// routing makes a new one.
//
// Channels are mixed in jobs, a few channels each, that threads share. Each job has buffers of its own for
// what its channels send where, and a target adds up those buffers in the order of the jobs: which thread did
// what and when has no part in the sum.
#pragma once

#include "host/engine/mix_node.h"
#include "host/engine/mix_pool.h"
#include "host/session/session.h"

#include <atomic>
#include <map>
#include <memory>
#include <vector>

namespace host {

/// What a channel brings along from graph to graph.
struct ChannelPart {
    std::shared_ptr<ChannelStrip> strip{};
    std::shared_ptr<TrackStream> stream{};  ///< null for what has no clips
    std::shared_ptr<MidiPart> midi{};       ///< of a MIDI track
    /// Of a soft synth: those that have fed it and do not any more, whose notes must end.
    std::vector<std::shared_ptr<MidiPart>> left{};
    std::shared_ptr<const ChannelLanes> lanes{};  ///< null where no curve is read
    std::map<SubId, std::shared_ptr<EffectSlot>> effects{};
    std::map<SubId, std::shared_ptr<SendStrip>> sends{};
    /// Ways to tracks that listen to this channel.
    std::map<ChannelId, std::shared_ptr<SendStrip>> listeners{};

    /// Delays of its effects and of its ways out, kept while their lengths are the same.
    enum class DelayOf : uint8_t { Effect, Output, Send, Listener };
    struct DelayKey {
        DelayOf of;
        uint64_t id;
        friend auto operator<=>(const DelayKey&, const DelayKey&) = default;
    };
    std::map<DelayKey, std::shared_ptr<DelayLine>> delays{};
};

class MixGraph {
public:
    /// parts[i] belongs to the session's i-th channel; the session obeys CheckSession's rules. Without the
    /// preview bus it and what feeds it alone still run and are metered, but do not reach the output.
    MixGraph(const Session& session, std::vector<ChannelPart>& parts, int sampleRate, bool withPreview);

    size_t Sides() const { return m_sides; }
    /// Frames by which the output is late.
    size_t Latency() const { return m_latency; }
    /// Whether the samples may depend on how the stream is cut, as effects do: chunks should be whole then.
    bool HasEffects() const { return m_hasEffects; }
    /// How many jobs there are to share.
    size_t Jobs() const { return m_jobs.size(); }

    /// Mixes n frames, at most kChunkFrames and no further than the plan is straight, into the output's
    /// sides, which it overwrites. Returns false when a track should have sounded and its samples were not
    /// there. [audio-thread]
    bool Mix(const StreamPlace& place, size_t n, float* const* out, MixPool& pool);

private:
    struct Job {
        std::vector<size_t> nodes;
        std::vector<size_t> after;  ///< jobs that must be done
        std::vector<MixBuffer*> buffers;
        std::atomic<uint32_t> donePass{0};
        bool late = false;
    };
    class Builder;

    void RunJob(Job& job, const StreamPlace& place, size_t n);

    size_t m_sides = kStereoSides;
    size_t m_latency = 0;
    bool m_hasEffects = false;
    const int m_sampleRate;
    const double m_tempo;
    const MeterInertia m_inertia;
    std::vector<MixNode> m_nodes;
    std::vector<std::unique_ptr<Job>> m_jobs;
    std::vector<std::unique_ptr<MixBuffer>> m_buffers;
    std::vector<MixBuffer*> m_output;
    std::vector<std::shared_ptr<ChannelStrip>> m_meteredAside;  ///< of MIDI tracks
    uint32_t m_pass = 0;
};

}  // namespace host
