// Fixed-width names of the plain types that cross the module's boundaries, status codes, and the export
// macro.
#pragma once

#include <cstddef>
#include <cstdint>

#define QM_API __attribute__((visibility("default")))

using HRESULT = int32_t;
using LONG = int32_t;
using DWORD = uint32_t;
using BOOL = int32_t;
using COLORREF = uint32_t;  ///< 0x00BBGGRR; 0xFFFFFFFF where a colour may be absent

/// Native window id across the host boundary (`WId` inside the module), 0 for none.
using HWND = uintptr_t;

namespace tarn {
constexpr HRESULT StatusCode(uint32_t bits) { return static_cast<HRESULT>(bits); }
constexpr bool Succeeded(HRESULT hr) { return hr >= 0; }
constexpr bool Failed(HRESULT hr) { return hr < 0; }
}  // namespace tarn

inline constexpr HRESULT S_OK = 0;
inline constexpr HRESULT S_FALSE = 1;  ///< not handled, or nothing there
inline constexpr HRESULT E_NOTIMPL = tarn::StatusCode(0x80004001);
inline constexpr HRESULT E_NOINTERFACE = tarn::StatusCode(0x80004002);
inline constexpr HRESULT E_POINTER = tarn::StatusCode(0x80004003);
inline constexpr HRESULT E_FAIL = tarn::StatusCode(0x80004005);
inline constexpr HRESULT E_UNEXPECTED = tarn::StatusCode(0x8000FFFF);
inline constexpr HRESULT E_OUTOFMEMORY = tarn::StatusCode(0x8007000E);
inline constexpr HRESULT E_INVALIDARG = tarn::StatusCode(0x80070057);

struct POINT {
    LONG x, y;
};

struct SIZE {
    LONG cx, cy;
};

/// Pixels; right and bottom lie outside.
struct RECT {
    LONG left, top, right, bottom;

    constexpr LONG Width() const { return right - left; }
    constexpr LONG Height() const { return bottom - top; }
    constexpr bool IsEmpty() const { return right <= left || bottom <= top; }
    constexpr bool Contains(POINT p) const {
        return p.x >= left && p.x < right && p.y >= top && p.y < bottom;
    }
    constexpr bool Intersects(const RECT& o) const {
        return left < o.right && o.left < right && top < o.bottom && o.top < bottom;
    }
    friend constexpr bool operator==(const RECT&, const RECT&) = default;
};
static_assert(sizeof(RECT) == 16 && sizeof(POINT) == 8 && sizeof(SIZE) == 8);
