// A recursive lock that can tell how deep its holder has taken it.
#pragma once

#include <atomic>
#include <mutex>
#include <thread>

namespace Foundation {

class CriticalSection {
public:
    void lock() {
        mutex.lock();
        owner.store(std::this_thread::get_id(), std::memory_order_relaxed);
        ++RecursionCount;
    }
    bool try_lock() {
        if (!mutex.try_lock()) return false;
        owner.store(std::this_thread::get_id(), std::memory_order_relaxed);
        ++RecursionCount;
        return true;
    }
    void unlock() {
        if (--RecursionCount == 0) owner.store(std::thread::id(), std::memory_order_relaxed);
        mutex.unlock();
    }
    bool HeldByMe() const { return owner.load(std::memory_order_relaxed) == std::this_thread::get_id(); }

    int RecursionCount = 0;  // meaningful to the holder only

private:
    std::recursive_mutex mutex;
    std::atomic<std::thread::id> owner{};
};

using Locked = std::lock_guard<CriticalSection>;

}  // namespace Foundation
