// Tracks saved as files, and their names.
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>

#include "collection/albumset.h"
#include "fake_hosts.h"
#include "foundation/path.h"
#include "foundation/progress.h"
#include "foundation/settings.h"
#include "recorded_side.h"
#include "repairs.h"
#include "save/filenames.h"
#include "save/save_albums.h"
#include "save/save_selection.h"
#include "save/tracknames.h"
#include "save/trackstream.h"
#include "scoped_environment.h"
#include "stream_checks.h"
#include "temp_folder.h"
#include "tesslib/fileformats.h"

using namespace Foundation;
using namespace Tesslib;

namespace Orvane {
namespace {

namespace fs = std::filesystem;
using namespace std::string_literals;
using OrvaneTest::FakeProgressHost;
using OrvaneTest::ReadBytes;
using OrvaneTest::TempFolder;

constexpr int kRate = 44100;

// An album whose recordings are ramps: every sample tells its own place on the album's time line.
class SavedAlbum : public testing::Test {
protected:
    SavedAlbum() {
        EXPECT_TRUE(OpenSettings(folder / "config"));
        settings.options = FileOptions::Load(OptionsContext::SaveTracks);
        settings.output_folder = folder / "out";
    }

    static float Value(int64_t place) { return static_cast<float>((place * 7) % 60001 - 30000) / 32767.0f; }

    void AddSide(int64_t frames) {
        std::vector<float> pairs;
        for (int64_t i = 0; i < frames; ++i) pairs.insert(pairs.end(), 2, Value(n_frames + i));
        recorded.AddSide(pairs);
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
        log = progress.log;
        return result;
    }

    static void Retitle(AlbumInfo& album, const char* title) {
        AlbumDetails details = album.Details();
        details.title = title;
        EXPECT_TRUE(ChangeDetails(album, details));
    }

    std::vector<float> ReadTrack(int track, int trim_seconds = -1) {
        int result = 0;
        return OrvaneTest::PullAll(*MakeTrackPCMStream(&album, track, 0, 0, trim_seconds), 4096, result);
    }

    std::string PathOfSide(int i) const { return album.sides[i]->newest->GetPath(); }

    OrvaneTest::RecordedAlbum recorded;
    TempFolder& folder = recorded.folder;
    AlbumInfo& album = *recorded.album;
    SaveSettings settings;
    int64_t n_frames = 0;
    std::string log;  // of the last save
};

TEST_F(SavedAlbum, ATrackIsItsStretchOfAllRecordingsWithItsFades) {
    for (int frames : {30000, 20000, 60000}) AddSide(frames);
    AddTrack(45000, 70000);
    std::vector<float> pairs = ReadTrack(0);
    ASSERT_EQ(pairs.size(), 2u * 25000);
    for (int64_t i = 0; i < 25000; ++i) ASSERT_NEAR(pairs[2 * i], Value(45000 + i), 1e-6) << i;

    // Fades lie outside the breaks, and count only where they are on.
    album.tracks[0].fade_in = album.tracks[0].fade_out = 10000;
    EXPECT_EQ(ReadTrack(0).size(), 2u * 25000);
    album.tracks[0].filter_flags = TRACK_FADE_IN | TRACK_FADE_OUT;
    pairs = ReadTrack(0);
    ASSERT_EQ(pairs.size(), 2u * 45000);
    EXPECT_EQ(pairs[0], 0.0f);
    EXPECT_NEAR(pairs[2 * 5000], Value(40000) / (std::exp(2.0) - 1.718), 1e-5);
    EXPECT_NEAR(pairs[2 * 20000], Value(55000), 1e-6);
    EXPECT_NEAR(pairs[2 * 40000], Value(75000) / (std::exp(2.0) - 1.718), 1e-5);
}

TEST_F(SavedAlbum, FadesKeepTheirTimesAtOtherRates) {
    const std::vector<float> steady(2 * 3 * kRate, 0.5f);
    recorded.AddSide(steady);
    recorded.AddSide(steady);
    AddTrack(4 * kRate, 5 * kRate);
    album.tracks[0].fade_in = album.tracks[0].fade_out = kRate / 2;
    album.tracks[0].filter_flags = TRACK_FADE_IN | TRACK_FADE_OUT;
    for (int rate : {22050, 88200}) {
        int result = 0;
        const auto pairs = OrvaneTest::PullAll(*MakeTrackPCMStream(&album, 0, 0, rate, -1), 4096, result);
        ASSERT_EQ(pairs.size(), 4u * rate);
        const auto at = [&](double seconds) { return pairs[2 * static_cast<size_t>(seconds * rate)]; };
        EXPECT_NEAR(at(0.0), 0.0, 1e-3) << rate;
        for (double second : {0.25, 1.75}) EXPECT_NEAR(at(second), 0.5 / (std::exp(2.0) - 1.718), 1e-3) << rate;
        EXPECT_NEAR(at(1.0), 0.5, 5e-3) << rate;  // the conversion's own level is half a percent off
    }
}

TEST_F(SavedAlbum, SilenceIsPaddedByTheSettings) {
    AddSide(3 * kRate);
    AddTrack(0, kRate);
    AddTrack(kRate, 2 * kRate);
    struct Case {
        int at_start, at_end, gapless, track, trim_seconds;
        int64_t start, end;  // tenths expected
        uint16_t flags = 0;  // of the second track
    };
    for (const Case& c : {Case{5, 10, 0, 0, 0, 5, 10},
                          {5, 10, 0, 0, -1, 0, 0},
                          {0, 30, 0, 0, 5, 0, 0},
                          {0, 80, 0, 0, 5, 0, 30},
                          {5, 10, 1, 0, 0, 5, 0},
                          {5, 10, 1, 1, 0, 0, 10},
                          {5, 10, 1, 1, 0, 5, 10, TRACK_FADE_IN}}) {
        SetSetting("Silence At Start", c.at_start);
        SetSetting("Silence At End", c.at_end);
        SetSetting("Detect Gapless Tracks", c.gapless);
        album.tracks[1].filter_flags = c.flags;
        std::vector<float> pairs = ReadTrack(c.track, c.trim_seconds);
        ASSERT_EQ(pairs.size(), 2 * static_cast<size_t>(kRate * (10 + c.start + c.end) / 10));
        EXPECT_NEAR(pairs[2 * static_cast<size_t>(kRate * c.start / 10)], Value(kRate * c.track), 1e-6);
        EXPECT_EQ(pairs.back() == 0.0f, c.end > 0);
    }
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
            if (threads == 1) first.push_back(ReadBytes(result.tracks[i].file));
            EXPECT_TRUE(first[i] == ReadBytes(result.tracks[i].file)) << result.tracks[i].file;
        }
    }
    EXPECT_EQ(album.status, STATUS_SAVED);
}

TEST_F(SavedAlbum, OnlyWhatIsHeardOtherwiseIsSavedAgain) {
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
    settings.options.Row(FF_FLAC).level = 2;  // a choice of another format
    EXPECT_EQ(Save().n_already_saved, 3);
    settings.options.Row(FF_OGG).samplerate = 5;
    EXPECT_EQ(Save().n_saved, 3);
}

TEST_F(SavedAlbum, ARepairMadeByHandMakesTheTracksThatItTouchesStale) {
    AddSide(90000);
    for (int i = 0; i < 3; ++i) AddTrack(i * 30000, (i + 1) * 30000);
    ASSERT_EQ(Save().n_saved, 3);
    FileHistoryEntry& entry = *album.sides[0]->newest;
    const Result<OpenRecording> open = entry.Open(USER_EDIT);
    ASSERT_TRUE(entry.LoadCorrections());
    entry.click_repairs[1].Append(OrvaneTest::MakeRepair(REPAIR_MANUAL, 29998, {1, 2, 3}).release());
    const SaveResult result = Save();
    EXPECT_EQ(result.n_saved, 2);
    EXPECT_EQ(result.tracks[2].status, SAVE_ALREADY);
}

TEST_F(SavedAlbum, EachTrackHasItsOwnFate) {
    SetSetting("Silence At End", 10);  // alone it is no track
    AddTrack(0, 20000, "Whole");
    EXPECT_EQ(Save().tracks[0].status, SAVE_NO_BREAK);  // no recording at all
    AddSide(50000);
    AddTrack(20000, 60000, "Runs out");
    AddTrack(70000, 80000, "Beyond");
    AddTrack(80000, 80000, "No break");
    AddTrack(0, 20000, "Left out");
    album.tracks[4].excluded = true;
    AddTrack(0, 100, std::string(140, 'x'));
    AddTrack(0, 100, "In the way");
    fs::create_directories(fs::path(TrackFileNames(album, settings)[6]) / "full");
    SaveResult result = Save();
    struct Fate {
        SaveTrackStatus status;
        const char* message;
    };
    const Fate expected[] = {{SAVE_DONE, ""},
                             {SAVE_PARTIAL, ""},
                             {SAVE_NO_BREAK, "not yet been recorded"},
                             {SAVE_NO_BREAK, "No track break"},
                             {SAVE_SKIPPED, ""},
                             {SAVE_DONE, ""},
                             {SAVE_FAILED, "In the way"}};
    for (size_t i = 0; i < std::size(expected); ++i) {
        EXPECT_EQ(result.tracks[i].status, expected[i].status) << i;
        const std::string reason = result.tracks[i].reason.Text();
        EXPECT_NE(reason.find(expected[i].message), std::string::npos) << reason;
    }
    EXPECT_NE(log.find("<fg color=#ff0000>"), std::string::npos);
    EXPECT_EQ(result.n_failed, 1);
    EXPECT_NE(log.find("(0 already saved, 1 partially saved, 3 skipped).</b> <fg color=#ff0000>1 failed.</fg>"),
              std::string::npos)
        << log;
    EXPECT_NE(album.status, STATUS_SAVED);

    settings.output_folder = folder / std::string(150, 'd');
    SetSetting("Permit Long Filenames", 0);
    result = Save();
    EXPECT_EQ(result.tracks[0].status, SAVE_DONE);
    EXPECT_TRUE(result.tracks[5].reason.Is(Msg::FilenameTooLong));
    SetSetting("Permit Long Filenames", 1);
    EXPECT_EQ(Save().tracks[5].status, SAVE_DONE);
    settings.output_folder = folder / "out";

    AddSide(40000);
    album.tracks[2].start = 55000;
    fs::remove(PathOfSide(1));
    result = Save();
    EXPECT_EQ(result.tracks[0].status, SAVE_ALREADY) << "it does not need the side that is missing";
    EXPECT_EQ(result.tracks[2].status, SAVE_FAILED);
    EXPECT_NE(result.tracks[2].reason.Text().find("side2.wav"), std::string::npos);
}

TEST_F(SavedAlbum, AnAlbumIsSavedWhenAllThatWasRecordedIs) {
    AddSide(30000);
    AddTrack(0, 10000);
    AddTrack(10000, 10000, "No break yet");
    struct Case {
        int64_t start, end;  // of a third track
        AlbumStatus status;
    };
    for (const Case& c : {Case{10000, 10000, STATUS_SAVED},
                          {10000, 20000, STATUS_SAVED},
                          {20000, 40000, STATUS_NONE},     // runs out
                          {40000, 50000, STATUS_NONE}}) {  // lies behind the recording
        album.status = STATUS_NONE;
        album.tracks.resize(2);
        AddTrack(c.start, c.end);
        EXPECT_EQ(Save().n_failed, 0);
        EXPECT_EQ(album.status, c.status) << c.start;
    }
}

TEST_F(SavedAlbum, NoFileOfTheUsersIsLost) {
    AddSide(2 * kRate);
    AddTrack(0, kRate);
    settings.options.file_format = FF_WAV;
    const std::string file = Save().tracks[0].file, before = ReadBytes(file);
    // A cancel leaves the track of an earlier save as it was, and no half file.
    album.tracks[0].end -= 1000;
    const auto cancel = [](int64_t, int64_t) { return false; };
    EXPECT_EQ(WriteTrack({album, 0, file, "x"}, settings, cancel).status, SAVE_CANCELLED);
    EXPECT_TRUE(ReadBytes(file) == before);
    EXPECT_EQ(std::distance(fs::directory_iterator(fs::path(file).parent_path()), {}), 1);
    // What somebody else put there goes to the Trash.
    OrvaneTest::ScopedEnvironment data("XDG_DATA_HOME", folder / "data");
    fs::copy_file(PathOfSide(0), file, fs::copy_options::overwrite_existing);
    EXPECT_EQ(Save().tracks[0].status, SAVE_DONE);
    const fs::path trashed = fs::path(folder / "data/Trash/files") / fs::path(file).filename();
    EXPECT_TRUE(ReadBytes(trashed.string()) == ReadBytes(PathOfSide(0)));
    fs::remove(trashed);
    album.tracks[0].end -= 1000;
    EXPECT_EQ(Save().tracks[0].status, SAVE_DONE);
    EXPECT_FALSE(fs::exists(trashed));
    // No track is written over a recording, whatever leads to it.
    settings.output_folder = folder.Path();
    const std::string recording = ReadBytes(PathOfSide(0));
    fs::create_directory_symlink(folder / "Mine", folder / "linked");
    fs::create_symlink(PathOfSide(0), folder / "link.wav");
    fs::create_hard_link(PathOfSide(0), folder / "second name.wav");
    for (const char* name : {"Mine\\Art~Blue~side1", "linked\\Art~Blue~side1", "link", "second name"}) {
        settings.name_template = name;
        EXPECT_EQ(Save().tracks[0].status, SAVE_FAILED) << name;
    }
    EXPECT_TRUE(ReadBytes(PathOfSide(0)) == recording);
}

TEST_F(SavedAlbum, WhatARenamedTrackOrAlbumLeavesBehindIsFound) {
    OrvaneTest::ScopedEnvironment data("XDG_DATA_HOME", folder / "data");
    AddSide(30000);
    for (int i = 0; i < 3; ++i) AddTrack(i * 10000, (i + 1) * 10000);
    album.art_file = folder.Write("art/front.jpg", "cover");
    const auto left = [&] {
        std::string names;
        for (const Leftover& leftover : Save().leftovers) {
            EXPECT_EQ(leftover.album, &album);
            names += fs::path(leftover.path).lexically_relative(folder / "out").string() + "|";
        }
        return names;
    };
    EXPECT_EQ(left(), "");
    album.tracks[0].title = "New";
    EXPECT_EQ(left(), "Art - Blue/01 - Track 1.flac|");
    EXPECT_EQ(left(), "Art - Blue/01 - Track 1.flac|") << "as long as it is there";
    // Not while a track is not saved under its new name, nor files of another format or folder, nor the user's own.
    fs::create_directories(folder / "out/Art - Blue/03 - Blocked.flac/x");
    album.tracks[2].title = "Blocked";
    EXPECT_EQ(left(), "");
    fs::remove_all(folder / "out/Art - Blue/03 - Blocked.flac");
    EXPECT_EQ(left(), "Art - Blue/01 - Track 1.flac|Art - Blue/03 - Track 3.flac|");
    settings.options.file_format = FF_WAV;
    EXPECT_EQ(left(), "");
    settings.options.file_format = FF_FLAC;
    settings.output_folder = folder / "stick";
    EXPECT_EQ(left(), "");
    settings.output_folder = folder / "out";
    folder.Write("out/Art - Blue/03 - Track 3.flac", "mine");
    EXPECT_EQ(left(), "Art - Blue/01 - Track 1.flac|");
    // Nor a file that has become a recording, nor what another album has been saved as since.
    Retitle(album, "Red");
    AlbumInfo& other = *recorded.Add("Art", "Blue");
    other.tracks = album.tracks;
    recorded.AddRecording(other, 0, ReadBytes(PathOfSide(0)));
    other.tracks[0].title = "Elsewhere";
    FakeProgressHost progress;
    const SaveResult both = SaveAlbums({&album, &other}, settings);
    ASSERT_EQ(both.leftovers.size(), 2u);
    EXPECT_EQ(both.leftovers[0].path, folder / "out/Art - Blue/01 - Track 1.flac");
    EXPECT_EQ(both.leftovers[1].path, folder / "out/Art - Blue/01 - New.flac");
    FileHistoryEntry& imported = recorded.AddRecording(other, 1, "");
    imported.name.external_file = both.leftovers[0].path;
    EXPECT_EQ(left(), "Art - Blue/01 - New.flac|");

    // To the Trash; the last of a folder takes the folder along, and the cover in it.
    EXPECT_TRUE(DeleteLeftover(both.leftovers[1]));
    EXPECT_TRUE(fs::exists(folder / "data/Trash/files/01 - New.flac"));
    EXPECT_TRUE(fs::exists(folder / "out/Art - Blue/folder.jpg")) << "other files lie beside it";
    EXPECT_EQ(left(), "");
    ASSERT_TRUE(fs::exists(folder / "out/Art - Red/folder.jpg"));
    Retitle(album, "Green");
    for (const Leftover& leftover : Save().leftovers) EXPECT_TRUE(DeleteLeftover(leftover));
    EXPECT_FALSE(fs::exists(folder / "out/Art - Red"));
}

TEST_F(SavedAlbum, NamesWithSidesNeverTakeTheFileOfAnotherAlbum) {
    settings.name_template = "[Album Title]\\[Album Side]-[Track Title]";
    AlbumInfo& other = *recorded.Add("Other", "Blue");
    for (int side : {0, 1}) {
        AddSide(20000);
        recorded.AddRecording(other, side, ReadBytes(PathOfSide(side)));
    }
    AddTrack(0, 10000, "Song");
    other.tracks = album.tracks;
    const std::string first = Save().tracks[0].file, second = folder / "out/Blue/01-Song (2).flac";
    EXPECT_EQ(first, folder / "out/Blue/01-Song.flac");
    for (const AlbumSide* side : album.sides) side->newest->facts.total_samples = 0;  // as read from the collection
    EXPECT_EQ(TrackFileNames(other, settings)[0], second);
    fs::remove(PathOfSide(0));
    for (const AlbumSide* side : album.sides) side->newest->facts.total_samples = 0;
    EXPECT_EQ(TrackFileNames(other, settings)[0], second);
}

TEST_F(SavedAlbum, TheCoverGoesIntoTheAlbumsFolder) {
    AddSide(20000);
    AddTrack(0, 10000);
    Save();
    OrvaneTest::ScopedEnvironment data("XDG_DATA_HOME", folder / "data");
    folder.Write("out/Art - Blue/folder.jpg", "the user's own");
    for (const char* contents : {"first", "another"}) {
        album.art_file = folder.Write("art/front.jpg", contents);
        Save();  // of tracks saved already, too
        EXPECT_EQ(ReadBytes(folder / "out/Art - Blue/folder.jpg"), contents);
    }
    EXPECT_EQ(ReadBytes(folder / "data/Trash/files/folder.jpg"), "the user's own");
    // Hidden or shown as the user wishes, without a change of what else the user has hidden.
    const std::string hidden = folder / "out/Art - Blue/.hidden";
    EXPECT_EQ(ReadBytes(hidden), "folder.jpg\n");
    folder.Write("out/Art - Blue/.hidden", "other\nfolder.jpg\n");
    for (const int hide : {0, 1}) {
        SetSetting("Hide Folder.jpg", hide);
        Save();
        EXPECT_EQ(ReadBytes(hidden), hide ? "other\nfolder.jpg\n" : "other\n");
    }
    folder.Write("out/Art - Blue/.hidden", "folder.jpg\n");
    SetSetting("Hide Folder.jpg", 0);
    Save();
    EXPECT_FALSE(fs::exists(hidden));
    album.art_file = folder / "art/gone.jpg";
    Save();
    EXPECT_NE(log.find("gone.jpg"), std::string::npos);
}

TEST_F(SavedAlbum, ASelectionIsSavedAsItIsHeard) {
    AddSide(30000);
    FileHistoryEntry* recording = album.sides[0]->newest;
    recording->decided.cuts.Add(10000, 15000, 0, kRate);
    FakeProgressHost progress;
    FileOptions options = FileOptions::Load(OptionsContext::SaveSelection);
    options.file_format = FF_FLAC;
    ASSERT_TRUE(SaveSelection(*recording, 9000, 12000, options, folder / "out/part.flac"));
    int error = 0;
    RefPtr<FileStream> saved = OpenForReading(folder / "out/part.flac", error);
    ASSERT_TRUE(saved);
    const std::vector<float> pairs = OrvaneTest::ReadWhole(*saved);
    ASSERT_EQ(pairs.size(), 2u * 3000);
    for (int i = 0; i < 3000; ++i) ASSERT_NEAR(pairs[2 * i], Value(i < 1000 ? 9000 + i : 14000 + i), 1e-6) << i;

    options.file_format = FF_WAV;
    const std::string before = ReadBytes(PathOfSide(0));
    EXPECT_TRUE(SaveSelection(*recording, 0, 100, options, PathOfSide(0)).Is(Msg::NeverWrittenOver));
    EXPECT_TRUE(ReadBytes(PathOfSide(0)) == before);
    // Not as if repairs that cannot be read were not there.
    folder.Write("Mine/" + fs::path(PathOfSide(0) + ".crd").filename().string(), std::string(30, 'x'));
    const Outcome damaged = SaveSelection(*recording, 0, 100, options, folder / "out/damaged.wav");
    EXPECT_NE(damaged.Text().find(".crd"), std::string::npos) << damaged.Text();
    EXPECT_FALSE(fs::exists(folder / "out/damaged.wav"));
}

TEST_F(SavedAlbum, RecordingsOfThe48kHzFamilyHaveChoicesOfTheirOwn) {
    recorded.AddSide(std::vector<float>(2 * 48000, 0.1f), 48000);
    AddTrack(0, kRate);
    const auto rate_of_saved = [&] {
        settings.options = FileOptions::Load(OptionsContext::SaveTracks);
        settings.rows_48000 = FileOptions::Load(OptionsContext::SaveTracks, RateFamily::Of48000).rows;
        int error = 0;
        return OpenForReading(Save().tracks[0].file, error)->GetSampleRate(0);
    };
    FileOptions usual = FileOptions::Load(OptionsContext::SaveTracks);
    usual.Row(FF_FLAC).samplerate = IndexOfSampleRate(32000);
    usual.Store();
    EXPECT_EQ(rate_of_saved(), 32000) << "as long as there are none";
    FileOptions own = FileOptions::Load(OptionsContext::SaveTracks, RateFamily::Of48000);
    own.Row(FF_FLAC).samplerate = IndexOfSampleRate(96000);
    own.Store();
    EXPECT_EQ(rate_of_saved(), 96000);
    for (const int rate : {11025, 44100, 176400}) EXPECT_EQ(FamilyOf(rate), RateFamily::Of44100) << rate;
    for (const int rate : {8000, 32000, 96000, 768000}) EXPECT_EQ(FamilyOf(rate), RateFamily::Of48000) << rate;
}

TEST(FileOptionsText, SurvivesBeingStoredAndDamaged) {
    FileOptions options, read;
    options.file_format = FF_OGG;
    options.Row(FF_OGG) = {5, 1, 9, 1};
    options.wav_options = 3;
    ASSERT_TRUE(FileOptions::FromText(options.ToText(), read));
    EXPECT_EQ(read.ToText(), options.ToText());
    for (const char* bad :
         {"", "{", "[1,2]", R"({"format":99})", R"({"formats":{"5":[1,"x",2,3]}})", R"({"formats":3})"}) {
        FileOptions usual;
        FileOptions::FromText(bad, usual);
        EXPECT_EQ(usual.ToText(), FileOptions().ToText()) << bad;
    }
}

TEST(TrackNames, ExpandTemplatesByTheRules) {
    AlbumInfo album;
    album.artist = "The Examples";
    album.title = "First";
    album.year = 1977;
    album.tracks.resize(3);
    album.tracks[0].title = "One";
    album.tracks[0].artist = "Guest";
    album.tracks[1].title = "AC/DC: Live?";
    album.tracks[2].title = std::string(300, 'x');
    const auto Expand = [&](std::string_view text, int track, NamePart part = NamePart::WholePath) {
        return ExpandTemplate(text, album, track, part, FF_FLAC);
    };
    struct Case {
        const char* text;
        int track;
        NamePart part;
        const char* expected;
    };
    const NamePart whole = NamePart::WholePath, album_folder = NamePart::AlbumFolder;
    const Case cases[] = {
        {R"([Album Artist] - [Album Title] \ [Track Number] - [Track Artist] - [Track Title])", 0, whole,
         "The Examples - First/01 - Guest - One"},
        {"[Track Number] - [Track Artist] - [Track Title]", 1, whole,
         "02 - AC+DC- Live"},  // no artist: no separators for it
        {"[Year] [Genre] [Label]", 0, whole, "1977 (no genre)"},
        {R"(\\ [Album Title].. \ .[Track Title]. )", 0, whole, "First/.One."},  // a folder ends in no point
        {"a:b*c?<d>|\"e\" [Track Title]", 0, whole, "abcde One"},
        {R"([Album Artist] \ [Album Title] \ [Track Number])", 0, NamePart::FileName, "01"},
        {R"([Album Artist] \ [Album Title] \ [Track Number])", 0, album_folder, "The Examples/First"},
        {R"([Album Artist] \ Disc [Track Number])", 0, album_folder, "The Examples"},
        {"x\x01y\tz [Track Title]", 0, whole, "x y z One"},
    };
    for (const Case& c : cases) EXPECT_EQ(Expand(c.text, c.track, c.part), c.expected) << c.text;
    OrvaneTest::TempFolder folder;
    ASSERT_TRUE(OpenSettings(folder / "config"));
    EXPECT_EQ(TemplateFor(album), AlbumTemplates()[0].text);
    SetSetting("Prepend Artist To Track Folders", 0);
    EXPECT_EQ(Expand(TemplateFor(album), 0), "First/01 - One");
    // Long values are cut, and the numbers of long listings widened.
    EXPECT_EQ(Expand("[Track Title]", 2), std::string(79, 'x') + "\u2026");
    album.tracks.resize(100);
    EXPECT_EQ(Expand("[Track Number]", 0), "001");
}

}  // namespace
}  // namespace Orvane
