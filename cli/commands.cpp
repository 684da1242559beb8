#include "cli/commands.h"

#include <algorithm>

#include "app/initterm.h"
#include "cli/parsing.h"
#include "cli/texts.h"
#include "foundation/lasterror.h"
#include "foundation/reports.h"
#include "foundation/settings.h"
#include "foundation/version.h"

using namespace Foundation;

namespace Orvane {
namespace {

constexpr const char* kEveryCommand =
    "Every command also takes:\n"
    "  --json                 print one JSON object instead of text\n"
    "  --quiet                no progress and no remarks\n"
    "  --set \"KEY=VALUE\"      another value for a setting, for this run";

int ApplySettings(CommandContext& context, const GlobalOptions& options) {
    for (const std::string& assignment : options.settings) {
        size_t equals = assignment.find('=');
        if (equals == 0 || equals == std::string::npos) {
            return context.Usage(fmt::format("--set takes \"KEY=VALUE\", not \"{}\"", assignment));
        }
        OverrideSetting(assignment.substr(0, equals), assignment.substr(equals + 1));
    }
    return CLI_DONE;
}

int RunChosen(CommandContext& context, const CommandTree& tree) {
    if (int code = context.End(InitApplication())) return code;
    if (int code = ApplySettings(context, tree.global)) return code;
    return tree.chosen(context);
}

// Of a command line that could not be parsed, whether it asked for JSON.
bool AsksForJson(int argc, const char* const* argv) {
    return std::any_of(argv + 1, argv + argc, [](std::string_view word) { return word == "--json"; });
}

}  // namespace

CLI::App* CommandTree::AddGroup(const std::string& name, const std::string& description) {
    CLI::App* group = app.add_subcommand(name, description);
    group->require_subcommand(1);
    group->footer("Examples:");
    return group;
}

CLI::App* CommandTree::AddCommand(CLI::App* parent, const std::string& name, const std::string& description,
                                  const std::string& example, std::function<int(CommandContext&)> run) {
    CLI::App* command = parent->add_subcommand(name, description);
    command->footer("Example:\n  orvane-cli " + example + "\n\n" + kEveryCommand);
    if (parent != &app) parent->footer(parent->get_footer() + "\n  orvane-cli " + example);
    command->callback([this, run = std::move(run)] { chosen = run; });
    return command;
}

CLI::Option* CollectionArgument(CLI::App* command, std::string& path) {
    return command->add_option("COLLECTION", path, "the collection's file, .mcf")->required()->option_text(" ");
}

CLI::Option* NumberArgument(CLI::App* command, const std::string& name, int& number, const std::string& description) {
    return command->add_option(name, number, description)->check(Between(1, 1000000))->option_text("NUMBER");
}

CLI::Option* TimeOption(CLI::App* command, const std::string& name, int64_t& ticks, const std::string& description) {
    auto read = [&ticks](const std::string& text) {
        if (!ParseTypedTime(text, ticks)) {
            throw CLI::ValidationError("\"" + text + "\" is not a time: [h:]m:ss.fffff or seconds");
        }
    };
    return command->add_option_function<std::string>(name, read, description)->option_text("TIME");
}

std::unique_ptr<CommandTree> MakeCommandTree() {
    auto tree = std::make_unique<CommandTree>();
    CLI::App& app = tree->app;
    app.name("orvane-cli");
    app.formatter(std::make_shared<HelpFormatter>());
    app.description("Orvane on the command line: digitised records and tapes, from recordings to saved tracks");
    app.set_version_flag("--version", ProgramNameAndVersion());
    app.add_flag("--json", tree->global.json, "print one JSON object instead of text");
    app.add_flag("--quiet", tree->global.quiet, "no progress and no remarks");
    app.add_option("--set", tree->global.settings, "another value for a setting, for this run")
        ->option_text("\"KEY=VALUE\"")
        ->allow_extra_args(false)
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    app.require_subcommand(1);
    app.fallthrough();
    app.footer(
        "Example:\n  orvane-cli digitise side1.wav side2.wav --artist \"The Examples\" --album First --format flac "
        "--out ~/Music\n\nTimes are [h:]m:ss.fffff or plain seconds.");
    AddDigitiseCommand(*tree);
    AddCollectionCommands(*tree);
    AddAlbumCommands(*tree);
    AddRecordingCommands(*tree);
    AddTrackCommands(*tree);
    AddSplitCommands(*tree);
    AddWaveformCommand(*tree);
    AddDeclickCommand(*tree);
    AddRepairsCommands(*tree);
    AddFilterCommands(*tree);
    AddCurveCommands(*tree);
    AddPresetCommands(*tree);
    AddCutCommands(*tree);
    AddListingCommands(*tree);
    AddRenderCommand(*tree);
    AddSaveCommand(*tree);
    AddFileCommands(*tree);
    AddSettingsCommands(*tree);
    return tree;
}

int RunCommandLine(int argc, const char* const* argv) {
    std::unique_ptr<CommandTree> tree = MakeCommandTree();
    try {
        tree->app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        GlobalOptions options;
        options.json = AsksForJson(argc, argv);
        const bool version = dynamic_cast<const CLI::CallForVersion*>(&error) != nullptr;
        if (dynamic_cast<const CLI::Success*>(&error) && !(version && options.json)) return tree->app.exit(error);
        CommandContext context(options);
        if (version) context.result["program"] = ProgramNameAndVersion();
        return context.Finish(version ? CLI_DONE : context.Usage(UsageProblem(tree->app, error)));
    }
    CatchInterrupts();
    CommandContext context(tree->global);
    const int code = RunChosen(context, *tree);
    for (const Outcome& report : TakeReports()) context.Remark(report.Text());
    return context.Finish(code);
}

}  // namespace Orvane
