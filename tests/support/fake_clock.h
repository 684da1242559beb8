// A clock that a test moves. Threads that wait by it do what is due, to the end, before the clock goes on, so that what
// a test sees does not depend on the machine.
#pragma once

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

#include "foundation/clock.h"

namespace OrvaneTest {

// Belongs to the thread that makes it. A wait on that thread lets the time pass.
class FakeClock : public Foundation::Clock {
public:
    int64_t NowNs() override { return now; }

    void WaitUntil(Foundation::Signal& signal, int64_t until_ns) override {
        if (std::this_thread::get_id() == owner) {
            while (!signal.Take() && Step(until_ns)) continue;
            return;
        }
        const uint32_t seen = signal.TimesSet();
        if (signal.Take()) return;
        {
            std::lock_guard hold(mutex);
            if (until_ns <= now) return;
            waiters.push_back({&signal, until_ns, seen});
        }
        changed.notify_all();
        signal.Wait();
        std::lock_guard hold(mutex);
        std::erase_if(waiters, [&](const Waiter& waiter) { return waiter.signal == &signal; });
    }

    void Join() override {
        std::lock_guard hold(mutex);
        ++n_threads;
    }
    void Leave() override {
        {
            std::lock_guard hold(mutex);
            --n_threads;
        }
        changed.notify_all();
    }

    // Lets time pass. On return every thread has done what was due.
    void AdvanceMs(int64_t ms) { AdvanceNs(ms * Foundation::kNsPerMs); }
    void AdvanceNs(int64_t ns) {
        const int64_t until = NowNs() + ns;
        while (Step(until)) continue;
    }
    // On return every thread waits.
    void Settle() { AdvanceNs(0); }

private:
    struct Waiter {
        Foundation::Signal* signal;
        int64_t until_ns;
        uint32_t seen;  // a signal set more often is about to wake its thread
    };

    bool AllWait() const {
        return static_cast<int>(waiters.size()) == n_threads &&
               std::all_of(waiters.begin(), waiters.end(),
                           [](const Waiter& waiter) { return waiter.signal->TimesSet() == waiter.seen; });
    }

    // Goes on to the next time that somebody waits for, or to `until_ns`: false when that has been reached.
    bool Step(int64_t until_ns) {
        std::unique_lock hold(mutex);
        changed.wait(hold, [this] { return AllWait(); });
        int64_t next = until_ns;
        for (const Waiter& waiter : waiters) next = std::min(next, waiter.until_ns);
        now = std::max(now.load(), next);
        bool woken = false;
        for (const Waiter& waiter : waiters) {
            if (waiter.until_ns > now) continue;
            waiter.signal->Set();
            woken = true;
        }
        return woken || now < until_ns;
    }

    const std::thread::id owner = std::this_thread::get_id();
    std::mutex mutex;
    std::condition_variable changed;
    std::atomic<int64_t> now{Foundation::kNsPerSecond};
    std::vector<Waiter> waiters;
    int n_threads = 0;
};

}  // namespace OrvaneTest
