// Memory of two processes through which one gives the other pieces of sound in order, without a message for
// each. Each side has a view of its own, and looks at nothing outside the memory whatever the other writes.
#pragma once

#include "platform/types.h"

#include <atomic>
#include <chrono>
#include <optional>

namespace tarn {

class QM_API AudioRing {
public:
    static constexpr uint32_t SLOTS = 8, SLOT_BYTES = 1 << 17, HEAD_BYTES = 4096,
                              BYTES = HEAD_BYTES + SLOTS * SLOT_BYTES;

    /// Memory of BYTES at least, that outlives this.
    explicit AudioRing(void* memory) : m_memory(static_cast<uint8_t*>(memory)) {}

    // The side that gives, one thread at a time.

    /// For the next piece. Null where all slots are full; then the other side asks for more when it has use
    /// for it.
    uint8_t* FreeSlot();
    /// What was laid into the free slot, and how its reading went. After the last there is none before the
    /// other side has asked for more.
    void Give(uint32_t frames, HRESULT status, bool isLast);

    // The side that takes, one thread at a time.

    struct Piece {
        const uint8_t* samples;
        uint32_t frames;  ///< any number
        HRESULT status;
    };
    /// While nobody gives: the next piece is the first.
    void Clear();
    /// The next piece, which stays until it is released. Nothing where there is none at that time, or when
    /// `isOver` is set, and Wake called after that, before there is one.
    std::optional<Piece> Wait(std::chrono::steady_clock::time_point until, const std::atomic<bool>& isOver);
    /// The piece's slot is free. True where the other side has to be asked to go on.
    bool Release();
    /// Ends a wait. [any-thread]
    void Wake();

private:
    struct Head;
    Head& Shared() const { return *reinterpret_cast<Head*>(m_memory); }
    uint8_t* SlotOf(uint32_t number) const;

    uint8_t* const m_memory;
    uint32_t m_number = 0;  ///< of the next piece on this side
};

}  // namespace tarn
