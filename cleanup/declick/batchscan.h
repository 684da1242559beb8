// The click scan of many sides: one after the other, each a job of its own, with one progress display for all.
#pragma once

#include <span>
#include <vector>

#include "cleanup/declick/scanforclicks.h"

namespace Orvane {

struct SideToScan {
    FileHistoryEntry* entry;
    int side;  // from 1
};

struct ScannedSide {
    SideToScan side;
    ScanResult result;
};

// Scans the sides in their order; with `only_if_new` those are left out that were scanned before with these settings. A
// side that cannot be scanned is told of in the log, and the next ones are scanned all the same; a cancel ends it. What
// comes back are the sides that were come to. Main thread; Progress::Begin and End are the caller's.
std::vector<ScannedSide> ScanSides(std::span<const SideToScan> sides, const ScanSettings& settings, bool only_if_new);

}  // namespace Orvane
