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

    // Puts the repairs back in place of all that stand there now, and holds those instead. An EditAccess is held.
    void Exchange(FileHistoryEntry& entry);

    int NotedChannels() const;
    int32_t Bytes() const;  // that the copies take

private:
    // What is noted of one channel. No repair reaches over its ends: each list is without overlaps, so the stretch only
    // ever grows by the repairs that it holds.
    struct Noted {
        bool Widen(const ClickRepair& repair);  // true if it grew

        int64_t from = INT64_MAX, to = INT64_MIN;  // nothing
        std::vector<std::unique_ptr<ClickRepair>> repairs;
    };
    void WidenToWholeRepairs(const FileHistoryEntry& entry);

    Noted noted[2];
};

// Deletes the repairs of a list that touch `start` to `end` and are `wanted`, with their twins; the number of them.
int DeleteStretch(ClickRepairList& list, int64_t start, int64_t end, bool (*wanted)(const ClickRepair&));

// The first repair of a list that ends after `position`, or null.
ClickRepair* FirstRepairAfter(const ClickRepairList& list, int64_t position);

}  // namespace Orvane
