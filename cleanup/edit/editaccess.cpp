#include "cleanup/edit/editaccess.h"

#include "collection/dataobjects.h"
#include "foundation/lasterror.h"
#include "foundation/messages.h"

using namespace Foundation;

namespace Orvane {
namespace {

int n_bars = 0;

}  // namespace

EditAccess::EditAccess(FileHistoryEntry& entry) : entry(entry), opened(!entry.shared_stack) {
    if (n_bars) {
        outcome = Outcome::Fail(Kind::Busy, Msg::PatchDialogOpen);
        return;
    }
    FileToPCM* chain = GetFileToPCM(&entry);
    if (chain && entry.LoadCorrections(true) == 0) {
        stream = chain;
    } else {
        outcome = Outcome::OfLastError(ERR_IO);
    }
}

EditAccess::~EditAccess() {
    if (opened) ReleaseFileToPCM(&entry);
}

EditsBarred::EditsBarred() {
    ++n_bars;
}

EditsBarred::~EditsBarred() {
    --n_bars;
}

RepairsChange::RepairsChange(FileHistoryEntry& entry, int channels) : entry(entry) {
    if (channels & CHANNEL_LEFT) left.emplace(&entry.click_repairs[0]);
    if (channels & CHANNEL_RIGHT) right.emplace(&entry.click_repairs[1]);
}

RepairsChange::~RepairsChange() {
    if (left) entry.click_repairs[0].dirty = true;
    if (right) entry.click_repairs[1].dirty = true;
    MarkDirty();
}

TimelineChange::TimelineChange(FileHistoryEntry& entry)
    : entry(entry),
      cuts(&entry.decided.cuts),
      filters(&entry.decided.filters),
      curves(&entry.decided.fft_eqs),
      markers(&entry.decided.markers) {}

TimelineChange::~TimelineChange() {
    entry.decided.RecomputeTimes();
    MarkDirty();
}

}  // namespace Orvane
