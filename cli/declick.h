// The click scan of sides, as the commands that clean run it.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "cleanup/declick/scanforclicks.h"
#include "cli/commands.h"
#include "cli/model_view.h"

namespace Orvane {

// The settings of a scan as options. What is not given comes from the preset, or is what a scan does as usual.
struct ScanArguments {
    std::string preset;
    std::optional<int> sensitivity, percussion, brass, passes;
    int channels = 0;  // bits; 0: not given
    std::optional<bool> equalise, keep_manual, keep_scans;
};
void AddScanOptions(CLI::App* command, ScanArguments& arguments);
int ReadScanSettings(CommandContext& context, const ScanArguments& arguments, ScanSettings& settings);

struct DeclickedSide {
    int album, side;    // from 1
    std::string words;  // what was done, for reading
};

// Scans the recordings one after the other, with progress. `sides` tells of each that was come to, `figures` gets
// "sides" and the sums over them. The exit code of the first that ended badly. The collection is left to be saved.
int DeclickSides(CommandContext& context, const std::vector<RecordingPlace>& places, const ScanSettings& settings,
                 bool only_if_new, Json& figures, std::vector<DeclickedSide>& sides);

}  // namespace Orvane
