// What the parser of the command line says, in Orvane's words: its checks of values, its complaints and its help.
#pragma once

#include <CLI/CLI.hpp>
#include <cstdint>
#include <string>
#include <vector>

namespace Orvane {

// Makes a value that is one of these words in any case that word; to be put in by transform().
CLI::Validator OneOf(std::vector<std::string> words);
// Checks that a value is a whole number from `low` to `high`; INT64_MAX is no limit.
CLI::Validator Between(int64_t low, int64_t high);

// Help that marks the options that must be given.
class HelpFormatter : public CLI::Formatter {
public:
    HelpFormatter();

private:
    std::string make_option_name(const CLI::Option* option, bool positional) const override;
    std::string make_option_opts(const CLI::Option* option) const override;
    std::string make_option_usage(const CLI::Option* option) const override;
};

// What is wrong with words that `app` could not parse, and where help is found. One sentence.
std::string UsageProblem(const CLI::App& app, const CLI::ParseError& error);

}  // namespace Orvane
