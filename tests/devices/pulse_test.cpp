// Against a real sound server.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <functional>
#include <thread>

#include "audiosignals.h"
#include "capture_client.h"
#include "devices/devicelist.h"
#include "foundation/platform.h"
#include "pulse_server.h"

namespace Tesslib {
namespace {

using Foundation::MonotonicNs;
using OrvaneTest::CaptureClient;
using OrvaneTest::PulseServer;

bool Comes(const std::function<bool()>& what, int ms) {
    for (const int64_t until = MonotonicNs() + ms * Foundation::kNsPerMs; MonotonicNs() < until;) {
        if (what()) return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return what();
}

class PulseTest : public testing::Test {
protected:
    void SetUp() override {
        if (!PulseServer::Installed()) GTEST_SKIP() << "pulseaudio and pactl are not installed";
    }
    std::unique_ptr<AbstractWaveIn> Record(CaptureClient& client, int rate) {
        WaveInSettings settings;
        settings.sample_rate = settings.nominal_rate = rate;
        settings.client = &client;
        settings.callback = CaptureClient::Callback;
        auto in = MakeWaveIn("pulse:lp.monitor", settings);
        client.device = in.get();
        const Foundation::Outcome opened = in->Open("lp.monitor", "Monitor");
        EXPECT_TRUE(opened) << opened.Plain();
        return in;
    }
};

TEST_F(PulseTest, ListsAtOnceWhatThereIsAndTellsOfChanges) {
    PulseServer server;
    std::atomic<int> changes{0};
    const int64_t before = MonotonicNs();
    DeviceList list([&changes] { ++changes; });
    const DeviceList::Listing listing = list.List(1000);
    RecordProperty("listed_in_us", static_cast<int>((MonotonicNs() - before) / 1000));
    ASSERT_TRUE(listing.complete);
    const auto find = [](const DeviceList::Listing& in, std::string_view id) {
        const auto at = std::find_if(in.devices.begin(), in.devices.end(), [id](const auto& d) { return d.id == id; });
        return at == in.devices.end() ? DeviceInfo() : *at;
    };
    const DeviceInfo monitor = find(listing, "pulse:lp.monitor"), output = find(listing, "pulse:lp");
    EXPECT_TRUE(monitor.input && monitor.monitor && monitor.is_default);
    EXPECT_EQ(monitor.name, "Monitor of Null Output");
    EXPECT_EQ(monitor.rate, 44100);
    EXPECT_TRUE(!output.input && output.is_default);
    const DeviceInfo* suggested = SuggestedInput(listing.devices);
    EXPECT_TRUE(!suggested || suggested->simulated) << "not what an output plays";

    changes = 0;
    ASSERT_TRUE(server.Control("load-module module-null-source source_name=turntable"));
    EXPECT_TRUE(Comes([&] { return changes > 0 && find(list.List(0), "pulse:turntable").input; }, 3000));
    EXPECT_EQ(SuggestedInput(list.List(0).devices)->id, "pulse:turntable");
    server.Kill(SIGKILL);
    EXPECT_TRUE(Comes([&] { return find(list.List(0), "pulse:lp").id.empty(); }, 3000));
    EXPECT_EQ(list.List(0).problems.size(), 1u);
}

TEST_F(PulseTest, AServerThatDoesNotAnswerHoldsUpNothing) {
    PulseServer server;
    server.Kill(SIGSTOP);
    const int64_t before = MonotonicNs();
    {
        DeviceList list;
        EXPECT_FALSE(list.List().complete);
    }
    EXPECT_LT(MonotonicNs() - before, 50 * Foundation::kNsPerMs);
}

TEST_F(PulseTest, WhatIsPlayedIsRecordedToTheLastBit) {
    for (int rate : {44100, 96000}) {
        SCOPED_TRACE(rate);
        PulseServer server(rate);
        CaptureClient client;
        const auto in = Record(client, rate);
        EXPECT_EQ(ConversionText(in->GetFormat()), "no conversion");
        std::atomic<int64_t> played{0};
        WaveOutSettings settings;
        settings.sample_rate = rate;
        settings.client = &played;
        settings.progress = [](void* to, int64_t frames, const float*) {
            *static_cast<std::atomic<int64_t>*>(to) = frames;
            return true;
        };
        const auto out = MakeWaveOut("pulse:lp", settings);
        ASSERT_TRUE(out->Open("lp", "Speakers", 10));
        std::vector<float> sound = OrvaneTest::NormalNoise(static_cast<size_t>(rate) * 10, 0.1, 9);
        for (float& value : sound) value = static_cast<float>(std::round(value * 8388607.0) / 8388607.0);
        std::fill_n(sound.begin(), rate * 4, 0.f);  // the first of an idle output may be missing
        for (size_t at = 0; at < sound.size(); at += 4000) {
            const size_t n = std::min<size_t>(4000, sound.size() - at);
            ASSERT_TRUE(out->Write(&sound[at], static_cast<uint32_t>(n * sizeof(float))));
        }
        out->Close(false);
        EXPECT_EQ(played, rate * 5);
        std::this_thread::sleep_for(std::chrono::milliseconds(300));
        in->Close(true);
        const std::vector<float> heard = client.Heard();
        const auto integer = [](float value) { return std::lround(value * 8388607); };
        const std::vector<float> wanted(sound.begin() + rate * 4, sound.end());
        const auto same = [&](float a, float b) { return integer(a) == integer(b); };
        const auto found = std::search(heard.begin(), heard.end(), wanted.begin(), wanted.begin() + 64, same);
        ASSERT_GE(heard.end() - found, static_cast<std::ptrdiff_t>(wanted.size()));
        EXPECT_TRUE(std::equal(wanted.begin(), wanted.end(), found, same)) << "every frame";
        LostFrames loss;
        EXPECT_FALSE(in->NextLoss(loss)) << loss.n_frames << " at " << loss.before_frame;
    }
}

TEST_F(PulseTest, AnInputThatGoesIsToldAtOnceAndNoOtherTakesItsPlace) {
    struct {
        const char* what;
        std::function<void(PulseServer&)> happens;
    } const cases[] = {
        {"unplugged", [](PulseServer& server) { server.Control("unload-module module-null-sink"); }},
        {"suspended", [](PulseServer& server) { server.Control("suspend-sink lp 1"); }},
        {"server gone", [](PulseServer& server) { server.Kill(SIGKILL); }},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.what);
        PulseServer server(44100, "-L 'module-null-source source_name=other'");
        CaptureClient client;
        const auto in = Record(client, 44100);
        ASSERT_TRUE(Comes([&] { return client.Values() > 10000; }, 10000));
        c.happens(server);
        EXPECT_TRUE(Comes([&] { return client.Failures() == 1; }, 100));
        EXPECT_EQ(in->GetFailure().Plain(), "Device Monitor was disconnected.");
        const size_t heard = client.Values();
        EXPECT_FALSE(Comes([&] { return client.Values() != heard || client.Failures() != 1; }, 200));
        EXPECT_TRUE(in->Close(true));
    }
}

TEST_F(PulseTest, WhatCannotBeOpenedSaysWhy) {
    WaveInSettings settings;
    settings.callback = CaptureClient::Callback;
    CaptureClient client;
    settings.client = &client;
    PulseServer server;
    const auto in = MakeWaveIn("pulse:gone", settings);
    EXPECT_EQ(in->Open("gone", "Turntable").Plain(), "Device Turntable was disconnected.");
    server.Kill(SIGKILL);
    const auto again = MakeWaveIn("pulse:lp.monitor", settings);
    const std::string text = again->Open("lp.monitor", "Turntable").Plain();
    EXPECT_NE(text.find("Turntable reported error 6 (Connection refused) calling pa_context_connect"), text.npos)
        << text;
}

}  // namespace
}  // namespace Tesslib
