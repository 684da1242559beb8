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

RepairsBracket::RepairsBracket(FileHistoryEntry& entry, int channels) {
    if (channels & CHANNEL_LEFT) left.emplace(&entry.click_repairs[0]);
    if (channels & CHANNEL_RIGHT) right.emplace(&entry.click_repairs[1]);
}

RepairsChange::RepairsChange(FileHistoryEntry& entry, int channels)
    : entry(entry), channels(channels), bracket(entry, channels) {}

RepairsChange::~RepairsChange() {
    for (int channel = 0; channel < 2; ++channel) {
        if (channels & (1 << channel)) entry.click_repairs[channel].dirty = true;
    }
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
    if (entry.tried) entry.tried->RecomputeTimes(entry.decided.cuts);
    MarkDirty();
}

}  // namespace Orvane
