// A stream of sound of another process, which reads ahead while this one uses what it has read.
#pragma once

#include "fileio/blanket.h"

#include <array>
#include <condition_variable>
#include <mutex>

namespace tarn {

/// Whoever reads one frame after the other, or begins at the start, has the next pieces read into memory that
/// both processes see; any other place is read when it is asked for.
class CQmReadAudioStreamBlanket final : public StreamBlanket<IQmReadAudioStream, IID_IQmReadAudioStream>,
                                        private kj::TaskSet::ErrorHandler {
public:
    using StreamBlanket::StreamBlanket;
    ~CQmReadAudioStreamBlanket() noexcept override;

    HRESULT GetFormat(_qmwaveformat* format, uint32_t capacity) override;
    HRESULT GetFrames(uint64_t* frames) override;
    HRESULT Read(uint64_t frame, uint32_t frames, void* samples, uint32_t* got) override;

private:
    static constexpr uint32_t SLOTS = 4, SLOT_BYTES = 1 << 18;

    /// A part of the shared memory with frames that follow those of the slot before.
    struct Slot {
        enum State { Free, Asked, Ready } state = Free;
        uint32_t frames = 0, got = 0;
        HRESULT status = S_OK;
    };

    HRESULT Prepare();
    HRESULT ReadHere(uint64_t frame, uint32_t frames, uint8_t* samples, uint32_t* got);
    HRESULT Begin(uint64_t frame);
    void Stop();
    /// From the slots, until they end. S_FALSE where they have.
    HRESULT Take(uint32_t frames, uint8_t* samples, uint32_t* got);
    HRESULT WaitForFirst(std::unique_lock<std::mutex>& lock);
    /// On the connection's thread, as all of these.
    void AskMore();
    void Ask(uint32_t slot, uint64_t frame, uint32_t frames);
    void Answered(uint32_t slot, HRESULT status, uint32_t got);
    void taskFailed(kj::Exception&& exception) override;

    uint32_t m_frameBytes = 0;
    uint64_t m_next = 0;                 ///< frame behind the last one that was read
    bool m_isAhead = false;              ///< the slots begin with it
    std::optional<kj::TaskSet> m_tasks;  ///< the connection's thread's

    std::mutex m_lock;  ///< of what follows
    std::condition_variable m_answered;
    std::array<Slot, SLOTS> m_slots;
    uint32_t m_first = 0, m_used = 0;  ///< the slot that is being used, and its frames that have been
    uint64_t m_toAsk = 0;              ///< frame that is asked for next
    uint32_t m_outstanding = 0;
    bool m_isEnd = false;  ///< nothing more is asked for
};

}  // namespace tarn
