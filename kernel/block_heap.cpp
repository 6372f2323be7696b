#include "kernel/block_heap.h"

#include "platform/memory.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <new>
#include <utility>

namespace tarn {

namespace {
constexpr size_t kFirstChunk = 4096;
constexpr size_t kLastChunk = size_t{1} << 20;

// A block's stride is its payload and, in front of it, the word that holds the payload's size. Strides come
// in classes: multiples of 16 up to 256, then four to the octave up to 32 KiB.
constexpr size_t kHead = sizeof(size_t);
constexpr size_t kLargestStride = 32768;
constexpr size_t kLargestSmall = kLargestStride - kHead;

constexpr int ClassOf(size_t bytes) {
    const size_t stride = bytes + kHead;
    if (stride <= 256) return static_cast<int>((stride + 15) / 16) - 1;
    const int octave = std::bit_width(stride - 1) - 1;  // 2^octave < stride <= 2^(octave + 1)
    const size_t step = size_t{1} << (octave - 2);
    const size_t quarter = (stride - (size_t{1} << octave) + step - 1) / step;  // 1..4
    return 15 + (octave - 8) * 4 + static_cast<int>(quarter);
}

constexpr size_t StrideOf(int cls) {
    if (cls < 16) return static_cast<size_t>(cls + 1) * 16;
    const int octave = 8 + (cls - 16) / 4;
    const auto quarter = static_cast<size_t>((cls - 16) % 4 + 1);
    return (size_t{1} << octave) + (quarter << (octave - 2));
}
static_assert(StrideOf(ClassOf(0)) == 16 && StrideOf(ClassOf(8)) == 16 && StrideOf(ClassOf(9)) == 32);
static_assert(StrideOf(ClassOf(248)) == 256 && StrideOf(ClassOf(249)) == 320 &&
              StrideOf(ClassOf(504)) == 512);
static_assert(StrideOf(ClassOf(kLargestSmall)) == kLargestStride);

size_t& SizeOf(void* block) { return static_cast<size_t*>(block)[-1]; }
}  // namespace

BlockHeap* BlockHeap::Create() {
    auto* memory = static_cast<uint8_t*>(MemAlloc(kFirstChunk));
    if (!memory) return nullptr;
    auto* heap = new (memory) BlockHeap;
    // Blocks start with the size word, half an alignment step before their payload.
    heap->m_free = memory + (sizeof(BlockHeap) + 15) / 16 * 16 + 16 - kHead;
    heap->m_end = memory + kFirstChunk;
    heap->m_nextChunk = 2 * kFirstChunk;
    return heap;
}

void BlockHeap::Destroy(BlockHeap* heap) {
    for (Large* p = heap->m_large; p;) MemFree(std::exchange(p, p->next));
    for (Chunk* p = heap->m_chunks; p;) MemFree(std::exchange(p, p->next));
    MemFree(heap);
}

void* BlockHeap::Alloc(size_t bytes) {
    if (bytes > kLargestSmall) return AllocLarge(bytes);
    static_assert(kClasses > ClassOf(kLargestSmall));
    const int cls = ClassOf(bytes);
    void* block = m_freed[cls];
    if (block) {
        m_freed[cls] = m_freed[cls]->next;
        std::memset(block, 0, bytes);
    } else {
        const size_t stride = StrideOf(cls);
        if (static_cast<size_t>(m_end - m_free) < stride && !AddChunk(stride)) return nullptr;
        block = m_free + kHead;
        m_free += stride;
    }
    SizeOf(block) = bytes;
    return block;
}

bool BlockHeap::AddChunk(size_t stride) {
    const size_t size = std::max(m_nextChunk, stride + 16);
    auto* chunk = static_cast<Chunk*>(MemAlloc(size));
    if (!chunk) return false;
    chunk->next = m_chunks;
    m_chunks = chunk;
    m_free = reinterpret_cast<uint8_t*>(chunk) + sizeof(Chunk);
    m_end = reinterpret_cast<uint8_t*>(chunk) + size;
    m_nextChunk = std::min(2 * size, kLastChunk);
    static_assert((sizeof(Chunk) + kHead) % 16 == 0);
    return true;
}

void* BlockHeap::AllocLarge(size_t bytes) {
    if (bytes > SIZE_MAX - sizeof(Large)) return nullptr;
    auto* head = static_cast<Large*>(MemAlloc(sizeof(Large) + bytes));
    if (!head) return nullptr;
    head->next = m_large;
    head->size = bytes;
    if (m_large) m_large->prev = head;
    m_large = head;
    return head + 1;
}

void BlockHeap::FreeLarge(void* block) {
    Large* head = static_cast<Large*>(block) - 1;
    (head->prev ? head->prev->next : m_large) = head->next;
    if (head->next) head->next->prev = head->prev;
    MemFree(head);
}

void* BlockHeap::Resize(void* block, size_t bytes) {
    if (!block) return Alloc(bytes);
    const size_t old = SizeOf(block);
    if (std::max(old, bytes) <= kLargestSmall && ClassOf(old) == ClassOf(bytes)) {
        if (bytes > old) std::memset(static_cast<uint8_t*>(block) + old, 0, bytes - old);
        SizeOf(block) = bytes;
        return block;
    }
    void* moved = Alloc(bytes);
    if (!moved) return nullptr;
    std::memcpy(moved, block, std::min(old, bytes));
    Free(block);
    return moved;
}

void BlockHeap::Free(void* block) {
    if (!block) return;
    const size_t size = SizeOf(block);
    if (size > kLargestSmall) return FreeLarge(block);
    auto* freed = static_cast<FreeBlock*>(block);
    FreeBlock*& first = m_freed[ClassOf(size)];
    freed->next = first;
    first = freed;
}

size_t BlockHeap::Size(const void* block) { return block ? static_cast<const size_t*>(block)[-1] : 0; }

}  // namespace tarn
