#include "collection/filehistory.h"

#include <gtest/gtest.h>

#include "collection/crd_file.h"
#include "foundation/reports.h"
#include "live_collection.h"
#include "repairs.h"
#include "riff_builder.h"
#include "scoped_environment.h"

using namespace Foundation;

namespace Orvane {
namespace {

// A WAV file of 16-bit stereo silence.
std::string Wav(int samplerate, uint32_t n_samples) {
    return OrvaneTest::Riff(OrvaneTest::Fmt(1, 2, samplerate, 16) +
                            OrvaneTest::Chunk("data", std::string(4 * n_samples, '\0')));
}

class FileHistory : public ::testing::Test, protected OrvaneTest::LiveCollection {
protected:
    FileHistoryEntry& AddRecording(int samplerate, uint32_t n_samples = 1000) {
        FileHistoryEntry& entry = LiveCollection::AddRecording(*album, 0, Wav(samplerate, n_samples));
        entry.CheckFile();
        set.dirty = false;
        return entry;
    }

    static void AddRepair(FileHistoryEntry& entry, int channel, int64_t start) {
        ClickRepairList& list = entry.click_repairs[channel];
        list.Append(OrvaneTest::MakeRepair(REPAIR_SCANNER, start, std::vector<int16_t>(60), 6).release());
        list.dirty = true;
    }

    static OpenRecording Open(FileHistoryEntry& entry, RecordingUser user) {
        Result<OpenRecording> opened = entry.Open(user);
        EXPECT_TRUE(opened.Ok()) << opened.GetOutcome().Plain();
        return std::move(*opened);
    }

    // The next load reads the file again.
    static void Forget(FileHistoryEntry& entry) {
        entry.click_repairs.Clear();
        entry.corrections_file.SetLoaded(false);
    }

    AlbumInfo* album = Add("A/C", "T: 1");
};

TEST_F(FileHistory, TheFileIsOpenAsLongAsSomebodyHoldsIt) {
    FileHistoryEntry& entry = AddRecording(48000);
    OpenRecording player = Open(entry, USER_PLAY);
    EXPECT_TRUE(std::exchange(set.dirty, false));  // what the file says is stored
    EXPECT_EQ(entry.facts.samplerate, 48000);
    OpenRecording first = Open(entry, USER_WAVEFORM), second = Open(entry, USER_WAVEFORM);
    EXPECT_EQ(album->open_fhe_count, 1);
    first.Close();
    first.Close();
    EXPECT_EQ(entry.active_users, USER_PLAY | USER_WAVEFORM) << "the second of them is still there";
    player = {};
    float pair[2];
    EXPECT_EQ(second.File().Read(0, pair, 1, 0), 1);
    const OpenRecording moved = std::move(second);
    second.Close();
    EXPECT_EQ(entry.active_users, USER_WAVEFORM);
    const_cast<OpenRecording&>(moved).Close();
    EXPECT_FALSE(entry.IsOpen());
    EXPECT_EQ(album->open_fhe_count, 0);
    EXPECT_EQ(entry.TotalSamples(), 1000);

    ASSERT_EQ(RemoveFile(entry.GetPath()), 0);
    EXPECT_TRUE(entry.Open(USER_PLAY).GetOutcome().Is(Kind::CannotOpen));
    EXPECT_EQ(entry.facts.open_status, OPEN_MISSING);
    folder.Write("Mine/A+C~T- 1~side1.wav", "RIFF no wave");
    EXPECT_TRUE(entry.Open(USER_PLAY).GetOutcome().Is(Kind::Contents));
    EXPECT_EQ(entry.active_users, 0u);
}

TEST_F(FileHistory, RepairsAreSavedOnCloseAndLoadedOnUse) {
    FileHistoryEntry& entry = AddRecording(44100, 100000);
    {
        const OpenRecording open = Open(entry, USER_EDIT);
        ASSERT_TRUE(entry.LoadCorrections());
        AddRepair(entry, 1, 2000);
    }
    EXPECT_TRUE(entry.click_repairs[1].empty());
    const OpenRecording open = Open(entry, USER_EDIT);
    ASSERT_TRUE(entry.LoadCorrections());
    ASSERT_EQ(entry.click_repairs[1].size(), 1);
    EXPECT_EQ(entry.click_repairs[1].First()->absolute_start_time, 2000);

    // A private copy has its own lists and saves nothing.
    {
        const RefPtr<FileHistoryEntry> copy = entry.Copy(COPY_CORRECTIONS);
        const OpenRecording open_copy = Open(*copy, USER_SAVE);
        copy->click_repairs[1].Clear();
        copy->click_repairs[1].dirty = true;
    }
    EXPECT_EQ(entry.click_repairs[1].size(), 1);
    EXPECT_TRUE(FileExists(entry.CorrectionsPath()));

    // Without any repairs there is no file.
    entry.click_repairs[1].Clear();
    entry.click_repairs[1].dirty = true;
    const_cast<OpenRecording&>(open).Close();
    EXPECT_FALSE(FileExists(entry.CorrectionsPath()));
}

TEST_F(FileHistory, RepairsThatCannotBeSavedStay) {
    FileHistoryEntry& entry = AddRecording(44100);
    {
        const OpenRecording open = Open(entry, USER_EDIT);
        ASSERT_TRUE(entry.LoadCorrections());
        AddRepair(entry, 0, 100);
        folder.Write("Mine/A+C~T- 1~side1.wav.$$$/in the way", "");
    }
    EXPECT_EQ(TakeReports().size(), 1u);
    EXPECT_EQ(entry.click_repairs[0].size(), 1);
    std::filesystem::remove_all(folder / "Mine/A+C~T- 1~side1.wav.$$$");
    Open(entry, USER_EDIT);
    EXPECT_TRUE(FileExists(entry.CorrectionsPath()));
}

TEST_F(FileHistory, OddCorrectionsFilesAreToldAbout) {
    FileHistoryEntry& entry = AddRecording(44100);
    for (int64_t start : {100, 130, 300}) AddRepair(entry, 0, start);  // two overlap
    const std::string good = WriteCrd(entry.click_repairs);
    entry.click_repairs[0].Clear();
    struct {
        std::string name;  // behind "side1"
        std::string bytes;
        bool good;
        const char* message;
        int n_repairs;
        std::set<std::string> left;  // likewise
    } const rows[] = {
        {".wav.crd", "12345678901", true, nullptr, 0, {}},
        {".wav.crd", "XXXX" + good.substr(4), false, "valid CRD header", 0, {}},
        {".wav.crd", good.substr(0, 4) + "\x04" + good.substr(5), false, "later version", 0, {".wav.crd"}},
        {".wav.crd", good.substr(0, 200), false, "has been kept as", 0, {".wav.crd.damaged"}},
        {".wav.crd", good, true, "1 repairs were removed", 2, {".wav.crd"}},
        {".crd", good, true, "1 repairs were removed", 2, {".crd"}},
    };
    const std::string beginning = "A+C~T- 1~side1";
    for (const auto& row : rows) {
        SCOPED_TRACE(row.message ? row.message : "short");
        folder.Write("Mine/" + beginning + row.name, row.bytes);
        // A job, which only reads, leaves the file where it is.
        Forget(entry);
        EXPECT_EQ(entry.Copy(COPY_SETTINGS)->LoadCorrections().Ok(), row.good);
        EXPECT_EQ(OrvaneTest::ReadBytes(folder / ("Mine/" + beginning + row.name)), row.bytes);
        TakeReports();
        const Outcome loaded = entry.LoadCorrections();
        EXPECT_EQ(loaded.Ok(), row.good);
        const std::vector<Outcome> reports = TakeReports();
        EXPECT_EQ(reports.size(), row.good && row.message ? 1u : 0u);
        const std::string text = loaded.Plain() + (reports.empty() ? "" : reports[0].Plain());
        EXPECT_NE(text.find(row.message ? row.message : ""), std::string::npos) << text;
        EXPECT_EQ(entry.click_repairs[0].size(), row.n_repairs);
        EXPECT_EQ(entry.CorrectionsLoaded(), row.good);
        std::set<std::string> left;
        for (const char* name : {".wav.crd", ".crd", ".wav.crd.damaged"}) {
            if (std::filesystem::remove(folder / ("Mine/" + beginning + name))) left.insert(name);
        }
        EXPECT_EQ(left, row.left);
    }
}

TEST_F(FileHistory, AFaultThatStaysIsToldOnce) {
    FileHistoryEntry& entry = AddRecording(44100);
    for (int64_t start : {100, 130}) AddRepair(entry, 0, start);
    folder.Write("Mine/A+C~T- 1~side1.wav.crd", WriteCrd(entry.click_repairs));
    gAlbumSet = nullptr;  // as in a collection that is only read: the file stays damaged
    for (const size_t n_told : {1u, 0u, 0u}) {
        Forget(entry);
        EXPECT_TRUE(entry.LoadCorrections());
        EXPECT_EQ(TakeReports().size(), n_told);
    }
    gAlbumSet = &set;
}

TEST_F(FileHistory, OlderNamesGiveWay) {
    FileHistoryEntry& entry = AddRecording(44100);
    AddRepair(entry, 0, 100);
    const std::string old_name = folder.Write("Mine/A+C~T- 1~side1.crd", WriteCrd(entry.click_repairs));
    AddRepair(entry, 0, 300);
    ASSERT_TRUE(entry.SaveCorrections());
    Forget(entry);
    ASSERT_TRUE(entry.LoadCorrections());
    EXPECT_EQ(entry.click_repairs[0].size(), 2);
    entry.click_repairs[0].Clear();
    ASSERT_TRUE(entry.SaveCorrections());
    EXPECT_TRUE(FileExists(old_name)) << "another recording's, for all we know";
    Forget(entry);
    ASSERT_TRUE(entry.LoadCorrections());
    EXPECT_TRUE(entry.click_repairs[0].empty()) << "deleted repairs would come back";

    ASSERT_EQ(RemoveFile(entry.CorrectionsPath()), 0);
    folder.Write("Mine/A+C~T- 1~side1.flac", "another recording");
    folder.Write("Mine/A+C~T- 1~side1.wav", Wav(44100, 1001));
    EXPECT_TRUE(entry.CheckFile());
    EXPECT_TRUE(FileExists(old_name));
    Forget(entry);
    ASSERT_TRUE(entry.LoadCorrections());
    EXPECT_TRUE(entry.click_repairs[0].empty()) << "they are of the file before";
}

TEST_F(FileHistory, AnotherFileMakesWhatWasDerivedStale) {
    // Two seconds are a step of the file system's clock.
    for (const auto& [n_samples, seconds, waveform, corrections] :
         {std::tuple{1000, 2, true, true}, {1000, 5, false, true}, {1001, 5, false, false}}) {
        FileHistoryEntry& entry = AddRecording(44100);
        folder.Write("Mine/orvfiles/A+C~T- 1~side1.wav.wfd", "waveform");
        folder.Write("Mine/A+C~T- 1~side1.wav.crd", "corrections");
        const uint32_t generation = entry.generation;
        const FileTime time = entry.facts.file_time + seconds * kFileTimeSecond;
        folder.Write("Mine/A+C~T- 1~side1.wav", Wav(44100, n_samples));
        ASSERT_EQ(SetFileTime(entry.GetPath(), time), 0);
        EXPECT_EQ(entry.CheckFile(), !waveform);
        EXPECT_EQ(FileExists(entry.WaveformPath(".wfd")), waveform);
        EXPECT_EQ(FileExists(entry.CorrectionsPath()), corrections);
        EXPECT_EQ(entry.generation == generation, waveform);
        EXPECT_FALSE(entry.CheckFile());
    }
    FileHistoryEntry& entry = AddRecording(44100);
    folder.Write("Mine/A+C~T- 1~side1.wav.crd", "corrections");
    ASSERT_EQ(RemoveFile(entry.GetPath()), 0);
    EXPECT_FALSE(entry.CheckFile()) << "a missing file loses nothing";
    EXPECT_TRUE(FileExists(entry.CorrectionsPath()));
}

TEST_F(FileHistory, RepairsOfAnotherFileAreNeitherUsedNorLost) {
    FileHistoryEntry& entry = AddRecording(44100);
    AddRepair(entry, 0, 100);
    ASSERT_TRUE(entry.SaveCorrections());
    folder.Write("Mine/A+C~T- 1~side1.wav", Wav(44100, 1001));
    gAlbumSet = nullptr;  // as in a collection that is only read
    {
        const OpenRecording open = Open(entry, USER_PLAY);
        EXPECT_TRUE(entry.LoadCorrections());
        EXPECT_TRUE(entry.click_repairs[0].empty());
        EXPECT_EQ(TakeReports().size(), 1u);
        const RefPtr<FileHistoryEntry> copy = entry.Copy(COPY_SETTINGS);
        EXPECT_TRUE(copy->LoadCorrections());
        EXPECT_TRUE(copy->click_repairs[0].empty());
    }
    EXPECT_TRUE(FileExists(entry.CorrectionsPath()));
    gAlbumSet = &set;

    const OrvaneTest::ScopedEnvironment no_trash("XDG_DATA_HOME", folder.Write("data", "no folder"));
    const OpenRecording open = Open(entry, USER_PLAY);
    EXPECT_TRUE(entry.LoadCorrections());
    EXPECT_TRUE(entry.click_repairs[0].empty());
    const std::string told = TakeReports().back().Plain();
    EXPECT_TRUE(told.ends_with("wav.crd.old")) << told;
    EXPECT_FALSE(FileExists(entry.CorrectionsPath()));
    EXPECT_TRUE(FileExists(entry.CorrectionsPath() + ".old"));
}

}  // namespace
}  // namespace Orvane
