// Keeps numbers that fade towards zero from slowing the filters down.
#pragma once

#if defined(__SSE2__)
#include <xmmintrin.h>
#endif

namespace Orvane {

// While one of these lives, the thread takes numbers too small for a normal float or double as zero, in and out.
// A recursive filter that is fed digital silence would otherwise end among such numbers and stay there, at twenty
// times the cost of a sample. Without SSE2 it does nothing.
class FlushToZero {
public:
#if defined(__SSE2__)
    FlushToZero() : saved(_mm_getcsr()) {
        _mm_setcsr(saved | 0x8040u);
    }
    ~FlushToZero() {
        _mm_setcsr(saved);
    }
#else
    FlushToZero() = default;
#endif
    FlushToZero(const FlushToZero&) = delete;
    FlushToZero& operator=(const FlushToZero&) = delete;

private:
#if defined(__SSE2__)
    const unsigned saved;
#endif
};

}  // namespace Orvane
