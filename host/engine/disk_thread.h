// The thread that reads ahead of the audio thread.
#pragma once

#include "host/engine/play_head.h"
#include "host/engine/track_stream.h"

#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>
#include <vector>

namespace host {

/// What shall play. Serial numbers grow from request to request.
struct PlayRequest {
    uint64_t serial = 0;
    LoopFrames loop;
    /// Begin there; without it what plays goes on, with the new loop and without a seam.
    std::optional<int64_t> jump;
};

class DiskThread {
public:
    using Streams = std::vector<std::shared_ptr<TrackStream>>;

    DiskThread(PlayHead& head, int sampleRate);
    ~DiskThread();

    /// The streams to read for. One that comes while others play joins in a moment later. [any-thread but
    /// audio]
    void SetStreams(Streams streams);
    /// Has the request played as soon as its beginning is read; of several that wait the last one counts.
    /// [any-thread but audio]
    void Request(const PlayRequest& request);
    /// Whether something that was asked for is not read and offered yet. [any-thread]
    bool Reading() const { return m_reading.load(std::memory_order_acquire); }

private:
    void Run();
    bool Work(const Streams& streams);
    void Consider(const PlayRequest& request);
    void BeginPlan(const PlayRequest& request);
    void Settle();
    size_t Fill(const Streams& streams, const ReadyPlan& plan, int64_t ahead);
    void Join(TrackStream& stream, const ReadyPlan& plan);

    PlayHead& m_head;
    const int64_t m_primeFrames;
    const int64_t m_leadFrames;

    // The reading thread's own.
    std::optional<PlayRequest> m_wanted;  ///< waits for a ring
    std::optional<ReadyPlan> m_playing;   ///< what the audio thread plays, or played last
    std::optional<ReadyPlan> m_priming;   ///< is being read, not offered yet
    std::optional<ReadyPlan> m_offered;
    bool m_primingJumps = false;  ///< the plan that is primed or offered begins at a place of its own

    std::mutex m_mutex;
    std::condition_variable m_wake;
    Streams m_streams;
    std::optional<PlayRequest> m_request;
    bool m_news = false;
    std::atomic<bool> m_reading{false};
    bool m_quit = false;
    std::thread m_thread;
};

}  // namespace host
