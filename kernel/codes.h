// Status codes of the kernel's own that several families give.
#pragma once

#include "platform/types.h"

inline constexpr HRESULT QM_E_NO_RESOURCE = tarn::StatusCode(0x8004E003);
inline constexpr HRESULT QM_E_OPEN = tarn::StatusCode(0x8004E007);  ///< no such file, a folder, or unreadable
inline constexpr HRESULT QM_E_UNKNOWN_FORMAT = tarn::StatusCode(0x8004E00B);
inline constexpr HRESULT QM_E_ALREADY = tarn::StatusCode(0x8004E01B);  ///< initialised twice
inline constexpr HRESULT QM_E_TOO_LARGE = tarn::StatusCode(0x8004E03A);
