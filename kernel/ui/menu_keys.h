// Keys as menus show them. All on the UI thread.
#pragma once

#include "platform/types.h"

#include <string>

inline constexpr uint32_t ACCEL_SHIFT = 2, ACCEL_CTRL = 4, ACCEL_ALT = 8, ACCEL_VIRTKEY = 0x100;

struct QMACCEL {
    uint32_t key;    ///< VK_
    uint32_t flags;  ///< ACCEL_
    uint32_t command;
};

/// "Ctrl+Shift+F2" in the kernel's language; empty for a key that has no name.
QM_API std::u16string AcceleratorText(const QMACCEL& accelerator);
/// Scan code of the first set of a PC's keyboard, 0x100 added for keys of the extended block; 0 when unknown.
QM_API uint32_t VirtualKeyScanCode(uint32_t virtualKey);
