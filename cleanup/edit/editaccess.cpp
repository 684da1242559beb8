#include "cleanup/edit/editaccess.h"

#include "collection/dataobjects.h"
#include "collection/recordinguse.h"

using namespace Foundation;

namespace Orvane {
EditAccess::EditAccess(FileHistoryEntry& entry) {
    outcome = AskForRecording(entry, RecordingUse::Edit);
    if (!outcome) return;
    const Result<RefPtr<FileToPCM>> chain = GetFileToPCM(entry);
    outcome = chain.GetOutcome();
    if (chain) stream = *chain;
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
