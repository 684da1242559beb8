// The scan for tracks and what it goes by: the level overview and the time line without cuts.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <vector>

#include "audiosignals.h"
#include "collection/steering_file.h"
#include "collection/undo.h"
#include "foundation/settings.h"
#include "listing.h"
#include "recorded_side.h"
#include "split/albumoverview.h"
#include "split/cuttimeline.h"
#include "split/scan.h"
#include "split/splitdialog.h"
#include "temp_folder.h"
#include "waveform/waveformreader.h"

using namespace Foundation;

namespace Orvane {
namespace {

using Times = std::vector<std::pair<double, double>>;  // seconds

constexpr int64_t kSecond = kTicksPerSecond;

struct Stretch {
    double seconds;
    int level;  // the overview's byte, 0 to 254
};

// An album whose recordings are nothing but a level overview.
class LevelAlbum {
public:
    // Adds a side; a last partial block counts from half a block on.
    FileHistoryEntry& AddSide(const std::vector<Stretch>& stretches, int32_t rate = kTicksPerSecond) {
        double seconds = 0;
        for (const Stretch& stretch : stretches) seconds += stretch.seconds;
        const std::span<uint8_t> bytes = overview.AddRecording(static_cast<int64_t>(seconds * rate), rate);
        double end = 0;
        size_t at = 0;
        for (const Stretch& stretch : stretches) {
            end += stretch.seconds;
            const auto until = std::min(bytes.size(), static_cast<size_t>(end * rate / overview.block + 0.5));
            for (; at < until; ++at) bytes[at] = static_cast<uint8_t>(stretch.level);
        }
        AlbumSide* side = album.GetSide(-1, true);
        RefPtr<FileHistoryEntry> entry(new FileHistoryEntry(&album, side));
        entry->facts.samplerate = rate;
        side->AddRecording(entry);
        return *entry;
    }

    AlbumInfo album;
    WaveformOverview overview;
};

class ScanTest : public testing::Test {
protected:
    ScanTest() { EXPECT_TRUE(OpenSettings(folder.Path())); }

    Times Scan(LevelAlbum& side, int flags = 0) {
        SplitDialog dialog(side.album);
        dialog.ScanForTrackBreaks(flags, side.overview, host);
        Times times;
        for (int i = 0; i < FirstUnsetTrack(side.album.tracks); ++i) {
            const ALBUMTRACK& track = side.album.tracks[i];
            times.emplace_back(static_cast<double>(track.start) / kSecond, static_cast<double>(track.end) / kSecond);
        }
        return times;
    }

    OrvaneTest::TempFolder folder;
    ScanHost host;
};

void ExpectTimes(const Times& found, const Times& wanted, const char* what, double tolerance) {
    ASSERT_EQ(found.size(), wanted.size()) << what << testing::PrintToString(found);
    for (size_t i = 0; i < found.size(); ++i) {
        EXPECT_NEAR(found[i].first, wanted[i].first, tolerance) << what << ", start of track " << i + 1;
        EXPECT_NEAR(found[i].second, wanted[i].second, tolerance) << what << ", end of track " << i + 1;
    }
}

// At a level of 100 music is found 0.2 s after it begins, and its end 0.34 s after it ends: the mean of 15 blocks has
// to pass 50 of 401, and to fall below 30.
TEST_F(ScanTest, SidesFollowTheTableAtEveryRate) {
    struct Row {
        const char* what;
        std::vector<Stretch> side;
        Times tracks;
        int64_t cut_from = 0, cut_to = 0;  // seconds of the file
    };
    const std::vector<Stretch> two = {{6, 0}, {60, 100}, {20, 0}, {60, 100}, {80, 0}};
    const Row rows[] = {
        {"one track; the landing is skipped", {{1, 0}, {2, 200}, {5, 0}, {60, 100}, {80, 0}}, {{7.76, 69.38}}},
        {"a long gap stays outside of the tracks", two, {{5.76, 67.38}, {85.76, 147.38}}},
        {"2.2 seconds of silence are a gap",
         {{6, 0}, {60, 100}, {2.2, 0}, {60, 100}, {80, 0}},
         {{5.76, 67.38}, {67.96, 129.58}}},
        {"1.4 are none", {{6, 0}, {60, 100}, {1.4, 0}, {60, 100}, {80, 0}}, {{5.76, 128.78}}},
        {"a short passage is joined with what follows",
         {{6, 0}, {20, 100}, {3, 0}, {60, 100}, {5, 0}, {60, 100}, {80, 0}},
         {{5.76, 90.38}, {93.76, 155.38}}},
        {"with a loud run-out groove the last track runs to the end",
         {{6, 0}, {60, 100}, {5, 0}, {60, 100}, {80, 20}},
         {{5.76, 67.38}, {70.76, 211.0}}},
        {"one above it is music", {{6, 0}, {60, 100}, {20, 8}, {60, 100}, {80, 0}}, {{5.76, 147.38}}},
        {"silence has no tracks", {{300, 0}}, {}},
        {"a cut within the first track", two, {{5.76, 57.38}, {75.76, 137.38}}, 20, 30},
        {"a cut over the start of the second", two, {{5.76, 67.38}, {80, 127.38}}, 80, 100},
        {"a cut of the gap as a whole", two, {{5.76, 127.38}}, 66, 86},
    };
    for (const Row& row : rows) {
        for (const int rate : {22050, 44100, 48000, 192000}) {
            LevelAlbum side;
            FileHistoryEntry& entry = side.AddSide(row.side, rate);
            if (row.cut_to) entry.decided.cuts.Add(row.cut_from * rate, row.cut_to * rate, 0, rate);
            ExpectTimes(Scan(side), row.tracks, row.what, row.cut_to ? 0.4 : 0.12);
        }
    }
}

TEST_F(ScanTest, EverySideOfAnAlbumIsScanned) {
    LevelAlbum sides;
    // A run-out groove that is louder than music begins, then a side with its landing, and one without any music.
    sides.AddSide({{6, 0}, {60, 100}, {5, 0}, {60, 100}, {10, 0}, {90, 40}});
    sides.AddSide({{2, 200}, {8, 0}, {60, 100}, {30, 0}}, 44100);
    sides.AddSide({{100, 0}});
    sides.AddSide({{7, 0}, {60, 100}, {30, 0}});
    const double a = 231, c = a + 200;
    ExpectTimes(Scan(sides), {{5.76, 67.38}, {70.76, 132.38}, {140.8, a}, {a + 9.76, a + 71.38}, {c + 6.76, c + 68.38}},
                "four sides", 0.3);
}

TEST_F(ScanTest, SideBreaksSkipTheRunOutAndTheLanding) {
    LevelAlbum side;
    FileHistoryEntry& entry = side.AddSide({{6, 0}, {60, 100}, {20, 0}, {1, 200}, {6, 0}, {60, 100}, {80, 0}}, 48000);
    entry.decided.side_breaks = {48000 * 85};
    ExpectTimes(Scan(side), {{5.76, 67.38}, {92.76, 154.38}}, "with the side break", 0.12);
}

TEST_F(ScanTest, MusicInNoTrackIsTold) {
    LevelAlbum side;
    // A landing and scratches are no music; a short last track is, behind a cut too.
    side.AddSide(
        {{2, 0}, {1, 200}, {4, 0}, {100, 100}, {3, 0}, {20, 100}, {1, 0}, {20, 100}, {5, 0}, {2, 200}, {10, 0}});
    side.AddSide({{6, 0}, {60, 100}, {80, 0}}).decided.cuts.Add(10 * kSecond, 20 * kSecond, 0, 44100);
    const std::vector<FileHistoryEntry*> entries = side.album.Recordings();
    const TrackScanner scanner(side.overview, entries, {}, host);
    ASSERT_EQ(Scan(side).size(), 2u);
    const auto left_out = scanner.MusicOutside(side.album.tracks);
    ASSERT_EQ(left_out.size(), 1u);
    EXPECT_NEAR(static_cast<double>(left_out[0].start) / kSecond, 110, 0.5);
    EXPECT_NEAR(static_cast<double>(left_out[0].end) / kSecond, 151, 0.5);
    EXPECT_EQ(scanner.MusicOutside(TrackList()).size(), 3u);
}

// In automatic adjustment the break of a track too short to count does not keep those behind it.
TEST_F(ScanTest, AShortClosingTrackKeepsItsTimesAndLaterSidesAreAdjusted) {
    LevelAlbum sides;
    sides.AddSide({{6, 0}, {60, 100}, {54, 0}, {20, 100}, {7, 0}});
    sides.AddSide({{6, 0}, {60, 100}, {4, 0}, {60, 100}, {80, 0}});
    sides.album.tracks = Listing("0-70 120-140 147-217 217-287 287");
    ExpectTimes(Scan(sides, BREAK_SCAN_ADJUST), {{5.76, 67.38}, {120, 140}, {152.76, 214.38}, {216.76, 278.38}},
                "two sides", 0.12);
    EXPECT_EQ(sides.album.sides_adjusted, 2);
    Scan(sides);
    EXPECT_EQ(sides.album.sides_adjusted, 0);
}

// Stops at the nth look.
class StoppingHost : public ScanHost {
public:
    explicit StoppingHost(int looks) : looks(looks) {}
    bool GoOn() override { return --looks != 0; }
    void TrackFound(int) override { ++n_found; }
    int looks, n_found = 0;
};

TEST_F(ScanTest, EscapeKeepsWhatHasBeenFoundAndTheTracksInOrder) {
    LevelAlbum side;
    side.AddSide({{6, 0}, {100, 100}, {4, 0}, {100, 100}, {4, 0}, {100, 100}, {80, 0}});
    for (int looks = 1; looks < 1500; looks += 30) {
        for (const int flags : {0, int{BREAK_SCAN_ADJUST}}) {
            side.album.tracks = Listing(flags ? "6-90 90-100 100-190 190-300" : "");
            StoppingHost stopping(looks);
            const BreakScanResult scan = SplitDialog(side.album).ScanForTrackBreaks(flags, side.overview, stopping);
            const int n = scan.n_set;
            EXPECT_EQ(scan.outcome.Is(Kind::Cancelled), stopping.looks <= 0);
            EXPECT_FALSE(scan.advice) << "of a scan that was not finished, or without titles to compare with";
            EXPECT_EQ(side.album.sides_adjusted, flags && stopping.looks > 0 ? 1 : 0);
            if (!flags) {
                EXPECT_EQ(n, stopping.n_found);
                EXPECT_EQ(n, side.album.tracks.size());
                EXPECT_LE(n, looks * 0.27 / 100 + 1) << looks;
            }
            for (int i = 1; i < side.album.tracks.size(); ++i) {
                EXPECT_GE(side.album.tracks[i].start, side.album.tracks[i - 1].end) << looks << Text(side.album.tracks);
                EXPECT_GE(side.album.tracks[i].end, side.album.tracks[i].start + kSecond) << looks;
            }
        }
    }
}

TEST_F(ScanTest, AdviceComparesWithTheTitles) {
    LevelAlbum side, silent;
    side.AddSide({{6, 0}, {100, 100}, {4, 0}, {100, 100}, {80, 0}});
    silent.AddSide({{60, 0}});
    for (const auto& [album, titles, advice] :
         {std::tuple(&side, "0 0 0", std::optional(Msg::FewerTrackBreaksThanTracks)),
          {&side, "0 0", std::nullopt},
          {&side, "0", Msg::MoreTrackBreaksThanTracks},
          {&silent, "0", Msg::NoTrackBreaksFound}}) {
        album->album.tracks = Listing(titles);
        const BreakScanResult scan = SplitDialog(album->album).ScanForTrackBreaks(0, album->overview, host);
        EXPECT_TRUE(scan.outcome.Ok());
        EXPECT_EQ(scan.advice, advice) << titles;
    }
}

TEST(AlbumOverview, WaveformFilesGiveWhatTheAudioGives) {
    OrvaneTest::RecordedAlbum sides;
    for (const int frames : {50000, 60000}) sides.AddSide(OrvaneTest::NoisePairs(frames));
    WaveformOverview from_audio, from_files, spoilt;
    WaveformReader drawing(*sides.album->sides[0]->newest);
    WaveformPicture picture;
    ASSERT_TRUE(drawing.Open().Ok());
    ASSERT_TRUE(ReadAlbumOverview(*sides.album, from_audio).Ok());
    EXPECT_TRUE(drawing.Read(WaveformView::Over(40000, 1000, 100), picture).Ok()) << "its file has been closed";
    for (FileHistoryEntry* entry : sides.album->Recordings()) ASSERT_TRUE(RequestWaveformData(*entry).Ok());
    OrvaneTest::RecordedAlbum::Wait();
    ASSERT_TRUE(ReadAlbumOverview(*sides.album, from_files).Ok());
    EXPECT_EQ(from_files.bytes, from_audio.bytes);
    EXPECT_EQ(from_files.total_samples, 110000);
    sides.folder.Write(sides.album->sides[0]->newest->WaveformPath(".wft"), std::string(43, '\1'));
    // Also by a program that has just started.
    ASSERT_TRUE(SaveCollection(sides.set.path, sides.set));
    std::unique_ptr<AlbumSet> reloaded;
    ASSERT_TRUE(OpenCollection(sides.set.path, &reloaded));
    ASSERT_TRUE(ReadAlbumOverview(*reloaded->albums.First(), spoilt).Ok());
    EXPECT_EQ(spoilt.bytes[5], 1);
}

TEST(CutTimeline, PositionsGoThereAndBackAtAnyRate) {
    OrvaneTest::Noise noise(2);
    for (int32_t rate : {8000, 44100, 48000, 96000, 192000}) {
        const int64_t frame = kTicksPerSecond / rate + 1;  // ticks, rounded up
        LevelAlbum sides;
        for (int side = 0; side < 3; ++side) {
            FileHistoryEntry& entry = sides.AddSide({{100 + noise.Even(), 0}}, rate);
            for (int i = 0; i < 4; ++i) {
                const auto start = static_cast<int64_t>(noise.Even() * 60 * rate);
                entry.decided.cuts.Add(start, start + static_cast<int64_t>(noise.Even() * 5 * rate), 0, rate);
            }
        }
        const std::vector<FileHistoryEntry*> entries = sides.album.Recordings();
        const CutTimeline timeline(entries, sides.overview);
        const int64_t end = timeline.AtTrackTime(INT64_MAX).track_end;
        for (int i = 0; i < 1000; ++i) {
            const auto place = static_cast<int64_t>(noise.Even() * static_cast<double>(end));
            EXPECT_LE(std::abs(timeline.ToTrackTime(timeline.ToFileTime(place)) - place), frame) << rate;

            const auto in_file = static_cast<int64_t>(noise.Even() * static_cast<double>(timeline.FileEnd()));
            int64_t cut_end, none;
            const int64_t track_time = timeline.ToTrackTime(in_file, &cut_end);
            if (cut_end < 0) {
                EXPECT_LE(std::abs(timeline.ToFileTime(track_time) - in_file), frame) << rate;
            } else {
                EXPECT_GT(cut_end, in_file);
                EXPECT_LE(timeline.ToTrackTime(cut_end, &none) - track_time, 1) << rate;
                EXPECT_EQ(none, -1) << rate << ": the end of a cut lies behind it";
            }
        }
    }
}

}  // namespace
}  // namespace Orvane
