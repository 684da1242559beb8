// The base of every thread object.
#pragma once

#include <atomic>
#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>

#include "foundation/platform.h"

namespace Foundation {

// Derive, give it a Run that looks at `stop_flag`, Start it, and Wait before destroying it.
class Thread {
public:
    Thread() = default;
    Thread(const Thread&) = delete;
    Thread& operator=(const Thread&) = delete;
    virtual ~Thread();

    // Creates the thread; `stack_size` 0 means 0x20000 bytes, which the system may raise. With `wait_for_start` it
    // returns only when the thread has entered Run. A thread that cannot be made is an assertion failure.
    void Start(bool wait_for_start = false, size_t stack_size = 0);
    // Asks the thread to end: sets `stop_flag` and wakes a Sleep. Any thread.
    void Stop();
    // Blocks until the thread has ended. Only one caller.
    void Wait();
    bool IsRunning() const { return running.load(); }

    // On leaving Run, `notify` is posted to the main loop with Run's result. Before Start.
    void NotifyOnEnd(std::function<void(int result)> notify) { on_end = std::move(notify); }

protected:
    virtual int Run() = 0;
    bool Stopped() const { return stop_flag.load(std::memory_order_relaxed) != 0; }
    // Waits `ms`, or less when Stop is called. True when the thread may go on.
    bool Sleep(int ms);

private:
    ThreadHandle thread_handle = 0;
    std::atomic<int32_t> stop_flag{0};
    std::atomic<bool> running{false};
    std::mutex mutex;
    std::condition_variable wake;
    bool entered = false;
    std::function<void(int)> on_end;
};

}  // namespace Foundation
