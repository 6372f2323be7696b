// A heap of zero-filled blocks that is dropped at one stroke: small blocks are carved from a few growing
// chunks, and a freed one is kept for the next of its size class. Not serialised: one thread at a time, or
// under the owner's lock.
#pragma once

#include "platform/types.h"

namespace tarn {

class BlockHeap {
public:
    /// Starts with one chunk of 4096 bytes, in which the heap itself lies; null when out of memory.
    static BlockHeap* Create();
    /// Drops the heap and every block that came from it.
    static void Destroy(BlockHeap* heap);

    /// Blocks are aligned to 16 bytes; null when out of memory.
    void* Alloc(size_t bytes);
    /// Keeps the content and zero-fills what is added. Null when out of memory, and then the old block stays.
    void* Resize(void* block, size_t bytes);
    /// Null is fine.
    void Free(void* block);
    /// The bytes that were asked for; 0 for null.
    static size_t Size(const void* block);

private:
    static constexpr int kClasses = 44;

    struct Chunk {
        Chunk* next;
    };
    struct FreeBlock {
        FreeBlock* next;
    };
    /// Head of a block that is too big for a chunk. The block's size stands last, where a small block has it
    /// too.
    struct alignas(16) Large {
        Large* prev;
        Large* next;
        size_t unused;
        size_t size;
    };

    BlockHeap() = default;
    bool AddChunk(size_t stride);
    void* AllocLarge(size_t bytes);
    void FreeLarge(void* block);

    uint8_t* m_free = nullptr;  ///< rest of the newest chunk
    uint8_t* m_end = nullptr;
    Chunk* m_chunks = nullptr;  ///< without the one that holds the heap
    Large* m_large = nullptr;
    size_t m_nextChunk = 0;
    FreeBlock* m_freed[kClasses] = {};
};

}  // namespace tarn
