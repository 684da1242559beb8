// Tracks as streams, as they are saved.
#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include "recorded_side.h"
#include "save/trackstream.h"
#include "stream_checks.h"

namespace Orvane {
namespace {

using namespace Foundation;
using namespace Tesslib;

// Mains hum with harmonics, 20 dB below full scale, under noise and over an offset.
std::vector<float> HummingPairs(int seconds, int rate, uint64_t seed) {
    OrvaneTest::Noise noise(seed);
    std::vector<float> pairs;
    for (int i = 0; i < seconds * rate; ++i) {
        const double t = 2 * std::numbers::pi * 50 * i / rate;
        const double hum = 0.1 * std::sin(t) + 0.03 * std::sin(2 * t) + 0.01 * std::sin(4 * t) + 0.02;
        pairs.insert(pairs.end(), {float(hum + 0.01 * noise.Normal()), float(0.01 * noise.Normal() - hum)});
    }
    return pairs;
}

struct AlbumWithFilters {
    AlbumWithFilters(int rate, const FilterValues& values) {
        for (uint64_t side : {1, 2}) {
            FileHistoryEntry& entry = recorded.AddSide(HummingPairs(kSideSeconds, rate, side), rate);
            entry.decided.noise_stretch.start = rate, entry.decided.noise_stretch.end = 3 * rate;
            auto* filter = new FilterSetting;
            filter->values = values;
            entry.decided.filters.Append(filter);
        }
    }
    void AddTrack(double from, double to) {
        ALBUMTRACK track;
        track.start = std::llround(from * kTicksPerSecond);
        track.end = std::llround(to * kTicksPerSecond);
        recorded.album->tracks.push_back(track);
    }
    std::vector<float> Read(int track, int output_rate) {
        int result = 0;
        return OrvaneTest::PullAll(*MakeTrackPCMStream(recorded.album, track, PCM_BEST_QUALITY, output_rate, -1), 4096,
                                   result);
    }

    static constexpr int kSideSeconds = 9;
    OrvaneTest::RecordedAlbum recorded;
};

// Whatever the filters remember at a break: the end of one track and the start of the next are one straight read.
TEST(TrackStream, TracksSavedOneByOneJoinWithoutAGap) {
    const FilterValues hum{.hum_mode = FILTER_ON, .mains_frequency = 50, .filter_harmonics = 1};
    const FilterValues hum_and_rumble{.hum_mode = FILTER_ON,
                                      .mains_frequency = 50,
                                      .rumble_mode = FILTER_ON,
                                      .dc_offset_only = 0,
                                      .filter_harmonics = 1};
    const FilterValues equaliser{
        .eq_mode = FILTER_ON, .preamp_left = -30, .bands = {9, -3, 0, 12, -12, 2, 0, 5, -6, 7}};
    FilterValues all = hum_and_rumble;
    all.eq_mode = FILTER_ON;
    all.bands = equaliser.bands;
    all.hiss_mode = FILTER_ON;
    all.hiss_quality = 0;
    struct Case {
        const char* name;
        FilterValues values;
        int rate, output_rate;
    };
    for (const Case& c : {Case{"hum", hum, 44100, 44100},
                          {"hum and rumble", hum_and_rumble, 44100, 48000},
                          {"equaliser", equaliser, 44100, 44100},
                          {"all", all, 44100, 44100},
                          {"all", all, 96000, 44100}}) {
        SCOPED_TRACE(testing::Message() << c.name << " " << c.rate << " to " << c.output_rate);
        AlbumWithFilters album(c.rate, c.values);
        album.AddTrack(0, 2 * AlbumWithFilters::kSideSeconds);
        // In the first side, in the second less and more than the filters' memory behind the join.
        double start = 0;
        for (double end : {5.5, 7.123, 10.01, 15.3, 18.0}) album.AddTrack(start, end), start = end;
        const std::vector<float> straight = album.Read(0, c.output_rate);
        std::vector<float> joined;
        for (int track = 1; track < album.recorded.album->tracks.size(); ++track) {
            const size_t from = joined.size();
            for (float sample : album.Read(track, c.output_rate)) joined.push_back(sample);
            double worst = 0;
            size_t where = 0;
            for (size_t i = from; i < std::min(joined.size(), straight.size()); ++i) {
                const double difference = std::abs(joined[i] - straight[i]);
                if (difference > worst) worst = difference, where = i;
            }
            EXPECT_LT(worst, 1e-5) << "track " << track << ", " << (where - from) / 2 << " frames in";
        }
        EXPECT_EQ(joined.size(), straight.size());
    }
}

}  // namespace
}  // namespace Orvane
