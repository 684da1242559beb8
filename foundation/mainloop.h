// The main thread's loop, behind an interface: a plain one here, the window library's in the application.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>

namespace Foundation {

class MainLoop {
public:
    using TimerId = int;

    virtual ~MainLoop() = default;

    // Queues `task` for the main thread. Any thread.
    virtual void Post(std::function<void()> task) = 0;
    // Handles one waiting task or timer, waiting for it at most `timeout_ms` (-1: as long as it takes).
    // False when nothing came. Main thread.
    virtual bool RunOne(int timeout_ms) = 0;
    // Runs until Quit; the result is Quit's code. Main thread.
    virtual int Run() = 0;
    virtual void Quit(int code) = 0;

    // Calls `handler` every `period_ms`, or once. Main thread.
    virtual TimerId StartTimer(int period_ms, bool repeat, std::function<void()> handler) = 0;
    virtual void StopTimer(TimerId id) = 0;
};

// A loop over a queue and a clock, without windows.
std::unique_ptr<MainLoop> MakePlainMainLoop();

// The loop in use (a plain one until another is set). Set before anything is posted.
MainLoop& GetMainLoop();
void SetMainLoop(MainLoop* loop);

// The thread that entered the program. Taken first of all by SetMainThread; until then the thread that loaded us.
void SetMainThread();
bool IsMainThread();

// Runs `task` on the main thread and waits for it to be done; runs it at once when called there.
void RunOnMainThread(const std::function<void()>& task);

}  // namespace Foundation
