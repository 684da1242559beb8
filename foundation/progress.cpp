#include "foundation/progress.h"

#include <algorithm>
#include <mutex>

#include "foundation/assert.h"
#include "foundation/host.h"
#include "foundation/mainloop.h"
#include "foundation/workerthread.h"

namespace Foundation {
namespace {

constexpr int kTasksPerTick = 10;
// Whoever cancels from a signal cannot post a task, so a waiting main thread looks up this often.
constexpr int kLookUpMs = 100;

std::mutex display_lock;  // one call of the display at a time
std::atomic<bool> is_shown{false};
std::atomic<int> shown_position{-1};

}  // namespace

std::atomic<bool> Progress::cancelled{false};
int gAutosaveHeldOff = 0;

void Progress::Begin(const std::string& title, bool can_cancel) {
    ORVANE_ASSERT(IsMainThread());
    cancelled.store(false);
    shown_position.store(-1);
    is_shown.store(true);
    std::lock_guard hold(display_lock);
    ProgressDisplay().Begin(title, can_cancel);
}

void Progress::Phase(const std::string& title) {
    ORVANE_ASSERT(IsMainThread());
    shown_position.store(-1);
    std::lock_guard hold(display_lock);
    ProgressDisplay().Phase(title);
}

void Progress::End(bool keep_open) {
    ORVANE_ASSERT(IsMainThread());
    ORVANE_ASSERT(gWorkerThreadPool == nullptr || in_fatal_error_handler);
    // Without the lock: the display may wait for the user here and handle tasks meanwhile.
    ProgressDisplay().End(keep_open);
    is_shown.store(false);
    cancelled.exchange(false);
}

bool Progress::IsShown() {
    return is_shown.load();
}

bool Progress::Tick() {
    if (IsMainThread()) {
        AutosaveHoldOff hold_off;
        for (int i = 0; i < kTasksPerTick && GetMainLoop().RunOne(0); ++i) continue;
    }
    return !Cancelled();
}

bool Progress::Wait() {
    ORVANE_ASSERT(IsMainThread());
    AutosaveHoldOff hold_off;
    while (!Cancelled() && !GetMainLoop().RunOne(kLookUpMs)) continue;
    return !Cancelled();
}

void Progress::SetPosition(int per_mille) {
    per_mille = std::clamp(per_mille, 0, 1000);
    if (shown_position.exchange(per_mille) == per_mille) return;
    std::lock_guard hold(display_lock);
    ProgressDisplay().Position(per_mille);
}

void Progress::SetStatus(const std::string& text) {
    std::lock_guard hold(display_lock);
    ProgressDisplay().Status(text);
}

void Progress::Log(const std::string& markup) {
    std::lock_guard hold(display_lock);
    ProgressDisplay().Log(markup);
}

}  // namespace Foundation
