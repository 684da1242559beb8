// The click scan of sides, as the commands that clean run it.
#pragma once

#include <vector>

#include "cleanup/scanforclicks.h"
#include "cli/context.h"
#include "cli/model_view.h"

namespace Orvane {

struct DeclickResult {
    ScanStats stats;    // of all sides
    int n_scanned = 0;  // sides that were not left alone
};

// Scans the recordings one after the other, with progress; notes the figures in the context's results. The exit code of
// the first that ended badly. The collection is left to be saved.
int DeclickSides(CommandContext& context, const std::vector<RecordingPlace>& places, const ScanSettings& settings,
                 DeclickResult& all);

}  // namespace Orvane
