// Background jobs: worker threads, the fixed table of the threads of one job, and the pump that keeps the main thread
// alive meanwhile.
#pragma once

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "foundation/criticalsection.h"
#include "foundation/lasterror.h"
#include "foundation/outcome.h"
#include "foundation/thread.h"

namespace Foundation {

class WorkerThread;

// How many threads may share the work: the setting "Max Threads" (default 4; 0 or below: 64), held to 64 and to the
// number of processors, at least 1.
int MaxThreads();

// The threads of one job. Not a queue of tasks: the table's size is fixed when it is made, and it is destroyed empty.
class ThreadPool {
public:
    explicit ThreadPool(int max_threads);
    ~ThreadPool();

    const int max_threads;
    int ThreadCount() const;
    // Of the threads that run and of those that will. Any thread.
    void SetPriority(ThreadPriority priority);

private:
    friend class WorkerThread;
    int Register(WorkerThread* thread);
    void Remove(int index);

    struct Entry {
        WorkerThread* thread = nullptr;
        std::thread::id thread_id;
        SystemThread system_thread = 0;
    };
    mutable CriticalSection lock;
    std::vector<Entry> entries;
    int n_threads = 0;
    std::atomic<int> n_unfinished{0};  // threads of the job that have not ended, started or not
    ThreadPriority priority = ThreadPriority::Normal;
};

// The pool of the job in progress, null when there is none. Main thread sets it.
extern ThreadPool* gWorkerThreadPool;

class WorkerThread : public Thread {
public:
    // Runs this thread as a job of one: publishes its pool, starts it and pumps the main loop until it has ended.
    // Kind::Busy, and nothing done, when it is called from the pump of another job. Main thread.
    Outcome Launch();
    // Runs several threads as one job; returns when all have ended. The threads stay the caller's.
    static Outcome LaunchAll(const std::vector<WorkerThread*>& threads);

    int WorkResult() const { return result; }  // what Work has returned, once the job has ended

    // The worker's last error, kept by SaveError for the main thread.
    const LastError& Error() const { return error; }
    void ReportError() const;  // main thread: makes it this thread's last error again

    static int RunningCount();  // workers now running in the process

protected:
    virtual int Work() = 0;
    void SaveError() { error = GetLastError(); }

private:
    int Run() final;

    ThreadPool* pool = nullptr;
    LastError error;
    int pool_index = -1;
    int result = 0;
};

}  // namespace Foundation
