#include "devices/wavein.h"

#include <gtest/gtest.h>

#include <cmath>
#include <deque>
#include <thread>
#include <vector>

#include "allocations.h"
#include "audiosignals.h"
#include "fake_clock.h"
#include "foundation/messages.h"
#include "locks.h"

namespace Tesslib {
namespace {

using Foundation::Outcome;
using Foundation::Result;
using OrvaneTest::FakeClock;

// The test plays the driver.
struct ScriptedDevice {
    std::deque<Outcome> refusals;  // of the opens to come
    StreamFormat runs_at{44100, 44100, 24, 2};
    std::vector<int> channels_asked;
    CaptureSink* sink = nullptr;
    bool active = true;
    int stops = 0;
};

class ScriptedDriver : public CaptureDriver {
public:
    explicit ScriptedDriver(ScriptedDevice& device) : device(device) {}
    Result<StreamFormat> Open(const StreamRequest& request, CaptureSink& sink) override {
        device.channels_asked.push_back(request.channels);
        if (!device.refusals.empty()) {
            const Outcome refusal = device.refusals.front();
            device.refusals.pop_front();
            if (!refusal) return refusal;
        }
        device.sink = &sink;
        return device.runs_at;
    }
    Outcome Start() override { return {}; }
    void Stop() override { ++device.stops; }
    bool IsActive() override { return device.active; }

private:
    ScriptedDevice& device;
};

constexpr int kBlock = 100;

// A client that keeps what it is given until told otherwise.
struct KeepingClient {
    std::vector<WaveBuffer*> held;
    std::vector<float> heard;
    std::vector<uint32_t> sizes;
    std::vector<int64_t> places;
    int failures = 0;
    AbstractWaveIn* device = nullptr;
    bool keeps = false;

    static void Callback(void* client, WaveBuffer* buffer) { static_cast<KeepingClient*>(client)->Take(buffer); }
    void Take(WaveBuffer* buffer) {
        if (!buffer) {
            ++failures;
            return;
        }
        sizes.push_back(buffer->bytes_recorded);
        places.push_back(buffer->first_frame);
        heard.insert(heard.end(), buffer->data.get(), buffer->data.get() + buffer->bytes_recorded / sizeof(float));
        if (keeps) {
            held.push_back(buffer);
        } else {
            device->ReleaseBuffer(buffer);
        }
    }
};

class WaveInTest : public testing::Test {
protected:
    void Make(int n_buffers = 10, bool quad = false) {
        WaveInSettings settings;
        settings.samples_per_buffer = 2 * kBlock;
        settings.n_buffers = n_buffers;
        settings.quad_dop = quad;
        settings.client = &client;
        settings.callback = KeepingClient::Callback;
        in = std::make_unique<WaveIn>(std::make_unique<ScriptedDriver>(scripted), settings, clock);
        client.device = in.get();
    }
    // 24-bit integers in a row, from `first` on.
    std::vector<uint8_t> Counting(int first, int n_values) {
        std::vector<uint8_t> bytes;
        for (int value = first; value < first + n_values; ++value) {
            for (int shift = 0; shift < 24; shift += 8) bytes.push_back(static_cast<uint8_t>(value >> shift));
        }
        return bytes;
    }
    void Feed(int64_t n_frames) {
        const auto bytes = Counting(fed, static_cast<int>(n_frames * scripted.runs_at.channels));
        scripted.sink->Frames(bytes.data(), n_frames);
        fed += static_cast<int>(n_frames * scripted.runs_at.channels);
        clock.Settle();
    }
    static int Integer(float value) { return static_cast<int>(std::lround(value * 8388607)); }

    FakeClock clock;
    ScriptedDevice scripted;
    KeepingClient client;
    std::unique_ptr<WaveIn> in;
    int fed = 0;
};

TEST_F(WaveInTest, BlocksOfOneSizeComeOutOfWhateverTheDriverDelivers) {
    Make();
    ASSERT_TRUE(in->Open("key", "Turntable"));
    for (int n : {1, 99, 7, 250, 101, 3, 33}) Feed(n);  // 494 frames
    EXPECT_EQ(client.sizes, std::vector<uint32_t>(4, kBlock * 8));
    EXPECT_TRUE(in->Close(true));
    ASSERT_EQ(client.sizes.size(), 5u);  // the rest comes with the end
    EXPECT_EQ(client.sizes.back(), 94 * 8u);
    EXPECT_EQ(client.places, (std::vector<int64_t>{0, 100, 200, 300, 400}));
    ASSERT_EQ(client.heard.size(), 988u);
    for (int i = 0; i < 988; ++i) ASSERT_EQ(Integer(client.heard[i]), i);
    EXPECT_EQ(client.failures, 0);
    EXPECT_EQ(scripted.stops, 1);
}

TEST_F(WaveInTest, ManyChannelsAreCutToTwoAndOneIsDoubled) {
    struct {
        int channels;
        bool keep_all;
        std::vector<int> expected;  // of the first two frames
    } const cases[] = {
        {4, false, {0, 1, 4, 5}},
        {4, true, {0, 1, 2, 3, 4, 5, 6, 7}},
        {1, false, {0, 0, 1, 1}},
        {2, true, {0, 1, 2, 3}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.channels);
        scripted.runs_at.channels = c.channels;
        client = {};
        fed = 0;
        Make(10, c.channels == 4);
        in->KeepAllChannels(c.keep_all);
        ASSERT_TRUE(in->Open("", "Turntable"));
        Feed(kBlock);
        ASSERT_EQ(client.heard.size(), c.expected.size() / 2 * kBlock);
        for (size_t i = 0; i < c.expected.size(); ++i) EXPECT_EQ(Integer(client.heard[i]), c.expected[i]);
        in->Close(true);
    }
    EXPECT_EQ(scripted.channels_asked, (std::vector<int>{4, 4, 2, 2}));
}

TEST_F(WaveInTest, FourChannelsThatADeviceRefusesBecomeTwo) {
    scripted.refusals = {DeviceInUse("Turntable"), Outcome()};
    Make(10, true);
    EXPECT_TRUE(in->Open("", "Turntable"));
    EXPECT_EQ(scripted.channels_asked, (std::vector<int>{4, 2}));
    in.reset();
    scripted.refusals = {DeviceInUse("Turntable")};
    Make();
    EXPECT_EQ(in->Open("", "Turntable").Plain(), "Device Turntable is in use by another application.");
    EXPECT_TRUE(in->Close(true));
}

TEST_F(WaveInTest, OverflowsAreToldWhileBuffersRemainAndThenCountedAsLost) {
    Make(10);
    client.keeps = true;
    ASSERT_TRUE(in->Open("", "Turntable"));
    uint32_t overflows = 0, percent = 0, kb = 0;
    for (uint32_t expected : {0u, 0u, 0u, 0u, 1u, 2u, 3u, 4u, 5u, 6u}) {
        Feed(kBlock);
        in->GetStatus(nullptr, nullptr, &kb, &percent, &overflows);
        EXPECT_EQ(overflows, expected);
    }
    EXPECT_EQ(percent, 100u);
    EXPECT_EQ(kb, 10u * kBlock * 8 / 1024);
    Feed(70);
    Feed(30);
    LostFrames loss;
    EXPECT_FALSE(in->NextLoss(loss)) << "it is told when it is over";
    EXPECT_FALSE(in->Close(false));
    ASSERT_TRUE(in->NextLoss(loss));
    EXPECT_EQ(loss.before_frame, 1000);
    EXPECT_EQ(loss.n_frames, 100);
    EXPECT_FALSE(in->NextLoss(loss));
    for (WaveBuffer* buffer : client.held) {
        EXPECT_FALSE(in->Close(false));
        in->ReleaseBuffer(buffer);
    }
    EXPECT_TRUE(in->Close(false));
    EXPECT_TRUE(in->Close(true));
}

TEST_F(WaveInTest, BuffersComeBackInAnyOrderAndAreUsedAgain) {
    Make(8);
    client.keeps = true;
    ASSERT_TRUE(in->Open("", "Turntable"));
    OrvaneTest::Noise noise(3);
    for (int i = 0; i < 500; ++i) {
        Feed(kBlock);
        while (client.held.size() > 6) {
            const auto place = client.held.begin() + noise.Below(static_cast<int>(client.held.size()));
            in->ReleaseBuffer(*place);
            client.held.erase(place);
        }
    }
    ASSERT_EQ(client.heard.size(), 500u * 2 * kBlock);
    for (size_t i = 0; i < client.heard.size(); ++i) ASSERT_EQ(Integer(client.heard[i]), static_cast<int>(i));
    for (WaveBuffer* buffer : client.held) in->ReleaseBuffer(buffer);
}

TEST_F(WaveInTest, PeaksStartAnewOnceTheyHaveBeenRead) {
    Make();
    ASSERT_TRUE(in->Open("", "Turntable"));
    const auto feed_peak = [this](int left, int right) {
        std::vector<uint8_t> bytes(kBlock * 6);
        const auto put = [&bytes](int at, int value) {
            for (int i = 0; i < 3; ++i) bytes[at + i] = static_cast<uint8_t>(value >> (8 * i));
        };
        put(60, -left);
        put(123, right);
        scripted.sink->Frames(bytes.data(), kBlock);
        clock.Settle();
    };
    float left = -1, right = -1;
    feed_peak(8388607, 1000000);
    feed_peak(4000000, 2000000);
    in->GetStatus(nullptr, nullptr, nullptr, nullptr, nullptr);
    in->GetStatus(&left, &right, nullptr, nullptr, nullptr);
    EXPECT_EQ(Integer(left), 8388607);
    EXPECT_EQ(Integer(right), 2000000);
    feed_peak(30, 40);
    in->GetStatus(&left, nullptr, nullptr, nullptr, nullptr);
    EXPECT_EQ(Integer(left), 30);
    feed_peak(5, 6);
    in->GetStatus(&left, &right, nullptr, nullptr, nullptr);
    EXPECT_EQ(Integer(right), 6) << "reading one channel resets both";
    in->EnableLevels(false);
    feed_peak(7, 8);
    in->GetStatus(&left, &right, nullptr, nullptr, nullptr);
    EXPECT_EQ(left, 0);
    EXPECT_EQ(right, 0);
}

TEST_F(WaveInTest, ADeviceThatEndsDeliversAllItHadAndThenSaysSo) {
    struct {
        const char* what;
        std::function<void()> happens;
        int stops;  // of the driver before the client closes
    } const cases[] = {
        {"the system says so", [this] { scripted.sink->Ended(); }, 0},
        {"the stream is inactive", [this] { scripted.active = false, clock.AdvanceMs(100); }, 1},
        {"no block for three seconds", [this] { clock.AdvanceMs(3000); }, 1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        client = {};
        scripted = {};
        Make();
        ASSERT_TRUE(in->Open("", "Turntable"));
        Feed(250);
        clock.AdvanceMs(2900);
        Feed(1);
        EXPECT_EQ(client.failures, 0);
        c.happens();
        clock.Settle();
        EXPECT_EQ(client.failures, 1);
        EXPECT_EQ(client.heard.size(), 2 * 251u);
        EXPECT_EQ(in->GetFailure().Plain(), "Device Turntable was disconnected.");
        EXPECT_EQ(scripted.stops, c.stops);
        Feed(500);
        scripted.sink->Ended();
        clock.AdvanceMs(10000);
        EXPECT_EQ(client.failures, 1);
        EXPECT_EQ(client.heard.size(), 2 * 251u) << "nothing comes after the end";
        EXPECT_TRUE(in->Close(false));
        EXPECT_TRUE(in->Close(true));
    }
}

TEST_F(WaveInTest, KnownAndFoundLossesAreToldWithTheirPlaces) {
    Make(100);
    ASSERT_TRUE(in->Open("", "Turntable"));
    const auto run = [this](int ms) {
        for (int i = 0; i < ms / 10; ++i) {
            clock.AdvanceMs(10);
            Feed(441);
        }
    };
    run(2000);
    scripted.sink->Frames(nullptr, 441);  // in place of one delivery
    clock.AdvanceMs(10);
    run(3000);
    clock.AdvanceMs(100);  // 4410 frames that nobody mentions
    run(2000);
    LostFrames loss;
    ASSERT_TRUE(in->NextLoss(loss));
    EXPECT_EQ(loss.before_frame, 88200);
    EXPECT_EQ(loss.n_frames, 441);
    ASSERT_TRUE(in->NextLoss(loss));
    EXPECT_EQ(loss.before_frame, 220500);
    EXPECT_EQ(loss.n_frames, 4410);
    EXPECT_FALSE(in->NextLoss(loss));
}

TEST_F(WaveInTest, TheDriversCallsNeitherAllocateNorLock) {
    Make(6);
    client.keeps = true;  // runs out of buffers on the way
    client.heard.reserve(1 << 20);
    ASSERT_TRUE(in->Open("", "Turntable"));
    const auto bytes = Counting(0, 2 * 441);
    const int64_t allocations = Testing::CountAllocations(), locks = OrvaneTest::CountLocks();
    for (int i = 0; i < 100; ++i) scripted.sink->Frames(bytes.data(), 441);
    scripted.sink->Frames(nullptr, 441);
    scripted.sink->Ended();
    EXPECT_EQ(Testing::CountAllocations() - allocations, 0);
    EXPECT_EQ(OrvaneTest::CountLocks() - locks, 0);
    std::mutex mutex;
    mutex.lock();
    mutex.unlock();
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
    EXPECT_EQ(OrvaneTest::CountLocks() - locks, 1) << "the checker sees locks";
#endif
    clock.Settle();
    for (WaveBuffer* buffer : client.held) in->ReleaseBuffer(buffer);
}

TEST(WaveBufferQueueTest, KeepsEachThreadsOrderAndLosesNothing) {
    constexpr int kThreads = 3, kEach = 20000;
    std::vector<WaveBuffer> buffers(kThreads * kEach);
    for (size_t i = 0; i < buffers.size(); ++i) buffers[i].first_frame = static_cast<int64_t>(i);
    WaveBufferQueue queue;
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t) {
        threads.emplace_back([&, t] {
            for (int i = 0; i < kEach; ++i) queue.Push(&buffers[t * kEach + i]);
        });
    }
    std::vector<int64_t> next{0, kEach, 2 * kEach};
    for (int popped = 0; popped < kThreads * kEach;) {
        WaveBuffer* buffer = queue.Pop();
        if (!buffer) {
            queue.event.Wait();
            continue;
        }
        ASSERT_EQ(buffer->first_frame, next[buffer->first_frame / kEach]++);
        ++popped;
    }
    EXPECT_EQ(queue.Pop(), nullptr);
    for (std::thread& thread : threads) thread.join();
}

TEST(DeviceTextsTest, ErrorNumbersAndConversions) {
    EXPECT_EQ(DeviceErrorNumber(4), "4");
    EXPECT_EQ(DeviceErrorNumber(255), "255");
    EXPECT_EQ(DeviceErrorNumber(0x21646576), "'!dev'");
    EXPECT_EQ(DeviceErrorNumber(0x7F414243),
              "'\x7F"
              "ABC'");
    EXPECT_EQ(DeviceErrorNumber(static_cast<uint32_t>(-9985)), "0xffffd8ff");
    EXPECT_EQ(ConversionText({44100, 48000, 24, 2}), "48 to 44.1 kHz by the sound server");
    EXPECT_EQ(ConversionText({96000, 96000, 24, 2}), "no conversion");
    EXPECT_EQ(DeviceCallFailed("A <b>", 1, "Access denied", "pa_connect").Plain(),
              "Device A <b> reported error 1 (Access denied) calling pa_connect. Please check that the drivers for "
              "your sound card are correctly installed.  Restarting the application might also help.");
}

}  // namespace
}  // namespace Tesslib
