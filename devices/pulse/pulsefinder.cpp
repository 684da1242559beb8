#include "devices/pulse/pulsefinder.h"

#include <utility>

#include "foundation/messages.h"
#include "foundation/text.h"

namespace Tesslib {

using Foundation::Kind;
using Foundation::Msg;
using Foundation::Outcome;

namespace {

std::string Property(const pa_proplist* properties, const char* key) {
    const char* value = Pulse().pa_proplist_gets(properties, key);
    return value ? value : "";
}

bool IsWebcam(const pa_proplist* properties, std::string_view description) {
    if (Property(properties, "device.form_factor") == "webcam") return true;
    const std::string name =
        Foundation::LowerAscii(std::string(description) + Property(properties, "device.product.name"));
    return name.find("webcam") != name.npos || name.find("camera") != name.npos;
}

}  // namespace

PulseFinder::PulseFinder(std::function<void()> changed) : changed(std::move(changed)) {
    Connect();
}

PulseFinder::~PulseFinder() {
    connection.Disconnect();
}

void PulseFinder::Connect() {
    const Outcome begun = connection.Connect({}, [this](pa_context_state_t state) { OnState(state); });
    if (begun) return;
    std::lock_guard hold(mutex);
    found = {{}, true, begun};
}

DeviceFinder::Found PulseFinder::Get() {
    std::lock_guard hold(mutex);
    return found;
}

void PulseFinder::LookAgain() {
    {
        std::lock_guard hold(mutex);
        if (!std::exchange(lost, false)) return;
        found = {};
    }
    connection.Disconnect();
    Connect();
}

void PulseFinder::OnState(pa_context_state_t state) {
    const PulseLibrary& pulse = Pulse();
    if (state == PA_CONTEXT_READY) {
        pulse.pa_context_set_subscribe_callback(
            connection.Context(),
            [](pa_context*, pa_subscription_event_type_t, uint32_t, void* self) {
                static_cast<PulseFinder*>(self)->Ask();
            },
            this);
        const auto wanted = static_cast<pa_subscription_mask_t>(
            PA_SUBSCRIPTION_MASK_SOURCE | PA_SUBSCRIPTION_MASK_SINK | PA_SUBSCRIPTION_MASK_SERVER);
        Forget(pulse.pa_context_subscribe(connection.Context(), wanted, nullptr, nullptr));
        Ask();
    } else if (!PA_CONTEXT_IS_GOOD(state)) {
        const int error = pulse.pa_context_errno(connection.Context());
        Publish({{}, true, Outcome::Fail(Kind::CannotOpen, Msg::NoSoundServer, pulse.pa_strerror(error))});
        std::lock_guard hold(mutex);
        lost = true;
    }
}

void PulseFinder::Ask() {
    if (n_answers_due > 0) {
        ask_again = true;
        return;
    }
    const PulseLibrary& pulse = Pulse();
    collecting.clear();
    n_answers_due = 3;
    Forget(pulse.pa_context_get_server_info(
        connection.Context(),
        [](pa_context*, const pa_server_info* info, void* self) {
            auto& finder = *static_cast<PulseFinder*>(self);
            finder.default_source = info && info->default_source_name ? info->default_source_name : "";
            finder.default_sink = info && info->default_sink_name ? info->default_sink_name : "";
            finder.Answered();
        },
        this));
    Forget(pulse.pa_context_get_source_info_list(
        connection.Context(),
        [](pa_context*, const pa_source_info* info, int end, void* self) {
            auto& finder = *static_cast<PulseFinder*>(self);
            if (end != 0) return finder.Answered();
            const bool monitor =
                info->monitor_of_sink != PA_INVALID_INDEX || Property(info->proplist, "device.class") == "monitor";
            finder.Add(*info, true, monitor);
        },
        this));
    Forget(pulse.pa_context_get_sink_info_list(
        connection.Context(),
        [](pa_context*, const pa_sink_info* info, int end, void* self) {
            auto& finder = *static_cast<PulseFinder*>(self);
            if (end != 0) return finder.Answered();
            finder.Add(*info, false, false);
        },
        this));
}

template <class Info>
void PulseFinder::Add(const Info& info, bool input, bool monitor) {
    DeviceInfo device;
    device.id = std::string("pulse:") + info.name;
    device.name = info.description ? info.description : info.name;
    device.connection = Property(info.proplist, "device.bus");
    device.input = input;
    device.monitor = monitor;
    device.webcam = input && IsWebcam(info.proplist, device.name);
    device.rate = static_cast<int32_t>(info.sample_spec.rate);
    device.channels = info.sample_spec.channels;
    collecting.push_back(std::move(device));
}

void PulseFinder::Answered() {
    if (--n_answers_due > 0) return;
    for (DeviceInfo& device : collecting) {
        device.is_default = DeviceKey(device.id) == (device.input ? default_source : default_sink);
    }
    Publish({std::exchange(collecting, {}), true, {}});
    if (std::exchange(ask_again, false)) Ask();
}

void PulseFinder::Publish(Found now) {
    {
        std::lock_guard hold(mutex);
        if (found.complete && found.problem.Ok() == now.problem.Ok() && found.devices == now.devices) return;
        found = std::move(now);
    }
    changed();
}

}  // namespace Tesslib
