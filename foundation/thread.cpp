#include "foundation/thread.h"

#include <chrono>
#include <utility>

#include "foundation/assert.h"
#include "foundation/mainloop.h"

namespace Foundation {
namespace {

constexpr size_t kUsualStack = 0x20000;

}  // namespace

Thread::~Thread() {
    ORVANE_ASSERT(thread_handle == 0);
}

void Thread::Start(bool wait_for_start, size_t stack_size) {
    ORVANE_ASSERT(thread_handle == 0);
    entered = false;
    running.store(true);
    const auto body = [this] {
        {
            std::lock_guard hold(mutex);
            entered = true;
        }
        wake.notify_all();
        const int result = Run();
        running.store(false);
        if (on_end) GetMainLoop().Post([notify = on_end, result] { notify(result); });
    };
    const int error = StartThread(stack_size ? stack_size : kUsualStack, body, thread_handle);
    ORVANE_ASSERT(error == 0);
    if (wait_for_start) {
        std::unique_lock hold(mutex);
        wake.wait(hold, [this] { return entered; });
    }
}

void Thread::Stop() {
    {
        std::lock_guard hold(mutex);
        stop_flag.store(1);
    }
    wake.notify_all();
}

void Thread::Wait() {
    if (thread_handle == 0) return;
    JoinThread(std::exchange(thread_handle, 0));
    stop_flag.store(0);
}

bool Thread::Sleep(int ms) {
    std::unique_lock hold(mutex);
    return !wake.wait_for(hold, std::chrono::milliseconds(ms), [this] { return Stopped(); });
}

}  // namespace Foundation
