// A stream of sound of another process, which reads ahead while this one uses what it has read.
#pragma once

#include "fileio/audio_ring.h"
#include "fileio/blanket.h"
#include "platform/file_handle.h"

#include <atomic>

namespace tarn {

/// The program's own handle on the file; null where it has none.
using SharedFile = std::shared_ptr<std::remove_pointer_t<HQMFILE>>;

/// Samples that lie in the file as they are are read from it here, since they would only be copied there.
/// Else, whoever reads one frame after the other, or begins at the start, has the next pieces read into
/// memory that both processes see; any other place is read when it is asked for.
class CQmReadAudioStreamBlanket final : public StreamBlanket<IQmReadAudioStream, IID_IQmReadAudioStream>,
                                        private kj::TaskSet::ErrorHandler {
public:
    CQmReadAudioStreamBlanket(SharedProcess process, surrogate::ReadStream::Client client, SharedFile file)
        : StreamBlanket(std::move(process), kj::mv(client)), m_file(std::move(file)) {}
    /// Before it is used: what the other side has told of it already.
    void Know(surrogate::SoundFormat::Reader sound);
    ~CQmReadAudioStreamBlanket() noexcept override;

    HRESULT GetFormat(_qmwaveformat* format, uint32_t capacity) override;
    HRESULT GetFrames(uint64_t* frames) override;
    HRESULT Read(uint64_t frame, uint32_t frames, void* samples, uint32_t* got) override;

private:
    bool IsStored() const { return m_storedFrames > 0; }
    HRESULT LearnFormat();
    HRESULT ReadStored(uint64_t frame, uint32_t frames, uint8_t* samples, uint32_t* got) const;
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

    const SharedFile m_file;
    std::optional<QmWaveFormatBlock> m_format;
    uint32_t m_frameBytes = 0;                    ///< 0 before the format is known
    uint64_t m_storedAt = 0, m_storedFrames = 0;  ///< byte of the first; none where they are not stored so
    uint64_t m_next = 0;                          ///< frame behind the last one that was read
    bool m_isAhead = false;                       ///< the ring begins with it
    std::optional<AudioRing> m_ring;              ///< in the shared memory
    std::optional<AudioRing::Piece> m_piece;
    uint32_t m_used = 0;                 ///< frames of the piece
    std::optional<kj::TaskSet> m_tasks;  ///< the connection's thread's
    std::atomic<HRESULT> m_end = S_OK;   ///< how the filling has failed
    std::atomic<bool> m_isOver = false;  ///< it has
};

}  // namespace tarn
