// What the user cuts out of a recording and puts back. Each is one action that can be undone. Main thread.
//
// Positions are frames on the edited timeline at the recording's own rate. The tracks of the album keep their music:
// those behind the place of the change move along, and a cut that holds a whole track is refused.
#pragma once

#include <cstdint>

#include "collection/filehistory.h"
#include "foundation/outcome.h"

namespace Orvane {

// The lengths of the cross-fade that the menu offers for future cuts.
struct SpliceChoice {
    const char* text;
    int32_t ms;
};
inline constexpr SpliceChoice kSpliceChoices[] = {
    {"None", 0}, {"Minimal (1ms)", 1}, {"Short (5ms)", 5}, {"Medium (25ms)", 25}, {"Long (100ms)", 100}};

// Takes `start` to `end` out, with a cross-fade of `splice_ms`. Refused when the stretch is not longer than the
// cross-fade.
Foundation::Outcome CutSelection(FileHistoryEntry& entry, int64_t start, int64_t end, int32_t splice_ms);

// Takes out all from `position` to the recording's end.
Foundation::Outcome TruncateRecording(FileHistoryEntry& entry, int64_t position);

// Puts back what `cut`, one of the recording's, has taken out, and the breaks that it moved to where they stood. `cut`
// is gone afterwards.
Foundation::Outcome DeleteCut(FileHistoryEntry& entry, CutAndSpliceCorrection& cut);

}  // namespace Orvane
