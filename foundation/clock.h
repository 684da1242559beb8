// Time as the live parts of the program see it, so that a test can be the one who lets it pass.
#pragma once

#include <cstdint>

#include "foundation/signal.h"

namespace Foundation {

inline constexpr int64_t kNsPerMs = 1000000;
inline constexpr int64_t kNsPerSecond = 1000000000;

class Clock {
public:
    virtual ~Clock() = default;
    // Monotonic, in ns. Any thread.
    virtual int64_t NowNs() = 0;
    // Returns when `signal` is set (which it then no longer is), at `until_ns`, or for no reason: look again.
    virtual void WaitUntil(Signal& signal, int64_t until_ns) = 0;

    // Around the life of a thread that waits by this clock: Join before it starts, by whoever starts it, Leave at its
    // end. A clock that is moved by hand lets such a thread do all that is due before it goes on.
    virtual void Join() {}
    virtual void Leave() {}
};

// The real one.
Clock& SystemClock();

}  // namespace Foundation
