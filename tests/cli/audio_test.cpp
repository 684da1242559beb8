// Commands that read and write audio.
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>

#include "run_cli.h"

using namespace OrvaneTest;

namespace {

// The bytes of a 16-bit stereo WAV file's samples, from one second to another; all of them without an end. Any other
// depth counts in 4 bytes to a pair too.
std::string Samples(const std::string& path, double from = 0, double to = -1) {
    const std::string bytes = ReadBytes(path);
    const size_t data = bytes.find("data") + 8;
    auto Offset = [](double seconds) { return static_cast<size_t>(std::llround(seconds * 44100)) * 4; };
    return bytes.substr(data + Offset(from), to < 0 ? std::string::npos : Offset(to) - Offset(from));
}

}  // namespace

class Audio : public CliTest {
protected:
    // An album of two sides of ten seconds each and four tracks; the third crosses from one side to the other.
    void MakeAlbum() {
        MakeWave("side1.wav", 10);
        MakeWave("side2.wav", 10);
        MakeCollection({"side1.wav", "side2.wav"});
        const char* times[][2] = {{"0", "4"}, {"4", "8"}, {"8", "12.5"}, {"13", "19"}};
        for (int i = 0; i < 4; ++i) {
            Must({"track", "add", "c.mcf", "1", "--title", "Track " + std::to_string(i + 1), "--start", times[i][0],
                  "--end", times[i][1]});
        }
    }
};

TEST_F(Audio, ConversionsWithoutLossKeepEverySampleForOtherProgramsToo) {
    struct Row {
        const char* name;
        int bits;  // of the source
        const char* written;
    };
    const Row rows[] = {{"a.flac", 16, "16"}, {"b.flac", 24, "24"}, {"c.aiff", 16, "16"},
                        {"d.wav", 16, "24"},  {"e.wav", 24, "32f"}, {"f.wav", 16, "32"}};
    for (const Row& row : rows) {
        MakeWave("in.wav", 0.7, 44100, row.bits);
        EXPECT_EQ(Json({"convert", "in.wav", row.name, "--bits", row.written})["total_samples"], 30870) << row.name;
        Must({"convert", row.name, "back.wav", "--bits", std::to_string(row.bits)});
        EXPECT_TRUE(Samples(folder / "back.wav") == Samples(folder / "in.wav")) << row.name;
        // Floats have no one scale that all programs agree on.
        if (!HasTool("sox") || row.name == std::string("e.wav")) continue;
        // Widening differs between programs, so the comparison is at the source's depth.
        const std::string depth = " -t raw -e signed -b " + std::to_string(row.bits) + " ";
        EXPECT_EQ(Tool("sox -D " + std::string(row.name) + depth + "x.raw && sox -D in.wav" + depth +
                       "y.raw && cmp x.raw y.raw"),
                  0)
            << row.name;
    }
    EXPECT_EQ(Json({"convert", "in.wav", "out.flac", "--rate", "48000", "--bits", "24"})["total_samples"], 33600);
}

TEST_F(Audio, RenderWritesTheTrackSampleForSampleAndOverNoRecording) {
    MakeAlbum();
    auto Bytes = [&](const char* name, double from, double to) { return Samples(folder / name, from, to); };
    // The third track, from second 8 of side 1 to second 2.5 of side 2: its bytes lie in the two files.
    EXPECT_EQ(Json({"render", "c.mcf", "1", "--track", "3", "three.wav"})["total_samples"], 4.5 * 44100);
    EXPECT_TRUE(Bytes("three.wav", 0, 4.5) == Bytes("side1.wav", 8, 10) + Bytes("side2.wav", 0, 2.5));

    Must({"fade", "c.mcf", "1", "1", "out=2"});
    Must({"render", "c.mcf", "1", "--track", "1", "faded.wav"});
    Must({"render", "c.mcf", "1", "--track", "1", "plain.wav", "--without", "faders,clicks"});
    EXPECT_TRUE(Bytes("faded.wav", 4, 6) != Bytes("side1.wav", 4, 6));
    EXPECT_TRUE(Bytes("plain.wav", 0, 6) == Bytes("side1.wav", 0, 6));
    const std::string recording = ReadBytes(folder / "side1.wav");
    Json({"render", "c.mcf", "1", "--track", "1", "side1.wav"}, 2);
    EXPECT_TRUE(ReadBytes(folder / "side1.wav") == recording);
}

TEST_F(Audio, ATrackThatCannotBeSavedFailsTheCommandAndLeavesTheOthers) {
    MakeAlbum();
    Must({"track", "add", "c.mcf", "1", "--title", "Not yet"});
    Must({"track", "set", "c.mcf", "1", "2", "excluded=1"});
    const std::vector<std::string> save = {"save", "c.mcf", "--format", "wav", "--out", "tracks", "--threads", "2"};
    std::filesystem::create_directories(folder / "tracks/A - T/03 - Track 3.wav/in the way");
    nlohmann::json json = Json(save, 1);
    std::string statuses;
    for (const nlohmann::json& track : json["tracks"]) statuses += track["status"].get<std::string>() + ",";
    EXPECT_EQ(statuses, "saved,skipped,failed,saved,skipped,");
    EXPECT_EQ(json["skipped"], 2);
    EXPECT_EQ(json["failed"], 1);
    EXPECT_EQ(json["tracks"][0]["file"], folder / "tracks/A - T/01 - Track 1.wav");
    EXPECT_NE(json["tracks"][4]["message"], "");
    ExpectNoPartialFiles();
    std::filesystem::remove_all(folder / "tracks/A - T/03 - Track 3.wav");
    EXPECT_EQ(Json(save)["already_saved"], 2) << "a track without a break is no failure";
    for (int i = 0; i < 4; ++i) Must({"track", "remove", "c.mcf", "1", "1"});
    EXPECT_EQ(Json(save, 1)["error"], "There is nothing to save: album 1 (A - T) has no track breaks yet");
}

TEST_F(Audio, NothingIsSavedAsIfRepairsThatCannotBeReadWereNotThere) {
    MakeAlbum();
    const std::string crd = "CRDX" + std::string(20, '\0');
    folder.Write("side2.wav.crd", crd);
    const nlohmann::json shown = Json({"album", "show", "c.mcf", "1"});
    EXPECT_EQ(shown["remarks"].size(), 1u);
    EXPECT_TRUE(shown["sides"][1]["history"][0]["corrections"]["click_repairs"].is_null());
    const std::string text = Json({"render", "c.mcf", "1", "--track", "4", "x.wav"}, 1)["error"];
    EXPECT_NE(text.find("side2.wav.crd"), std::string::npos) << text;
    Json({"render", "c.mcf", "1", "--side", "2", "x.wav"}, 1);
    Must({"render", "c.mcf", "1", "--track", "4", "x.wav", "--without", "clicks"});
    Must({"render", "c.mcf", "1", "--track", "1", "x.wav"});
    EXPECT_EQ(ReadBytes(folder / "side2.wav.crd"), crd);

    const nlohmann::json saved = Json({"save", "c.mcf", "--format", "wav", "--out", "out"}, 1);
    std::string statuses;
    for (const nlohmann::json& track : saved["tracks"]) statuses += track["status"].get<std::string>() + ",";
    EXPECT_EQ(statuses, "saved,saved,failed,failed,");
    EXPECT_NE(saved["error"].get<std::string>().find("CRD header"), std::string::npos) << saved["error"];
    EXPECT_FALSE(std::filesystem::exists(folder / "side2.wav.crd"));
}

TEST_F(Audio, CtrlCEndsAJobWithoutHalfAFile) {
    MakeWave("long.wav", 120);
    MakeCollection({"long.wav"});
    Must({"track", "add", "c.mcf", "1", "--title", "Long", "--start", "0", "--end", "120"});
    const std::vector<std::vector<std::string>> jobs = {
        {"save", "c.mcf", "--format", "flac", "--rate", "96000", "--out", "tracks", "--json"},
        {"convert", "long.wav", "copy.flac", "--rate", "96000", "--json"},
        {"render", "c.mcf", "1", "--side", "1", "side.flac", "--rate", "96000", "--json"},
    };
    for (const std::vector<std::string>& job : jobs) {
        RunningCli running(job, folder.Path());
        ASSERT_TRUE(WaitUntilWriting()) << job[0];
        running.Signal(SIGINT);
        CliResult result = running.Wait();
        EXPECT_EQ(result.code, 3) << job[0] << result.err;
        EXPECT_EQ(result.Json()["error"], "Cancelled") << job[0];
        ExpectNoPartialFiles();
    }
    for (const char* file : {"copy.flac", "side.flac", "tracks/A - T/01 - Long.flac"}) {
        EXPECT_FALSE(std::filesystem::exists(folder / file)) << file;
    }
}

TEST_F(Audio, ProbeShowsCommentsAndTellsOfAFileThatEndsEarly) {
    MakeWave("a.wav", 2);
    for (const char* copy : {"a.ogg", "a.aiff"}) Must({"convert", "a.wav", copy});
    const std::string id3(
        "id3 \x24\0\0\0ID3\3\0\0\0\0\0\x1A"
        "COMM\0\0\0\x10\0\0\1eng\xFF\xFE"
        "d\0\0\0\xFF\xFEH\0i\0",
        44);
    const std::string list("LIST\x12\0\0\0INFOINAM\x05\0\0\0Song\0\0", 26);
    const std::string wav = ReadBytes(folder / "a.wav") + list;
    const std::string ogg = ReadBytes(folder / "a.ogg");
    struct Row {
        const char* file;
        std::string bytes;
        bool ends_early;
        const char* comment;
    };
    const Row rows[] = {
        {"whole.wav", wav, false, "INAM=Song"},
        {"cut.wav", wav.substr(0, 100000), true, nullptr},
        {"tagged.wav", ReadBytes(folder / "a.wav") + id3, false, "COMM=Hi"},
        {"named.aiff", ReadBytes(folder / "a.aiff") + std::string("NAME\0\0\0\4Song", 12), false, "NAME=Song"},
        {"whole.ogg", ogg, false, "ENCODER=Orvane"},
        {"cut.ogg", ogg.substr(0, ogg.size() - 40), true, "ENCODER=Orvane"},
    };
    for (const Row& row : rows) {
        folder.Write(row.file, row.bytes);
        const nlohmann::json json = Json({"probe", row.file});
        const nlohmann::json& probed = json["files"][0];
        EXPECT_EQ(probed["ends_early"], row.ends_early) << json;
        EXPECT_EQ(json.contains("remarks"), row.ends_early) << json;
        EXPECT_EQ(probed["comments"].size(), row.comment ? 1u : 0u) << json;
        if (row.comment) {
            EXPECT_NE(probed["comments"].dump().find(row.comment), std::string::npos) << json;
        }
    }
}

class DigitiseCommand : public CliTest {};

TEST_F(DigitiseCommand, MakesAnAlbumOnceAndSaysSoTheSecondTime) {
    MakeWave("side1.wav", 8);
    MakeWave("side2.wav", 6);
    folder.Write("titles.txt",
                 "# both sides\n0:00.5 - 0:03 First Song\n0:03.5 - 0:10 Across: the/Sides\n10 - 15 Last\n");
    const std::vector<std::string> order = {"digitise",   "side1.wav", "side2.wav", "--artist", "The Examples",
                                            "--album",    "First",     "--year",    "1977",     "--titles",
                                            "titles.txt", "--format",  "flac",      "--out",    "out"};
    nlohmann::json json = Json(order);
    EXPECT_EQ(json["saved"], 3);
    EXPECT_EQ(json["tracks"][2]["end_seconds"], 14.0) << "no track is longer than the recordings";
    EXPECT_EQ(json["remarks"].size(), 1u);
    EXPECT_EQ(json["sides"][1]["start"], 8 * 44100);
    EXPECT_EQ(json["declick"]["sides"][1]["status"], "scanned");
    const std::vector<std::string> files = Files();
    ASSERT_EQ(files.size(), 11u);
    EXPECT_EQ(files[0], "out/The Examples - First.mcf");
    EXPECT_EQ(files[3], "out/The Examples - First/02 - Across- the+Sides.flac");
    EXPECT_EQ(files[5], "out/The Examples - First/The Examples - First.cue");
    EXPECT_EQ(files[9], "side2.wav.crd");
    const nlohmann::json probed = Json({"probe", files[3]})["files"][0];
    EXPECT_NE(probed["comments"].dump().find("\"TITLE=Across: the/Sides\""), std::string::npos) << probed;
    EXPECT_EQ(probed["comments"].dump().find("ORVT"), std::string::npos) << "the private tag is no comment";
    if (HasTool("metaflac")) {
        std::string tags;
        Tool("metaflac --export-tags-to=- 'out/The Examples - First/02 - Across- the+Sides.flac'", &tags);
        for (const char* tag : {"TITLE=Across: the/Sides\n", "ALBUM=First\n", "ARTIST=The Examples\n", "DATE=1977\n",
                                "TRACKNUMBER=2\n"}) {
            EXPECT_NE(tags.find(tag), std::string::npos) << tag << " in\n" << tags;
        }
    }

    const std::string collection = ReadBytes(folder / files[0]);
    nlohmann::json again = Json(order);
    EXPECT_EQ(again["changed"], false);
    EXPECT_EQ(again["declick"]["sides"][1]["status"], "scanned before");
    EXPECT_EQ(again["already_saved"], 3);
    EXPECT_EQ(Files(), files);
    EXPECT_EQ(ReadBytes(folder / files[0]), collection);
    EXPECT_NE(Run(order).out.find("already saved: nothing has changed"), std::string::npos);
    folder.Write("titles.txt", "0:00.5 - 0:03 First Song\n0:03.5 - 0:10 Renamed\n10 - 14 Last\n");
    EXPECT_EQ(Json(order)["saved"], 1) << "the renamed track alone";
}

TEST_F(DigitiseCommand, WithoutTitlesASideIsATrackAndACollectionCanHoldMore) {
    MakeWave("a.wav", 2);
    MakeWave("b.wav", 3);
    MakeWave("c.wav", 2);
    folder.Write("bad.wav", "not audio");
    const auto digitise = [&](const char* album, std::vector<std::string> words, int code = 0) {
        words.insert(words.begin(), "digitise");
        for (const char* word : {"--artist", "A", "--album", album, "--collection", "all.mcf", "--out", "out"}) {
            words.emplace_back(word);
        }
        return Json(words, code);
    };
    digitise("Bad", {"a.wav", "bad.wav"}, 1);
    EXPECT_FALSE(std::filesystem::exists(folder / "all.mcf")) << "no collection is left behind";
    EXPECT_EQ(digitise("Single", {"a.wav", "--no-declick", "--no-split"})["tracks"][0]["title"], "Single");
    nlohmann::json two = digitise("Double", {"a.wav", "b.wav", "--format", "wav"});
    EXPECT_EQ(two["tracks"][1]["title"], "Side 2");
    EXPECT_EQ(two["tracks"][1]["start_seconds"], 2.0);
    EXPECT_EQ(Json({"album", "list", "all.mcf"})["albums"].size(), 2u);
    EXPECT_EQ(Json({"probe", "out/A - Double/02 - Side 2.wav"})["files"][0]["total_samples"], 3 * 44100);
    // Another album of that name gets a sheet of its own, once.
    for (bool changed : {true, false}) {
        const nlohmann::json other = digitise("Double", {"c.wav", "--no-split"});
        EXPECT_EQ(other["cue_sheet"], folder / "out/A - Double/A - Double (2).cue");
        EXPECT_EQ(other["changed"], changed);
        two = digitise("Double", {"a.wav", "b.wav", "--format", "wav"});
        EXPECT_EQ(two["cue_sheet"], folder / "out/A - Double/A - Double.cue");
        EXPECT_EQ(two["changed"], false);
    }
}
