// How a long job reports and is cancelled.
#pragma once

#include <atomic>
#include <string>

namespace Foundation {

// One job at a time. Begin, Wait and End belong to the main thread, the others to any.
class Progress {
public:
    // Shows the display of the host in use and clears `cancelled`.
    static void Begin(const std::string& title, bool can_cancel = true);
    // The job on show goes on with something else, from 0 again. Main thread.
    static void Phase(const std::string& title);
    // Asserts that no job's pool is left. With `keep_open` the display waits for the user.
    static void End(bool keep_open = false);
    static bool IsShown();

    // True to go on. On the main thread it also handles at most 10 waiting tasks, with autosave held off.
    static bool Tick();
    // Like Tick, but blocks until a task has been handled. Main thread.
    static bool Wait();

    static void SetPosition(int per_mille);  // 0 to 1000; unchanged ones are not passed on
    static void SetStatus(const std::string& text);
    static void Log(const std::string& markup);

    static void Cancel() { cancelled.store(true); }
    static bool Cancelled() { return cancelled.load(std::memory_order_relaxed); }

private:
    static std::atomic<bool> cancelled;
};

// While above 0, autosave waits. Main thread.
extern int gAutosaveHeldOff;

// Holds autosave off while it lives. Main thread.
class AutosaveHoldOff {
public:
    AutosaveHoldOff() { ++gAutosaveHeldOff; }
    ~AutosaveHoldOff() { --gAutosaveHeldOff; }
    AutosaveHoldOff(const AutosaveHoldOff&) = delete;
    AutosaveHoldOff& operator=(const AutosaveHoldOff&) = delete;
};

}  // namespace Foundation
