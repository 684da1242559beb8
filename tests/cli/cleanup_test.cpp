// Commands that clean a side: what they enter is what is heard, and what they take out again is gone without a trace.
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>

#include "run_cli.h"

using namespace OrvaneTest;
using Words = std::vector<std::string>;

namespace {

constexpr size_t kFrameBytes = 4;
constexpr int kRate = 44100;

}  // namespace

class Cleanup : public CliTest {
protected:
    void SetUp() override {
        Must({"new", "c.mcf"});
        AddSide("1", "1", "a.wav");
    }
    // A side of three seconds with two clicks in each channel, at frames 30000, 60000 and, on the right, 100 later; the
    // first half second is nothing but noise.
    void AddSide(const std::string& album, const std::string& side, const std::string& name) {
        MakeWave(name, 3);
        std::string bytes = ReadBytes(folder / name);
        const size_t data = bytes.find("data") + 8;
        for (size_t i = 0; i < kRate / 2 * kFrameBytes; i += 2) bytes[data + i + 1] = i % 14 ? 0 : 1;
        for (const size_t at : {30000, 60000}) {
            for (size_t k = 0; k < 12; ++k) {
                for (size_t channel = 0; channel < 2; ++channel) {
                    bytes[data + (at + k + 100 * channel) * kFrameBytes + 2 * channel + 1] = k % 3 ? 90 : -100;
                }
            }
        }
        folder.Write(name, bytes);
        if (side == "1") Must({"album", "add", "c.mcf", "--artist", "A", "--title", album});
        Must({"recording", "add", "c.mcf", album, "--side", side, name});
    }
    // The command on side 1 of album 1, its other words behind it.
    static Words OnSide(Words command, const Words& rest = {}) {
        command.insert(command.end(), {"c.mcf", "1", "--side", "1"});
        command.insert(command.end(), rest.begin(), rest.end());
        return command;
    }
    nlohmann::json Repairs(int channel) const { return Json(OnSide({"repairs", "list"}))["click_repairs"][channel]; }
    // The samples that the chain gives.
    std::string Heard() const {
        Must(OnSide({"render"}, {"heard.wav"}));
        const std::string bytes = ReadBytes(folder / "heard.wav");
        return bytes.substr(bytes.find("data") + 8);
    }
    static std::string Frames(const std::string& samples, size_t from, size_t to) {
        return samples.substr(from * kFrameBytes, (to - from) * kFrameBytes);
    }
};

TEST_F(Cleanup, ScansGiveTheSameEachTimeAndKeepWhatWasMadeByHand) {
    const nlohmann::json scan = Json({"declick", "c.mcf", "1"});
    EXPECT_EQ(scan["repaired"], Repairs(0).size() + Repairs(1).size());
    int n_right = 0;
    for (const nlohmann::json& repair : Repairs(1)) {
        EXPECT_EQ(repair["repair_type"], 2);
        const int64_t start = repair["absolute_start_time"], end = repair["absolute_end_time"];
        for (const int64_t at : {30100, 60100}) n_right += start <= at + 4 && end >= at + 8;
    }
    EXPECT_EQ(n_right, 2);
    const std::string crd = ReadBytes(folder / "a.wav.crd");

    Must(OnSide({"repairs", "add"}, {"--channel", "r", "--start", "90000", "--end", "90040"}));
    Must(OnSide({"repairs", "remove"}, {"--channel", "1", "--start", "30105"}));
    EXPECT_NE(ReadBytes(folder / "a.wav.crd"), crd);
    Must({"declick", "c.mcf", "1"});
    const nlohmann::json by_hand =
        Json(OnSide({"repairs", "list"}, {"--start", "90000", "--end", "90040"}))["click_repairs"][1];
    ASSERT_EQ(by_hand.size(), 1u);
    EXPECT_EQ(by_hand[0]["repair_type"], 1);
    EXPECT_EQ(by_hand[0]["absolute_end_time"], 90040);
    Must(OnSide({"repairs", "remove"}, {"--channel", "lr", "--start", "90010"}));
    EXPECT_TRUE(ReadBytes(folder / "a.wav.crd") == crd) << "the scan found again what was removed";
    Must({"declick", "c.mcf", "1", "--no-keep-manual", "--passes", "1"});
    EXPECT_TRUE(ReadBytes(folder / "a.wav.crd") == crd);
    Json(OnSide({"repairs", "add"}, {"--channel", "r", "--start", "90000", "--end", "90413"}), 2);
    Json(OnSide({"cut", "add"}, {"--from", "0", "--to", "3"}), 2);
    Json(OnSide({"filter", "add"}, {"hum=55"}), 2);

    const nlohmann::json sides = Json(
        {"digitise", "a.wav", "--artist", "A", "--album", "B", "--out", "out", "--no-declick"})["declick"]["sides"];
    EXPECT_EQ(sides[0]["repairs_there"], scan["repaired"]) << "repairs from before are applied, and it is told";
}

TEST_F(Cleanup, ABatchGoesOnBehindASideThatCannotBeScannedAndLeavesOutWhatWasScanned) {
    AddSide("2", "1", "b.wav");
    AddSide("2", "2", "d.wav");
    std::filesystem::rename(folder / "b.wav", folder / "gone.wav");
    Must({"preset", "scan", "Soft, twice", "--sensitivity", "2", "--passes", "2"});
    const Words scan = {"declick", "c.mcf", "1", "2", "--preset", "soft, TWICE", "--if-new"};
    auto Statuses = [](const nlohmann::json& result) {
        std::string text;
        for (const nlohmann::json& side : result["sides"]) text += side["status"].get<std::string>() + ",";
        return text;
    };
    EXPECT_EQ(Statuses(Json(scan, 1)), "scanned,failed,scanned,");
    std::filesystem::rename(folder / "gone.wav", folder / "b.wav");
    EXPECT_EQ(Statuses(Json(scan)), "scanned before,scanned,scanned before,");
    Words louder = scan;
    louder.insert(louder.end(), {"--sensitivity", "4"});
    EXPECT_EQ(Statuses(Json(louder)), "scanned,scanned,scanned,");
    // Nor does a side count as scanned whose repairs are gone.
    const std::string crd = ReadBytes(folder / "a.wav.crd");
    const std::function<void()> losses[] = {
        [&] { std::filesystem::remove(folder / "a.wav.crd"); },
        [&] {
            folder.Write("a.wav.crd", "CRDX" + crd.substr(4));
            Run(louder);  // tells that it is damaged
        },
        [&] { MakeWave("a.wav", 4); },
    };
    for (const auto& lose : losses) {
        lose();
        EXPECT_EQ(Statuses(Json(louder)), "scanned,scanned before,scanned before,") << &lose - losses;
    }
    Must({"preset", "remove", "scan", "Soft, twice"});
    EXPECT_EQ(Run(scan).code, 2);
}

TEST_F(Cleanup, APatchIsHeardInItsStretchAloneAndGoesFromBothSides) {
    const std::string before = Heard();
    const Words at = {"--start", "59900", "--end", "62000"};
    auto PatchBy = [&](const char* method) {
        Words words = OnSide({"patch"}, at);
        words.insert(words.end(), {"--method", method, "--replace"});
        return words;
    };
    std::string best;
    for (const char* method : {"apa", "ar", "fft", "best"}) {
        best = Json(PatchBy(method))["method"];
        EXPECT_TRUE(method == std::string("best") || best == method);
        const std::string after = Heard();
        EXPECT_TRUE(Frames(after, 0, 59900) == Frames(before, 0, 59900)) << method;
        EXPECT_TRUE(Frames(after, 62000, 3 * kRate) == Frames(before, 62000, 3 * kRate)) << method;
        EXPECT_TRUE(Frames(after, 59900, 62000) != Frames(before, 59900, 62000)) << method;
    }
    EXPECT_NE(Json(OnSide({"patch"}, at), 1)["error"].get<std::string>().find("already"), std::string::npos);
    EXPECT_EQ(Repairs(0).size(), 1u);
    Must(OnSide({"repairs", "remove"}, {"--channel", "r", "--start", "60000"}));
    EXPECT_EQ(Repairs(0).size(), 0u);
    EXPECT_TRUE(Heard() == before);
}

TEST_F(Cleanup, EditsThatCannotBeWrittenFail) {
    Must({"declick", "c.mcf", "1"});
    folder.Write("a.wav.$$$/in the way", "");
    const std::pair<Words, Words> edits[] = {
        {{"repairs", "add"}, {"--channel", "r", "--start", "90000", "--end", "90040"}},
        {{"repairs", "remove"}, {"--channel", "lr", "--start", "30005"}},
        {{"patch"}, {"--start", "90000", "--end", "92000"}},
    };
    for (const auto& [command, rest] : edits) {
        const std::string error = Json(OnSide(command, rest), 1)["error"];
        EXPECT_NE(error.find("$$$"), std::string::npos) << error;
    }
}

TEST_F(Cleanup, ListsShowWhatTheSettingsSayAndCountTheRest) {
    Must({"declick", "c.mcf", "1", "--sensitivity", "7"});
    Must(OnSide({"patch"}, {"--start", "90000", "--end", "92000", "--channels", "l"}));
    const size_t all = Repairs(0).size() + Repairs(1).size();
    const nlohmann::json shown = Json(OnSide({"repairs", "list"}, {"--set", "Show Clicks=0"}));
    ASSERT_EQ(shown["click_repairs"][0].size() + shown["click_repairs"][1].size(), 1u);
    EXPECT_EQ(shown["click_repairs"][0][0]["repair_type"], 3);
    EXPECT_EQ(shown["not_shown"], all - 1);
}

TEST_F(Cleanup, CurvesKeptOfOneSideAreAddedToAnother) {
    AddSide("2", "1", "b.wav");
    EXPECT_EQ(Run({"curve", "add", "c.mcf", "2", "--side", "1", "--kept", "default"}).code, 1);
    for (const char* name : {"riaa", "nab"}) Must(OnSide({"curve", "add"}, {name}));
    Must(OnSide({"curve", "keep"}, {"--as", "default"}));
    Must({"curve", "add", "c.mcf", "2", "--side", "1", "--kept", "default"});
    EXPECT_EQ(Json({"curve", "list", "c.mcf", "2", "--side", "1"})["curves"],
              Json(OnSide({"curve", "list"}))["curves"]);
}

TEST_F(Cleanup, TurningRumbleOffUnderTheHissFilterIsRemarkedOn) {
    const std::tuple<const char*, Words, bool> edits[] = {
        {"add", {"rumble=on"}, false},
        {"add", {"rumble=off", "--from", "2", "--to", "3"}, false},
        {"add", {"hiss=4", "noise=0,0.5"}, false},
        {"add", {"rumble=off", "--from", "2.5", "--to", "3"}, false},
        {"add", {"rumble=off", "--from", "1", "--to", "3"}, true},
        {"remove", {"5"}, false},
        {"remove", {"1"}, true},
    };
    for (const auto& [command, words, told] : edits) {
        EXPECT_EQ(Json(OnSide({"filter", command}, words)).contains("remarks"), told) << command << " " << words[0];
    }
}

TEST_F(Cleanup, EachFilterCurveAndCutIsHeardWhereItIsWantedAndCanBeTakenBack) {
    folder.Write("eq.xml",
                 "<equalizationeffect><curve name=\"Bright, new\"><point f=\"100\" d=\"0\"/><point f=\"5000\" "
                 "d=\"9\"/></curve></equalizationeffect>");
    Must({"preset", "import", "eq.xml"});
    Must({"preset", "filter", "Cellar", "rumble=on", "preamp=-30,-30"});
    Must(OnSide({"filter", "noise"}, {"quiet.vns", "--from", "0", "--to", "0.5"}));
    struct Row {
        const char* group;
        Words words;
        const char* listed;  // the array of the group's list
    };
    const Row rows[] = {
        {"filter", {"hum=50", "harmonics=1"}, "filters"},
        {"filter", {"rumble=dc", "--from", "1", "--to", "2"}, "filters"},
        {"filter", {"eq=0,0,12,0,0,0,0,0,0,0", "--from", "1", "--to", "2"}, "filters"},
        {"filter", {"--preset", "cellar", "--from", "1", "--to", "2"}, "filters"},
        {"filter", {"hiss=8", "noise=quiet.vns"}, "filters"},
        {"curve", {"riaa"}, "curves"},
        {"curve", {"bright, new", "--from", "1", "--to", "2"}, "curves"},
        {"cut", {"--from", "1", "--to", "2", "--splice", "25"}, "cuts"},
    };
    const std::string before = Heard();
    for (const Row& row : rows) {
        const std::string what = row.group + std::string(" ") + row.words[0];
        Must(OnSide({row.group, "add"}, row.words));
        EXPECT_EQ(Json(OnSide({row.group, "list"}))[row.listed].size(), 1u) << what;
        const std::string after = Heard();
        EXPECT_TRUE(Frames(after, kRate, 2 * kRate) != Frames(before, kRate, 2 * kRate)) << what;
        if (row.words.size() > 3) {
            EXPECT_TRUE(Frames(after, 0, kRate - kRate / 20) == Frames(before, 0, kRate - kRate / 20)) << what;
            const size_t third = 21 * kRate / 10 * kFrameBytes;
            EXPECT_TRUE(before.ends_with(after.substr(after.size() + third - 3 * kRate * kFrameBytes))) << what;
        }
        Must(OnSide({row.group, "remove"}, {"1"}));
        EXPECT_TRUE(Heard() == before) << what;
    }
    auto HeardWith = [&](const char* noise) {
        Must(OnSide({"filter", "add"}, {"hiss=8", noise}));
        const std::string heard = Heard();
        Must(OnSide({"filter", "remove"}, {"1"}));
        return heard;
    };
    EXPECT_TRUE(HeardWith("noise=quiet.vns") == HeardWith("noise=0,0.5"));
}
