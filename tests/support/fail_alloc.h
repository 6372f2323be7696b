// Makes chosen allocations fail, and counts them all, while it lives. One at a time.
#pragma once

#include "platform/memory.h"

class FailAlloc {
public:
    static constexpr int kNever = -1;

    /// Fails allocation `nth`, counted from 0, and with `onwards` all that follow.
    explicit FailAlloc(int nth = kNever, bool onwards = false) {
        s_seen = 0;
        s_nth = nth;
        s_onwards = onwards;
        tarn::SetMemGate(&Gate);
    }
    ~FailAlloc() { tarn::SetMemGate(nullptr); }
    FailAlloc(const FailAlloc&) = delete;
    FailAlloc& operator=(const FailAlloc&) = delete;

    int Seen() const { return s_seen; }
    bool Struck() const { return s_nth != kNever && s_seen > s_nth; }

private:
    static bool Gate(size_t) {
        const int n = s_seen++;
        return !(n == s_nth || (s_onwards && s_nth != kNever && n > s_nth));
    }
    static inline int s_seen = 0;
    static inline int s_nth = kNever;
    static inline bool s_onwards = false;
};
