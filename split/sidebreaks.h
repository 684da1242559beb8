// Side breaks that old versions stored too far to the left: one step to the right doubles every one of a recording's,
// one to the left halves them, and leaving can take it all back. Only a view's dotted lines and the scan use them.
#pragma once

#include "collection/dataobjects.h"
#include "foundation/outcome.h"

namespace Orvane {

// Main thread; the recording outlives it. Every change marks the collection as changed.
class FixSideBreaks {
public:
    explicit FixSideBreaks(FileHistoryEntry& recording) : recording(recording), before(recording.decided.side_breaks) {}

    // Refused when the recording has no side breaks.
    Foundation::Outcome CheckAny() const;
    void MoveRight();
    void MoveLeft();
    void Cancel();

private:
    FileHistoryEntry& recording;
    const Foundation::simple_vector<int64_t> before;
};

}  // namespace Orvane
