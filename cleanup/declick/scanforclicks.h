// The click scan as a job: passes over a recording, one thread a channel, and the merging of what they find.
#pragma once

#include <array>
#include <atomic>
#include <memory>
#include <string>

#include "cleanup/declick/declick.h"
#include "collection/filehistory.h"
#include "foundation/workerthread.h"

namespace Orvane {

// What stands in the lists after a scan: counted over the channels scanned.
struct ScanStats {
    int repaired = 0;      // entries found, markers aside, over all passes
    int not_repaired = 0;  // candidates whose interpolation failed
    int pp = 0;            // markers of the last pass
    int bp = 0;            // markers of the first pass
};

enum class ScanOutcome {
    Done,
    Skipped,     // scanned before with these settings, and what was found is still there
    TooSmall,    // "This file is too small to declick"
    NoChannels,  // "No channels specified!"
    Cancelled,   // the lists keep what earlier passes merged; before the first has ended they are as they were
    Failed,      // the reason is the thread's last error
};

struct ScanRequest {
    ScanSettings settings;
    int64_t first_sample = 0;  // of the recording, at its own rate
    int64_t last_sample = -1;  // exclusive; below 0: the end
    int progress_base = 0;     // the part of the progress bar that is this scan's, in thousandths
    int progress_range = 1000;
};

// Scans `entry` and enters what it finds into its lists, which other threads may be reading meanwhile; saves the
// corrections file at the end. Keeps, before it begins, of the existing repairs what the settings say, and all of the
// other channel and outside of the stretch; a scan that ends early counts as none. Main thread, which stays alive; one
// scan at a time in the program. Progress::Begin and End are the caller's; Progress::Cancel ends the scan.
ScanOutcome ScanForClicks(FileHistoryEntry* entry, const ScanRequest& request, ScanStats& stats);

// Asks before a scan, of one side or of many, whose sensitivity is above "Max"; false when the user does not want it.
// The message is "Warn Turbo Declick". Main thread.
[[nodiscard]] bool ConfirmScan(const ScanSettings& settings);

// True if the recording was scanned before with settings that would find the same. A batch may leave it out if what was
// found is still there.
bool ScannedBefore(const FileHistoryEntry& entry, const ScanSettings& settings);

}  // namespace Orvane
