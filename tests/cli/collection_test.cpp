// Commands that read and change a collection.
#include <gtest/gtest.h>

#include <filesystem>

#include "foundation/filelock.h"
#include "foundation/platform.h"
#include "run_cli.h"

using namespace OrvaneTest;

class Collections : public CliTest {
protected:
    void SetUp() override {
        Must({"new", "c.mcf"});
        Must({"album", "add", "c.mcf", "--artist", "Beta", "--title", "Late"});
        Must({"album", "add", "c.mcf", "--artist", "Alpha \"12\"", "--title", "Früh, laut", "--year", "1977", "--genre",
              "Folk"});
    }
};

TEST_F(Collections, AlbumsAreNumberedInListOrderAndChangedByTheNamesOfTheirFields) {
    nlohmann::json list = Json({"album", "list", "c.mcf"});
    ASSERT_EQ(list["albums"].size(), 2u);
    EXPECT_EQ(list["albums"][0]["title"], "Früh, laut");
    EXPECT_EQ(list["albums"][1]["number"], 2);

    nlohmann::json changed = Json({"album", "set", "c.mcf", "2", "artist=Aaron", "title=Late|Later", "status=Cleaned",
                                   "single=1", "notes=two\nlines"});
    EXPECT_EQ(changed["number"], 1) << "the list has been sorted again";
    nlohmann::json shown = Json({"album", "show", "c.mcf", "1"});
    EXPECT_EQ(shown["artist"], "Aaron");
    EXPECT_EQ(shown["status"], 4);
    EXPECT_EQ(shown["single"], true);
    EXPECT_EQ(shown["tracks"].size(), 2u) << "one for each name of a single's title";
    EXPECT_EQ(shown["notes"], "two\nlines");

    Must({"album", "remove", "c.mcf", "1"});
    list = Json({"album", "list", "c.mcf"});
    ASSERT_EQ(list["albums"].size(), 1u);
    EXPECT_EQ(list["albums"][0]["artist"], "Alpha \"12\"");
}

TEST_F(Collections, TracksFindTheirPlaceInTimeAndUnsetOnesStayBehind) {
    Must({"track", "add", "c.mcf", "1", "--title", "Unset"});
    Must({"track", "add", "c.mcf", "1", "--title", "Second", "--start", "0:20", "--end", "0:30.5"});
    Must({"track", "add", "c.mcf", "1", "--title", "First", "--start", "1", "--end", "20", "--artist", "Guest"});
    Must({"fade", "c.mcf", "1", "2", "in=0.5", "out=2"});
    Must({"fade", "c.mcf", "1", "2", "in=0"});
    nlohmann::json tracks = Json({"track", "list", "c.mcf", "1"})["tracks"];
    ASSERT_EQ(tracks.size(), 3u);
    EXPECT_EQ(tracks[0]["title"], "First");
    EXPECT_EQ(tracks[0]["artist"], "Guest");
    EXPECT_EQ(tracks[1]["start"], 20 * 44100);
    EXPECT_EQ(tracks[1]["filter_flags"], 2);
    EXPECT_EQ(tracks[1]["fade_end"], 32.5 * 44100);
    EXPECT_EQ(tracks[2]["start"], tracks[1]["end"]);
    // A row that gets times goes to its place, or is refused there; so does one that loses them.
    Json({"track", "set", "c.mcf", "1", "3", "start=15", "end=25"}, 2);
    EXPECT_EQ(Json({"track", "set", "c.mcf", "1", "3", "start=0", "end=1"})["number"], 1);
    EXPECT_EQ(Json({"track", "set", "c.mcf", "1", "1", "end=0"})["number"], 3);
    EXPECT_EQ(Json({"track", "move", "c.mcf", "1", "3", "3"})["title"], "Unset");
    Must({"track", "remove", "c.mcf", "1", "1", "--close-gap"});
    EXPECT_EQ(Json({"track", "list", "c.mcf", "1"})["tracks"][0]["start"], 44100) << "moved back by the first's 19 s";
    Must({"break", "clear", "c.mcf", "1"});
    EXPECT_EQ(Json({"track", "list", "c.mcf", "1"})["tracks"][0]["end"], 0);
}

TEST_F(Collections, RecordingsStayWhereTheyAreOrAreCopied) {
    MakeWave("one.wav", 2);
    MakeWave("two.wav", 3);
    MakeWave("other.wav", 1, 48000);
    Must({"recording", "add", "c.mcf", "1", "--side", "1", "one.wav"});
    nlohmann::json copied = Json({"recording", "add", "c.mcf", "1", "--side", "3", "two.wav", "--copy"});
    EXPECT_EQ(copied["path"], folder / "c/Alpha 12~Früh, laut~side3.wav");
    EXPECT_TRUE(ReadBytes(copied["path"]) == ReadBytes(folder / "two.wav"));

    const std::string before = ReadBytes(folder / "c.mcf");
    EXPECT_NE(Json({"recording", "add", "c.mcf", "1", "--side", "1", "one.wav"}, 1)["error"], "");
    EXPECT_NE(Json({"recording", "add", "c.mcf", "1", "--side", "2", "other.wav"}, 1)["error"], "");
    Json({"recording", "add", "c.mcf", "1", "--side", "31", "two.wav"}, 1);
    EXPECT_EQ(ReadBytes(folder / "c.mcf"), before);

    // Its file follows the album's name.
    Must({"album", "set", "c.mcf", "1", "artist=Alba"});
    EXPECT_TRUE(ReadBytes(folder / "c/Alba~Früh, laut~side3.wav") == ReadBytes(folder / "two.wav"));

    // It gets its name back when the collection cannot be saved.
    folder.Write("new.cue", "PERFORMER Zoe\nFILE one.wav WAVE\nTRACK 01 AUDIO\nINDEX 01 00:00:00\n");
    ASSERT_EQ(Foundation::SetReadOnly(folder / "c.mcf", true), 0);
    Json({"album", "set", "c.mcf", "1", "artist=Zoe"}, 1);
    Json({"cue", "read", "c.mcf", "1", "new.cue"}, 1);
    Json({"recording", "add", "c.mcf", "1", "--side", "3", "two.wav", "--copy"}, 1);
    ASSERT_EQ(Foundation::SetReadOnly(folder / "c.mcf", false), 0);
    EXPECT_EQ(Json({"info", "c.mcf"})["missing"], nlohmann::json::array());

    nlohmann::json album = Json({"album", "show", "c.mcf", "1"});
    EXPECT_EQ(album["status_text"], "Recorded");
    ASSERT_EQ(album["sides"].size(), 3u);
    EXPECT_TRUE(album["sides"][1].is_null());
    EXPECT_EQ(album["sides"][0]["history"][0]["path"], folder / "one.wav");
    EXPECT_EQ(album["sides"][2]["history"][0]["total_samples"], 3 * 44100);

    std::filesystem::remove(folder / "one.wav");
    nlohmann::json info = Json({"info", "c.mcf"});
    EXPECT_EQ(info["recordings"], 2);
    EXPECT_EQ(info["missing"], nlohmann::json::array({folder / "one.wav"}));
    const nlohmann::json removed = Json({"album", "remove", "c.mcf", "1", "--recordings"});
    EXPECT_EQ(removed["trashed"].size(), 1u) << "the copy, and not the user's own";
    EXPECT_TRUE(std::filesystem::is_empty(folder / "c")) << "nor did a copy stay that no collection names";
}

TEST_F(Collections, ReadingLeavesFileAndSettingsAsTheyAre) {
    MakeWave("one.wav", 1);
    Must({"recording", "add", "c.mcf", "1", "--side", "1", "one.wav"});
    Must({"track", "add", "c.mcf", "1", "--title", "One", "--start", "0", "--end", "1"});
    Must({"settings", "set", "Steering File", "/mine.mcf"});
    const std::string collection = ReadBytes(folder / "c.mcf");
    const std::string settings = ReadBytes(folder / ".config/settings");
    MakeWave("one.wav", 2);  // it has changed since
    for (const std::vector<std::string>& words :
         std::vector<std::vector<std::string>>{{"info", "c.mcf"},
                                               {"album", "list", "c.mcf"},
                                               {"album", "show", "c.mcf", "1"},
                                               {"track", "list", "c.mcf", "1"},
                                               {"render", "c.mcf", "1", "--track", "1", "out.wav"}}) {
        Must(words);
    }
    EXPECT_EQ(ReadBytes(folder / "c.mcf"), collection);
    EXPECT_EQ(ReadBytes(folder / ".config/settings"), settings);
}

TEST_F(Collections, TheSecondCommandOnACollectionSaysWhoHoldsIt) {
    const std::string before = ReadBytes(folder / "c.mcf");
    {
        Foundation::FileLock lock;
        ASSERT_TRUE(lock.Acquire(folder / "c.mcf"));
        for (const std::vector<std::string>& words :
             {std::vector<std::string>{"album", "set", "c.mcf", "1", "year=1980"}, {"album", "list", "c.mcf"}}) {
            EXPECT_NE(std::string(Json(words, 1)["error"]).find("process " + std::to_string(getpid())),
                      std::string::npos);
        }
    }
    // Nor is a read-only file written without asking.
    ASSERT_EQ(Foundation::SetReadOnly(folder / "c.mcf", true), 0);
    EXPECT_NE(Json({"album", "set", "c.mcf", "1", "year=1980"}, 1)["error"], "");
    EXPECT_EQ(ReadBytes(folder / "c.mcf"), before);
    ASSERT_EQ(Foundation::SetReadOnly(folder / "c.mcf", false), 0);
    Must({"album", "set", "c.mcf", "1", "year=1980"});
    EXPECT_FALSE(std::filesystem::exists(folder / "c.mcf.lock"));
}
