#include "cleanup/declick/declick.h"

#include <gtest/gtest.h>

#include <tuple>

#include "declick_signals.h"
#include "literal_declick.h"

namespace Orvane {
namespace {

using namespace Signals;

struct Entry {
    int type;  // 2 for a repair
    int64_t start, end;
    int pad, value;
    bool big_pop;
    double cleaned;  // digest of the context after RemoveNeighbours
    auto operator<=>(const Entry&) const = default;
};

// Runs a scan and keeps what it reports. Each repair also cleans its context as the solver does, so that what the
// detector knows at that moment is compared too. The first sample lies at place 0.
template <typename Detector>
struct Scan : ClickSink {
    Scan(std::span<const float> samples, const DetectorSettings& settings, int64_t first, int64_t last, int stop)
        : block{samples, EXTRA_DATA_WING, first, last, static_cast<int64_t>(samples.size())}, stop_at_tick(stop) {
        whole = ScanChannel(block, DetectorTables(settings), detector, *this, counts);
    }
    RepairResult Repair(int64_t start, int64_t end, int pad, int score, bool big_pop) override {
        entries.push_back({2, start, end, pad, score, big_pop, CleanedContext(start, end)});
        const size_t n = entries.size();
        return static_cast<RepairResult>(n % 7 == 0 ? 5 : n % 5 == 0 ? 2 : n % 11 == 0 ? 4 : 0);
    }
    bool Marker(int type, int64_t start, int64_t end, int value) override {
        entries.push_back({type, start, end, 0, value, false, 0.0});
        return value % 3 != 0;  // some are refused, and then not counted
    }
    bool Tick(int64_t position) override {
        ticks.push_back(position);
        return static_cast<int>(ticks.size()) != stop_at_tick;
    }
    auto Counts() const { return std::tuple(counts.repaired, counts.not_repaired, counts.pp, counts.bp); }

    double CleanedContext(int64_t start, int64_t end) const {
        const int first = static_cast<int>(start), last = static_cast<int>(end);
        double digest = 0.0;
        for (int step = 1; step <= 3; ++step) {
            int context = 600 / step * step, begin = first - context, n = (last - first + 2 * context) / step;
            std::vector<double> data;
            for (int k = 0; k < n; ++k)
                data.push_back(static_cast<double>(block.samples[static_cast<size_t>(begin + k * step)]));
            RemoveNeighbours(data, context / step, (context + last - first) / step, step, detector, begin);
            for (size_t k = 0; k < data.size(); ++k) digest += data[k] * std::sin(static_cast<double>(k));
        }
        return digest;
    }

    const ChannelBlock block;
    const int stop_at_tick;
    Detector detector;
    ScanCounts counts;
    std::vector<Entry> entries;
    std::vector<int64_t> ticks;
    bool whole;
};

std::vector<std::vector<float>> AllSignals() {
    constexpr int kLength = 70000;
    std::vector<std::vector<float>> signals = {std::vector<float>(kLength), Noise(kLength, 0.3, 1)};
    for (uint32_t seed = 2; seed < 5; ++seed) {
        signals.push_back(Music(kLength + static_cast<int>(seed), seed));
        signals.push_back(signals.back());
        AddClicks(signals.back(), seed == 3 ? 200.0 : 20.0, 0.9, seed);
    }
    signals.emplace_back(kLength);  // clicks in digital silence
    AddClicks(signals.back(), 10.0, 0.9, 7);
    for (std::vector<float>& signal : signals) Quantise(signal);
    signals.push_back(Noise(kLength, 0.002, 8));  // pulses
    for (int at = 100; at < kLength - 100; at += 100) AddClick(signals.back(), at, 3, at % 5000 == 0 ? 0.4 : 0.03);
    signals.push_back(Noise(kLength, 0.001, 9));  // wide disturbances
    for (int at = 20000, width = 100; at < 65000; at += 7000, width += 100) {
        const std::vector<float> burst = Noise(width, 0.5, static_cast<uint32_t>(at));
        std::copy(burst.begin(), burst.end(), signals.back().begin() + at);
    }
    return signals;
}

TEST(ScanChannel, FindsWhatThePlainFormFinds) {
    int n_entries[13] = {};
    const std::vector<std::vector<float>> signals = AllSignals();
    for (const std::vector<float>& signal : signals) {
        for (int sensitivity = 0; sensitivity <= 7; ++sensitivity) {
            for (int percussion = 0; percussion <= 5; ++percussion) {
                // Every pair of sliders once; protection of brass on every other.
                DetectorSettings settings{sensitivity, percussion, (sensitivity + percussion + 1) % 2};
                // Some scan a part only, and some are ended early.
                const int64_t first = percussion == 1 ? 10500 : 0, last = percussion == 1 ? 40500 : INT64_MAX;
                const int stop = percussion == 4 ? 5 : -1;
                const Scan<ClickDetector> fast(signal, settings, first, last, stop);
                const Scan<Literal::Detector> plain(signal, settings, first, last, stop);
                SCOPED_TRACE(testing::Message() << "signal " << &signal - signals.data() << ", sensitivity "
                                                << sensitivity << ", percussion " << percussion);
                ASSERT_EQ(fast.whole, plain.whole || sensitivity == 0);
                ASSERT_EQ(fast.entries, plain.entries);
                ASSERT_EQ(fast.ticks, sensitivity > 0 ? plain.ticks : std::vector<int64_t>{});
                ASSERT_EQ(fast.Counts(), plain.Counts());
                for (const Entry& e : fast.entries) ++n_entries[e.type];
            }
        }
    }
    // The signals must reach every kind of decision for the comparison to mean anything.
    EXPECT_GT(n_entries[2], 10000);
    EXPECT_GT(n_entries[kMarkerBP], 1000);
    EXPECT_GT(n_entries[kMarkerPP], 1000);
}

TEST(PrimeDetector, KnowsAroundARepairWhatTheScanKnew) {
    constexpr int kAt = 60000;
    std::vector<float> x = Music(120000, 5);
    AddClicks(x, 30.0, 0.5, 5);
    ClickDetector whole, part;
    whole.Begin(x, static_cast<int>(x.size()) - 3, 1, 2.75);
    whole.AdvanceTo(kAt - 10000);
    constexpr int kReach = 6269;
    PrimeDetector(part, std::span(x).subspan(kAt - kReach, 2 * kReach), kReach);
    for (int k = -1236; k < 1236 + 412; ++k) {
        EXPECT_NEAR(part.LevelOf(kReach + k).roughness, whole.LevelOf(kAt + k).roughness, 1e-8);
        EXPECT_NEAR(part.LevelOf(kReach + k).mean, whole.LevelOf(kAt + k).mean, 1e-8);
    }
    // Beyond its reach nothing counts as a click.
    EXPECT_EQ(part.LevelOf(0).roughness, 0.0);
    EXPECT_EQ(part.LevelOf(2 * kReach + 10).roughness, 0.0);
}

}  // namespace
}  // namespace Orvane
