// Finds sound that a device has lost by comparing what it delivers with the time that passes.
#pragma once

#include <cstdint>
#include <optional>

#include "devices/wave.h"

namespace Tesslib {

// Pure: the same calls, the same answers. One thread; allocates nothing.
//
// A delivery may be late, but never early: what matters is how little the device lags at its best. That lag may change
// by 500 ppm, which is more than two clocks differ. If it jumps and for two seconds never comes back, the frames
// between have been lost. Starved or bursting deliveries, which catch up, are no loss.
class LossDetector {
public:
    // `rate` in Hz; a step of most of `block_frames` counts as a lost block.
    LossDetector(int32_t rate, int32_t block_frames);

    // `n_frames` were delivered at `now_ns`, the first of them as frame number `frame`. The loss that has become
    // certain, if one has.
    std::optional<LostFrames> Delivered(int64_t n_frames, int64_t frame, int64_t now_ns);
    // `n_frames` of what was delivered, or should have been, are known to be lost by other means.
    void AlreadyCounted(int64_t n_frames) { delivered += n_frames; }

private:
    const double rate;
    const double threshold;   // frames
    int64_t delivered = 0;    // known losses included
    int64_t first_ns = -1;    // time of the first delivery
    double usual_lag = 0;     // frames that the device is behind the clock at its best ...
    int64_t usual_ns = 0;     // ... at this time
    int64_t last_ns = 0;      // time of the last delivery
    double longest_step = 0;  // ns that the lag stayed away and then came back, fading with time
    int64_t step_ns = -1;     // since when it lags by more than the threshold; -1: it does not
    int64_t step_frame = 0;   // the frame delivered first after the step
    double least_excess = 0;  // over the usual lag since then
};

}  // namespace Tesslib
