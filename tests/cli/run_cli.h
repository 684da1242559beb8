// Runs the real program in a folder of its own, as a user's shell would.
#pragma once

#include <gtest/gtest.h>

#include <csignal>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

#include "audio_tools.h"
#include "temp_folder.h"

namespace OrvaneTest {

struct CliResult {
    int code = -1;  // of the exit; 1000 and the signal when one ended it
    std::string out;
    std::string err;

    // The one JSON object on stdout; a failure of the test where it is none.
    nlohmann::json Json() const;
};

// A program that has been started; one at a time in a folder.
class RunningCli {
public:
    RunningCli(std::vector<std::string> arguments, const std::string& folder);
    ~RunningCli();
    RunningCli(const RunningCli&) = delete;
    RunningCli& operator=(const RunningCli&) = delete;

    void Signal(int number) const;
    CliResult Wait();

private:
    pid_t process = -1;
    std::string out_file, err_file;
};

// A folder with a settings store, in which the program runs; relative names in arguments mean files there.
class CliTest : public testing::Test {
protected:
    CliTest();
    CliResult Run(const std::vector<std::string>& arguments) const {
        return RunningCli(arguments, folder.Path()).Wait();
    }
    // Runs it with --json, expects it to end with `code`, and gives the object.
    nlohmann::json Json(std::vector<std::string> arguments, int code = 0) const;
    // The same for a command whose results do not matter.
    void Must(const std::vector<std::string>& arguments) const;

    // Makes the collection c.mcf of one album, "T" of "A", whose sides are these files.
    void MakeCollection(const std::vector<std::string>& sides) const;
    // Makes a WAV file of a tone with some noise.
    void MakeWave(const std::string& name, double seconds, int32_t samplerate = 44100, int32_t bits = 16) const {
        MakeSide(name, {{seconds, 0.4f}}, samplerate, bits);
    }
    // The same of a tone that changes its loudness: stretches of so many seconds at so much of full scale.
    void MakeSide(const std::string& name, const std::vector<std::pair<double, float>>& stretches,
                  int32_t samplerate = 22050, int32_t bits = 16) const;
    // Runs another program; its exit code, or -1 where it is not installed. `out` gets what it prints.
    int Tool(const std::string& command, std::string* out = nullptr) const;
    static bool HasTool(const char* name) { return HaveTools({name}); }
    // Waits until a file that is being written is there; false when none comes.
    bool WaitUntilWriting() const;
    void ExpectNoPartialFiles() const;
    // The paths of all files below the folder, relative to it, the settings left out.
    std::vector<std::string> Files() const;

    TempFolder folder;
};

}  // namespace OrvaneTest
