#include "devices/simulated/turntable.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <optional>

#include "audiosignals.h"
#include "capture_client.h"
#include "devices/wavein.h"
#include "fake_clock.h"
#include "sound_files.h"
#include "temp_folder.h"

namespace Tesslib {
namespace {

using OrvaneTest::CaptureClient;
using OrvaneTest::FakeClock;
using OrvaneTest::TempFolder;

class TurntableTest : public testing::Test {
protected:
    // Opens a turntable with a record of noise on it, of 2 s at `rate`.
    Foundation::Outcome Open(const std::string& options, int rate = 44100, int bits = 24) {
        in.reset();
        client.emplace();
        record.clear();
        for (float value : OrvaneTest::NormalNoise(4 * static_cast<size_t>(rate), 0.1, 5)) {
            const float full = static_cast<float>((1 << (bits - 1)) - 1);
            record.push_back(std::round(std::clamp(value, -1.f, 1.f) * full) / full);
        }
        const std::string path = OrvaneTest::WriteWav(folder / "side.wav", record, rate, bits);
        WaveInSettings settings;
        settings.sample_rate = rate;
        settings.samples_per_buffer = static_cast<uint32_t>(2 * SamplesPerFrame(rate));
        settings.quad_dop = options.find("channels=4") != options.npos;
        settings.client = &*client;
        settings.callback = CaptureClient::Callback;
        in = std::make_unique<WaveIn>(std::make_unique<Turntable>(clock), settings, clock);
        in->KeepAllChannels(settings.quad_dop);
        client->device = in.get();
        return in->Open(path + options, "Turntable");
    }
    float Peak(const std::vector<float>& pairs, double from_s, double to_s) {
        float peak = 0;
        const auto end = std::min(pairs.size(), static_cast<size_t>(to_s * 44100) * 2);
        for (auto i = static_cast<size_t>(from_s * 44100) * 2; i < end; ++i) peak = std::max(peak, std::abs(pairs[i]));
        return peak;
    }

    TempFolder folder;
    FakeClock clock;
    std::optional<CaptureClient> client;
    std::vector<float> record;
    std::unique_ptr<WaveIn> in;
};

TEST_F(TurntableTest, LandsPlaysTheFileAsItIsAndRunsOut) {
    struct {
        int rate, bits;
    } const cases[] = {{44100, 24}, {96000, 24}, {44100, 16}};
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << c.rate << " Hz, " << c.bits << " bits");
        ASSERT_TRUE(Open("?needle-up=3", c.rate, c.bits));
        clock.AdvanceMs(10000);
        ASSERT_TRUE(in->Close(true));
        const std::vector<float> heard = client->Heard();
        ASSERT_EQ(heard.size(), 2 * 10 * static_cast<size_t>(c.rate));
        const size_t start = 2 * static_cast<size_t>(3 * c.rate + Turntable::ThumpFrames(c.rate));
        for (size_t i = 0; i < record.size(); ++i) {
            ASSERT_NEAR(heard[start + i], record[i], 0.5 / 8388607) << i;
        }
        if (c.rate != 44100) continue;
        EXPECT_LT(Peak(heard, 0, 3), 0.001);
        EXPECT_GT(Peak(heard, 3, 3.06), 0.2);
        EXPECT_LT(Peak(heard, 5.1, 10), 0.0151) << "below the level that a landing needs";
        EXPECT_GT(Peak(heard, 5.1, 10), 0.002);
    }
}

TEST_F(TurntableTest, FailsInTheWayItIsTold) {
    struct {
        const char* options;
        int failures;
        double seconds_heard;  // of 12
        int64_t lost_before, lost;
    } const cases[] = {
        {"", 0, 12, 0, 0},
        {"?disconnect=4.321", 1, 4.321, 0, 0},
        {"?stall=3:2500", 0, 12, 0, 0},
        {"?stall=3:3500", 1, 2.99, 0, 0},
        {"?gap=4:1152", 0, 12 - 1152 / 44100.0, 4 * 44100, 1152},
        {"?gap=4:44100", 0, 11, 4 * 44100, 44100},
        {"?drift=200", 0, 12 * 1.0002, 0, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.options);
        ASSERT_TRUE(Open(c.options));
        clock.AdvanceMs(12000);
        EXPECT_EQ(client->Failures(), c.failures);
        EXPECT_EQ(in->GetFailure().Ok(), c.failures == 0);
        LostFrames loss;
        if (c.lost > 0) {
            ASSERT_TRUE(in->NextLoss(loss));
            EXPECT_NEAR(static_cast<double>(loss.before_frame), static_cast<double>(c.lost_before), 441);
            EXPECT_NEAR(static_cast<double>(loss.n_frames), static_cast<double>(c.lost), 1);
        }
        EXPECT_FALSE(in->NextLoss(loss));
        in->Close(true);
        EXPECT_NEAR(static_cast<double>(client->Values()) / 2, c.seconds_heard * 44100, 1);
    }
    EXPECT_TRUE(Open("?refuse=1").Is(Foundation::Kind::InUse));
}

TEST_F(TurntableTest, CarriesDSDInTwoAndFourChannels) {
    for (const std::string options : {"?dop=1", "?dop=1&channels=4"}) {
        SCOPED_TRACE(options);
        ASSERT_TRUE(Open(options));
        clock.AdvanceMs(1000);
        in->Close(true);
        const int channels = options.find("channels") == options.npos ? 2 : 4;
        EXPECT_EQ(in->GetFormat().channels, channels);
        const std::vector<float> heard = client->Heard();
        ASSERT_EQ(heard.size(), 44100u * static_cast<size_t>(channels));
        for (size_t i = 0; i < heard.size(); ++i) {
            const size_t frame = i / static_cast<size_t>(channels);
            const int marker = (static_cast<int>(std::lround(heard[i] * 8388607)) >> 16) & 0xFF;
            ASSERT_EQ(marker, channels == 2 ? (frame % 2 ? 0xFA : 0x05) : (frame / 2 % 2 ? 0xF9 : 0x06)) << i;
        }
    }
}

TEST(ParseTurntableTest, TakesWhatItKnowsAndNamesWhatItDoesNot) {
    const auto script = ParseTurntable("/a/b?c.wav?needle-up=1.5&stall=3:500&gap=4:1152&drift=-20&disconnect=9");
    ASSERT_TRUE(script);
    EXPECT_EQ(script->record, "/a/b?c.wav");
    EXPECT_EQ(script->needle_up, 1.5);
    EXPECT_EQ(script->stall_ms, 500);
    EXPECT_EQ(script->gap_frames, 1152);
    EXPECT_EQ(script->drift_ppm, -20);
    EXPECT_EQ(script->disconnect_at, 9);
    EXPECT_EQ(ParseTurntable("b.wav?speed=3").GetOutcome().Plain(),
              "speed=3 is nothing that a simulated turntable can do (in b.wav?speed=3).");
    for (const char* bad : {"?", "?x", "?gap=4", "?drift=1:2", "?channels=3", "?needle-up=-1", "?stall=nan:3",
                            "?disconnect=1e999", "?drift=", "?gap=1:2:3"}) {
        EXPECT_FALSE(ParseTurntable(std::string("b.wav") + bad)) << bad;
    }
}

}  // namespace
}  // namespace Tesslib
