// A stream of sound of another process, which reads ahead while this one uses what it has read.
#pragma once

#include "fileio/audio_ring.h"
#include "fileio/blanket.h"

#include <atomic>

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
    HRESULT Prepare();
    HRESULT ReadHere(uint64_t frame, uint32_t frames, uint8_t* samples, uint32_t* got);
    HRESULT Begin(uint64_t frame);
    void Stop();
    /// From the ring, until it ends. S_FALSE where it has.
    HRESULT Take(uint32_t frames, uint8_t* samples, uint32_t* got);
    HRESULT WaitForPiece();
    /// What fills the ring, on the connection's thread, as the rest.
    template <class Request>
    void Send(Request request);
    void End(HRESULT status);
    void taskFailed(kj::Exception&& exception) override;

    uint32_t m_frameBytes = 0;
    uint64_t m_next = 0;              ///< frame behind the last one that was read
    bool m_isAhead = false;           ///< the ring begins with it
    std::optional<AudioRing> m_ring;  ///< in the shared memory
    std::optional<AudioRing::Piece> m_piece;
    uint32_t m_used = 0;                 ///< frames of the piece
    std::optional<kj::TaskSet> m_tasks;  ///< the connection's thread's
    std::atomic<HRESULT> m_end = S_OK;   ///< how the filling has failed
    std::atomic<bool> m_isOver = false;  ///< it has
};

}  // namespace tarn
