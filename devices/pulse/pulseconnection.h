// A connection to the sound server with a thread of its own.
#pragma once

#include <functional>
#include <mutex>

#include "devices/pulse/pulselibrary.h"
#include "foundation/clock.h"
#include "foundation/platform.h"

namespace Tesslib {

class PulseConnection {
public:
    PulseConnection() = default;
    PulseConnection(const PulseConnection&) = delete;
    PulseConnection& operator=(const PulseConnection&) = delete;
    // Not on the connection's thread.
    ~PulseConnection() { Disconnect(); }

    // Begins to connect, without waiting. `on_state` is called on the connection's thread with every change.
    Foundation::Outcome Connect(std::string_view device_name = {},
                                std::function<void(pa_context_state_t)> on_state = {});
    // The same, and waits until the server has answered, for three seconds at most.
    Foundation::Outcome ConnectAndWait(std::string_view device_name);
    void Disconnect();

    pa_context* Context() const { return context; }
    // The failure of `function`, by the context's last error.
    Foundation::Outcome Failure(std::string_view device_name, std::string_view function) const;

    // Holds the connection's thread. It may not be taken on that thread.
    class Hold {
    public:
        explicit Hold(const PulseConnection& connection) : connection(connection) {
            Pulse().pa_threaded_mainloop_lock(connection.loop);
        }
        ~Hold() { Pulse().pa_threaded_mainloop_unlock(connection.loop); }
        Hold(const Hold&) = delete;
        Hold& operator=(const Hold&) = delete;

    private:
        const PulseConnection& connection;
    };

    // Waits until `done`, which is asked under a Hold, holds: whenever `changed` is set. False when time is up.
    template <class Done>
    bool WaitFor(Done done, int64_t ms) {
        const int64_t until = Foundation::MonotonicNs() + ms * Foundation::kNsPerMs;
        for (;;) {
            {
                Hold hold(*this);
                if (done()) return true;
            }
            if (Foundation::MonotonicNs() >= until) return false;
            changed.WaitUntil(until);
        }
    }
    Foundation::Signal changed;

    // How long the server has for an answer.
    static constexpr int64_t kAnswerMs = 3000;

private:
    pa_threaded_mainloop* loop = nullptr;
    pa_context* context = nullptr;
    std::function<void(pa_context_state_t)> on_state;
};

// For answers that nobody waits for.
inline void Forget(pa_operation* operation) {
    if (operation) Pulse().pa_operation_unref(operation);
}

}  // namespace Tesslib
