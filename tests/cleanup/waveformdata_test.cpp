#include "cleanup/waveformdata.h"

#include <gtest/gtest.h>

#include <limits>

#include "audiosignals.h"
#include "plain_waveform.h"

namespace Orvane {
namespace {

TEST(WaveformData, BytesEqualThePlainModelInAnyChunks) {
    OrvaneTest::Noise noise(1);
    std::vector<float> pairs(2 * 20000);
    for (size_t i = 0; i < pairs.size(); ++i) {
        pairs[i] = static_cast<float>(noise.Normal() * std::pow(10.0, noise.Below(5) - 4));
    }
    pairs[7000] = 1.0f;
    pairs[12000] = -std::numeric_limits<float>::infinity();
    for (int32_t block : {1, 288, 1152, 4608}) {
        const std::vector<uint8_t> wanted = OrvaneOracle::Overview(pairs, static_cast<size_t>(block));
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

TEST(WaveformData, ABlockIsThatOfAnMpegFrameAndEveryRateHasOne) {
    for (int32_t rate : {8000, 11025, 16000, 22050, 32000, 44100, 48000, 88200, 96000, 176400, 192000, 384000}) {
        EXPECT_EQ(OverviewBlock(rate), SamplesPerFrame(rate)) << rate;
    }
    EXPECT_EQ(OverviewBlock(24000), 576);
    EXPECT_EQ(OverviewBlock(50000), 2304);
}

}  // namespace
}  // namespace Orvane
