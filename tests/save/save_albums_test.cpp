#include "save/save_albums.h"

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "fake_hosts.h"
#include "foundation/path.h"
#include "foundation/progress.h"
#include "foundation/settings.h"
#include "save/trackstream.h"
#include "temp_folder.h"
#include "tesslib/wavfile.h"

namespace Orvane {
namespace {

namespace fs = std::filesystem;
using OrvaneTest::FakeProgressHost;
using OrvaneTest::TempFolder;

constexpr int kRate = 44100;

std::string Contents(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::ostringstream bytes;
    bytes << file.rdbuf();
    return bytes.str();
}

// An album whose recordings are ramps: every sample tells its own place on the album's time line.
class SavedAlbum : public testing::Test {
protected:
    SavedAlbum() {
        OpenSettings(folder / "config");
        album.artist = "Artist";
        album.title = "Title";
        settings.options = FileOptions::Load(OptionsContext::SaveTracks);
        settings.output_folder = folder / "out";
    }

    static float Value(int64_t place) { return static_cast<float>((place * 7) % 60001 - 30000) / 32767.0f; }

    void AddSide(int64_t frames, int32_t rate = kRate) {
        std::vector<float> pairs(2 * static_cast<size_t>(frames));
        for (int64_t i = 0; i < frames; ++i) pairs[2 * i] = pairs[2 * i + 1] = Value(n_frames + i);
        const std::string path = folder / ("side" + std::to_string(album.sides.size() + 1) + ".wav");
        WAVFile file;
        ASSERT_EQ(file.SetSBC(rate, 16, 2), 0);
        ASSERT_EQ(file.Open(path, OM_CREATE), 0);
        ASSERT_GE(file.Write(pairs.data(), static_cast<int32_t>(frames)), 0);
        ASSERT_TRUE(file.Close());
        AlbumSide* side = album.GetSide(-1, true);
        RefPtr<FileHistoryEntry> entry(new FileHistoryEntry(&album, side));
        entry->external_file = path;
        entry->extension = ".wav";
        entry->flags |= FHE_EXTERNAL_FILE;
        side->AddRecording(entry);
        ASSERT_EQ(entry->Open(USER_PROBE, false), 0);
        entry->Close(USER_PROBE);
        n_frames += frames;
    }

    void AddTrack(int64_t start, int64_t end, const std::string& title = {}) {
        ALBUMTRACK track;
        track.title = title.empty() ? "Track " + std::to_string(album.tracks.size() + 1) : title;
        track.start = start;
        track.end = end;
        album.tracks.push_back(track);
    }

    SaveResult Save(int threads = 2) {
        FakeProgressHost progress;
        Progress::Begin("Saving");
        SaveResult result = SaveAlbums({&album}, settings, threads);
        Progress::End();
        return result;
    }

    std::vector<float> ReadTrack(int track, int trim_seconds = -1) {
        RefPtr<TrackPCMStream> stream = MakeTrackPCMStream(&album, track, 0, 0, trim_seconds);
        std::vector<float> pairs(2 * static_cast<size_t>(stream->GetTotalSamples(0)) + 200);
        int32_t n = stream->Read(0, pairs.data(), static_cast<int32_t>(pairs.size() / 2), 0);
        EXPECT_EQ(n, stream->GetTotalSamples(0));
        pairs.resize(2 * static_cast<size_t>(std::max(0, n)));
        return pairs;
    }

    TempFolder folder;
    AlbumInfo album;
    SaveSettings settings;
    int64_t n_frames = 0;
};

TEST_F(SavedAlbum, ATrackAcrossRecordingsComesWithoutAGapOrARepeat) {
    AddSide(30000);
    AddSide(20000);
    AddSide(40000);
    AddTrack(45000, 70000);
    std::vector<float> pairs = ReadTrack(0);
    ASSERT_EQ(pairs.size(), 2u * 25000);
    for (int64_t i = 0; i < 25000; ++i) ASSERT_NEAR(pairs[2 * i], Value(45000 + i), 1e-6) << i;
}

TEST_F(SavedAlbum, FadesLieOutsideTheBreaksAndFollowTheCurve) {
    AddSide(100000);
    AddTrack(20000, 60000);
    album.tracks[0].fade_in = album.tracks[0].fade_out = 10000;
    EXPECT_EQ(ReadTrack(0).size(), 2u * 40000);
    album.tracks[0].filter_flags = TRACK_FADE_IN | TRACK_FADE_OUT;
    std::vector<float> pairs = ReadTrack(0);
    ASSERT_EQ(pairs.size(), 2u * 60000);
    EXPECT_EQ(pairs[0], 0.0f);
    EXPECT_NEAR(pairs[2 * 5000], Value(15000) / (std::exp(2.0) - 1.718), 1e-5);
    EXPECT_NEAR(pairs[2 * 30000], Value(40000), 1e-6);
    EXPECT_NEAR(pairs[2 * 55000], Value(65000) / (std::exp(2.0) - 1.718), 1e-5);
    // A fade that would begin before the recording begins with it, already under way.
    album.tracks[0].start = 4000;
    pairs = ReadTrack(0);
    ASSERT_EQ(pairs.size(), 2u * 70000);
    EXPECT_NEAR(pairs[0], Value(0) / (std::exp(10000.0 / 6000) - 1.718), 1e-5);
}

TEST_F(SavedAlbum, SilenceIsPaddedByTheSettings) {
    AddSide(3 * kRate);
    AddTrack(0, kRate);
    AddTrack(kRate, 2 * kRate);
    struct Case {
        int at_start, at_end, gapless, track, trim_seconds;
        int64_t start, end;  // tenths expected
    };
    for (const Case& c : {Case{5, 10, 0, 0, 0, 5, 10}, {5, 10, 0, 0, -1, 0, 0}, {0, 30, 0, 0, 5, 0, 0}, {0, 80, 0, 0, 5, 0, 30},
                          {5, 10, 1, 0, 0, 5, 0}, {5, 10, 1, 1, 0, 0, 10}}) {
        SetSetting("Silence At Start", c.at_start);
        SetSetting("Silence At End", c.at_end);
        SetSetting("Detect Gapless Tracks", c.gapless);
        int32_t start, end;
        GetTrackSilence(album, c.track, c.trim_seconds, start, end);
        EXPECT_EQ(start, c.start);
        EXPECT_EQ(end, c.end);
        const size_t frames = static_cast<size_t>(kRate * (10 + c.start + c.end) / 10);
        std::vector<float> pairs = ReadTrack(c.track, c.trim_seconds);
        ASSERT_EQ(pairs.size(), 2 * frames);
        EXPECT_NEAR(pairs[2 * static_cast<size_t>(kRate * c.start / 10)], Value(kRate * c.track), 1e-6);
        if (c.end) {
            EXPECT_EQ(pairs.back(), 0.0f);
        }
    }
    album.tracks[1].filter_flags = TRACK_FADE_IN;
    int32_t start, end;
    GetTrackSilence(album, 1, 0, start, end);
    EXPECT_EQ(start, 5);
}

TEST_F(SavedAlbum, TheNumberOfThreadsDoesNotChangeAByte) {
    AddSide(20 * 20000);
    for (int i = 0; i < 20; ++i) AddTrack(i * 20000, (i + 1) * 20000);
    std::vector<std::string> first;
    for (int threads : {1, 2, 4}) {
        settings.output_folder = folder / ("out" + std::to_string(threads));
        SaveResult result = Save(threads);
        ASSERT_EQ(result.n_saved, 20);
        for (size_t i = 0; i < 20; ++i) {
            if (threads == 1) {
                first.push_back(Contents(result.tracks[i].file));
            } else {
                EXPECT_TRUE(first[i] == Contents(result.tracks[i].file)) << result.tracks[i].file;
            }
        }
    }
    EXPECT_EQ(album.status, STATUS_SAVED);
}

TEST_F(SavedAlbum, WhatIsGoodIsNotSavedAgain) {
    AddSide(90000);
    for (int i = 0; i < 3; ++i) AddTrack(i * 30000, (i + 1) * 30000);
    for (int format : {FF_FLAC, FF_WAV, FF_AIFF, FF_OGG}) {
        settings.options.file_format = format;
        album.tracks[1].filter_flags = 0;
        ASSERT_EQ(Save().n_saved, 3) << format;
        ASSERT_EQ(Save().n_already_saved, 3) << format;
        album.tracks[1].fade_out = 1000;
        album.tracks[1].filter_flags = TRACK_FADE_OUT;
        SaveResult result = Save();
        EXPECT_EQ(result.n_saved, 1) << format;
        EXPECT_EQ(result.tracks[1].status, SAVE_DONE) << format;
        album.tracks[0].title += " again";  // another name: another file
        EXPECT_EQ(Save().n_saved, 1) << format;
    }
}

TEST_F(SavedAlbum, OddTracksAreToldApart) {
    AddSide(50000);
    AddTrack(0, 20000, "Whole");
    AddTrack(20000, 60000, "Runs out");
    AddTrack(70000, 80000, "Beyond");
    AddTrack(80000, 80000, "No break");
    AddTrack(0, 20000, "Left out");
    album.tracks[4].excluded = true;
    AddTrack(0, 100, std::string(70, 'x') + std::string(70, 'y'));
    SaveResult result = Save();
    const SaveTrackStatus expected[] = {SAVE_DONE, SAVE_PARTIAL, SAVE_NO_BREAK, SAVE_NO_BREAK, SAVE_SKIPPED, SAVE_DONE};
    for (size_t i = 0; i < std::size(expected); ++i) EXPECT_EQ(result.tracks[i].status, expected[i]) << i;
    EXPECT_NE(result.tracks[2].message.find("not yet been recorded"), std::string::npos);
    EXPECT_NE(result.tracks[3].message.find("No track break"), std::string::npos);
    EXPECT_EQ(result.n_failed, 2);
    EXPECT_NE(album.status, STATUS_SAVED);
}

TEST_F(SavedAlbum, OneFailingTrackDoesNotStopTheOthers) {
    AddSide(60000);
    AddTrack(0, 20000, "Good");
    AddTrack(20000, 40000, "Bad");
    AddTrack(40000, 60000, "Good too");
    std::string in_the_way = TrackFileNames(album, settings)[1];
    fs::create_directories(fs::path(in_the_way) / "full");  // a folder where the file should go
    FakeProgressHost progress;
    SaveResult result = SaveAlbums({&album}, settings, 2);
    EXPECT_EQ(result.n_saved, 2);
    EXPECT_EQ(result.tracks[1].status, SAVE_FAILED);
    EXPECT_NE(progress.log.find("<fg color=#ff0000>"), std::string::npos);
}

TEST_F(SavedAlbum, ACancelLeavesNoHalfFile) {
    AddSide(40 * kRate);
    for (int i = 0; i < 4; ++i) AddTrack(i * 10 * kRate, (i + 1) * 10 * kRate);
    // The track of an earlier save is in the way: it must survive whole.
    settings.options.file_format = FF_WAV;
    Save();
    for (int i = 0; i < 4; ++i) album.tracks[i].end -= 1000;
    const std::string file = TrackFileNames(album, settings)[0];
    const std::string before = Contents(file);
    std::string message;
    const auto cancel = [](int64_t, int64_t) { return false; };
    EXPECT_EQ(WriteTrack(album, 0, settings, file, cancel, message), SAVE_CANCELLED);
    EXPECT_TRUE(Contents(file) == before);
    for (const auto& item : fs::recursive_directory_iterator(settings.output_folder)) {
        EXPECT_EQ(item.path().string().find("_$$$"), std::string::npos) << item.path();
    }
}

TEST_F(SavedAlbum, AMissingRecordingFailsWithItsName) {
    AddSide(40000);
    AddSide(40000);
    AddTrack(0, 30000, "Here");
    AddTrack(45000, 60000, "Gone");
    fs::remove(folder / "side2.wav");
    SaveResult result = Save();
    EXPECT_EQ(result.tracks[0].status, SAVE_DONE);
    EXPECT_EQ(result.tracks[1].status, SAVE_FAILED);
    EXPECT_NE(result.tracks[1].message.find("side2.wav"), std::string::npos);
}

TEST_F(SavedAlbum, WithoutMusicThereIsNothingToSave) {
    SetSetting("Silence At End", 10);
    AddTrack(0, 20000);
    EXPECT_EQ(Save().tracks[0].status, SAVE_NO_BREAK);  // no recording at all
    AddSide(20000);
    AddTrack(30000, 40000);
    SaveResult result = Save();
    EXPECT_EQ(result.tracks[0].status, SAVE_DONE);
    EXPECT_EQ(result.tracks[1].status, SAVE_NO_BREAK);
}

TEST_F(SavedAlbum, ATrackIsNeverWrittenOverARecording) {
    AddSide(20000);
    AddTrack(0, 10000);
    settings.output_folder = folder.Path();
    settings.options.file_format = FF_WAV;
    settings.name_template = "side1";
    const std::string before = Contents(folder / "side1.wav");
    EXPECT_EQ(Save().tracks[0].status, SAVE_FAILED);
    EXPECT_TRUE(Contents(folder / "side1.wav") == before);
}

TEST_F(SavedAlbum, OnlyItsOwnFormatsChoicesMakeATrackStale) {
    AddSide(20000);
    AddTrack(0, 10000);
    ASSERT_EQ(Save().n_saved, 1);
    settings.options.Row(FF_OGG).level = 2;
    settings.options.wav_options = 0;
    EXPECT_EQ(Save().n_already_saved, 1);
    settings.options.Row(FF_FLAC).bit_depth = 2;
    EXPECT_EQ(Save().n_saved, 1);
}

TEST_F(SavedAlbum, AlbumsOfOneNameDoNotShareFiles) {
    AlbumSet set;
    std::vector<AlbumInfo*> albums;
    for (FileTime recorded : {0, 200, 100}) {
        auto* added = new AlbumInfo;
        added->title = "Hits";
        added->set = &set;
        added->tracks = {ALBUMTRACK{}, ALBUMTRACK{}};
        AlbumSide* side = added->GetSide(0, true);
        side->AddRecording(MakeRef<FileHistoryEntry>(added, side));
        side->newest->file_time = recorded;
        set.albums.Append(added);
        albums.push_back(added);
    }
    settings.name_template = "[Album Title]";
    const auto end_of = [&](AlbumInfo* of, size_t track) { return FileNameOf(TrackFileNames(*of, settings)[track]); };
    // Which was recorded first decides, wherever it stands in the list.
    for (int round = 0; round < 2; ++round) {
        EXPECT_EQ(end_of(albums[2], 0), "Hits.flac");
        EXPECT_EQ(end_of(albums[2], 1), "Hits (2).flac");
        EXPECT_EQ(end_of(albums[1], 0), "Hits (3).flac");
        EXPECT_EQ(end_of(albums[0], 1), "Hits (6).flac");
        set.albums.Append(set.albums.Remove(albums[1]));
    }
}

TEST_F(SavedAlbum, TheCoverGoesIntoTheAlbumsFolder) {
    AddSide(20000);
    AddTrack(0, 10000);
    AddTrack(10000, 20000);
    const std::string cover = folder / "out/Artist - Title/folder.jpg";
    Save();
    album.art_file = folder.Write("art/front.jpg", "first");
    Save();  // of tracks saved already, too
    EXPECT_EQ(Contents(cover), "first");
    album.art_file = folder.Write("art/other.jpg", "another");
    SetSetting("Generate Folder.jpg", 0);
    Save();
    EXPECT_EQ(Contents(cover), "first");
    DeleteSetting("Generate Folder.jpg");
    Save();
    EXPECT_EQ(Contents(cover), "another");

    album.art_file = folder / "art/gone.jpg";
    FakeProgressHost progress;
    SaveAlbums({&album}, settings, 2);
    const size_t told = progress.log.find("gone.jpg");
    EXPECT_NE(told, std::string::npos);
    EXPECT_EQ(progress.log.find("gone.jpg", told + 1), std::string::npos);
    settings.name_template = R"([Performing Artist] \ [Track Title])";
    album.art_file = folder / "art/front.jpg";
    Save();
    EXPECT_FALSE(fs::exists(folder / "out/folder.jpg"));  // albums share that folder
}

TEST_F(SavedAlbum, TheFormatIsTheUsersWhereItCanBeWritten) {
    EXPECT_EQ(SaveSettings::FromStore(nullptr).Format(), FF_FLAC);
    for (auto [chosen, format] : {std::pair{7, 7}, {6, 6}, {1, 5}, {0, 5}, {99, 5}, {-1, 5}}) {
        SetSetting("Save Track As File Format", chosen);
        EXPECT_EQ(SaveSettings::FromStore(nullptr).Format(), format) << chosen;
    }
}

TEST(FileOptionsText, SurvivesBeingStoredAndDamaged) {
    FileOptions options;
    options.file_format = FF_OGG;
    options.Row(FF_OGG) = {5, 1, 9, 1};
    options.wav_options = 3;
    FileOptions read;
    ASSERT_TRUE(FileOptions::FromText(options.ToText(), read));
    EXPECT_EQ(read.ToText(), options.ToText());
    for (const char* bad : {"", "{", "[1,2]", R"({"format":99})", R"({"formats":{"5":[1,"x",2,3]}})", R"({"formats":3})"}) {
        FileOptions usual;
        FileOptions::FromText(bad, usual);
        EXPECT_EQ(usual.ToText(), FileOptions().ToText()) << bad;
    }
    struct Case {
        int format;
        FormatRow row;
        OptionsContext context;
        int32_t rate, depth, multiple;
    };
    const OptionsContext save = OptionsContext::SaveTracks, record = OptionsContext::Record;
    for (const Case& c : {Case{FF_FLAC, {4, 2, 5, 1}, save, 44100, 24, 1}, {FF_FLAC, {0, 0, 5, 1}, save, 0, 0, 1},
                          {FF_WAV, {99, 7, 0, 1}, save, 1411200, 20, 1 << 30}, {FF_WAV, {14, 3, 0, 1}, save, 1411200, 32, 1},
                          {FF_DSF, {0, 0, 0, 2}, record, 176400, 24, 2}, {FF_DSF, {0, 0, 0, 2}, save, 0, 0, 2}}) {
        FileOptions o;
        o.context = c.context;
        o.Row(c.format) = c.row;
        int32_t rate, depth;
        o.Resolve(c.format, rate, depth);
        EXPECT_EQ(rate, c.rate);
        EXPECT_EQ(depth, c.depth);
        EXPECT_EQ(o.Row(c.format).dsd_multiple, c.multiple);
    }
}

}  // namespace
}  // namespace Orvane
