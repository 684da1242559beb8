#include "split/scan.h"

#include <gtest/gtest.h>

#include "audiosignals.h"
#include "collection/undo.h"
#include "fake_hosts.h"
#include "foundation/settings.h"
#include "listing.h"
#include "sides.h"
#include "temp_folder.h"

namespace Orvane {
namespace {

constexpr int64_t kSecond = kTicksPerSecond;

using Times = std::vector<std::pair<double, double>>;  // seconds

class ScanTest : public testing::Test {
protected:
    ScanTest() { OpenSettings(folder.Path()); }

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
    OrvaneTest::FakeMessageHost messages;
    ScanHost host;
};

void ExpectTimes(const Times& found, const Times& wanted, const char* what, double tolerance = 0.12) {
    ASSERT_EQ(found.size(), wanted.size()) << what << testing::PrintToString(found);
    for (size_t i = 0; i < found.size(); ++i) {
        EXPECT_NEAR(found[i].first, wanted[i].first, tolerance) << what << ", start of track " << i + 1;
        EXPECT_NEAR(found[i].second, wanted[i].second, tolerance) << what << ", end of track " << i + 1;
    }
}

// At a level of 100 music is found 0.2 s after it begins, and its end 0.34 s after it ends: the mean of 15 blocks has
// to pass 50 of 401, and to fall below 30.
TEST_F(ScanTest, SidesFollowTheTable) {
    struct Row {
        const char* what;
        std::vector<Stretch> side;
        Times tracks;
    };
    const Row rows[] = {
        {"one track; the landing is skipped", {{1, 0}, {2, 200}, {5, 0}, {60, 100}, {80, 0}}, {{7.76, 69.38}}},
        {"a long gap stays outside of the tracks",
         {{6, 0}, {60, 100}, {20, 0}, {60, 100}, {80, 0}},
         {{5.76, 67.38}, {85.76, 147.38}}},
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
    };
    for (const Row& row : rows) {
        LevelAlbum side;
        side.AddSide(row.side);
        ExpectTimes(Scan(side), row.tracks, row.what);
    }
}

// The mean of the last 15 blocks, added up anew for every block.
int64_t PlainScan(const WaveformOverview& overview, int64_t from, int threshold, bool until_quiet) {
    const int64_t block_ns = int64_t{overview.block} * 1000000000 / overview.samplerate;
    const int64_t from_ns = from * 10000000 / 441;
    const int64_t first = from_ns / block_ns;
    for (int64_t last = first + 14; last < overview.total_bytes; ++last) {
        int sum = 0;
        for (int64_t i = last - 14; i <= last; ++i) sum += overview.bytes[static_cast<size_t>(i)] * 4 + 1;
        if (until_quiet == (sum / 15 < threshold)) {
            return ((from_ns + (last - first + 1) * block_ns) * 441 + 5000000) / 10000000;
        }
    }
    return kOverviewEnded;
}

TEST_F(ScanTest, TheForwardScanEqualsThePlainOne) {
    OrvaneTest::Noise noise(3);
    for (int32_t rate : {22050, 44100, 48000, 96000, 192000}) {
        LevelAlbum side;
        std::vector<Stretch> stretches;
        for (int i = 0; i < 60; ++i) stretches.push_back({noise.Even() * 6, noise.Below(25)});
        const FileHistoryEntry& entry = side.AddSide(stretches, rate);
        FileHistoryEntry* const entries[] = {const_cast<FileHistoryEntry*>(&entry)};
        TrackScanner scanner(side.overview, entries, {}, host);
        const int64_t total = to_ticks(rate, side.overview.total_samples);
        for (int i = 0; i < 50; ++i) {
            const int64_t from = 1 + static_cast<int64_t>(noise.Even() * static_cast<double>(total - 1));
            EXPECT_EQ(scanner.FindGap(from), PlainScan(side.overview, from, 30, true)) << rate << " " << from;
            const int64_t music =
                total - from > 70 * kSecond ? PlainScan(side.overview, from, 50, false) : kOverviewEnded;
            EXPECT_EQ(scanner.FindMusic(from), music) << rate << " " << from;
        }
        EXPECT_EQ(scanner.FindMusic(0), PlainScan(side.overview, 5 * kSecond, 50, false));
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
    entry.side_breaks = {48000 * 85};
    ExpectTimes(Scan(side), {{5.76, 67.38}, {92.76, 154.38}}, "with the side break");
}

TEST_F(ScanTest, CutsAreLeftOut) {
    struct Row {
        const char* what;
        int64_t from, to;  // seconds of the file
        Times tracks;
    };
    const Row rows[] = {
        {"within the first track", 20, 30, {{5.76, 57.38}, {75.76, 137.38}}},
        {"over the start of the second", 80, 100, {{5.76, 67.38}, {80, 127.38}}},
        {"the gap as a whole", 66, 86, {{5.76, 127.38}}},
    };
    for (const Row& row : rows) {
        LevelAlbum side;
        FileHistoryEntry& entry = side.AddSide({{6, 0}, {60, 100}, {20, 0}, {60, 100}, {80, 0}});
        entry.cuts.Add(row.from * kSecond, row.to * kSecond, 0, 44100);
        ExpectTimes(Scan(side), row.tracks, row.what, 0.4);
    }
}

TEST_F(ScanTest, MusicInNoTrackIsTold) {
    LevelAlbum side;
    // A landing and scratches are no music; a short last track is, behind a cut too.
    side.AddSide(
        {{2, 0}, {1, 200}, {4, 0}, {100, 100}, {3, 0}, {20, 100}, {1, 0}, {20, 100}, {5, 0}, {2, 200}, {10, 0}});
    side.AddSide({{6, 0}, {60, 100}, {80, 0}}).cuts.Add(10 * kSecond, 20 * kSecond, 0, 44100);
    const std::vector<FileHistoryEntry*> entries = side.album.Recordings();
    const TrackScanner scanner(side.overview, entries, {}, host);
    ASSERT_EQ(Scan(side).size(), 2u);
    const auto left_out = scanner.MusicOutside(side.album.tracks);
    ASSERT_EQ(left_out.size(), 1u);
    EXPECT_NEAR(static_cast<double>(left_out[0].start) / kSecond, 110, 0.5);
    EXPECT_NEAR(static_cast<double>(left_out[0].end) / kSecond, 151, 0.5);
    EXPECT_EQ(scanner.MusicOutside(TrackList()).size(), 3u);
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
            const int n = SplitDialog(side.album).ScanForTrackBreaks(flags, side.overview, stopping);
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

}  // namespace
}  // namespace Orvane
