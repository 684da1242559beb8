#include "cleanup/waveformwriter.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <limits>

#include "fake_hosts.h"
#include "plain_waveform.h"
#include "waveform_sides.h"

namespace Orvane {
namespace {

using OrvaneTest::ReadBytes;

TEST(WaveformWriter, FilesEqualThePlainModelInAnyChunks) {
    const OrvaneTest::TempFolder folder;
    OrvaneTest::Noise noise(1);
    const float odd[] = {1.0f, -1.0f, 0.5f, -0.5f, -7.0f, std::numeric_limits<float>::infinity(), 0.99999997f};
    for (int frames : {1, 64, 1152, 8192, 8193, 30000}) {
        std::vector<float> pairs = OrvaneTest::NoisePairs(frames);
        for (size_t i = 0; i < std::size(odd) && 70 * i < pairs.size(); ++i) pairs[70 * i] = odd[i];
        WaveformWriter writer(44100, false);
        ASSERT_TRUE(writer.Open(folder / "side.wav"));
        for (int at = 0, n; at < frames; at += n) {
            n = std::min(frames - at, 1 + noise.Below(3000));
            ASSERT_TRUE(writer.Write(pairs.data() + 2 * static_cast<size_t>(at), n));
        }
        ASSERT_TRUE(writer.Close(true));
        const std::vector<uint8_t> overview = OrvaneOracle::Overview(pairs, 1152);
        EXPECT_EQ(ReadBytes(folder / "orvfiles/side.wav.wft"), std::string(overview.begin(), overview.end()));
        for (const auto& [name, block] : {std::pair("wfs", 8192), {"wfo", 1024}, {"wfd", 64}}) {
            EXPECT_EQ(ReadBytes(folder / "orvfiles/side.wav." + name), OrvaneOracle::Records(pairs, block)) << frames;
        }
    }
    const float no_number[] = {std::numeric_limits<float>::quiet_NaN(), 0.0f};
    EXPECT_EQ(ExtremesOf(no_number, 1), (WaveformRecord{-32767, -32767, 0, 0}));
}

TEST(WaveformWriter, AFullDiskIsToldOnceAndLeavesNoFiles) {
    const OrvaneTest::TempFolder folder;
    OrvaneTest::FakeMessageHost messages;
    std::filesystem::create_directory(folder / "orvfiles");
    std::filesystem::create_symlink("/dev/full", folder / "orvfiles/side.wav_$$$.wfd");
    WaveformWriter writer(44100, true);
    ASSERT_TRUE(writer.Open(folder / "side.wav"));
    const std::vector<float> pairs(2 * 50000);
    while (writer.Write(pairs.data(), 50000)) {
    }
    EXPECT_FALSE(writer.Close(true, kFileTimeUnixEpoch));
    ASSERT_EQ(messages.asked.size(), 1u);
    EXPECT_NE(messages.Texts()[0].find("side.wav.wfd"), std::string::npos) << messages.Texts()[0];
    EXPECT_TRUE(std::filesystem::is_empty(folder / "orvfiles"));
}

}  // namespace
}  // namespace Orvane
