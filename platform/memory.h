// Zero-filled blocks of the general heap, and reading memory that may not be there.
//
// The blocks are malloc's: what CoTaskMemAlloc or malloc gave may be freed and measured here, and the other
// way round. All of it passes one gate, by which a test makes any allocation fail. [any-thread]
#pragma once

#include "platform/types.h"

namespace tarn {

/// A zero-filled block, also for 0 bytes; null when out of memory.
QM_API void* MemAlloc(size_t bytes);
/// Resizes a block of which `oldBytes` are in use: keeps them, and zero-fills what is added. Null when out of
/// memory, and then the old block stays.
QM_API void* MemResize(void* block, size_t oldBytes, size_t newBytes);
/// Null is fine.
QM_API void MemFree(void* block);
/// Usable bytes of a block, at least what was asked for; 0 for null.
QM_API size_t MemSize(const void* block);

/// Copies memory of this process that may be unmapped or unreadable; false, without a fault, when it is.
QM_API bool ReadOwnMemory(const void* address, void* out, size_t bytes);

/// Asked before each allocation; false makes it fail.
using MemGate = bool (*)(size_t bytes);
/// For tests. Returns the previous gate; null, the usual state, lets all pass.
QM_API MemGate SetMemGate(MemGate gate);

}  // namespace tarn
