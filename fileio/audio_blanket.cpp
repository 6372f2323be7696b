#include "fileio/audio_blanket.h"

#include "mediafile/byte_source.h"
#include "mediafile/media_codes.h"

#include <algorithm>

namespace tarn {

CQmReadAudioStreamBlanket::~CQmReadAudioStreamBlanket() noexcept { Stop(); }

void CQmReadAudioStreamBlanket::Know(surrogate::SoundFormat::Reader sound) {
    QmWaveFormatBlock block{};
    if (!FromWire(sound.getFormat(), &block)) return;
    m_format = block;
    m_frameBytes = block.format.blockAlign;
    m_storedAt = sound.getStoredAt();
    m_storedFrames = m_file ? sound.getStoredFrames() : 0;
}

// Once: a buffer that was made for it is filled by it, whatever is told later.
HRESULT CQmReadAudioStreamBlanket::LearnFormat() {
    if (m_format) return S_OK;
    const HRESULT hr = Call([](auto& client) { return client.getAudioFormatRequest(); },
                            [&](auto& response) { Know(response.getSound()); });
    return Failed(hr) || m_format ? hr : E_UNEXPECTED;
}

HRESULT CQmReadAudioStreamBlanket::GetFormat(_qmwaveformat* format, uint32_t capacity) {
    if (!format) return E_POINTER;
    const HRESULT hr = LearnFormat();
    if (Succeeded(hr)) QmAudio_GeneralCopyQmWaveFormat(format, capacity, &m_format->format);
    return hr;
}

HRESULT CQmReadAudioStreamBlanket::GetFrames(uint64_t* frames) {
    if (!frames) return E_POINTER;
    return Call([](auto& client) { return client.getFramesRequest(); },
                [&](auto& response) { *frames = response.getFrames(); });
}

HRESULT CQmReadAudioStreamBlanket::Read(uint64_t frame, uint32_t frames, void* samples, uint32_t* got) {
    if (!samples || !got) return E_POINTER;
    *got = 0;
    HRESULT hr = LearnFormat();
    if (Succeeded(hr) && m_frameBytes == 0) hr = E_UNEXPECTED;
    if (Failed(hr)) return hr;
    auto* out = static_cast<uint8_t*>(samples);
    if (IsStored()) return ReadStored(frame, frames, out, got);
    hr = Share(AudioRing::BYTES);
    if (Failed(hr)) return hr;
    if (frame != m_next) {
        Stop();
        hr = ReadHere(frame, frames, out, got);
    } else {
        if (!m_isAhead) hr = Begin(frame);
        if (Succeeded(hr)) hr = Take(frames, out, got);
        if (hr != S_OK) Stop();
        if (hr == S_FALSE) hr = S_OK;
    }
    m_next = frame + *got;
    return hr;
}

HRESULT CQmReadAudioStreamBlanket::ReadStored(uint64_t frame, uint32_t frames, uint8_t* samples,
                                              uint32_t* got) const {
    if (frame >= m_storedFrames) return S_OK;
    frames = static_cast<uint32_t>(std::min<uint64_t>(frames, m_storedFrames - frame));
    uint64_t at = 0;
    // What is told of the place may be anything; beyond the file there is nothing.
    if (__builtin_mul_overflow(frame, m_frameBytes, &at) || __builtin_add_overflow(at, m_storedAt, &at))
        return MEDIA_E_READ;
    const FileSource source(m_file.get());
    constexpr uint32_t MOST_BYTES = 1u << 30;
    const uint32_t most = MOST_BYTES / m_frameBytes;
    while (*got < frames) {
        const uint32_t part = std::min(frames - *got, most);
        const uint32_t read = source.ReadSome(at + uint64_t{*got} * m_frameBytes,
                                              samples + size_t{*got} * m_frameBytes, part * m_frameBytes) /
                              m_frameBytes;
        *got += read;
        if (read < part) return MEDIA_E_READ;
    }
    return S_OK;
}

// In pieces, so that memory is bounded whatever is asked for.
HRESULT CQmReadAudioStreamBlanket::ReadHere(uint64_t frame, uint32_t frames, uint8_t* samples,
                                            uint32_t* got) {
    const uint32_t most = AudioRing::BYTES / m_frameBytes;
    HRESULT hr = S_OK;
    while (*got < frames && hr == S_OK) {
        const uint32_t part = std::min(frames - *got, most);
        uint32_t read = 0;
        hr = Call(
            [&](auto& client) {
                auto request = client.readAudioRequest();
                request.setFrame(frame + *got);
                request.setFrames(part);
                return request;
            },
            [&](auto& response) { read = std::min<uint32_t>(response.getGot(), part); });
        std::memcpy(samples + size_t{*got} * m_frameBytes, Shared(), size_t{read} * m_frameBytes);
        *got += read;
        if (read < part) break;
    }
    return hr;
}

HRESULT CQmReadAudioStreamBlanket::Begin(uint64_t frame) {
    if (!Owner()->IsAlive()) return FIO_E_SURROGATE_GONE;
    m_ring.emplace(Shared());
    m_ring->Clear();
    m_piece.reset();
    m_isOver = false;
    m_isAhead = true;
    Owner()->RunPlain([&] {
        m_tasks.emplace(static_cast<kj::TaskSet::ErrorHandler&>(*this));
        auto request = Remote().readAheadRequest();
        request.setFrame(frame);
        Send(kj::mv(request));
    });
    return S_OK;
}

// What is being filled is given up. The other side does one thing after the other, so that it has let go of
// the memory before it does what is asked for next.
void CQmReadAudioStreamBlanket::Stop() {
    if (!m_isAhead) return;
    m_isAhead = false;
    Owner()->RunPlain([this] { m_tasks.reset(); });
}

HRESULT CQmReadAudioStreamBlanket::WaitForPiece() {
    m_used = 0;
    m_piece = m_ring->Wait(std::chrono::steady_clock::now() + Owner()->CallLimit(), m_isOver);
    if (m_piece) return S_OK;
    if (m_isOver) return m_end;
    Owner()->Kill();
    return FIO_E_SURROGATE_GONE;
}

HRESULT CQmReadAudioStreamBlanket::Take(uint32_t frames, uint8_t* samples, uint32_t* got) {
    const uint32_t most = AudioRing::SLOT_BYTES / m_frameBytes;
    while (*got < frames) {
        if (!m_piece)
            if (const HRESULT hr = WaitForPiece(); Failed(hr)) return hr;
        const uint32_t all = std::min(m_piece->frames, most), part = std::min(frames - *got, all - m_used);
        std::memcpy(samples + size_t{*got} * m_frameBytes, m_piece->samples + size_t{m_used} * m_frameBytes,
                    size_t{part} * m_frameBytes);
        *got += part;
        m_used += part;
        if (m_used < all) continue;
        if (Failed(m_piece->status)) return m_piece->status;
        if (all < most) return S_FALSE;
        m_piece.reset();
        if (m_ring->Release()) Owner()->RunPlain([this] { Send(Remote().readOnRequest()); });
    }
    return S_OK;
}

template <class Request>
void CQmReadAudioStreamBlanket::Send(Request request) {
    m_tasks->add(request.send().then([this](auto&& response) {
        if (const HRESULT code = response.getCode(); Failed(code)) End(code);
    }));
}

void CQmReadAudioStreamBlanket::End(HRESULT status) {
    m_end = status;
    m_isOver = true;
    m_ring->Wake();
}

void CQmReadAudioStreamBlanket::taskFailed(kj::Exception&& exception) {
    const bool isGone = exception.getType() == kj::Exception::Type::DISCONNECTED;
    End(isGone ? FIO_E_SURROGATE_GONE : E_UNEXPECTED);
}

}  // namespace tarn
