#include "foundation/mainloop.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>
#include <vector>

#include "foundation/assert.h"

namespace Foundation {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

class PlainMainLoop : public MainLoop {
public:
    void Post(std::function<void()> task) override {
        {
            std::lock_guard hold(lock);
            tasks.push_back(std::move(task));
        }
        arrived.notify_one();
    }

    bool RunOne(int timeout_ms) override {
        ORVANE_ASSERT(IsMainThread());
        const std::optional<Clock::time_point> deadline =
            timeout_ms < 0 ? std::nullopt : std::optional(Clock::now() + milliseconds(timeout_ms));
        std::unique_lock hold(lock);
        for (;;) {
            // Timers before tasks, or a flood of tasks would stop the clocks; a period is never 0, so tasks get on too.
            std::optional<Clock::time_point> wake = deadline;
            if (Timer* next = NextTimer()) {
                if (next->due <= Clock::now()) {
                    hold.unlock();
                    RunTimer(*next);
                    return true;
                }
                wake = wake ? std::min(*wake, next->due) : next->due;
            }
            if (!tasks.empty()) {
                std::function<void()> task = std::move(tasks.front());
                tasks.pop_front();
                hold.unlock();
                task();
                return true;
            }
            if (deadline && Clock::now() >= *deadline) return false;
            if (wake) {
                arrived.wait_until(hold, *wake);
            } else {
                arrived.wait(hold);
            }
        }
    }

    int Run() override {
        quit_code.reset();
        while (!quit_code) RunOne(-1);
        return *quit_code;
    }

    void Quit(int code) override {
        // As a task, so that what is waiting is handled first and a waiting loop wakes up.
        Post([this, code] { quit_code = code; });
    }

    TimerId StartTimer(int period_ms, bool repeat, std::function<void()> handler) override {
        ORVANE_ASSERT(IsMainThread());
        const milliseconds period(std::max(period_ms, 1));
        timers.push_back({++last_timer_id, Clock::now() + period, period, repeat, std::move(handler)});
        return last_timer_id;
    }

    void StopTimer(TimerId id) override {
        ORVANE_ASSERT(IsMainThread());
        std::erase_if(timers, [id](const Timer& timer) { return timer.id == id; });
    }

private:
    struct Timer {
        TimerId id;
        Clock::time_point due;
        milliseconds period;
        bool repeat;
        std::function<void()> handler;
    };

    Timer* NextTimer() {
        const auto next = std::min_element(timers.begin(), timers.end(),
                                           [](const Timer& a, const Timer& b) { return a.due < b.due; });
        return next == timers.end() ? nullptr : &*next;
    }

    void RunTimer(Timer& timer) {
        // The handler may stop its own timer or start others, which moves `timer`.
        const std::function<void()> handler = timer.handler;
        if (timer.repeat) {
            timer.due = Clock::now() + timer.period;
        } else {
            StopTimer(timer.id);
        }
        handler();
    }

    std::mutex lock;  // guards `tasks`; everything else belongs to the main thread
    std::condition_variable arrived;
    std::deque<std::function<void()>> tasks;
    std::vector<Timer> timers;
    TimerId last_timer_id = 0;
    std::optional<int> quit_code;
};

std::atomic<MainLoop*> main_loop{nullptr};
std::atomic<std::thread::id> main_thread{std::this_thread::get_id()};

}  // namespace

std::unique_ptr<MainLoop> MakePlainMainLoop() {
    return std::make_unique<PlainMainLoop>();
}

MainLoop& GetMainLoop() {
    if (MainLoop* loop = main_loop.load()) return *loop;
    static PlainMainLoop plain;
    return plain;
}

void SetMainLoop(MainLoop* loop) {
    main_loop.store(loop);
}

void SetMainThread() {
    main_thread.store(std::this_thread::get_id());
}
bool IsMainThread() {
    return main_thread.load() == std::this_thread::get_id();
}

void RunOnMainThread(const std::function<void()>& task) {
    if (IsMainThread()) {
        task();
        return;
    }
    std::mutex lock;
    std::condition_variable done;
    bool finished = false;
    GetMainLoop().Post([&] {
        task();
        std::lock_guard hold(lock);
        finished = true;
        done.notify_one();
    });
    std::unique_lock hold(lock);
    done.wait(hold, [&] { return finished; });
}

}  // namespace Foundation
