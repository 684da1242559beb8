// Saving tracks, as "save" and "digitise" do it: the options, the job and its results.
#pragma once

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

#include "cli/context.h"
#include "save/save_albums.h"

namespace Orvane {

// What the command line says about it; an empty text or 0 leaves it to the settings.
struct SaveArguments {
    std::string format;
    int32_t samplerate = 0;
    int32_t bit_depth = 0;
    std::string out;
    int threads = 0;
    std::string name_template;
};

// Why a track was not saved, in plain text; empty where it was.
std::string NotSavedText(const SavedTrack& saved);

void SaveOptions(CLI::App* command, SaveArguments& arguments);

// The settings for a save, of any collection.
int MakeSaveSettings(CommandContext& context, const SaveArguments& arguments, SaveSettings& settings);

// Saves all tracks of the albums and puts what became of each into the results, as "tracks" and totals. The result is
// that of the command: a failed track makes it fail, a cancel ends it.
int SaveWithProgress(CommandContext& context, const std::vector<AlbumInfo*>& albums, const SaveSettings& settings,
                     int threads, SaveResult& result);

}  // namespace Orvane
