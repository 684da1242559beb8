#include "foundation/mainloop.h"

#include <gtest/gtest.h>

#include <string>
#include <thread>
#include <vector>

namespace Tesslib {
namespace {

TEST(MainLoopTest, WakesForOtherThreadsAndQuitsBehindWhatWaits) {
    auto loop = MakePlainMainLoop();
    constexpr int kTasks = 1000;
    int n_done = 0;
    std::vector<std::thread> threads;
    for (int t = 0; t < 2; ++t) {
        threads.emplace_back([&] {
            for (int i = 0; i < kTasks; ++i) {
                loop->Post([&] {
                    if (++n_done == 2 * kTasks) loop->Quit(7);
                });
            }
        });
    }
    EXPECT_EQ(loop->Run(), 7);
    EXPECT_EQ(n_done, 2 * kTasks);
    for (std::thread& thread : threads) thread.join();
}

TEST(MainLoopTest, WorkersRunTasksOnTheMainThread) {
    bool on_main = false;
    bool worker_saw_it = false;
    std::thread worker([&] {
        RunOnMainThread([&] { on_main = IsMainThread(); });
        worker_saw_it = on_main && !IsMainThread();
    });
    while (!on_main) GetMainLoop().RunOne(-1);
    worker.join();
    EXPECT_TRUE(worker_saw_it);
    RunOnMainThread([&] { on_main = false; });  // at once, without a loop running
    EXPECT_FALSE(on_main);
}

}  // namespace
}  // namespace Tesslib
