// COM-style objects: GUIDs, the root interface, memory that changes owner across a boundary, a counted
// pointer.
//
// An interface is an abstract class without a virtual destructor, so that its table holds exactly the slots
// of the contract. No exception leaves an interface operation; out of memory becomes E_OUTOFMEMORY.
#pragma once

#include "platform/types.h"

#include <atomic>
#include <cstring>
#include <utility>

struct GUID {
    uint32_t Data1;
    uint16_t Data2;
    uint16_t Data3;
    uint8_t Data4[8];

    friend constexpr bool operator==(const GUID&, const GUID&) = default;
};
static_assert(sizeof(GUID) == 16);

namespace tarn {
namespace detail {
consteval uint32_t HexDigit(char c) {
    if (c >= '0' && c <= '9') return static_cast<uint32_t>(c - '0');
    if (c >= 'A' && c <= 'F') return static_cast<uint32_t>(c - 'A' + 10);
    if (c >= 'a' && c <= 'f') return static_cast<uint32_t>(c - 'a' + 10);
    throw "a GUID is written in hexadecimal digits";
}
consteval uint32_t HexField(const char* s, int digits) {
    uint32_t v = 0;
    for (int i = 0; i < digits; i++) v = v << 4 | HexDigit(s[i]);
    return v;
}
}  // namespace detail

/// Guid("{0958ECA1-6709-4267-9696-33D56FEC4F6A}"), checked by the compiler.
consteval GUID Guid(const char (&s)[39]) {
    if (s[0] != '{' || s[9] != '-' || s[14] != '-' || s[19] != '-' || s[24] != '-' || s[37] != '}')
        throw "a GUID is written {8-4-4-4-12}";
    GUID g{};
    g.Data1 = detail::HexField(s + 1, 8);
    g.Data2 = static_cast<uint16_t>(detail::HexField(s + 10, 4));
    g.Data3 = static_cast<uint16_t>(detail::HexField(s + 15, 4));
    for (int i = 0; i < 2; i++) g.Data4[i] = static_cast<uint8_t>(detail::HexField(s + 20 + 2 * i, 2));
    for (int i = 0; i < 6; i++) g.Data4[2 + i] = static_cast<uint8_t>(detail::HexField(s + 25 + 2 * i, 2));
    return g;
}
}  // namespace tarn

inline constexpr GUID IID_IUnknown = tarn::Guid("{00000000-0000-0000-C000-000000000046}");

struct IUnknown {
    /// Gives a counted reference in *out, or E_NOINTERFACE and null. [any-thread]
    virtual HRESULT QueryInterface(const GUID& iid, void** out) = 0;
    virtual uint32_t AddRef() = 0;   ///< [any-thread] returns the new count
    virtual uint32_t Release() = 0;  ///< [any-thread] returns the new count; the object dies at 0

protected:
    ~IUnknown() = default;
};

extern "C" {
/// Zero-filled block for memory that changes owner across an interface; null when there is none. [any-thread]
QM_API void* CoTaskMemAlloc(size_t bytes);
/// Frees such a block; null is fine. [any-thread]
QM_API void CoTaskMemFree(void* block);
}

namespace tarn {

/// Copies a terminated text into a CoTaskMem block that the receiver frees; null when out of memory.
/// [any-thread]
QM_API char16_t* CoTaskMemString(const char16_t* text);

/// Holds one counted reference.
template <class T>
class ComPtr {
public:
    ComPtr() = default;
    ComPtr(T* p) : m_p(p) {
        if (m_p) m_p->AddRef();
    }
    ComPtr(const ComPtr& o) : ComPtr(o.m_p) {}
    ComPtr(ComPtr&& o) noexcept : m_p(std::exchange(o.m_p, nullptr)) {}
    ~ComPtr() { Reset(); }
    ComPtr& operator=(ComPtr o) noexcept {
        std::swap(m_p, o.m_p);
        return *this;
    }

    void Reset() {
        if (T* p = std::exchange(m_p, nullptr)) p->Release();
    }
    /// Releases what is held and gives the slot to a call that fills it with a counted reference.
    T** Out() {
        Reset();
        return &m_p;
    }
    void** OutVoid() { return reinterpret_cast<void**>(Out()); }
    /// Gives the reference away.
    T* Detach() { return std::exchange(m_p, nullptr); }
    T* Get() const { return m_p; }
    T* operator->() const { return m_p; }
    T& operator*() const { return *m_p; }
    explicit operator bool() const { return m_p != nullptr; }

private:
    T* m_p = nullptr;
};

/// Reference count of an object that deletes itself; starts at 0, the maker takes the first reference.
class RefCount {
public:
    uint32_t Increment() { return m_count.fetch_add(1, std::memory_order_relaxed) + 1; }
    uint32_t Decrement() { return m_count.fetch_sub(1, std::memory_order_acq_rel) - 1; }
    uint32_t Value() const { return m_count.load(std::memory_order_relaxed); }

private:
    std::atomic<uint32_t> m_count{0};
};

}  // namespace tarn
