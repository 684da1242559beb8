#include "cli/parsing.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>

#include "foundation/text.h"

using namespace Foundation;

namespace Orvane {
namespace {

// "--method apa|ar" takes a kind of value, which the help names behind the option; an argument's name is enough.
bool IsMarked(const CLI::Option& option) {
    return option.get_required() && !option.get_positional();
}

// The command that the words have come to.
const CLI::App& DeepestCommand(const CLI::App& app) {
    const CLI::App* command = &app;
    for (auto parsed = command->get_subcommands(); !parsed.empty(); parsed = command->get_subcommands()) {
        command = parsed.front();
    }
    return *command;
}

std::string CommandLineOf(const CLI::App& command) {
    const CLI::App* parent = command.get_parent();
    return parent ? CommandLineOf(*parent) + " " + command.get_name() : command.get_name();
}

}  // namespace

CLI::Validator OneOf(std::vector<std::string> words) {
    auto check = [words = std::move(words)](std::string& value) -> std::string {
        std::string known;
        for (const std::string& word : words) {
            known += (known.empty() ? "" : ", ") + word;
            if (!EqualNoCaseAscii(word, value)) continue;
            value = word;
            return {};
        }
        return fmt::format("\"{}\" is none of {}", value, known);
    };
    return {std::move(check), ""};
}

CLI::Validator Between(int64_t low, int64_t high) {
    auto check = [low, high](std::string& value) -> std::string {
        int64_t number = 0;
        const char* end = value.data() + value.size();
        const auto [stopped, failure] = std::from_chars(value.data(), end, number);
        if (failure == std::errc() && stopped == end && number >= low && number <= high) return {};
        return fmt::format("\"{}\" is no whole number from {}{}", value, low,
                           high == INT64_MAX ? " up" : fmt::format(" to {}", high));
    };
    return {std::move(check), ""};
}

HelpFormatter::HelpFormatter() {
    label("Positionals", "Arguments");
    label("SUBCOMMAND", "COMMAND");
}

std::string HelpFormatter::make_option_name(const CLI::Option* option, bool positional) const {
    return Replace(Formatter::make_option_name(option, positional), "{false}", "");
}

std::string HelpFormatter::make_option_opts(const CLI::Option* option) const {
    return Formatter::make_option_opts(option) + (IsMarked(*option) ? " (required)" : "");
}

std::string HelpFormatter::make_option_usage(const CLI::Option* option) const {
    const std::string name = make_option_name(option, true) + (option->get_expected_max() > 1 ? "..." : "");
    return option->get_required() ? name : "[" + name + "]";
}

std::string UsageProblem(const CLI::App& app, const CLI::ParseError& error) {
    const CLI::App& command = DeepestCommand(app);
    const std::string words = CommandLineOf(command);
    std::string problem = error.what();
    if (!command.get_subcommands([](const CLI::App*) { return true; }).empty()) {
        const std::vector<std::string> unknown = app.remaining(true);
        const auto word = std::find_if(unknown.begin(), unknown.end(),
                                       [](const std::string& candidate) { return !candidate.starts_with('-'); });
        problem = word == unknown.end() ? "A command is required"
                                        : fmt::format("There is no command \"{}\" of {}", *word, words);
    } else if (error.get_name() == "ArgumentMismatch" && problem.ends_with(" missing")) {
        problem = problem.substr(0, problem.find(':')) + ": its value is missing";
    }
    return fmt::format("{}  ({} --help tells more)", problem, words);
}

}  // namespace Orvane
