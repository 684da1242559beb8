// The sound devices of the machine, by names that stay the same, and the way to open them.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "devices/wave.h"
#include "foundation/clock.h"

namespace Tesslib {

// One input or output.
struct DeviceInfo {
    std::string id;           // "pulse:alsa_input.usb-...": the back-end and the device's own name, for settings
    std::string name;         // for people: "USB Turntable Analogue Stereo"
    std::string connection;   // "usb", "pci", "bluetooth" ..., or empty
    bool input = false;       // otherwise an output
    bool is_default = false;  // of the system
    bool monitor = false;     // an input that hears what an output plays
    bool webcam = false;
    bool simulated = false;
    int32_t rate = 0;  // Hz, at which it runs now or by itself
    int channels = 0;

    bool operator==(const DeviceInfo&) const = default;
};

// The devices of one back-end.
class DeviceFinder {
public:
    virtual ~DeviceFinder() = default;
    // What is known now; never waits. `complete` is false while the system has not answered. `problem` says why nothing
    // can be found.
    struct Found {
        std::vector<DeviceInfo> devices;
        bool complete = false;
        Foundation::Outcome problem;
    };
    virtual Found Get() = 0;
    // Asks the system anew where it does not tell of changes by itself, or where it had not answered.
    virtual void LookAgain() = 0;
};

// All of them. It is kept up to date while it lives. Any thread, but for the making and the end.
class DeviceList {
public:
    // `changed` is called on a thread of the back-ends' whenever a device has come or gone; it must not wait.
    explicit DeviceList(std::function<void()> changed = {});
    ~DeviceList();

    struct Listing {
        std::vector<DeviceInfo> devices;  // of all back-ends, the system's own order within each
        bool complete = false;
        std::vector<Foundation::Outcome> problems;
    };
    static constexpr int kUsualWaitMs = 20;
    // What is known after `wait_ms` at most; sooner when it is complete.
    Listing List(int wait_ms = kUsualWaitMs);
    void LookAgain();

private:
    Foundation::Signal found;
    std::vector<std::unique_ptr<DeviceFinder>> finders;
};

// The input that is suggested where the user has chosen none: the system's default or the first real one. What hears an
// output and webcams are never suggested; without any other, it is the simulated turntable. Null when there is none.
const DeviceInfo* SuggestedInput(const std::vector<DeviceInfo>& devices);

// A device of the back-end that `id` names. The back-end's key for Open stands behind the colon. Null for an id of no
// back-end of ours.
std::unique_ptr<AbstractWaveIn> MakeWaveIn(std::string_view id, const WaveInSettings& settings,
                                           Foundation::Clock& clock = Foundation::SystemClock());
std::unique_ptr<AbstractWaveOut> MakeWaveOut(std::string_view id, const WaveOutSettings& settings,
                                             Foundation::Clock& clock = Foundation::SystemClock());
std::string_view DeviceKey(std::string_view id);

}  // namespace Tesslib
