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

}  // namespace
}  // namespace Tesslib
