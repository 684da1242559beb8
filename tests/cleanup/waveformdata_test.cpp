#include "cleanup/waveformdata.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "audiosignals.h"
#include "memorystream.h"

namespace Orvane {
namespace {

// Every sample made a 16-bit number by itself.
std::vector<uint8_t> PlainOverview(const std::vector<float>& pairs, size_t block) {
    std::vector<uint8_t> bytes;
    for (size_t start = 0; start < pairs.size(); start += 2 * block) {
        int peak = 0;
        for (size_t i = start; i < std::min(pairs.size(), start + 2 * block); ++i) {
            const double scaled = std::clamp(std::trunc(static_cast<double>(pairs[i]) * 32767.0), -32767.0, 32767.0);
            peak = std::max(peak, std::abs(static_cast<int>(scaled)));
        }
        bytes.push_back(static_cast<uint8_t>(peak * 254 / 32767));
    }
    return bytes;
}

TEST(WaveformData, BytesEqualThePlainModelInAnyChunks) {
    OrvaneTest::Noise noise(1);
    std::vector<float> pairs(2 * 20000);
    for (size_t i = 0; i < pairs.size(); ++i) {
        pairs[i] = static_cast<float>(noise.Normal() * std::pow(10.0, noise.Below(5) - 4));
    }
    pairs[7000] = 1.0f;
    pairs[12000] = -std::numeric_limits<float>::infinity();
    for (int32_t block : {1, 288, 1152, 4608}) {
        const std::vector<uint8_t> wanted = PlainOverview(pairs, static_cast<size_t>(block));
        for (int32_t chunk : {1, 7, 511, 1152, 20000}) {
            OverviewPeaks peaks(block);
            std::vector<uint8_t> bytes;
            for (int32_t at = 0; at < 20000; at += chunk) {
                peaks.Add(pairs.data() + 2 * static_cast<size_t>(at), std::min(chunk, 20000 - at), bytes);
            }
            peaks.Flush(bytes);
            EXPECT_EQ(bytes, wanted) << block << " " << chunk;
        }
    }
}

TEST(WaveformData, ALastPartialBlockCountsFromHalfABlockOn) {
    const std::pair<int, size_t> rows[] = {{0, 0}, {575, 0}, {576, 1}, {1152, 1}, {1727, 1}, {1728, 2}};
    for (const auto& [n_samples, n_bytes] : rows) {
        Testing::MemoryStream stream(44100, std::vector<float>(2 * static_cast<size_t>(n_samples), 1.0f));
        const WaveformOverview overview = BuildOverview(stream);
        EXPECT_EQ(overview.total_samples, n_samples);
        EXPECT_EQ(overview.total_bytes, static_cast<int64_t>(n_bytes)) << n_samples;
        EXPECT_EQ(std::vector<uint8_t>(overview.bytes.begin(), overview.bytes.begin() + overview.total_bytes),
                  std::vector<uint8_t>(n_bytes, 254));
    }
}

TEST(WaveformData, RecordingsLieEndToEnd) {
    WaveformOverview overview;
    Testing::MemoryStream first(96000, std::vector<float>(2 * 2304 * 3, 1.0f));
    Testing::MemoryStream second(96000, std::vector<float>(2 * 2304, 0.5f));
    ASSERT_EQ(overview.AddRecording(first), 0);
    overview.AddRecording(2304 * 2, 96000);
    ASSERT_EQ(overview.AddRecording(second), 0);
    EXPECT_EQ(overview.block, 2304);
    EXPECT_EQ(overview.total_samples, 2304 * 6);
    const std::vector<uint8_t> wanted = {254, 254, 254, 0, 0, 126};
    ASSERT_EQ(overview.total_bytes, 6);
    EXPECT_TRUE(std::equal(wanted.begin(), wanted.end(), overview.bytes.begin()));
    EXPECT_EQ(overview.recordings[2].first_byte, 5);
}

}  // namespace
}  // namespace Orvane
