// Saving tracks, as "save" and "digitise" do it: the options, the job and its results.
#pragma once

#include <CLI/CLI.hpp>
#include <string>

#include "app/jobs/savetracks.h"
#include "cli/context.h"

namespace Orvane {

// What the command line says about it.
struct SaveArguments : SaveChoices {
    std::string format;  // a word; empty leaves it to the settings
};

void SaveOptions(CLI::App* command, SaveArguments& arguments);

// The choices with the format that the word names.
int TakeFormat(CommandContext& context, const SaveArguments& arguments, SaveChoices& choices);
// The settings for a save, of any collection.
int TakeSaveChoices(CommandContext& context, const SaveArguments& arguments, SaveSettings& settings);

// Puts what became of each track into the results, as "tracks" and totals.
void ReportSaved(CommandContext& context, const SaveTracksResult& result);

}  // namespace Orvane
