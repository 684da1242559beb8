#include "save/save_selection.h"

#include <gtest/gtest.h>

#include "collection/dataobjects.h"
#include "fake_hosts.h"
#include "foundation/progress.h"
#include "foundation/settings.h"
#include "temp_folder.h"
#include "tesslib/wavfile.h"

namespace Orvane {
namespace {

using OrvaneTest::FakeMessageHost;
using OrvaneTest::FakeProgressHost;
using OrvaneTest::TempFolder;

class Selection : public testing::Test {
protected:
    Selection() {
        OpenSettings(folder / "config");
        options.file_format = FF_FLAC;
        WAVFile file;
        std::vector<float> pairs(2 * kFrames);
        for (int i = 0; i < kFrames; ++i) pairs[2 * i] = pairs[2 * i + 1] = Value(i);
        file.SetSBC(44100, 16, 2);
        file.Open(folder / "side.wav", OM_CREATE);
        file.Write(pairs.data(), kFrames);
        file.Close();
        recording->external_file = folder / "side.wav";
        recording->extension = ".wav";
        recording->flags |= FHE_EXTERNAL_FILE;
        recording->samplerate = 44100;
        recording->bits = 16;
    }
    static float Value(int frame) { return static_cast<float>(frame) / 32767.0f; }

    SaveTrackStatus Save(int64_t start, int64_t end, const std::string& name) {
        FakeProgressHost progress;
        Progress::Begin("Saving");
        SaveTrackStatus status = SaveSelection(*recording, start, end, options, folder / name);
        Progress::End();
        return status;
    }

    static constexpr int kFrames = 30000;
    TempFolder folder;
    AlbumInfo album;
    RefPtr<FileHistoryEntry> recording{new FileHistoryEntry(&album, nullptr)};
    FileOptions options = FileOptions::Load(OptionsContext::SaveSelection);
    FakeMessageHost messages;
};

TEST_F(Selection, IsSavedAsItIsHeardAndRemembered) {
    recording->cuts.Add(10000, 15000, 0, 44100);
    ASSERT_EQ(Save(9000, 12000, "out/part.flac"), SAVE_DONE);
    int error = 0;
    RefPtr<FileStream> saved = OpenForReading(folder / "out/part.flac", error);
    ASSERT_TRUE(saved);
    std::vector<float> pairs(2 * 4000);
    ASSERT_EQ(saved->Read(0, pairs.data(), 4000, 0), 3000);
    for (int i = 0; i < 3000; ++i) ASSERT_NEAR(pairs[2 * i], Value(i < 1000 ? 9000 + i : 14000 + i), 1e-6) << i;
    EXPECT_NE(messages.asked.at(0).text.find("part.flac</b>\n\nsaved successfully"), std::string::npos);
    const SelectionDialog next = SelectionDialogFor("Song");
    EXPECT_EQ(next.title, "Save Track: Song");
    EXPECT_EQ(next.folder, folder / "out");
    EXPECT_EQ(next.file_format, FF_FLAC);
}

TEST_F(Selection, AFailureIsToldAndTheRecordingIsSafe) {
    options.file_format = FF_WAV;
    const std::string before = OrvaneTest::ReadBytes(folder / "side.wav");
    EXPECT_EQ(Save(0, 100, "side.wav"), SAVE_FAILED);
    EXPECT_TRUE(OrvaneTest::ReadBytes(folder / "side.wav") == before);
    EXPECT_NE(messages.asked.at(0).text.find("never changed"), std::string::npos);
    recording->external_file = folder / "gone.wav";
    EXPECT_EQ(Save(0, 100, "part.wav"), SAVE_FAILED);
    EXPECT_NE(messages.asked.at(1).text.find("gone.wav"), std::string::npos);
    EXPECT_FALSE(folder.Listing().count("part.wav"));
}

TEST_F(Selection, OddNamesAreAskedAbout) {
    struct Case {
        std::string name;
        Answer answer;
        bool accepted;
        std::string becomes;
        const char* key;  // null: nothing is asked
    };
    const std::string long_name = "/" + std::string(252, 'x') + ".flac";
    for (const Case& c : {Case{"/a.b/song", Answer::Ok, true, "/a.b/song.flac", nullptr},
                          {"/song.FLAC", Answer::Ok, true, "/song.FLAC", nullptr},
                          {"/song.wav", Answer::No, false, "/song.wav", ""},
                          {"/song.wav", Answer::Yes, true, "/song.wav", ""},
                          {long_name, Answer::Ok, false, long_name, "Warn Filename Too Long"}}) {
        messages.asked.clear();
        messages.script = {c.answer};
        std::string name = c.name;
        EXPECT_EQ(AcceptSelectionName(name, FF_FLAC), c.accepted) << c.name;
        EXPECT_EQ(name, c.becomes);
        ASSERT_EQ(messages.asked.size(), c.key ? 1u : 0u) << c.name;
        if (c.key) {
            EXPECT_EQ(messages.asked[0].hide_key, c.key);
        }
    }
}

}  // namespace
}  // namespace Orvane
