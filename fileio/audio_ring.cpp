#include "fileio/audio_ring.h"

#include <climits>

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace tarn {

/// Memory of zeros is one.
struct AudioRing::Head {
    std::atomic<uint32_t> given, released;
    std::atomic<uint32_t> news;  ///< another number whenever the taker has to look again
    std::atomic<uint32_t> isTakerAsleep, isGiverResting;
    std::atomic<uint32_t> wakeAt;  ///< pieces given for which a taker that sleeps is woken
    struct {
        std::atomic<uint32_t> frames;
        std::atomic<HRESULT> status;
    } pieces[SLOTS];
};

namespace {

long Futex(std::atomic<uint32_t>& word, int operation, uint32_t value, const timespec* limit = nullptr) {
    return ::syscall(SYS_futex, &word, operation, value, limit, nullptr, 0);
}

}  // namespace

uint8_t* AudioRing::SlotOf(uint32_t number) const {
    static_assert(sizeof(Head) <= HEAD_BYTES && std::atomic<uint32_t>::is_always_lock_free);
    return m_memory + HEAD_BYTES + size_t{number % SLOTS} * SLOT_BYTES;
}

uint8_t* AudioRing::FreeSlot() {
    Head& head = Shared();
    const auto isFull = [&] { return m_number - head.released >= SLOTS; };
    if (isFull()) {
        head.isGiverResting = 1;
        // What was released before that was seen by nobody asks for nothing.
        if (isFull() || head.isGiverResting.exchange(0) == 0) return nullptr;
    }
    return SlotOf(m_number);
}

void AudioRing::Give(uint32_t frames, HRESULT status, bool isLast) {
    Head& head = Shared();
    head.pieces[m_number % SLOTS].frames = frames;
    head.pieces[m_number % SLOTS].status = status;
    head.given = ++m_number;
    head.news++;
    const bool isEnough = static_cast<int32_t>(m_number - head.wakeAt) >= 0;
    if ((isEnough || isLast) && head.isTakerAsleep.exchange(0)) Futex(head.news, FUTEX_WAKE, INT_MAX);
}

void AudioRing::Clear() {
    Head& head = Shared();
    head.given = head.released = head.isGiverResting = m_number = 0;
}

std::optional<AudioRing::Piece> AudioRing::Wait(std::chrono::steady_clock::time_point until,
                                                const std::atomic<bool>& isOver) {
    using namespace std::chrono;
    Head& head = Shared();
    for (;;) {
        const uint32_t news = head.news;
        if (head.given != m_number) {
            const auto& piece = head.pieces[m_number % SLOTS];
            return Piece{SlotOf(m_number), piece.frames, piece.status};
        }
        const auto left = until - steady_clock::now();
        if (isOver || left <= left.zero()) return std::nullopt;
        const auto whole = duration_cast<seconds>(left);
        const timespec limit{whole.count(), static_cast<long>(nanoseconds(left - whole).count())};
        // The first is for somebody who waits to hear it. Else a wake-up, which costs as much as a piece, is
        // for several.
        head.wakeAt = m_number + (m_number ? SLOTS / 2 : 1);
        head.isTakerAsleep = 1;
        Futex(head.news, FUTEX_WAIT, news, &limit);
    }
}

bool AudioRing::Release() {
    Head& head = Shared();
    head.released = ++m_number;
    // Not for each piece: who rests goes on with several.
    const bool isHalfFree = head.given - m_number <= SLOTS / 2;
    return isHalfFree && head.isGiverResting.exchange(0);
}

void AudioRing::Wake() {
    Head& head = Shared();
    head.news++;
    Futex(head.news, FUTEX_WAKE, INT_MAX);
}

}  // namespace tarn
