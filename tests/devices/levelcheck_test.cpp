#include "devices/levelcheck.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include "audiosignals.h"
#include "devices/devicelist.h"

namespace Tesslib {
namespace {

constexpr int kListenRate = 48000;

std::vector<float> Sine(double hertz, double amplitude, int n) {
    std::vector<float> sine(static_cast<size_t>(n));
    for (int i = 0; i < n; ++i) {
        sine[i] = static_cast<float>(amplitude * std::sin(2 * std::numbers::pi * hertz * i / kListenRate + 1));
    }
    return sine;
}

std::vector<float> Add(std::vector<float> a, const std::vector<float>& b, float gain = 1) {
    for (size_t i = 0; i < a.size(); ++i) a[i] += gain * b[i];
    return a;
}

std::vector<float> Pairs(const std::vector<float>& left, const std::vector<float>& right) {
    std::vector<float> pairs;
    for (size_t i = 0; i < left.size(); ++i) pairs.insert(pairs.end(), {left[i], right[i]});
    return pairs;
}

TEST(LevelCheckTest, MeasuresPeaksPowersOffsetsAndClips) {
    std::vector<float> left = Sine(1000, 0.5, kListenRate), right = Sine(500, 0.25, kListenRate);
    for (float& value : right) value += 0.01f;
    for (size_t at : {100u, 101u, 102u, 5000u}) left[at] = -1.0f;  // two stretches
    const StereoLevels levels = MeasureLevels(Pairs(left, right));
    EXPECT_FLOAT_EQ(levels.peak[0], 1);
    EXPECT_NEAR(levels.peak[1], 0.26, 1e-4);
    EXPECT_NEAR(levels.rms_db[0], -9.03, 0.01);
    EXPECT_NEAR(levels.rms_db[1], -15.05, 0.01);
    EXPECT_NEAR(levels.offset[1], 0.01, 1e-6);
    EXPECT_EQ(levels.clipped[0], 2);
    EXPECT_EQ(levels.clipped[1], 0);
    EXPECT_EQ(MeasureLevels({}).rms_db[0], kNothingDb);
    LevelHold hold;
    hold.Add(levels);
    hold.Add(MeasureLevels(Pairs(right, right)));
    EXPECT_FLOAT_EQ(hold.peak[0], 1);
    EXPECT_EQ(hold.clips, 2);
}

TEST(LevelCheckTest, FindsHumAndTellsItFromNoise) {
    const std::vector<float> noise = OrvaneTest::NormalNoise(2 * kListenRate, 0.001, 4);
    struct {
        double hertz, amplitude;
        int frequency;
        double db;
    } const cases[] = {
        {50, 0.01, 50, -40},   {60, 0.002, 60, -54}, {100, 0.005, 100, -46}, {180, 0.005, 180, -46},
        {50.2, 0.01, 50, -40}, {50, 0.00001, 0, 0},  {77, 0.01, 0, 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.hertz);
        const HumLine hum = WorstHum(Add(noise, Sine(c.hertz, c.amplitude, 2 * kListenRate)), kListenRate);
        EXPECT_EQ(hum.frequency, c.frequency);
        if (c.frequency == 0) continue;
        EXPECT_NEAR(hum.level_db, c.db, c.hertz == c.frequency ? 0.3 : 2.5);
    }
    EXPECT_EQ(WorstHum(std::vector<float>(kListenRate, 0.f), kListenRate).frequency, 0);
    EXPECT_EQ(MeasureHum(noise, kListenRate, 60).back().frequency, 360);
}

TEST(LevelCheckTest, NamesWhatIsWrongWithTheChannels) {
    const std::vector<float> middle = Add(OrvaneTest::Music(3, 2 * kListenRate, 0.3), Sine(70, 0.2, 2 * kListenRate));
    const std::vector<float> left = Add(middle, OrvaneTest::NormalNoise(2 * kListenRate, 0.05, 1));
    const std::vector<float> right = Add(middle, OrvaneTest::NormalNoise(2 * kListenRate, 0.05, 2));
    const std::vector<float> hiss = OrvaneTest::NormalNoise(2 * kListenRate, 0.0003, 5);
    const std::vector<float> nothing(2 * kListenRate, 0.f);
    std::vector<float> upside_down = right;
    for (float& value : upside_down) value = -value;
    EXPECT_EQ(CheckChannels(Pairs(left, right), kListenRate), Channels::Stereo);
    EXPECT_EQ(CheckChannels(Pairs(left, upside_down), kListenRate), Channels::Inverted);
    EXPECT_EQ(CheckChannels(Pairs(middle, Add(middle, hiss)), kListenRate), Channels::Mono);
    EXPECT_EQ(CheckChannels(Pairs(hiss, right), kListenRate), Channels::LeftDead);
    EXPECT_EQ(CheckChannels(Pairs(left, nothing), kListenRate), Channels::RightDead);
    EXPECT_EQ(CheckChannels(Pairs(nothing, nothing), kListenRate), Channels::Silent);
    EXPECT_EQ(CheckChannels(Pairs(left, hiss), kListenRate, Playing::LeftOnly), Channels::Stereo);
    EXPECT_EQ(CheckChannels(Pairs(hiss, right), kListenRate, Playing::LeftOnly), Channels::Swapped);
    EXPECT_EQ(CheckChannels(Pairs(left, hiss), kListenRate, Playing::RightOnly), Channels::Swapped);
    EXPECT_EQ(CheckChannels({}, kListenRate), Channels::Silent);
}

TEST(LevelCheckTest, SaysWhatMattersMost) {
    LevelReport good;
    good.channels = Channels::Stereo;
    good.hold.peak = {0.5f, 0.45f};
    good.music.rms_db = {-20, -21};
    EXPECT_EQ(Advice(good), "The level is good.");
    struct {
        void (*spoil)(LevelReport&);
        const char* sentence;
    } const cases[] = {
        {[](LevelReport& r) {
             r.hold.peak = {0.1f, 0.2f};
         },
         "Turn the volume up: the loudest passage should reach -6 dB"},
        {[](LevelReport& r) {
             r.hold.peak = {0.8f, 0.2f};
         },
         "Turn the volume down: the loudest passage should reach -6 dB"},
        {[](LevelReport& r) { r.hold.clips = 1, r.hum.frequency = 50; },
         "Turn the volume down: the loudest passages are cut off."},
        {[](LevelReport& r) {
             r.channels = Channels::LeftDead, r.hold.peak = {0, 0.1f};
         },
         "The left channel is silent.  Check its plug and the cartridge's leads."},
        {[](LevelReport& r) { r.music.rms_db[1] = -13.5; },
         "The right channel is louder by 6.5 dB.  Adjust the balance."},
        {[](LevelReport& r) {
             r.hum = {100, -52, 20};
         },
         "There is hum at 100 Hz (-52 dB).  Check the turntable's earth lead."},
        {[](LevelReport& r) { r.music.offset[0] = -0.01; },
         "The input adds a constant voltage (-40 dB).  Switch the rumble filter on, or use another input."},
        {[](LevelReport& r) { r.channels = Channels::Silent, r.hold.clips = 5; },
         "No sound arrives.  Check the cable and the input, and play a record."},
    };
    for (const auto& c : cases) {
        LevelReport report = good;
        c.spoil(report);
        EXPECT_EQ(Advice(report), c.sentence);
    }
}

TEST(DeviceListTest, SuggestsARealInputAndNeverAMonitorOrWebcam) {
    const auto device = [](const char* id, bool is_default) {
        DeviceInfo info;
        info.id = id;
        info.input = true;
        info.is_default = is_default;
        return info;
    };
    DeviceInfo monitor = device("monitor", true), webcam = device("webcam", true),
               simulated = device("simulated", false), output = device("output", true);
    monitor.monitor = webcam.webcam = simulated.simulated = true;
    output.input = false;
    std::vector<DeviceInfo> devices{monitor, webcam, output};
    EXPECT_EQ(SuggestedInput(devices), nullptr);
    devices.push_back(simulated);
    EXPECT_EQ(SuggestedInput(devices)->id, "simulated");
    devices.push_back(device("first", false));
    devices.push_back(device("second", false));
    EXPECT_EQ(SuggestedInput(devices)->id, "first");
    devices.push_back(device("usual", true));
    EXPECT_EQ(SuggestedInput(devices)->id, "usual");
    EXPECT_EQ(DeviceKey("pulse:a:b"), "a:b");
    EXPECT_EQ(MakeWaveIn("nothing:a", {}), nullptr);
}

}  // namespace
}  // namespace Tesslib
