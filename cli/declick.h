// The click scan of sides, as the commands that clean run it.
#pragma once

#include <string>
#include <vector>

#include "cleanup/scanforclicks.h"
#include "cli/context.h"
#include "cli/model_view.h"

namespace Orvane {

struct DeclickedSide {
    int side;           // from 1
    std::string words;  // what was done, for reading
};

// Scans the recordings one after the other, with progress. `sides` tells of each that was come to, `figures` gets
// "sides" and the sums over them. The exit code of the first that ended badly. The collection is left to be saved.
int DeclickSides(CommandContext& context, const std::vector<RecordingPlace>& places, const ScanSettings& settings,
                 Json& figures, std::vector<DeclickedSide>& sides);

}  // namespace Orvane
