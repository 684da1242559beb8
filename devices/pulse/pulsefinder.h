// The sound server's inputs and outputs, as it tells of them.
#pragma once

#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include "devices/devicelist.h"
#include "devices/pulse/pulseconnection.h"

namespace Tesslib {

class PulseFinder : public DeviceFinder {
public:
    // `changed` is called on the connection's thread.
    explicit PulseFinder(std::function<void()> changed);
    ~PulseFinder() override;

    Found Get() override;
    void LookAgain() override;

private:
    // On the connection's thread.
    void OnState(pa_context_state_t state);
    void Ask();
    template <class Info>
    void Add(const Info& info, bool input, bool monitor);
    void Answered();
    void Publish(Found now);

    void Connect();

    const std::function<void()> changed;
    PulseConnection connection;

    // The connection's thread's.
    std::vector<DeviceInfo> collecting;
    std::string default_source, default_sink;
    int n_answers_due = 0;
    bool ask_again = false;

    std::mutex mutex;  // of `found` and `lost`
    Found found;
    bool lost = false;  // the connection has ended
};

}  // namespace Tesslib
