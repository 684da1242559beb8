#include "devices/pulse/pulseconnection.h"

#include "devices/driver.h"
#include "foundation/version.h"

namespace Tesslib {

using Foundation::Outcome;

Outcome PulseConnection::Connect(std::string_view device_name, std::function<void(pa_context_state_t)> state_callback) {
    const PulseLibrary& pulse = Pulse();
    if (!pulse.available) return pulse.available;
    on_state = std::move(state_callback);
    loop = pulse.pa_threaded_mainloop_new();
    context = pulse.pa_context_new(pulse.pa_threaded_mainloop_get_api(loop), "Orvane");
    pulse.pa_context_set_state_callback(
        context,
        [](pa_context* changed_context, void* self) {
            auto& connection = *static_cast<PulseConnection*>(self);
            if (connection.on_state) connection.on_state(Pulse().pa_context_get_state(changed_context));
            connection.changed.Set();
        },
        this);
    if (pulse.pa_context_connect(context, nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr) < 0 ||
        pulse.pa_threaded_mainloop_start(loop) < 0) {
        return Failure(device_name, "pa_context_connect");
    }
    return {};
}

Outcome PulseConnection::ConnectAndWait(std::string_view device_name) {
    if (Outcome begun = Connect(device_name); !begun) return begun;
    const PulseLibrary& pulse = Pulse();
    pa_context_state_t state = PA_CONTEXT_UNCONNECTED;
    const bool answered = WaitFor(
        [&] {
            state = pulse.pa_context_get_state(context);
            return state == PA_CONTEXT_READY || !PA_CONTEXT_IS_GOOD(state);
        },
        kAnswerMs);
    if (answered && state == PA_CONTEXT_READY) return {};
    if (!answered)
        return DeviceCallFailed(device_name, PA_ERR_TIMEOUT, pulse.pa_strerror(PA_ERR_TIMEOUT), "pa_context_connect");
    return Failure(device_name, "pa_context_connect");
}

void PulseConnection::Disconnect() {
    const PulseLibrary& pulse = Pulse();
    if (!loop) return;
    pulse.pa_threaded_mainloop_stop(loop);
    pulse.pa_context_set_state_callback(context, nullptr, nullptr);
    pulse.pa_context_disconnect(context);
    pulse.pa_context_unref(context);
    pulse.pa_threaded_mainloop_free(loop);
    loop = nullptr;
    context = nullptr;
}

Outcome PulseConnection::Failure(std::string_view device_name, std::string_view function) const {
    const int error = Pulse().pa_context_errno(context);
    if (error == PA_ERR_BUSY) return DeviceInUse(device_name);
    if (error == PA_ERR_NOENTITY || error == PA_ERR_KILLED) return DeviceDisconnected(device_name);
    return DeviceCallFailed(device_name, error, Pulse().pa_strerror(error), function);
}

}  // namespace Tesslib
