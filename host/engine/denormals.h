// Numbers too small to hear cost a hundred times the time of others; in this scope they are zero.
#pragma once

#if defined(__SSE__)
#include <xmmintrin.h>
#endif

namespace host {

class FlushDenormals {
public:
    FlushDenormals(const FlushDenormals&) = delete;
    FlushDenormals& operator=(const FlushDenormals&) = delete;
#if defined(__SSE__)
    FlushDenormals() : m_before(_mm_getcsr()) { _mm_setcsr(m_before | 0x8040); }  // results and operands
    ~FlushDenormals() { _mm_setcsr(m_before); }

private:
    unsigned m_before;
#else
    FlushDenormals() {}
    ~FlushDenormals() {}
#endif
};

}  // namespace host
