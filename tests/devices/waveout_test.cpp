#include "devices/waveout.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "allocations.h"
#include "audiosignals.h"
#include "devices/simulated/loudspeaker.h"
#include "fake_clock.h"
#include "locks.h"
#include "sound_files.h"
#include "temp_folder.h"

namespace Tesslib {
namespace {

using Foundation::Kind;
using Foundation::Outcome;
using Foundation::Result;
using OrvaneTest::FakeClock;

// The test plays the driver.
struct ScriptedSpeaker {
    StreamFormat runs_at{44100, 44100, 32, 2};
    PlaybackSource* source = nullptr;
    int starts = 0, halts = 0, stops = 0;
    bool active = true;
};

class ScriptedSpeakerDriver : public PlaybackDriver {
public:
    explicit ScriptedSpeakerDriver(ScriptedSpeaker& device) : device(device) {}
    Result<StreamFormat> Open(const StreamRequest&, PlaybackSource& source) override {
        device.source = &source;
        return device.runs_at;
    }
    Outcome Start() override { return ++device.starts, Outcome(); }
    void Halt() override { ++device.halts; }
    void Stop() override { ++device.stops; }
    bool IsActive() override { return device.active; }

private:
    ScriptedSpeaker& device;
};

struct Listener {
    std::vector<int64_t> positions;
    float left = -1, right = -1;
    int64_t stop_at = INT64_MAX;  // calls

    static bool Progress(void* client, int64_t played, const float peaks[2]) {
        auto& self = *static_cast<Listener*>(client);
        self.positions.push_back(played);
        self.left = peaks[0];
        self.right = peaks[1];
        return static_cast<int64_t>(self.positions.size()) < self.stop_at;
    }
};

class WaveOutTest : public testing::Test {
protected:
    WaveOutSettings Settings(int bits) {
        WaveOutSettings settings;
        settings.bits = bits;
        settings.client = &listener;
        settings.progress = Listener::Progress;
        return settings;
    }
    void Make(int max_in_flight = 10) {
        out = std::make_unique<WaveOut>(std::make_unique<ScriptedSpeakerDriver>(scripted), Settings(32), clock);
        ASSERT_TRUE(out->Open("", "Speakers", max_in_flight));
    }
    // A block whose values count on from the last.
    Outcome Write(int n_frames) {
        std::vector<float> block;
        for (int i = 0; i < 2 * n_frames; ++i) block.push_back(static_cast<float>(++written) * 1e-6f);
        return out->Write(block.data(), static_cast<uint32_t>(block.size() * sizeof(float)));
    }
    std::vector<float> Take(int n_frames, int latency) {
        std::vector<float> taken(2 * static_cast<size_t>(n_frames), -1);
        scripted.source->Take(taken.data(), n_frames, latency);
        return taken;
    }

    FakeClock clock;
    ScriptedSpeaker scripted;
    Listener listener;
    std::unique_ptr<WaveOut> out;
    int written = 0;
};

TEST_F(WaveOutTest, TheDriverGetsTheBlocksInARowAndSilenceWhereThereAreNone) {
    Make();
    for (int n : {3, 5, 1}) EXPECT_TRUE(Write(n));
    EXPECT_EQ(scripted.starts, 0);
    EXPECT_TRUE(Write(2));
    EXPECT_EQ(scripted.starts, 1) << "with the fourth block";
    std::vector<float> taken;
    for (int n : {2, 4, 1, 6}) {
        for (float value : Take(n, 0)) taken.push_back(value);
    }
    for (int i = 0; i < 26; ++i) EXPECT_FLOAT_EQ(taken[i], i < 22 ? static_cast<float>(i + 1) * 1e-6f : 0) << i;
    EXPECT_TRUE(Write(1));
    EXPECT_FLOAT_EQ(Take(2, 0)[0], 23e-6f);
}

TEST_F(WaveOutTest, PositionsAreWhatHasBeenHeardToTheFrame) {
    Make();
    out->SetPosition(1000);
    for (int i = 0; i < 4; ++i) EXPECT_TRUE(Write(100));
    const auto position_at = [this](int n_frames, int latency) {
        Take(n_frames, latency);
        EXPECT_TRUE(Write(1));
        return listener.positions.back() - 1000;
    };
    EXPECT_EQ(position_at(250, 0), 0);    // nothing had been handed over before
    EXPECT_EQ(position_at(50, 180), 70);  // 250 handed over, 180 still to be heard
    EXPECT_EQ(out->QueuedBuffers(), 6);
    EXPECT_EQ(position_at(50, 220), 80);
    EXPECT_EQ(position_at(100, 260), 90);
    EXPECT_EQ(position_at(50, 500), 90) << "never back";
    EXPECT_EQ(position_at(50, 290), 210);  // into the third block: 500 were handed over, of which 98 were silence
    EXPECT_EQ(out->QueuedBuffers(), 8);
    const int64_t allocations = Testing::CountAllocations(), locks = OrvaneTest::CountLocks();
    float frames[2 * 200];
    scripted.source->Take(frames, 200, 0);
    EXPECT_EQ(Testing::CountAllocations(), allocations);
    EXPECT_EQ(OrvaneTest::CountLocks(), locks);
}

TEST_F(WaveOutTest, ResetDropsEverythingAndTheDropDoesNotCount) {
    Make();
    for (int i = 0; i < 5; ++i) EXPECT_TRUE(Write(100));
    Take(250, 0);
    Take(0, 100);
    EXPECT_EQ(out->Reset(), 4);
    EXPECT_EQ(scripted.halts, 1);
    EXPECT_EQ(out->QueuedBuffers(), 0);
    out->SetPosition(5000);
    written = 0;
    for (int i = 0; i < 4; ++i) EXPECT_TRUE(Write(100));
    EXPECT_EQ(scripted.starts, 2);
    EXPECT_EQ(listener.positions.back(), 5000);
    EXPECT_FLOAT_EQ(Take(10, 0)[0], 1e-6f);
    Take(10, 0);
    EXPECT_TRUE(Write(1));
    EXPECT_EQ(listener.positions.back(), 5010);
}

TEST_F(WaveOutTest, ClosingWaitsForTheEndToBeHeardButNotForEver) {
    Make();
    EXPECT_TRUE(Write(100));
    const int64_t before = clock.NowNs();
    out->Close(false);  // nothing is ever heard
    EXPECT_EQ(scripted.starts, 1);
    EXPECT_EQ(clock.NowNs() - before, 3000 * Foundation::kNsPerMs);
    EXPECT_EQ(scripted.stops, 1);
    EXPECT_TRUE(Write(1).Is(Kind::Refused));

    Make();
    EXPECT_TRUE(Write(100));
    listener.positions.clear();
    listener.stop_at = 3;
    const int64_t start = clock.NowNs();
    out->Close(false);
    EXPECT_EQ(clock.NowNs() - start, 200 * Foundation::kNsPerMs) << "the client has had enough";
}

TEST_F(WaveOutTest, AFullQueueWaitsAndAClientOrADeadDeviceEndsTheWait) {
    Make(3);
    for (int i = 0; i < 3; ++i) EXPECT_TRUE(Write(10));
    listener.positions.clear();
    listener.stop_at = 5;
    EXPECT_TRUE(Write(10).Is(Kind::Cancelled));
    EXPECT_EQ(scripted.stops, 1);

    listener = {};
    Make(3);
    for (int i = 0; i < 3; ++i) EXPECT_TRUE(Write(10));
    const int64_t before = clock.NowNs();
    EXPECT_EQ(Write(10).Plain(), "Device Speakers was disconnected.") << "nothing is heard any more";
    EXPECT_EQ(clock.NowNs() - before, 3000 * Foundation::kNsPerMs);

    Make(3);
    EXPECT_TRUE(Write(10));
    scripted.source->Ended();
    EXPECT_EQ(Write(10).Plain(), "Device Speakers was disconnected.");
    out->Close(false);
}

TEST_F(WaveOutTest, ALoudspeakerPlaysWhatIsWrittenInTimeAndNothingElse) {
    OrvaneTest::TempFolder folder;
    for (int bits : {16, 24, 32}) {
        SCOPED_TRACE(bits);
        listener = {};
        out = std::make_unique<WaveOut>(std::make_unique<Loudspeaker>(clock), Settings(bits), clock);
        ASSERT_TRUE(out->Open(folder / "heard.wav", "Speakers", 10));
        std::vector<float> sound = OrvaneTest::NormalNoise(2 * 100000, 0.1, 1);
        const int64_t before = clock.NowNs();
        for (size_t at = 0; at < sound.size(); at += 4000) {
            EXPECT_TRUE(out->Write(&sound[at], 4000 * sizeof(float)));
            const double seconds = static_cast<double>(clock.NowNs() - before) / 1e9;
            const double heard = static_cast<double>(listener.positions.back()) / 44100;
            if (at < 100000) continue;
            EXPECT_NEAR(seconds - heard, 0.001 * Loudspeaker::kLatencyMs, 0.011) << at;
        }
        out->Close(false);
        EXPECT_EQ(listener.positions.back(), 100000);
        EXPECT_NEAR(static_cast<double>(clock.NowNs() - before) / 1e9, 100000 / 44100.0 + 0.03, 0.03);
        out.reset();
        const std::vector<float> heard = OrvaneTest::ReadSound(folder / "heard.wav");
        const double step = bits == 32 ? 0 : 0.5 / ((1 << (bits - 1)) - 1);
        ASSERT_GE(heard.size(), sound.size());
        size_t start = 0;
        while (heard[start] == 0 && heard[start + 1] == 0) start += 2;
        for (size_t i = 0; i < sound.size(); ++i) ASSERT_NEAR(heard[start + i], sound[i], step * 1.01) << i;
        for (size_t i = start + sound.size(); i < heard.size(); ++i) ASSERT_EQ(heard[i], 0);
    }
}

}  // namespace
}  // namespace Tesslib
