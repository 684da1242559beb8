#include "foundation/workerthread.h"

#include <algorithm>

#include "foundation/assert.h"
#include "foundation/event.h"
#include "foundation/mainloop.h"
#include "foundation/progress.h"
#include "foundation/settings.h"

namespace Foundation {
namespace {

std::atomic<int> n_running_workers{0};

// By the setting "Nice", the box "Reduce priority while working".
ThreadPriority WantedPriority() {
    return GetSetting("Nice", 0) != 0 ? ThreadPriority::Lowest : ThreadPriority::Normal;
}

intptr_t FollowNice(void* pool, int, EventArg key, EventArg, EventArg) {
    if (*reinterpret_cast<const std::string*>(key) == "Nice") {
        static_cast<ThreadPool*>(pool)->SetPriority(WantedPriority());
    }
    return 0;
}

}  // namespace

ThreadPool* gWorkerThreadPool = nullptr;

int MaxThreads() {
    constexpr int kMost = 64;
    const int wanted = GetSetting("Max Threads", 4);
    return std::clamp(wanted <= 0 ? kMost : wanted, 1, std::max(1, std::min(kMost, ProcessorCount())));
}

ThreadPool::ThreadPool(int max_threads) : max_threads(max_threads), entries(static_cast<size_t>(max_threads)) {}

ThreadPool::~ThreadPool() {
    ORVANE_ASSERT(n_threads == 0);
}

int ThreadPool::ThreadCount() const {
    Locked hold(lock);
    return n_threads;
}

void ThreadPool::SetPriority(ThreadPriority new_priority) {
    const Locked hold(lock);
    priority = new_priority;
    for (const Entry& entry : entries) {
        if (entry.thread) SetThreadPriority(entry.system_thread, priority);
    }
}

int ThreadPool::Register(WorkerThread* thread) {
    const Locked hold(lock);
    ORVANE_ASSERT(this->n_threads < this->max_threads);
    const auto tpe = std::find_if(entries.begin(), entries.end(), [](const Entry& e) { return e.thread == nullptr; });
    ORVANE_ASSERT(tpe->thread_id == std::thread::id());
    *tpe = {thread, std::this_thread::get_id(), CurrentSystemThread()};
    ++n_threads;
    if (priority != ThreadPriority::Normal) SetThreadPriority(priority);
    return static_cast<int>(tpe - entries.begin());
}

void ThreadPool::Remove(int index) {
    Locked hold(lock);
    entries[static_cast<size_t>(index)] = {};
    --n_threads;
}

Outcome WorkerThread::Launch() {
    return LaunchAll({this});
}

Outcome WorkerThread::LaunchAll(const std::vector<WorkerThread*>& threads) {
    ORVANE_ASSERT(IsMainThread());
    if (gWorkerThreadPool) return Outcome::Fail(Kind::Busy, Msg::JobInProgress);
    RefreshSettings();
    ThreadPool job_pool(static_cast<int>(threads.size()));
    job_pool.n_unfinished = static_cast<int>(threads.size());
    job_pool.SetPriority(WantedPriority());
    event::Subscribe(EVENT_SETTING_CHANGED, 0, FollowNice, &job_pool);
    gWorkerThreadPool = &job_pool;
    for (WorkerThread* thread : threads) {
        thread->pool = &job_pool;
        ++n_running_workers;
        thread->Start();
    }
    {
        AutosaveHoldOff hold_off;
        while (job_pool.n_unfinished.load() > 0) GetMainLoop().RunOne(-1);
    }
    for (WorkerThread* thread : threads) {
        thread->Wait();
        thread->pool = nullptr;
    }
    event::Unsubscribe(EVENT_SETTING_CHANGED, FollowNice, &job_pool);
    gWorkerThreadPool = nullptr;
    return {};
}

int WorkerThread::Run() {
    pool_index = pool->Register(this);
    result = Work();
    pool->Remove(pool_index);
    pool_index = -1;
    --n_running_workers;
    // In this order: the pump that the empty task wakes has to see that we are done.
    --pool->n_unfinished;
    GetMainLoop().Post([] {});
    return result;
}

void WorkerThread::ReportError() const {
    SetLastError(error);
}

int WorkerThread::RunningCount() {
    return n_running_workers.load();
}

}  // namespace Foundation
