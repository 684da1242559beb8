#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "foundation/clock.h"
#include "foundation/event.h"
#include "foundation/mainloop.h"
#include "foundation/progress.h"
#include "foundation/settings.h"
#include "foundation/workerthread.h"
#include "temp_folder.h"

using namespace Foundation;

namespace Tesslib {
namespace {

class SleepingThread : public Thread {
    int Run() override { return Sleep(60000) ? 1 : 42; }
};

TEST(ThreadTest, StopWakesASleeperAndTheEndIsPosted) {
    SleepingThread thread;
    int result = 0;
    thread.NotifyOnEnd([&](int r) { result = r; });
    for (int round = 0; round < 2; ++round) {
        result = 0;
        thread.Start(true);
        thread.Stop();
        while (result == 0) GetMainLoop().RunOne(-1);
        EXPECT_EQ(result, 42) << "the sleep was cut short";
        EXPECT_FALSE(thread.IsRunning());
        thread.Wait();
    }
}

TEST(SignalTest, IsTakenOnceHoweverOftenItWasSet) {
    Signal signal;
    EXPECT_FALSE(signal.WaitUntil(MonotonicNs() + 1000000)) << "the time was up";
    signal.Set();
    signal.Set();
    EXPECT_TRUE(signal.WaitUntil(MonotonicNs() + 60 * kNsPerSecond));
    EXPECT_FALSE(signal.Take());
    std::thread setter([&] { signal.Set(); });
    signal.Wait();
    setter.join();
    EXPECT_FALSE(signal.Take());
}

// Remembers the events it was called for, and can do something from inside.
struct Listener {
    static intptr_t Handle(void* context, int event_id, EventArg a, EventArg, EventArg) {
        auto* self = static_cast<Listener*>(context);
        self->seen += std::to_string(event_id) + ":" + std::to_string(a) + " ";
        if (const auto action = std::exchange(self->action, nullptr)) action();
        return 0;
    }
    std::string seen;
    std::function<void()> action;
};

constexpr int kEvent = 1001;

TEST(EventBus, HandlersMayChangeTheBusDuringAFire) {
    Listener first, second, third;
    first.action = [&] {
        event::Unsubscribe(kEvent, Listener::Handle, &first);
        event::Unsubscribe(kEvent, Listener::Handle, &second);
        event::Subscribe(kEvent, 0, Listener::Handle, &third);
        event::Fire(kEvent, 2);
    };
    event::Subscribe(kEvent, 0, Listener::Handle, &first);
    event::Subscribe(kEvent, 0, Listener::Handle, &second);
    event::Fire(kEvent, 1);
    event::Fire(kEvent, 3);
    event::Unsubscribe(kEvent, Listener::Handle, &third);
    EXPECT_EQ(first.seen, "1001:1 ");
    EXPECT_EQ(second.seen, "");
    EXPECT_EQ(third.seen, "1001:2 1001:3 ");
}

TEST(EventBus, AfterUnsubscribeTheHandlerRunsNowhere) {
    std::atomic<bool> done{false};
    std::vector<std::thread> firing;
    for (int t = 0; t < 2; ++t) {
        firing.emplace_back([&] {
            while (!done) event::Fire(kEvent, 1);
        });
    }
    for (int round = 0; round < 300; ++round) {
        // The handler uses what dies right behind Unsubscribe.
        auto alive = std::make_unique<std::atomic<int>>(0);
        const event::Handler count = [](void* context, int, EventArg, EventArg, EventArg) -> intptr_t {
            return ++*static_cast<std::atomic<int>*>(context);
        };
        event::Subscribe(kEvent, 0, count, alive.get());
        if (round % 3 == 0) std::this_thread::yield();
        event::Unsubscribe(kEvent, count, alive.get());
    }
    done = true;
    for (std::thread& thread : firing) thread.join();
}

class CountingWorker : public WorkerThread {
public:
    std::function<int()> work;
    ThreadPool* pool_seen = nullptr;

private:
    int Work() override {
        pool_seen = gWorkerThreadPool;
        return work();
    }
};

class Workers : public testing::Test {
protected:
    Workers() { EXPECT_TRUE(OpenSettings(folder.Path())); }
    OrvaneTest::TempFolder folder;
};

TEST_F(Workers, AJobOfSeveralRunsWhileTheMainThreadHandlesTasks) {
    constexpr int kThreads = 4;
    std::atomic<int> n_arrived{0};
    std::atomic<int> n_tasks{0};
    std::vector<CountingWorker> workers(kThreads);
    std::vector<WorkerThread*> job;
    for (CountingWorker& worker : workers) {
        worker.work = [&] {
            // Needs all of them at once, and the main thread.
            ++n_arrived;
            while (n_arrived < kThreads) std::this_thread::yield();
            RunOnMainThread([&] {
                ++n_tasks;
                EXPECT_GT(gAutosaveHeldOff, 0);
                SetSetting("Nice", 1);
            });
            EXPECT_EQ(getpriority(PRIO_PROCESS, static_cast<id_t>(gettid())), 19) << "of one that runs already";
            return 1;
        };
        job.push_back(&worker);
    }
    for (int round = 0; round < 20; ++round) {
        n_arrived = 0;
        EXPECT_TRUE(WorkerThread::LaunchAll(job));
        EXPECT_EQ(WorkerThread::RunningCount(), 0);
    }
    EXPECT_EQ(n_tasks, 20 * kThreads);
    EXPECT_NE(workers[0].pool_seen, nullptr);
    EXPECT_EQ(gWorkerThreadPool, nullptr);
    EXPECT_EQ(gAutosaveHeldOff, 0);
}

}  // namespace
}  // namespace Tesslib
