// Commands that find and edit track breaks, and the step of "digitise" that does.
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>

#include "run_cli.h"

using namespace OrvaneTest;

namespace {

using Times = std::vector<std::pair<double, double>>;  // seconds

Times TimesOf(const nlohmann::json& json) {
    Times times;
    for (const nlohmann::json& track : json["tracks"]) times.emplace_back(track["start_seconds"], track["end_seconds"]);
    return times;
}

void ExpectNear(const Times& found, const Times& wanted) {
    ASSERT_EQ(found.size(), wanted.size()) << testing::PrintToString(found);
    for (size_t i = 0; i < found.size(); ++i) {
        EXPECT_NEAR(found[i].first, wanted[i].first, 0.3) << testing::PrintToString(found);
        EXPECT_NEAR(found[i].second, wanted[i].second, 0.3) << testing::PrintToString(found);
    }
}

}  // namespace

class SplitCommands : public CliTest {
protected:
    // A side of three tracks, and where the scan's lead-in and lead-out put them.
    void MakeTracks(const std::string& name) const {
        MakeSide(name, {{6, 0}, {40, 0.4f}, {3, 0}, {45, 0.4f}, {4, 0}, {35, 0.4f}, {80, 0}});
    }
    const Times kTracks = {{5.8, 47.4}, {48.8, 95.4}, {97.8, 134.4}};

    void MakeAlbum() {
        MakeTracks("side.wav");
        MakeCollection({"side.wav"});
    }
    // "Title 0-47 48-95": the rows in whole seconds.
    std::string Rows() const {
        std::string rows;
        const nlohmann::json tracks = Json({"track", "list", "c.mcf", "1"})["tracks"];
        for (const nlohmann::json& track : tracks) {
            const auto Second = [&](const char* key) { return std::to_string(std::lround(track[key].get<double>())); };
            rows += (rows.empty() ? "" : ", ") + track["title"].get<std::string>() + " " + Second("start_seconds");
            if (track["start"] != track["end"]) rows += "-" + Second("end_seconds");
        }
        return rows;
    }
};

TEST_F(SplitCommands, SplitFindsTheTracksAndAdjustsAListing) {
    MakeAlbum();
    Json({"split", "c.mcf", "1", "--adjust"}, 1);
    ExpectNear(TimesOf(Json({"split", "c.mcf", "1"})), kTracks);
    EXPECT_EQ(Rows(), "Track 1 6-47, Track 2 49-95, Track 3 98-134");

    // A listing by lengths, each up to 20 seconds wrong.
    for (const char* number : {"3", "2", "1"}) Must({"track", "remove", "c.mcf", "1", number});
    const std::pair<const char*, const char*> listing[] = {{"One", "0:58"}, {"Two", "0:34"}, {"Three", "0:55"}};
    for (const auto& [title, length] : listing) {
        Must({"track", "add", "c.mcf", "1", "--title", title, "--length", length});
    }
    EXPECT_EQ(Rows(), "One 0-58, Two 58-92, Three 92-147");
    nlohmann::json json = Json({"split", "c.mcf", "1", "--adjust"});
    ExpectNear(TimesOf(json), kTracks);
    EXPECT_EQ(json["tracks"][2]["title"], "Three");

    // What is not found leaves what there is.
    const std::string before = ReadBytes(folder / "c.mcf");
    EXPECT_NE(Json({"split", "c.mcf", "1", "--set", "Scan Start Level=1000"}, 1)["error"], "");
    EXPECT_EQ(ReadBytes(folder / "c.mcf"), before);
}

TEST_F(SplitCommands, BreaksAreInsertedAndRemoved) {
    MakeAlbum();
    for (const char* title : {"A", "B", "C"}) Must({"track", "add", "c.mcf", "1", "--title", title});
    struct Row {
        std::vector<std::string> words;  // of "break"
        const char* rows;                // null: it fails
    };
    const Row steps[] = {
        {{"insert", "--at", "1:40"}, "A 0-100, B 100, C 100"},
        {{"insert", "--at", "50"}, "A 0-50, B 50-100, C 100"},
        {{"insert", "--at", "9:00"}, nullptr},
        {{"insert", "--at", "75", "--alt"}, "A 0-50, B 50-75, Track 3 75-100, C 100"},
        {{"remove", "--at", "60"}, nullptr},
        {{"remove", "--at", "50.6"}, "A 0-75, B 75-100, Track 3 100, C 100"},
    };
    for (const Row& step : steps) {
        const std::string before = Rows();
        std::vector<std::string> words = {"break", step.words[0], "c.mcf", "1"};
        words.insert(words.end(), step.words.begin() + 1, step.words.end());
        Json(words, step.rows ? 0 : 1);
        EXPECT_EQ(Rows(), step.rows ? step.rows : before) << step.words[0] << step.words[2];
    }
    EXPECT_EQ(Json({"status", "c.mcf", "1", "split into tracks"})["status"], 3);
    Json({"status", "c.mcf", "1", "9"}, 2);
    Json({"track", "set", "c.mcf", "1", "2", "end=75.5"}, 2);
    EXPECT_EQ(Json({"fade", "c.mcf", "1", "2", "in=0.05", "out=60"})["fade_in"], 4410);
    EXPECT_EQ(Json({"track", "list", "c.mcf", "1"})["tracks"][1]["fade_out"], 882000);
}

TEST_F(SplitCommands, DigitiseFindsTheTracksAndNamesThemWhenTheyAgree) {
    MakeTracks("a.wav");
    MakeSide("b.wav", {{100, 0.4f}, {4, 0}, {60, 0.4f}});
    MakeSide("c.wav", {{40, 0}});
    std::vector<std::string> order = {"digitise", "a.wav",   "b.wav",   "c.wav",       "--artist", "A",
                                      "--album",  "T",       "--out",   "out",         "--format", "wav",
                                      "--titles", "six.txt", "--quiet", "--no-declick"};
    folder.Write("six.txt", "One\nTwo\nThree\nFour\nFive\nSix\n");
    nlohmann::json failed = Json(order, 1);
    EXPECT_NE(failed["error"].get<std::string>().find("5 tracks, but six.txt has 6 titles"), std::string::npos);
    EXPECT_EQ(failed["sides"][0]["tracks_found"], 3);
    for (const std::string& file : Files()) EXPECT_FALSE(file.starts_with("out/A - T/")) << file;

    folder.Write("six.txt", "One\nTwo\nThree\nFour\nFive\n");
    nlohmann::json json = Json(order);
    EXPECT_EQ(json["split"]["status"], "kept");
    EXPECT_EQ(json["saved"], 5);
    EXPECT_EQ(json["tracks"][2]["title"], "Three");
    ExpectNear(TimesOf(json), {kTracks[0], kTracks[1], kTracks[2], {218.1, 314.4}, {377, 417}});
    EXPECT_EQ(Json(order)["changed"], false);

    // Killed at its work and run again it ends the same.
    const std::string collection = ReadBytes(folder / "out/A - T.mcf");
    std::filesystem::remove_all(folder / "out");
    RunningCli running(order, folder.Path());
    ASSERT_TRUE(WaitUntilWriting());
    running.Signal(SIGKILL);
    running.Wait();
    Json(order);
    EXPECT_EQ(Json(order)["already_saved"], 5);
    EXPECT_EQ(ReadBytes(folder / "out/A - T.mcf"), collection);
    ExpectNoPartialFiles();
}
