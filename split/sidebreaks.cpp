#include "split/sidebreaks.h"

#include <algorithm>

using namespace Foundation;

namespace Orvane {

Outcome FixSideBreaks::CheckAny() const {
    return before.empty() ? Outcome::Fail(Kind::Refused, Msg::NoSideBreaks) : Outcome();
}

void FixSideBreaks::MoveRight() {
    for (int64_t& side_break : recording.decided.side_breaks) side_break = std::min(side_break, INT64_MAX / 2) * 2;
    MarkDirty();
}

void FixSideBreaks::MoveLeft() {
    for (int64_t& side_break : recording.decided.side_breaks) side_break /= 2;
    MarkDirty();
}

void FixSideBreaks::Cancel() {
    recording.decided.side_breaks = before;
    MarkDirty();
}

}  // namespace Orvane
