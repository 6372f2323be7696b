// The check behind the thread tags: this object is used on the thread that made it. Costs nothing without
// assertions.
//
//     ThreadCheck m_thread;                    // a member of an object whose operations are [page-thread]
//     assert(m_thread.IsHere());               // the first line of each
#pragma once

#ifndef NDEBUG
#include <thread>
#endif

namespace tarn {

#ifdef NDEBUG

class ThreadCheck {
public:
    constexpr bool IsHere() const { return true; }
    constexpr void MoveHere() {}
};

#else

class ThreadCheck {
public:
    bool IsHere() const { return m_owner == std::this_thread::get_id(); }
    /// For an object that was made on one thread to be used on another.
    void MoveHere() { m_owner = std::this_thread::get_id(); }

private:
    std::thread::id m_owner = std::this_thread::get_id();
};

#endif

}  // namespace tarn
