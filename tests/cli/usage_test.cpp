// What a user can get wrong, and where help is found.
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>

#include "cli/commands.h"
#include "cli/texts.h"
#include "run_cli.h"

using namespace OrvaneTest;
using Orvane::CommandTree;

namespace {

// Calls `visit` with every command that does something and the words that lead to it.
template <class Visit>
void ForEachCommand(CLI::App& app, const std::vector<std::string>& words, const Visit& visit) {
    std::vector<CLI::App*> below = app.get_subcommands([](CLI::App*) { return true; });
    if (below.empty()) visit(app, words);
    for (CLI::App* command : below) {
        std::vector<std::string> longer = words;
        longer.push_back(command->get_name());
        ForEachCommand(*command, longer, visit);
    }
}

std::string Joined(const std::vector<std::string>& words) {
    std::string text;
    for (const std::string& word : words) text += (text.empty() ? "" : " ") + word;
    return text;
}

}  // namespace

class Usage : public CliTest {};

TEST_F(Usage, WrongUsageEndsWithTwoAndASentenceThatHelps) {
    MakeCollection({});
    Must({"track", "add", "c.mcf", "1", "--title", "One", "--start", "1", "--end", "5"});
    Must({"track", "add", "c.mcf", "1", "--title", "Two", "--start", "5", "--end", "9"});
    MakeWave("a.wav", 1);
    folder.Write("short.txt", "One\nTwo\n");
    folder.Write("mixed.txt", "0:00 - 0:01 One\nTwo\n");
    folder.Write("clock.txt", "0:00 - 0:00.5 One\n1:99 - 0:37.44 Two\n");
    folder.Write("back.txt", "0:00 - 0:02 One\n0:01 - 0:03 Two\n");
    const std::string before = ReadBytes(folder / "c.mcf");
    const std::vector<std::string> order = {"digitise", "a.wav", "--artist", "A",         "--album",
                                            "T",        "--out", "o",        "--no-split"};
    auto Digitise = [&](const std::string& titles) {
        std::vector<std::string> words = order;
        words.insert(words.end(), {"--titles", titles});
        return words;
    };
    struct Row {
        std::vector<std::string> arguments;
        const char* sentence;
    };
    const Row rows[] = {
        {{}, "A command is required"},
        {{"convert", "a.wav", "b.flac", "--bits", "32"}, "nearest"},
        {{"album"}, "album --help"},
        {{"nosuch"}, "no command \"nosuch\""},
        {{"album", "nosuch"}, "no command \"nosuch\" of orvane-cli album"},
        {{"save", "c.mcf", "--bits", "32f"}, "none of 16, 24, 32"},
        {{"save", "c.mcf", "--rate", "12"}, "nearest they can is 16000 Hz"},
        {{"listing", "c.mcf", "--as", "3"}, "none of m3u"},
        {{"repairs", "list", "c.mcf", "1", "--side", "1", "--start=-5"}, "no whole number from 0"},
        {{"album", "show", "c.mcf", "one"}, "ALBUM"},
        {{"album", "list", "c.mcf", "--loud"}, "--loud"},
        {{"album", "set", "c.mcf", "1", "colour=red"}, "the keys are artist, title"},
        {{"album", "set", "c.mcf", "1", "year=1977", "status=Melted"}, "Melted"},
        {{"track", "set", "c.mcf", "1", "1", "end=7"}, "before track 1 (\"One\") ends"},
        {{"track", "set", "c.mcf", "1", "2", "start=4"}, "Track 2 (\"Two\") would start"},
        {{"track", "set", "c.mcf", "1", "1", "start=6"}, "before it starts"},
        {{"fade", "c.mcf", "1", "1", "in=-2"}, "fade_in"},
        {{"render", "c.mcf", "1", "--track", "1", "out.wav", "--without", "hats"}, "the stages are clicks"},
        {{"render", "c.mcf", "1", "--track", "1", "out.xyz"}, "extension"},
        {{"save", "c.mcf", "--format", "tape"}, "the formats are wav, flac"},
        {{"save", "c.mcf", "--template", "[Colour]"}, "[Colour]"},
        {{"convert", "a.wav", "a.wav"}, "cannot be written"},
        {{"convert", "a.wav", "b.w64"}, "Wave64 files cannot be written"},
        {{"new", "c.txt"}, ".mcf"},
        {Digitise("short.txt"), "2 titles without times for 1 side"},
        {Digitise("mixed.txt"), "line 2"},
        {Digitise("back.txt"), "line 2"},
        {Digitise("none.txt"), "none.txt"},
        {Digitise("clock.txt"), "clock.txt, line 2: it begins like times"},
        {{"digitise", "a.wav", "--artist", "A", "--album", "T", "--out", "o", "--template", "[Nope]"}, "[Nope]"},
        {{"digitise", "a.wav", "--artist", "A", "--album", "T", "--out", "o", "--rate", "999999"}, "384000 Hz"},
    };
    for (const Row& row : rows) {
        CliResult plain = Run(row.arguments);
        EXPECT_EQ(plain.code, 2) << Joined(row.arguments) << "\n" << plain.err;
        EXPECT_EQ(plain.out, "") << Joined(row.arguments);
        EXPECT_NE(plain.err.find(row.sentence), std::string::npos) << Joined(row.arguments) << "\n" << plain.err;
        EXPECT_NE(Json(row.arguments, 2).value("error", "").find(row.sentence), std::string::npos);
    }
    EXPECT_EQ(ReadBytes(folder / "c.mcf"), before);
    EXPECT_EQ(Files(), (std::vector<std::string>{"a.wav", "back.txt", "c.mcf", "c.mcf_bak", "clock.txt", "mixed.txt",
                                                 "short.txt"}));
}

TEST_F(Usage, FailedJobsEndWithOneAndTheReason) {
    Must({"new", "c.mcf"});
    folder.Write("bad.mcf", "no collection\n");
    folder.Write("bad.wav", "RIFF");
    MakeWave("a.wav", 0.5, 96000);
    MakeWave("b.wav", 0.5, 44100);
    MakeWave("two\nlines.wav", 0.5);
    MakeWave("tiny.wav", 0.05);
    const auto digitise = [](const std::vector<std::string>& files) {
        std::vector<std::string> words = {"digitise", "--artist", "A", "--album", "T", "--out", "o/p"};
        words.insert(words.end(), files.begin(), files.end());
        return words;
    };
    struct Row {
        std::vector<std::string> arguments;
        const char* reason;
    };
    const Row rows[] = {
        {{"info", "none.mcf"}, "none.mcf"},
        {{"album", "list", "bad.mcf"}, "not a valid collection"},
        {{"new", "c.mcf"}, "exists already"},
        {{"album", "show", "c.mcf", "1"}, "There is no album 1"},
        {{"probe", "none.wav", "a.wav"}, "1 of 2 files"},
        {{"convert", "a.wav", "no/folder/b.wav"}, "no/folder/b.wav for writing"},
        {{"save", "c.mcf"}, "empty"},
        {digitise({"none.wav"}), "none.wav"},
        {digitise({"a.wav", "bad.wav"}), "bad.wav"},
        {digitise({"a.wav", "b.wav"}), "sample rate"},
        {digitise({"two\nlines.wav"}), "line break"},
        {digitise({"tiny.wav"}), "tiny.wav: This file is too small"},
        {{"probe", "b.mp3"}, "b.mp3"},
        {{"convert", "a.wav", "b.mp3"}, "MP3"},
    };
    for (const Row& row : rows) {
        EXPECT_NE(Json(row.arguments, 1).value("error", "").find(row.reason), std::string::npos)
            << Joined(row.arguments);
    }
    EXPECT_EQ(Files(), (std::vector<std::string>{"a.wav", "b.wav", "bad.mcf", "bad.wav", "c.mcf", "tiny.wav",
                                                 "two\nlines.wav"}));
    EXPECT_FALSE(std::filesystem::exists(folder / "o"));
}

TEST_F(Usage, EveryCommandHasHelpWithAnExampleAndIsInTheManualAndTheCompletion) {
    const std::string root = std::string(ORVANE_TESTS_DIR) + "/../";
    const std::string manual = ReadBytes(root + "docs/orvane-cli.1");
    const std::string completion = ReadBytes(root + "scripts/completion/orvane-cli.bash");
    std::unique_ptr<CommandTree> tree = Orvane::MakeCommandTree();
    int n_commands = 0;
    ForEachCommand(tree->app, {}, [&](CLI::App& app, const std::vector<std::string>& words) {
        ++n_commands;
        EXPECT_NE(app.help().find("Example:\n  orvane-cli " + Joined(words)), std::string::npos) << app.help();
        EXPECT_NE(manual.find(".It Cm " + Joined(words)), std::string::npos) << Joined(words);
        for (const std::string& word : words) EXPECT_NE(completion.find(word), std::string::npos) << word;
        for (const CLI::Option* option : app.get_options()) {
            if (option->get_lnames().empty() || option->get_lnames()[0] == "help") continue;
            EXPECT_NE(completion.find("--" + option->get_lnames()[0]), std::string::npos) << Joined(words);
        }
    });
    EXPECT_GT(n_commands, 15);
    EXPECT_NE(Run({"album", "set", "--help"}).out.find("Example:\n  orvane-cli "), std::string::npos);
    EXPECT_NE(Run({"--version"}).out.find("Orvane V"), std::string::npos);
    EXPECT_NE(Json({"--version"})["program"].get<std::string>().find("Orvane V"), std::string::npos);
    const std::string help = Run({"repairs", "add", "--help"}).out;
    EXPECT_NE(help.find("--channel l|r|lr (required)"), std::string::npos) << help;
}

TEST_F(Usage, BashCompletesCommandsTheirWordsAndOptions) {
    if (!HasTool("bash")) GTEST_SKIP() << "no bash";
    folder.Write("alpha.mcf", "");
    folder.Write("run.sh",
                 "source \"$1\"; shift\n"
                 "compopt() { :; }\n"
                 "COMP_WORDS=(orvane-cli \"$@\") COMP_CWORD=$#\n"
                 "_orvane_cli\n"
                 "echo \"${COMPREPLY[*]}\"\n");
    const std::pair<const char*, const char*> rows[] = {
        {"al", "album"},
        {"album s", "show set"},
        {"filter add al", "alpha.mcf"},
        {"filter add x 1 hu", "hum="},
        {"save al", "alpha.mcf"},
        {"save alpha.mcf --fo", "--format"},
        {"--v", "--version"},
    };
    for (const auto& [words, offered] : rows) {
        std::string out;
        Tool("bash run.sh " ORVANE_TESTS_DIR "/../scripts/completion/orvane-cli.bash " + std::string(words), &out);
        EXPECT_EQ(out, std::string(offered) + "\n") << words;
    }
}

TEST(Texts, TimesAreReadAsTypedAndNothingElseIs) {
    struct Row {
        const char* text;
        double seconds;  // below 0: not a time
    };
    const Row rows[] = {
        {"12.5", 12.5}, {"3:41.5", 221.5}, {"1:02:03", 3723}, {"90:00", 5400}, {"100:59:59", 363599},
        {"", -1},       {"1:60", -1},      {"1:60:00", -1},   {"-1", -1},      {"1:", -1},
        {":30", -1},    {"1.2.3", -1},     {"1s", -1},        {"1e3", -1},     {"12345678901", -1},
    };
    for (const Row& row : rows) {
        int64_t ticks = -1;
        EXPECT_EQ(Orvane::ParseTypedTime(row.text, ticks), row.seconds >= 0) << row.text;
        if (row.seconds >= 0) {
            EXPECT_EQ(ticks, std::llround(row.seconds * 44100)) << row.text;
        }
    }
}
