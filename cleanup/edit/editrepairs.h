// What the user does to the click repairs of a recording. Each is one action that can be undone. Main thread, while no
// scan of the recording runs.
//
// Positions are frames in the file at the recording's own rate, ends exclusive; channels are bits (Channels). What is
// refused has been shown, and then nothing has changed.
#pragma once

#include <cstdint>

#include "collection/filehistory.h"

namespace Orvane {

// Repairs `start` to `end`, at most kMaxRepair of it, by hand. False when refused: no channel, nothing selected, too
// near to an end of the file, or no repair could be computed.
bool InsertRepair(FileHistoryEntry& entry, int channels, int64_t start, int64_t end);

// Moves the ends of a repair or marker of the list of `channel` and computes it anew; it becomes a manual repair, and
// what stands in its way gives way. `repair` is gone afterwards. False when refused; a patch is left as it
// is without a word.
bool AdjustRepair(FileHistoryEntry& entry, int channel, ClickRepair& repair, int64_t start, int64_t end);

// Deletes the repairs and markers that touch `start` to `end`, and the twins of patches among them. The number deleted,
// without twins that were not meant themselves.
int DeleteRepairs(FileHistoryEntry& entry, int channels, int64_t start, int64_t end);

// Makes manual repairs of the markers (`type`: REPAIR_PP or REPAIR_BP) that touch `start` to `end`. The number made;
// where no repair can be computed the marker stays, and it is said when that is so for all of them.
int RepairMarkers(FileHistoryEntry& entry, int channels, int16_t type, int64_t start, int64_t end);

}  // namespace Orvane
