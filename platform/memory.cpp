#include "platform/memory.h"

#include <atomic>
#include <cstdlib>
#include <cstring>

#include <malloc.h>
#include <sys/uio.h>
#include <unistd.h>

namespace tarn {

namespace {
std::atomic<MemGate> g_gate{nullptr};

bool MayAllocate(size_t bytes) {
    const MemGate gate = g_gate.load(std::memory_order_relaxed);
    return !gate || gate(bytes);
}
}  // namespace

MemGate SetMemGate(MemGate gate) { return g_gate.exchange(gate); }

// NOLINTBEGIN(cppcoreguidelines-no-malloc): blocks of C callers, who resize them and ask for their size

void* MemAlloc(size_t bytes) { return MayAllocate(bytes) ? std::calloc(1, bytes ? bytes : 1) : nullptr; }

void* MemResize(void* block, size_t oldBytes, size_t newBytes) {
    if (!MayAllocate(newBytes)) return nullptr;
    auto* moved = static_cast<uint8_t*>(std::realloc(block, newBytes ? newBytes : 1));
    if (moved && newBytes > oldBytes) std::memset(moved + oldBytes, 0, newBytes - oldBytes);
    return moved;
}

void MemFree(void* block) { std::free(block); }

// NOLINTEND(cppcoreguidelines-no-malloc)

size_t MemSize(const void* block) { return malloc_usable_size(const_cast<void*>(block)); }

bool ReadOwnMemory(const void* address, void* out, size_t bytes) {
    const iovec to{out, bytes};
    const iovec from{const_cast<void*>(address), bytes};
    return process_vm_readv(getpid(), &to, 1, &from, 1, 0) == static_cast<ssize_t>(bytes);
}

}  // namespace tarn
