#include "cleanup/waveformdata.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "audiosignals.h"

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

}  // namespace
}  // namespace Orvane
