// Waveform files and the picture of a side, from the command line.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "run_cli.h"

using namespace OrvaneTest;
namespace fs = std::filesystem;

class Waveform : public CliTest {
protected:
    void MakeAlbum() {
        MakeWave("side1.wav", 20);
        Must({"new", "c.mcf"});
        Must({"album", "add", "c.mcf", "--artist", "A", "--title", "T"});
        // One file may be the recording of several sides.
        for (const char* side : {"1", "2"}) Must({"recording", "add", "c.mcf", "1", "--side", side, "side1.wav"});
    }
    std::string Statuses() {
        std::string statuses;
        const nlohmann::json json = Json({"waveform", "c.mcf", "1"});
        for (const auto& side : json["sides"]) statuses += side.value("status", "") + ", ";
        return statuses;
    }
};

TEST_F(Waveform, FilesAreMadeOnceAndAgainAfterAnInterruptOrForANewerRecording) {
    MakeAlbum();
    EXPECT_EQ(Statuses(), "made, made, ");
    EXPECT_EQ(Statuses(), "already there, already there, ");
    EXPECT_EQ(fs::file_size(folder / "orvfiles/side1.wav.wfd"), 20 * 44100 / 64 * 8 + 8u);
    // Hours of silence that take no room on the disk.
    fs::resize_file(folder / "side1.wav", 0xf0000000);
    const uint32_t size = 0xf0000000 - 44;
    std::fstream(folder / "side1.wav", std::ios::in | std::ios::out | std::ios::binary)
        .seekp(40)
        .write(reinterpret_cast<const char*>(&size), 4);
    const fs::path half = folder / "orvfiles/side1.wav_$$$.wfd";
    for (const auto& [signal, code] : {std::pair(SIGINT, 3), {SIGKILL, 1000 + SIGKILL}}) {
        RunningCli run({"waveform", "c.mcf", "1"}, folder.Path());
        std::error_code none;
        for (int i = 0; i < 2000 && (!fs::exists(half) || fs::file_size(half, none) == 0); ++i) usleep(5000);
        run.Signal(signal);
        EXPECT_EQ(run.Wait().code, code);
    }
    fs::resize_file(folder / "side1.wav", 44 + 4 * 640000);
    fs::last_write_time(folder / "side1.wav", fs::file_time_type::clock::now() + std::chrono::seconds(10));
    EXPECT_EQ(Statuses(), "made, made, ");
    EXPECT_EQ(fs::file_size(folder / "orvfiles/side1.wav.wfd"), 80000u);
    EXPECT_EQ(Statuses(), "already there, already there, ");
}

TEST_F(Waveform, ASideIsDrawnAtAnyZoom) {
    MakeAlbum();
    Must({"track", "add", "c.mcf", "1", "--title", "One", "--start", "1", "--end", "25"});
    struct Row {
        std::vector<std::string> arguments;
        int code;
        const char* reason;
    };
    const Row rows[] = {
        {{"--side", "2", "--png", "a.png"}, 0, ""},
        {{"--side", "1", "--png", "b.png", "--from", "3", "--to", "4"}, 0, ""},
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
    for (const auto& [name, width] : {std::pair("a.png", 2000), {"b.png", 2000}, {"c.png", 400}}) {
        const std::string png = ReadBytes(folder / name);
        ASSERT_EQ(png.substr(0, 4), "\x89PNG");
        EXPECT_EQ(static_cast<uint8_t>(png[18]) * 256 + static_cast<uint8_t>(png[19]), width);
    }
}
