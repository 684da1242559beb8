// Waveform files and the picture of a side, from the command line.
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>

#include "run_cli.h"

using namespace OrvaneTest;
namespace fs = std::filesystem;

class Waveform : public CliTest {
protected:
    void SetUp() override {
        MakeWave("side1.wav", 20);
        MakeCollection({"side1.wav", "side1.wav"});  // one file may be the recording of several sides
    }
    std::string Statuses() {
        std::string statuses;
        const nlohmann::json json = Json({"waveform", "c.mcf", "1"});
        for (const auto& side : json["sides"]) statuses += side.value("status", "") + ", ";
        return statuses;
    }
};

TEST_F(Waveform, FilesAreMadeOnceAndAgainForANewerRecording) {
    for (const double seconds : {20, 10}) {
        MakeWave("side1.wav", seconds);
        fs::last_write_time(folder / "side1.wav",
                            fs::file_time_type::clock::now() + std::chrono::minutes(seconds == 10));
        EXPECT_EQ(Statuses(), "made, made, ");
        EXPECT_EQ(Statuses(), "already there, already there, ");
        EXPECT_EQ(fs::file_size(folder / "orvfiles/side1.wav.wfd"),
                  static_cast<uintmax_t>(std::ceil(seconds * 44100 / 64)) * 8);
    }
}

TEST_F(Waveform, ASideIsDrawnAtAnyZoom) {
    Must({"track", "add", "c.mcf", "1", "--title", "One", "--start", "1", "--end", "25"});
    struct Row {
        std::vector<std::string> arguments;
        int code;
        const char* reason;
    };
    const Row rows[] = {
        {{"--side", "2", "--png", "a.png"}, 0, ""},
        {{"--side", "1", "--png", "c.png", "--from", "3", "--to", "3.001", "--width", "400"}, 0, ""},
        {{"--png", "p.png"}, 2, "--side says which"},
        {{"--side", "1", "--png", "side1.wav"}, 2, "ends in .png"},
        {{"--side", "3"}, 1, "Side 3"},
        {{"--side", "1", "--png", "p.png", "--from", "30"}, 2, "ends at 0:20"},
        {{"--side", "1", "--png", "none/p.png"}, 1, "none/p.png"},
    };
    for (const Row& row : rows) {
        std::vector<std::string> words = {"waveform", "c.mcf", "1"};
        words.insert(words.end(), row.arguments.begin(), row.arguments.end());
        const CliResult result = Run(words);
        EXPECT_EQ(result.code, row.code) << row.reason;
        EXPECT_NE(result.err.find(row.reason), std::string::npos) << result.err;
    }
    for (const auto& [name, width] : {std::pair("a.png", 2000), {"c.png", 400}}) {
        const std::string png = ReadBytes(folder / name);
        ASSERT_EQ(png.substr(0, 4), "\x89PNG");
        EXPECT_EQ(static_cast<uint8_t>(png[18]) * 256 + static_cast<uint8_t>(png[19]), width);
    }
}
