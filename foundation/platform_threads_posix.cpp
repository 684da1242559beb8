// Threads, processors and the machine's sleep.
#include <fcntl.h>
#include <pthread.h>
#include <sched.h>
#include <signal.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <memory>

#include "foundation/messages.h"
#include "foundation/platform.h"
#include "foundation/version.h"

namespace Foundation {
namespace {

// Sanitizers and signal handlers need room that no caller reckons with.
constexpr size_t kLeastStack = 2 * 1024 * 1024;

void* RunThread(void* argument) {
    std::unique_ptr<std::function<void()>> run(static_cast<std::function<void()>*>(argument));
    (*run)();
    return nullptr;
}

// A thread has a nice value of its own here.
bool SetNice(SystemThread thread, int nice_value) {
    return setpriority(PRIO_PROCESS, static_cast<id_t>(thread), nice_value) == 0;
}

bool SetRealTime(SystemThread thread) {
    sched_param parameters{};
    parameters.sched_priority = sched_get_priority_min(SCHED_RR);
    return sched_setscheduler(thread, SCHED_RR | SCHED_RESET_ON_FORK, &parameters) == 0;
}

bool SetTimeSharing(SystemThread thread) {
    const sched_param parameters{};
    return sched_getscheduler(thread) == SCHED_OTHER || sched_setscheduler(thread, SCHED_OTHER, &parameters) == 0;
}

}  // namespace

int ProcessorCount() {
    cpu_set_t allowed;
    CPU_ZERO(&allowed);
    if (sched_getaffinity(0, sizeof allowed, &allowed) == 0) return std::max(1, CPU_COUNT(&allowed));
    return std::max(1, static_cast<int>(sysconf(_SC_NPROCESSORS_ONLN)));
}

SystemThread CurrentSystemThread() {
    return gettid();
}

bool SetThreadPriority(ThreadPriority priority) {
    return SetThreadPriority(CurrentSystemThread(), priority);
}

bool SetThreadPriority(SystemThread thread, ThreadPriority priority) {
    bool done = false;
    switch (priority) {
        case ThreadPriority::Lowest:
            done = SetTimeSharing(thread) && SetNice(thread, 19);
            break;
        case ThreadPriority::Normal:
            done = SetTimeSharing(thread) && SetNice(thread, 0);
            break;
        case ThreadPriority::Highest:
            done = SetRealTime(thread) || SetNice(thread, -11);
            break;
    }
    static std::atomic<bool> noted{false};
    if (!done && !noted.exchange(true)) LogLine("The system refuses a change of thread priority; going on without.");
    return done;
}

int StartThread(size_t stack_size, std::function<void()> run, ThreadHandle& handle) {
    static_assert(sizeof(pthread_t) <= sizeof(ThreadHandle));
    pthread_attr_t attributes;
    if (int error = pthread_attr_init(&attributes)) return error;
    pthread_attr_setstacksize(&attributes, std::max(stack_size, kLeastStack));
    auto argument = std::make_unique<std::function<void()>>(std::move(run));
    pthread_t thread{};
    const int error = pthread_create(&thread, &attributes, RunThread, argument.get());
    pthread_attr_destroy(&attributes);
    if (error) return error;
    static_cast<void>(argument.release());
    handle = static_cast<ThreadHandle>(thread);
    return 0;
}

void JoinThread(ThreadHandle handle) {
    pthread_join(static_cast<pthread_t>(handle), nullptr);
}

// The inhibitor holds its lock while its child runs, and the child reads a pipe of ours: however we end, it ends too.
WakeLock::WakeLock(std::string_view reason) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) return;
    const std::string who = std::string("--who=") + kProgramName;
    const std::string why = "--why=" + std::string(reason);
    const char* arguments[] = {
        "systemd-inhibit", "--what=idle:sleep", who.c_str(), why.c_str(), "--mode=block", "cat", nullptr};
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[0], STDIN_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    pid_t child = -1;
    const int error = posix_spawnp(&child, arguments[0], &actions, nullptr, const_cast<char**>(arguments), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(ends[0]);
    if (error) {
        close(ends[1]);
        return;
    }
    process = child;
    pipe_end = ends[1];
}

WakeLock::~WakeLock() {
    if (process < 0) return;
    close(pipe_end);
    kill(process, SIGTERM);
    while (waitpid(process, nullptr, 0) < 0 && errno == EINTR) continue;
}

}  // namespace Foundation
