#include "platform/com.h"

#include "platform/memory.h"

using namespace tarn;

extern "C" void* CoTaskMemAlloc(size_t bytes) { return MemAlloc(bytes); }
extern "C" void CoTaskMemFree(void* block) { MemFree(block); }

char16_t* tarn::CoTaskMemString(const char16_t* text) {
    size_t n = 0;
    while (text[n]) n++;
    auto* copy = static_cast<char16_t*>(CoTaskMemAlloc((n + 1) * sizeof(char16_t)));
    if (copy) std::memcpy(copy, text, n * sizeof(char16_t));
    return copy;
}
