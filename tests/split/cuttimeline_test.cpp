#include "split/cuttimeline.h"

#include <gtest/gtest.h>

#include <cstdlib>

#include "audiosignals.h"
#include "sides.h"

namespace Orvane {
namespace {

TEST(CutTimeline, PositionsGoThereAndBackAtAnyRate) {
    OrvaneTest::Noise noise(2);
    for (int32_t rate : {8000, 44100, 48000, 96000, 192000}) {
        const int64_t frame = kTicksPerSecond / rate + 1;  // ticks, rounded up
        LevelAlbum sides;
        for (int side = 0; side < 3; ++side) {
            FileHistoryEntry& entry = sides.AddSide({{100 + noise.Even(), 0}}, rate);
            for (int i = 0; i < 4; ++i) {
                const auto start = static_cast<int64_t>(noise.Even() * 60 * rate);
                entry.cuts.Add(start, start + static_cast<int64_t>(noise.Even() * 5 * rate), 0, rate);
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
