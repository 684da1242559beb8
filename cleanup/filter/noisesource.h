// What the hiss filter's noise sample is taken from.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "cleanup/filter/filtersettings.h"
#include "foundation/platform.h"

namespace Orvane {

// Equal sources give equal noise samples. A sample is a file, or what the hum and rumble filters leave of a stretch of
// the recording with its repairs.
struct NoiseSource {
    // From `position` on, in frames of the file, hum and rumble are filtered as in `values`; its other fields are idle.
    struct HumRumble {
        int64_t position = 0;
        FilterValues values;
        bool operator==(const HumRumble&) const = default;
    };

    std::string file;
    int64_t file_size = 0;
    Foundation::FileTime file_time = 0;
    int64_t start = -1, end = -1;  // frames in the recording, when there is no file
    std::vector<HumRumble> hum_and_rumble;
    uint64_t repairs = 0;  // a hash of those in the stretch

    bool operator==(const NoiseSource&) const = default;
};

// That of the hiss filter with these settings. Call under the stack's lock.
NoiseSource FindNoiseSource(const FileHistoryEntry& entry, const SettingsAt& settings);

}  // namespace Orvane
