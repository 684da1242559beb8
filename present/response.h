// How loud each frequency comes out of the cleanup filters, for a drawing: from the very coefficients and gains that
// the chain works with.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "cleanup/filter/filtersettings.h"

namespace Orvane {

inline constexpr double kLowestShown = 20.0, kHighestShown = 20000.0;  // Hz

// `n` frequencies in equal steps of pitch, from kLowestShown to kHighestShown or half the rate, whichever is lower.
std::vector<double> ShownFrequencies(int32_t samplerate, int n);

// In dB, one value for each frequency, -200 at least. A filter that is not in force has none. The hiss filter is none
// of these: what it takes away depends on the audio.
struct FilterResponse {
    std::vector<double> hum, rumble;
    std::vector<double> curves;     // all together, with their level and the high pass below them
    std::vector<double> equaliser;  // the bands
    std::vector<double> sum[2];     // of the left and the right channel: all of these, and the preamp
};

// Pure. The curves are those in force, in the order in which they are applied.
FilterResponse ComputeResponse(const FilterValues& values, const CurvesAt& curves, int32_t samplerate,
                               std::span<const double> frequencies);

// What is in force at a position of a recording's edited timeline. Main thread.
FilterResponse ResponseAt(const FileHistoryEntry& entry, int64_t position, std::span<const double> frequencies);

}  // namespace Orvane
