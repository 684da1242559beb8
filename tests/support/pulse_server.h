// A sound server of the test's own, with an output that nobody hears: what is played into "lp" can be recorded from
// "lp.monitor".
#pragma once

#include <signal.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <string>
#include <thread>

#include "scoped_environment.h"
#include "temp_folder.h"

namespace OrvaneTest {

class PulseServer {
public:
    static bool Installed() { return std::system("command -v pulseaudio pactl >/dev/null") == 0; }

    // `modules` are further "-L" arguments, for the shell.
    explicit PulseServer(int rate = 44100, const std::string& modules = {}) {
        const std::string sink = "format=s24le rate=" + std::to_string(rate);
        const std::string command =
            "exec pulseaudio -n --daemonize=no --exit-idle-time=-1 -L 'module-null-sink sink_name=lp " + sink + "' " +
            modules + " -L module-native-protocol-unix >/dev/null 2>&1";
        const char* arguments[] = {"sh", "-c", command.c_str(), nullptr};
        posix_spawnp(&process, "sh", nullptr, nullptr, const_cast<char**>(arguments), environ);
        for (int i = 0; i < 200 && !Control("info"); ++i) std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    ~PulseServer() { Kill(SIGKILL); }

    bool Control(const std::string& words) const {
        return std::system(("pactl " + words + " >/dev/null 2>&1").c_str()) == 0;
    }
    // SIGKILL ends it, SIGSTOP makes it deaf.
    void Kill(int signal) {
        if (process <= 0) return;
        kill(process, signal);
        if (signal != SIGKILL) return;
        waitpid(process, nullptr, 0);
        process = -1;
    }

private:
    TempFolder folder;
    ScopedEnvironment runtime{"XDG_RUNTIME_DIR", folder.Path()};
    ScopedEnvironment home{"HOME", folder.Path()};
    ScopedEnvironment server{"PULSE_SERVER", "unix:" + folder.Path() + "/pulse/native"};
    pid_t process = -1;
};

}  // namespace OrvaneTest
