// Cue sheets and listings from the command line, as other programs read them.
#include <gtest/gtest.h>

#include <filesystem>

#include "run_cli.h"

using namespace OrvaneTest;

class Sheets : public CliTest {
protected:
    void SetUp() override {
        MakeWave("one.wav", 10.25);
        MakeWave("two.wav", 8);
        Must({"new", "c.mcf"});
        Must({"album", "add", "c.mcf", "--artist", "A \"12\" & B", "--title", "Früh; laut"});
        Must({"recording", "add", "c.mcf", "1", "--side", "1", "one.wav", "--copy"});
        Must({"recording", "add", "c.mcf", "1", "--side", "2", "two.wav"});
        Must({"track", "add", "c.mcf", "1", "--title", "x, \"y\"; <z>", "--start", "0.1", "--end", "4.01"});
        Must({"track", "add", "c.mcf", "1", "--title", "Two", "--start", "4.01", "--end", "9"});
        Must({"track", "add", "c.mcf", "1", "--title", "Three", "--start", "11.25", "--end", "18"});
    }
};

TEST_F(Sheets, OtherProgramsReadThem) {
    const std::string sheet = Json({"cue", "write", "c.mcf", "1"})["file"];
    EXPECT_EQ(sheet, folder / "c/A 12 & B - Früh; laut.cue") << "beside the first recording";
    std::string out;
    if (HasTool("cueprint")) {
        EXPECT_EQ(Tool("cueprint -d '%P|%T|%N\\n' -t '%n %t\\n' '" + sheet + "'", &out), 0);
        EXPECT_EQ(out, "A '12' & B|Früh; laut|3\n1 x, 'y'; <z>\n2 Two\n3 Three\n");
        EXPECT_EQ(Tool("cuebreakpoints '" + sheet + "'", &out), 0);
        EXPECT_EQ(out, "0:04.00\n0:01.00\n") << "the third begins a second into its own file";
    }
    if (!HasTool("python3")) GTEST_SKIP() << "python3 is not installed";
    Must({"listing", "c.mcf", "1", "--as", "csv", "list.csv"});
    Must({"listing", "c.mcf", "1", "--as", "WPL", "list"});
    EXPECT_EQ(Tool("python3 -c \"import csv, xml.etree.ElementTree as x\n"
                   "rows = list(csv.DictReader(open('" +
                       folder / "list.csv" +
                       "', newline='', encoding='utf-8')))\n"
                       "print(rows[0]['Track Title'], rows[2]['Album Artist'], rows[2]['Album Side'], sep='|')\n"
                       "root = x.parse('" +
                       folder / "list.wpl" +
                       "').getroot()\n"
                       "print(root.find('head/title').text, [m.get('src') for m in root.iter('media')][0], sep='|')\"",
                   &out),
              0);
    EXPECT_EQ(out, "x, \"y\"; <z>|A \"12\" & B|02\nA \"12\" & B - Früh; laut|C:\\A 12 & B - Früh; laut\\x, y; z\n");
}

TEST_F(Sheets, OfAllAlbumsAreOneJobThatTellsWhatFailed) {
    Must({"album", "add", "c.mcf", "--artist", "Z", "--title", "Empty"});
    nlohmann::json written = Json({"cue", "write", "c.mcf"}, 1);
    EXPECT_EQ(written["files"].size(), 2u);
    EXPECT_TRUE(std::filesystem::exists(written["files"][0]["file"]));
    EXPECT_EQ(written["error"], "1 of 2 files could not be written: Album: Z - Empty has no tracks.");
    Must({"listing", "c.mcf", "--as", "m3u", "--out", "lists"});
    EXPECT_TRUE(ReadBytes(folder / "lists/A 12 & B - Früh; laut.m3u").starts_with("#EXTM3U\r\n#EXTINF:4,"));
    EXPECT_EQ(Run({"listing", "c.mcf", "--as", "m3u"}).code, 2);
    EXPECT_EQ(Run({"listing", "c.mcf", "--as", "txt"}).out,
              "A \"12\" & B - Früh; laut\n------------------------------\n1. x, \"y\"; <z>\n2. Two\n3. Three\n\n"
              "Z - Empty\n------------------------------\n");
}

TEST_F(Sheets, AreReadBackOrSayWhatIsWrong) {
    Must({"cue", "write", "c.mcf", "1", "out/s"});
    const nlohmann::json before = Json({"track", "list", "c.mcf", "1"});
    Must({"cue", "read", "c.mcf", "1", "out/s.cue"});
    EXPECT_EQ(Json({"track", "list", "c.mcf", "1"}), before);

    // Recordings of one name, of which only the second lies beside the sheet.
    std::filesystem::create_directory(folder / "b");
    MakeWave("b/one.wav", 9);
    Must({"album", "add", "c.mcf", "--artist", "Z", "--title", "B"});
    Must({"recording", "add", "c.mcf", "2", "--side", "1", "one.wav"});
    Must({"recording", "add", "c.mcf", "2", "--side", "2", "b/one.wav"});
    Must({"track", "add", "c.mcf", "2", "--title", "One", "--start", "0", "--end", "5"});
    Must({"track", "add", "c.mcf", "2", "--title", "Two", "--start", "11", "--end", "15"});
    const nlohmann::json both = Json({"track", "list", "c.mcf", "2"});
    Must({"cue", "write", "c.mcf", "2", "b/s.cue"});
    Must({"cue", "read", "c.mcf", "2", "b/s.cue"});
    EXPECT_EQ(Json({"track", "list", "c.mcf", "2"}), both);

    const std::string collection = ReadBytes(folder / "c.mcf");
    folder.Write("bad.cue", "TITLE \"New\"\nFILE \"one.wav\" WAVE\nTRACK 01 AUDIO\n  INDEX 01 soon\n");
    EXPECT_EQ(Json({"cue", "read", "c.mcf", "1", "bad.cue"}, 1)["error"],
              "Incomplete INDEX statement In file: " + folder / "bad.cue" + " at line 4");
    Json({"cue", "write", "c.mcf", "1", "two.wav"}, 1);
    Json({"listing", "c.mcf", "1", "--as", "txt", "c.mcf"}, 1);
    EXPECT_EQ(ReadBytes(folder / "c.mcf"), collection);
    EXPECT_TRUE(ReadBytes(folder / "two.wav").starts_with("RIFF"));

    folder.Write("other.cue", "FILE \"whole.wav\" WAVE\nTRACK 01 AUDIO\nTITLE \"All\"\nINDEX 01 00:01:00\n");
    MakeWave("whole.wav", 12);
    const nlohmann::json read = Json({"cue", "read", "c.mcf", "1", "other.cue"});
    ASSERT_EQ(read["tracks"].size(), 1u);
    EXPECT_EQ(read["tracks"][0]["end_seconds"], 12) << "the end of the file that the sheet names";
}
