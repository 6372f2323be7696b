#include "fileio/audio_blanket.h"

#include <algorithm>

namespace tarn {

CQmReadAudioStreamBlanket::~CQmReadAudioStreamBlanket() noexcept { Stop(); }

HRESULT CQmReadAudioStreamBlanket::GetFormat(_qmwaveformat* format, uint32_t capacity) {
    if (!format) return E_POINTER;
    QmWaveFormatBlock block{};
    bool isWhole = false;
    const HRESULT hr = Call([](auto& client) { return client.getAudioFormatRequest(); },
                            [&](auto& response) { isWhole = FromWire(response.getFormat(), &block); });
    if (Failed(hr) || !isWhole) return Failed(hr) ? hr : E_UNEXPECTED;
    QmAudio_GeneralCopyQmWaveFormat(format, capacity, &block.format);
    m_frameBytes = block.format.blockAlign;
    return hr;
}

HRESULT CQmReadAudioStreamBlanket::GetFrames(uint64_t* frames) {
    if (!frames) return E_POINTER;
    return Call([](auto& client) { return client.getFramesRequest(); },
                [&](auto& response) { *frames = response.getFrames(); });
}

HRESULT CQmReadAudioStreamBlanket::Prepare() {
    _qmwaveformat format{};
    if (m_frameBytes == 0)
        if (const HRESULT hr = GetFormat(&format, sizeof format); Failed(hr)) return hr;
    return m_frameBytes ? Share(SLOTS * SLOT_BYTES) : E_UNEXPECTED;
}

HRESULT CQmReadAudioStreamBlanket::Read(uint64_t frame, uint32_t frames, void* samples, uint32_t* got) {
    if (!samples || !got) return E_POINTER;
    *got = 0;
    if (const HRESULT hr = Prepare(); Failed(hr)) return hr;
    auto* out = static_cast<uint8_t*>(samples);
    HRESULT hr = S_OK;
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

// In pieces, so that memory is bounded whatever is asked for.
HRESULT CQmReadAudioStreamBlanket::ReadHere(uint64_t frame, uint32_t frames, uint8_t* samples,
                                            uint32_t* got) {
    const uint32_t most = SLOTS * SLOT_BYTES / m_frameBytes;
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
    m_slots = {};
    m_first = m_used = m_outstanding = 0;
    m_toAsk = frame;
    m_isEnd = false;
    m_isAhead = true;
    Owner()->RunPlain([this] {
        m_tasks.emplace(static_cast<kj::TaskSet::ErrorHandler&>(*this));
        AskMore();
    });
    return S_OK;
}

// What was asked for is answered to nobody. The other side does one thing after the other, so that it has
// written it before it writes what is asked for next.
void CQmReadAudioStreamBlanket::Stop() {
    if (!m_isAhead) return;
    m_isAhead = false;
    Owner()->RunPlain([this] { m_tasks.reset(); });
}

HRESULT CQmReadAudioStreamBlanket::WaitForFirst(std::unique_lock<std::mutex>& lock) {
    const auto isReady = [this] { return m_slots[m_first].state == Slot::Ready; };
    if (m_answered.wait_for(lock, Owner()->CallLimit(), isReady)) return S_OK;
    Owner()->Kill();
    return FIO_E_SURROGATE_GONE;
}

HRESULT CQmReadAudioStreamBlanket::Take(uint32_t frames, uint8_t* samples, uint32_t* got) {
    std::unique_lock lock(m_lock);
    while (*got < frames) {
        Slot& slot = m_slots[m_first];
        if (const HRESULT hr = WaitForFirst(lock); Failed(hr)) return hr;
        const uint32_t part = std::min(frames - *got, slot.got - m_used);
        const uint8_t* from = Shared() + size_t{m_first} * SLOT_BYTES + size_t{m_used} * m_frameBytes;
        lock.unlock();
        std::memcpy(samples + size_t{*got} * m_frameBytes, from, size_t{part} * m_frameBytes);
        lock.lock();
        *got += part;
        m_used += part;
        if (m_used < slot.got) continue;
        if (Failed(slot.status)) return slot.status;
        if (slot.got < slot.frames) return S_FALSE;
        slot.state = Slot::Free;
        m_first = (m_first + 1) % SLOTS;
        m_used = 0;
        // Else the next answer asks for more.
        if (m_outstanding > 0 || m_isEnd) continue;
        lock.unlock();
        Owner()->RunPlain([this] { AskMore(); });
        lock.lock();
    }
    return S_OK;
}

void CQmReadAudioStreamBlanket::AskMore() {
    const uint32_t frames = SLOT_BYTES / m_frameBytes;
    for (uint32_t i = 0; i < SLOTS; i++) {
        const std::unique_lock lock(m_lock);
        const uint32_t slot = (m_first + i) % SLOTS;
        if (m_isEnd) return;
        if (m_slots[slot].state != Slot::Free) continue;
        m_slots[slot] = {Slot::Asked, frames, 0, S_OK};
        m_outstanding++;
        Ask(slot, m_toAsk, frames);
        m_toAsk += frames;
    }
}

void CQmReadAudioStreamBlanket::Ask(uint32_t slot, uint64_t frame, uint32_t frames) {
    auto request = Remote().readAudioRequest();
    request.setFrame(frame);
    request.setFrames(frames);
    request.setOffset(slot * SLOT_BYTES);
    m_tasks->add(request.send().then([this, slot](auto&& response) {
        Answered(slot, response.getCode(), response.getGot());
        AskMore();
    }));
}

void CQmReadAudioStreamBlanket::Answered(uint32_t slot, HRESULT status, uint32_t got) {
    {
        const std::lock_guard lock(m_lock);
        Slot& s = m_slots[slot];
        s.state = Slot::Ready;
        s.status = status;
        s.got = std::min(got, s.frames);
        m_outstanding--;
        m_isEnd = m_isEnd || Failed(status) || s.got < s.frames;
    }
    m_answered.notify_one();
}

void CQmReadAudioStreamBlanket::taskFailed(kj::Exception&& exception) {
    const bool isGone = exception.getType() == kj::Exception::Type::DISCONNECTED;
    {
        const std::lock_guard lock(m_lock);
        for (Slot& slot : m_slots)
            if (slot.state == Slot::Asked)
                slot = {Slot::Ready, slot.frames, 0, isGone ? FIO_E_SURROGATE_GONE : E_UNEXPECTED};
        m_outstanding = 0;
        m_isEnd = true;
    }
    m_answered.notify_one();
}

}  // namespace tarn
