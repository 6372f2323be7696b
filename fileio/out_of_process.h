// Objects that may live in another process.
#pragma once

#include "platform/com.h"

inline constexpr GUID IID_IQmOutOfProcObj = tarn::Guid("{7618D4F5-DF31-45E9-9D39-40FD90D44C9B}");

/// What a call of such an object gives whose process is gone, or was ended because it took too long. The next
/// file has a new one.
inline constexpr HRESULT FIO_E_SURROGATE_GONE = tarn::StatusCode(0x800706BE);

/// Every object that comes from a plug-in in another process answers it beside its own interface.
struct IQmOutOfProcObj : IUnknown {
    /// All bits set where the object is remote, else 0.
    virtual HRESULT IsOutOfProc(uint32_t* flag) = 0;
};
