#include "split/sidebreaks.h"

#include <algorithm>

#include "foundation/host.h"
#include "foundation/messages.h"

using namespace Foundation;

namespace Orvane {

bool FixSideBreaks::CheckAny() const {
    if (!before.empty()) return true;
    ShowMessage(FormatMsg(Msg::NoSideBreaks), Severity::Information);
    return false;
}

void FixSideBreaks::MoveRight() {
    for (int64_t& side_break : recording.side_breaks) side_break = std::min(side_break, INT64_MAX / 2) * 2;
    MarkDirty();
}

void FixSideBreaks::MoveLeft() {
    for (int64_t& side_break : recording.side_breaks) side_break /= 2;
    MarkDirty();
}

void FixSideBreaks::Cancel() {
    recording.side_breaks = before;
    MarkDirty();
}

}  // namespace Orvane
