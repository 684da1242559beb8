// The click repairs over a stretch of a recording, noted so that they can be put back as they were.
#pragma once

#include <memory>
#include <vector>

#include "cleanup/edit/editaccess.h"

namespace Orvane {

class RepairStretch {
public:
    // Copies what stands between `from` and `to` (frames in the file, exclusive) in `channels`, each widened to whole
    // repairs; of a stereo patch among them the twin too.
    RepairStretch(const FileHistoryEntry& entry, int channels, int64_t from, int64_t to);

    // Puts the repairs back in place of all that stand there now, and holds those instead. The caller brackets the
    // change (RepairsChange).
    void Exchange(FileHistoryEntry& entry);
    // Until EndTrial or Withdraw what stands there does not count: the repairs noted are those that were decided on.
    // The stretch stays where it is meanwhile.
    void BeginTrial(FileHistoryEntry& entry);
    void EndTrial(FileHistoryEntry& entry);
    // Ends the trial with everything as it was before.
    void Withdraw(FileHistoryEntry& entry);

    int NotedChannels() const;
    int32_t Bytes() const;  // held; samples that others hold too do not count

private:
    void WidenToWholeRepairs(const FileHistoryEntry& entry);

    NotedRepairs noted[2];
    bool was_dirty[2] = {false, false};  // before the trial
};

// Deletes the repairs of a list that touch `start` to `end` and are `wanted`, with their twins; the number of them.
int DeleteStretch(ClickRepairList& list, int64_t start, int64_t end, bool (*wanted)(const ClickRepair&));

}  // namespace Orvane
