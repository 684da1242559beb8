// What the user does to the click repairs of a recording. Each is one action that can be undone. Main thread, while no
// scan of the recording runs.
//
// Positions are frames in the file at the recording's own rate, ends exclusive; channels are bits (Channels). A failure
// has changed nothing.
#pragma once

#include <cstdint>

#include "collection/filehistory.h"
#include "foundation/outcome.h"

namespace Orvane {

// Which repair or marker is meant: by where it stands, which outlives an undo and its redo.
struct RepairPlace {
    int channel;  // 0 left, 1 right
    int64_t start;
    int64_t end;
};

// Repairs `start` to `end`, at most kMaxRepair of it, by hand. Refused without a channel or a selection, too near to an
// end of the file, and where no repair can be computed.
Foundation::Outcome InsertRepair(FileHistoryEntry& entry, int channels, int64_t start, int64_t end);

// Moves the ends of a repair or marker and computes it anew; it becomes a manual repair, and what stands in its way
// gives way. Where it stands now: longer than asked for when it came to lie inside another. Patches are refused.
Foundation::Result<RepairPlace> AdjustRepair(FileHistoryEntry& entry, const RepairPlace& repair, int64_t start,
                                             int64_t end);

// Deletes the repairs and markers that touch `start` to `end`, and the twins of patches among them. The number deleted,
// without twins that were not meant themselves.
Foundation::Result<int> DeleteRepairs(FileHistoryEntry& entry, int channels, int64_t start, int64_t end);

// Makes manual repairs of the markers (`type`: REPAIR_PP or REPAIR_BP) that touch `start` to `end`. The number made;
// where no repair can be computed the marker stays, and it fails when that is so for all of them.
Foundation::Result<int> RepairMarkers(FileHistoryEntry& entry, int channels, int16_t type, int64_t start, int64_t end);

}  // namespace Orvane
