// The commands, one function for each group. Every leaf of the tree of commands says what it does by OnRun.
#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <memory>
#include <string>

#include "cli/context.h"

namespace Orvane {

// The tree of commands while it is built, and the one that the user chose once it has been parsed.
struct CommandTree {
    CLI::App app;
    GlobalOptions global;
    std::function<int(CommandContext&)> chosen;

    // A command that holds others; `name` is what stands on the command line.
    CLI::App* AddGroup(const std::string& name, const std::string& description);
    // A command of `parent` with an example of its use; `run` does it and returns its exit code. `run` may refer to
    // values that options fill in: keep those in a shared_ptr that it holds.
    CLI::App* AddCommand(CLI::App* parent, const std::string& name, const std::string& description,
                         const std::string& example, std::function<int(CommandContext&)> run);
};

// Arguments that many commands take.
CLI::Option* CollectionArgument(CLI::App* command, std::string& path);
CLI::Option* NumberArgument(CLI::App* command, const std::string& name, int& number, const std::string& description);
CLI::Option* TimeOption(CLI::App* command, const std::string& name, int64_t& ticks, const std::string& description);

void AddCollectionCommands(CommandTree& tree);
void AddAlbumCommands(CommandTree& tree);
void AddRecordingCommands(CommandTree& tree);
void AddTrackCommands(CommandTree& tree);
void AddFileCommands(CommandTree& tree);
void AddRenderCommand(CommandTree& tree);
void AddSaveCommand(CommandTree& tree);
void AddSettingsCommands(CommandTree& tree);
void AddDeclickCommand(CommandTree& tree);
void AddRepairsCommands(CommandTree& tree);
void AddFilterCommands(CommandTree& tree);
void AddCurveCommands(CommandTree& tree);
void AddPresetCommands(CommandTree& tree);
void AddCutCommands(CommandTree& tree);
void AddSplitCommands(CommandTree& tree);
void AddListingCommands(CommandTree& tree);
void AddWaveformCommand(CommandTree& tree);
void AddDigitiseCommand(CommandTree& tree);

// Every command of the program.
std::unique_ptr<CommandTree> MakeCommandTree();

// Runs the command line; the process's exit code.
int RunCommandLine(int argc, const char* const* argv);

}  // namespace Orvane
