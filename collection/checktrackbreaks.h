// Finds and repairs track breaks that an old file or a crash left in disorder.
#pragma once

#include "collection/dataobjects.h"

namespace Orvane {

inline constexpr int64_t kTooShortTrack =
    Foundation::kTicksPerSecond * 9 / 10;  // a set track below this length is a fault

enum TrackBreakCheck : int {
    CHECK_ASK = 1,    // shows every fault; Cancel ends the check
    CHECK_FIX = 2,    // puts every fault right
    CHECK_QUIET = 4,  // no closing message
};

// Starts over after every repair, and ends with the 100th fault. When repairs were made, what stands behind the last
// good track becomes unset, at that track's end. The number of faults found. Main thread.
int CheckTrackBreaks(AlbumInfo& album, int options);

}  // namespace Orvane
