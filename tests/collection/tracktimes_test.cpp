// Times of tracks: as text, and in order.
#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "collection/albumset.h"
#include "collection/checktrackbreaks.h"
#include "collection/tracktime.h"
#include "fake_hosts.h"
#include "foundation/muldiv.h"

using namespace Foundation;

namespace Orvane {
namespace {

using Foundation::Answer;
using OrvaneTest::FakeMessageHost;
using Times = std::vector<std::pair<int64_t, int64_t>>;  // of each track, in tenths of a second

TEST(TrackTime, IsWrittenAndReadAsRecordedHere) {
    struct {
        int64_t ticks;
        const char* written;
        const char* also_read;
    } const rows[] = {
        {0, "0:00.00000", "-"},
        {44099, "0:00.99998", "0.99998000000000000001"},
        {int64_t{44100} * 3600, "1:00:00.00000", "1:00:"},
        {int64_t{44100} * (36000 + 59) + 22050, "10:00:59.50000", "36059.5"},
        {-44100 * 90 - 11025, "-1:30.25000", " -90.25"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(FormatTime(row.ticks), row.written);
        EXPECT_EQ(ParseTime(row.written), row.ticks) << row.written;
        EXPECT_EQ(ParseTime(row.also_read), row.ticks) << row.also_read;
    }
    const std::string nines(400, '9');
    EXPECT_GT(ParseTime(nines + ":" + nines + ":" + nines + "." + nines), 0);
}

TEST(TrackTime, EveryTickComesBack) {
    std::mt19937_64 random(1);
    for (int64_t ticks = 0; ticks < 50000; ++ticks) ASSERT_EQ(ParseTime(FormatTime(ticks)), ticks);
    for (int i = 0; i < 20000; ++i) {
        const int64_t ticks = static_cast<int64_t>(random() % (int64_t{1} << 36)) - (int64_t{1} << 35);
        ASSERT_EQ(ParseTime(FormatTime(ticks)), ticks);
    }
}

constexpr int64_t kTenth = Foundation::kTicksPerSecond / 10;

void Fill(AlbumInfo& album, const Times& times) {
    album.tracks.clear();
    for (const auto& [start, end] : times) {
        ALBUMTRACK track;
        track.title = std::string(1, static_cast<char>('A' + album.tracks.size()));
        track.start = start * kTenth;
        track.end = end * kTenth;
        album.tracks.push_back(track);
    }
}

Times TimesOf(const AlbumInfo& album) {
    Times times;
    for (const ALBUMTRACK& track : album.tracks) times.emplace_back(track.start / kTenth, track.end / kTenth);
    return times;
}

TEST(CheckTrackBreaks, FindsAndRepairsWhatIsInDisorder) {
    struct Row {
        Times before;
        Times after;
        std::vector<std::string> faults;
    };
    const Row rows[] = {
        {{{0, 100}, {100, 100}, {100, 100}}, {{0, 100}, {100, 100}, {100, 100}}, {}},
        {{{-20, 100}}, {{0, 100}}, {"Track A has a negative start time (-0:02.00000)"}},
        {{{0, 100}, {200, 150}}, {{0, 100}, {100, 100}}, {"Length of track B is negative (-0:05.00000)"}},
        {{{0, 100}, {100, 100}, {120, 120}},
         {{0, 100}, {100, 100}, {100, 100}},
         {"Orphaned empty track C at 0:12.00000"}},
        {{{0, 100}, {100, 100}, {150, 200}},
         {{0, 100}, {100, 110}, {150, 200}},
         {"Embedded empty track B at 0:10.00000"}},
        {{{0, 100}, {50, 200}}, {{0, 100}, {100, 200}}, {"Overlapping track B at 0:05.00000"}},
        {{{0, 100}, {50, 80}},
         {{0, 100}, {100, 100}},
         {"Overlapping track B at 0:05.00000", "Length of track B is negative (-0:02.00000)"}},
    };
    for (const Row& row : rows) {
        AlbumInfo album;
        Fill(album, row.before);
        FakeMessageHost asked(std::deque<Answer>(10, Answer::Ok));
        EXPECT_EQ(CheckTrackBreaks(album, CHECK_ASK | CHECK_FIX | CHECK_QUIET), row.faults.size());
        EXPECT_EQ(asked.Texts(), row.faults);
        EXPECT_EQ(TimesOf(album), row.after) << testing::PrintToString(row.faults);
    }
}

TEST(CheckTrackBreaks, ATrackThatStaysTooShortEndsTheCheckAndBecomesUnset) {
    AlbumInfo album;
    Fill(album, {{0, 100}, {100, 105}});
    const FakeMessageHost messages;
    EXPECT_EQ(CheckTrackBreaks(album, CHECK_FIX), 100);
    EXPECT_EQ(TimesOf(album), (Times{{0, 100}, {100, 100}}));
}

}  // namespace
}  // namespace Orvane
