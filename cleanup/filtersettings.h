// What cleanup settings and curves are in force at a position of a recording.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "collection/filehistory.h"

namespace Orvane {

inline constexpr int64_t kNoChange = INT64_MAX;

// Settings stand in a list in the order in which the user stacked them. A setting with neither start nor end covers the
// whole recording, any other the samples from its start up to its end. Later ones go over earlier ones, mode by mode.
struct SettingsAt {
    FilterValues values;
    std::string noise_file;           // empty: the noise sample is a stretch of the recording
    int64_t next_change = kNoChange;  // the next position at which a setting begins or ends
};

// Positions are on the edited timeline, or with PCM_NO_CUTS in `flags` in the file. Call under the stack's lock.
SettingsAt GetSettingsAt(const LinkedList<FilterSetting>& settings, int64_t position, uint32_t flags);

struct CurvesAt {
    std::vector<const FFTEq*> curves;  // in the order in which they are applied; valid until the list changes
    int64_t next_change = kNoChange;

    double Level() const;  // of all together, tenths of a decibel
};

CurvesAt GetCurvesAt(const LinkedList<FFTEq>& curves, int64_t position, uint32_t flags);

}  // namespace Orvane
