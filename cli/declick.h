// The click scan on the command line: its options and what it has done.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "app/jobs/declick.h"
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

// What was done with a side, for reading.
std::string WordsFor(const DeclickedSide& side);
// Puts what a scan has done into `figures`, as "sides" and the sums over them.
void ReportDeclick(const DeclickResult& result, Json& figures);

}  // namespace Orvane
