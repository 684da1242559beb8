// A wake-up call from one thread to another that even an audio driver's callback may send.
#pragma once

#include <semaphore.h>

#include <atomic>
#include <cstdint>

namespace Foundation {

// Set by any thread; waited for by one at a time. It is either set or not: calls that nobody waits for count as one.
class Signal {
public:
    Signal();
    ~Signal();
    Signal(const Signal&) = delete;
    Signal& operator=(const Signal&) = delete;

    // Wakes the waiter, or lets the next wait return at once. Takes no lock and allocates nothing. What the caller has
    // written before is seen by the thread that it wakes.
    void Set();
    // Waits until set, or until `until_ns` of MonotonicNs. True if it was set, which it no longer is.
    bool WaitUntil(int64_t until_ns);
    void Wait();
    // The same without waiting.
    bool Take();
    // Goes up with each Set: a clock that stands in for the real one sees by it whether the waiter is about to wake.
    uint32_t TimesSet() const { return times_set.load(); }

private:
    std::atomic<uint32_t> times_set{0};
    std::atomic<bool> set{false};
    sem_t semaphore;  // posted once for each time that `set` becomes true
};

}  // namespace Foundation
