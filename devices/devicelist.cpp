#include "devices/devicelist.h"

#include <algorithm>

#include "devices/pulse/pulsefinder.h"
#include "devices/pulse/pulsestream.h"
#include "devices/simulated/loudspeaker.h"
#include "devices/simulated/turntable.h"
#include "devices/wavein.h"
#include "devices/waveout.h"

namespace Tesslib {
namespace {

constexpr std::string_view kPulse = "pulse", kSimulated = "simulated";

std::string_view BackEnd(std::string_view id) {
    return id.substr(0, id.find(':'));
}

}  // namespace

DeviceList::DeviceList(std::function<void()> changed) {
    finders.push_back(std::make_unique<PulseFinder>([this, changed = std::move(changed)] {
        found.Set();
        if (changed) changed();
    }));
}

DeviceList::~DeviceList() {
    // Before the signal that they set.
    finders.clear();
}

DeviceList::Listing DeviceList::List(int wait_ms) {
    const int64_t until = Foundation::MonotonicNs() + wait_ms * Foundation::kNsPerMs;
    for (;;) {
        Listing listing;
        listing.complete = true;
        for (const auto& finder : finders) {
            DeviceFinder::Found now = finder->Get();
            std::move(now.devices.begin(), now.devices.end(), std::back_inserter(listing.devices));
            listing.complete &= now.complete;
            if (!now.problem) listing.problems.push_back(now.problem);
        }
        if (listing.complete || Foundation::MonotonicNs() >= until) return listing;
        found.WaitUntil(until);
    }
}

void DeviceList::LookAgain() {
    for (const auto& finder : finders) finder->LookAgain();
}

const DeviceInfo* SuggestedInput(const std::vector<DeviceInfo>& devices) {
    const auto rank = [](const DeviceInfo& device) {
        if (!device.input || device.monitor || device.webcam) return 0;
        return device.simulated ? 1 : device.is_default ? 3 : 2;
    };
    const auto best = std::max_element(devices.begin(), devices.end(),
                                       [&rank](const DeviceInfo& a, const DeviceInfo& b) { return rank(a) < rank(b); });
    return best == devices.end() || rank(*best) == 0 ? nullptr : &*best;
}

std::unique_ptr<AbstractWaveIn> MakeWaveIn(std::string_view id, const WaveInSettings& settings,
                                           Foundation::Clock& clock) {
    std::unique_ptr<CaptureDriver> driver;
    if (BackEnd(id) == kPulse) driver = std::make_unique<PulseCapture>();
    if (BackEnd(id) == kSimulated) driver = std::make_unique<Turntable>(clock);
    return driver ? std::make_unique<WaveIn>(std::move(driver), settings, clock) : nullptr;
}

std::unique_ptr<AbstractWaveOut> MakeWaveOut(std::string_view id, const WaveOutSettings& settings,
                                             Foundation::Clock& clock) {
    std::unique_ptr<PlaybackDriver> driver;
    if (BackEnd(id) == kPulse) driver = std::make_unique<PulsePlayback>();
    if (BackEnd(id) == kSimulated) driver = std::make_unique<Loudspeaker>(clock);
    return driver ? std::make_unique<WaveOut>(std::move(driver), settings, clock) : nullptr;
}

std::string_view DeviceKey(std::string_view id) {
    const size_t colon = id.find(':');
    return colon == id.npos ? std::string_view() : id.substr(colon + 1);
}

}  // namespace Tesslib
