// The click scan as a job: passes over a recording, one thread a channel, and the merging of what they find.
#pragma once

#include <cstdint>

#include "cleanup/declick/declick.h"
#include "collection/filehistory.h"
#include "foundation/outcome.h"

namespace Orvane {

// What stands in the lists after a scan: counted over the channels scanned.
struct ScanStats {
    int repaired = 0;      // entries found, markers aside, over all passes
    int not_repaired = 0;  // candidates whose interpolation failed
    int pp = 0;            // markers of the last pass
    int bp = 0;            // markers of the first pass
};

struct ScanResult {
    // Cancelled or a failure: the lists keep what earlier passes merged; before the first has ended they are as they
    // were.
    Foundation::Outcome outcome;
    bool skipped = false;  // scanned before with these settings, and what was found is still there
    ScanStats stats;
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
// other channel and outside of the stretch; a scan that ends early counts as none. What it has changed is one action
// that can be undone; until its end nothing of it stands in a file or a copy. Main thread, which stays alive; one scan
// at a time in the program. Progress::Begin and End are the caller's; Progress::Cancel ends the scan.
ScanResult ScanForClicks(FileHistoryEntry& entry, const ScanRequest& request);

// What to ask before a scan, of one side or of many: NeedsAnswer, with StrongScan, above the sensitivity "Max".
Foundation::Outcome CheckScan(const ScanSettings& settings);
inline constexpr const char* kStrongScanWarning = "Warn Turbo Declick";  // the user's wish not to be asked

// True if the recording was scanned before with settings that would find the same. A batch may leave it out if what was
// found is still there.
bool ScannedBefore(const FileHistoryEntry& entry, const ScanSettings& settings);

}  // namespace Orvane
