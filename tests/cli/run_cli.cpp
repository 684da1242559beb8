#include "run_cli.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <filesystem>
#include <random>
#include <thread>

#include "stream_checks.h"
#include "tesslib/wavfile.h"

extern char** environ;

namespace OrvaneTest {
namespace {

bool IsPartial(const std::string& name) {
    return name.find("_$$$") != std::string::npos;
}

}  // namespace

nlohmann::json CliResult::Json() const {
    nlohmann::json json = nlohmann::json::parse(out, nullptr, false);
    EXPECT_TRUE(json.is_object()) << "stdout is no JSON object: " << out;
    return json.is_object() ? json : nlohmann::json::object();
}

RunningCli::RunningCli(std::vector<std::string> arguments, const std::string& folder)
    : out_file(folder + "/.out"), err_file(folder + "/.err") {
    arguments.insert(arguments.begin(), ORVANE_CLI_PATH);
    std::vector<char*> words;
    for (std::string& argument : arguments) words.push_back(argument.data());
    words.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addchdir_np(&actions, folder.c_str());
    posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, 1, out_file.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    posix_spawn_file_actions_addopen(&actions, 2, err_file.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
    const int failure = posix_spawn(&process, ORVANE_CLI_PATH, &actions, nullptr, words.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    EXPECT_EQ(failure, 0) << "cannot start " << ORVANE_CLI_PATH;
    if (failure != 0) process = -1;
}

RunningCli::~RunningCli() {
    if (process < 0) return;
    kill(process, SIGKILL);
    waitpid(process, nullptr, 0);
}

void RunningCli::Signal(int number) const {
    if (process > 0) kill(process, number);
}

CliResult RunningCli::Wait() {
    CliResult result;
    int status = 0;
    if (process < 0 || waitpid(process, &status, 0) != process) return result;
    process = -1;
    result.code = WIFEXITED(status) ? WEXITSTATUS(status) : 1000 + WTERMSIG(status);
    result.out = ReadBytes(out_file);
    result.err = ReadBytes(err_file);
    return result;
}

CliTest::CliTest() {
    setenv("ORVANE_CONFIG_HOME", (folder / ".config").c_str(), 1);
    setenv("HOME", folder.Path().c_str(), 1);
}

nlohmann::json CliTest::Json(std::vector<std::string> arguments, int code) const {
    arguments.emplace_back("--json");
    CliResult result = Run(arguments);
    EXPECT_EQ(result.code, code) << result.err;
    nlohmann::json json = result.Json();
    EXPECT_EQ(json.contains("error"), code != 0) << result.out;
    return json;
}

void CliTest::Must(const std::vector<std::string>& arguments) const {
    CliResult result = Run(arguments);
    ASSERT_EQ(result.code, 0) << result.err;
}

void CliTest::MakeCollection(const std::vector<std::string>& sides) const {
    Must({"new", "c.mcf"});
    Must({"album", "add", "c.mcf", "--artist", "A", "--title", "T"});
    for (size_t i = 0; i < sides.size(); ++i) {
        Must({"recording", "add", "c.mcf", "1", "--side", std::to_string(i + 1), sides[i]});
    }
}

void CliTest::MakeSide(const std::string& name, const std::vector<std::pair<double, float>>& stretches,
                       int32_t samplerate, int32_t bits) const {
    std::vector<float> pairs;
    std::minstd_rand random(7);
    std::uniform_real_distribution<float> noise(-0.01f, 0.01f);
    double end = 0;
    for (const auto& [seconds, level] : stretches) {
        end += seconds;
        const auto until = static_cast<size_t>(std::lround(end * samplerate)) * 2;
        for (size_t i = pairs.size(); i < until; ++i) {
            const float tone = std::sin(static_cast<float>(i / 2 % 4410) * 0.0628f * (i % 2 ? 1.0f : 2.0f));
            pairs.push_back(level * tone + noise(random));
        }
    }
    Tesslib::WAVFile file;
    WriteFile(file, folder / name, {bits, samplerate, 2}, pairs);
}

int CliTest::Tool(const std::string& command, std::string* out) const {
    const std::string name = folder / ".tool";
    const int code = Shell("cd '" + folder.Path() + "' && { " + command + " ; } >'" + name + "' 2>&1");
    if (out) *out = ReadBytes(name);
    return code;
}

bool CliTest::WaitUntilWriting() const {
    for (int i = 0; i < 4000; ++i) {
        for (const std::string& file : Files()) {
            if (IsPartial(file) && std::filesystem::path(file).extension() != ".mcf") return true;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return false;
}

void CliTest::ExpectNoPartialFiles() const {
    for (const std::string& file : Files()) EXPECT_FALSE(IsPartial(file)) << file;
}

std::vector<std::string> CliTest::Files() const {
    std::vector<std::string> files;
    std::error_code ignored;  // files come and go while a program runs
    for (std::filesystem::recursive_directory_iterator entry(folder.Path(), ignored), end; entry != end;
         entry.increment(ignored)) {
        std::string name = entry->path().string().substr(folder.Path().size() + 1);
        if (entry->is_regular_file(ignored) && name.front() != '.') files.push_back(name);
    }
    std::sort(files.begin(), files.end());
    return files;
}

}  // namespace OrvaneTest
