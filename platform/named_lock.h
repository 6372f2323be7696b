// A lock between processes, by a name that they agree on.
#pragma once

#include "platform/types.h"

#include <string_view>

namespace tarn {

/// Waits until nobody else of this user has it, in this process or another; the system lets go however a
/// process ends. Where no file can be made for it nothing is locked. [any-thread]
class QM_API NamedLock {
public:
    explicit NamedLock(std::string_view name);
    ~NamedLock();
    NamedLock(const NamedLock&) = delete;
    NamedLock& operator=(const NamedLock&) = delete;
    bool IsHeld() const { return m_fd >= 0; }

private:
    int m_fd;
};

}  // namespace tarn
