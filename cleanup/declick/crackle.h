// Pulses: the short peaks of roughness that a brass instrument makes once a period. The scanner keeps the
// places and heights of the latest ones and leaves a click alone that fits into their rhythm.
#pragma once

#include <array>
#include <cstdint>

#include "cleanup/declick/clickdetector.h"

namespace Orvane {

// A pattern in the pulses around a place. `count` is how many intervals it took to show (0: there is none);
// the averages are over all intervals, in samples, and all pulses looked at.
struct PulsePattern {
    int count = 0;
    double avg_interval = 0.0, avg_peak = 0.0;
};

// Follows the pulses of one run of a detector, backward in time as the detector goes. One thread at a time.
class PulseTracker {
public:
    // Pulses are looked for from `crackle_limit` down; `gain_limited` as in DetectorTables.
    PulseTracker(const ClickDetector& detector, int crackle_limit, double gain_limited);

    // Takes in the detector's steps down to `i`. To be called before the detector forgets them.
    void AdvanceTo(int i);
    // Whether the pulses known at detector step `i` are regularly spaced. Successive calls go downward.
    PulsePattern BrassPattern(int i);

private:
    static constexpr int kPulses = 1024;
    static int Older(int index) { return (index + kPulses - 1) % kPulses; }

    void Step(int i);

    const ClickDetector& detector;
    int next_step;
    double gain_limited;
    enum class State { Quiet = -1, Start = 0, Pulse = 1, TooStrong = 2 } crackle_state = State::Start;
    double crackle_peak = 0.0;
    int crackle_index = 0;
    // Step of each pulse, 0 for none, and its height: rings with the newest at crackle_index.
    std::array<int32_t, kPulses> crackle_positions{};
    std::array<double, kPulses> crackle_peaks{};
};

}  // namespace Orvane
