// The click scan without its repairs: the shipped form against the plain one, on the same minute of one channel.
#include <benchmark/benchmark.h>

#include <map>

#include "cleanup/declick/declick.h"
#include "declick_signals.h"
#include "literal_declick.h"

namespace {

using namespace Orvane;

class CountingSink : public ClickSink {
public:
    RepairResult Repair(int64_t, int64_t, int, int, bool) override { return RepairResult::Repaired; }
    bool Marker(int, int64_t, int64_t, int) override { return true; }
    bool Tick(int64_t) override { return true; }
};

const std::vector<float>& Minute(int clicks_per_second) {
    static std::map<int, std::vector<float>> signals;
    std::vector<float>& x = signals[clicks_per_second];
    if (x.empty()) {
        x = Signals::Music(60 * 44100, 1);
        Signals::AddClicks(x, clicks_per_second, 0.6, 2);
        Signals::Quantise(x);
    }
    return x;
}

template <typename Detector>
void Scan(benchmark::State& state) {
    const std::vector<float>& x = Minute(static_cast<int>(state.range(0)));
    const DetectorTables tables(DetectorSettings{});
    constexpr int kBlock = 211514, kStep = kBlock - 12026;
    Detector detector;
    CountingSink sink;
    ScanCounts counts;
    for (auto _ : state) {
        counts = {};
        for (int at = 0; at + kBlock <= static_cast<int>(x.size()); at += kStep) {
            ChannelBlock block{std::span(x).subspan(static_cast<size_t>(at), kBlock), at + EXTRA_DATA_WING, 0,
                               static_cast<int64_t>(x.size()), static_cast<int64_t>(x.size())};
            ScanChannel(block, tables, detector, sink, counts);
        }
    }
    state.counters["repaired"] = counts.repaired;
    state.counters["pp"] = counts.pp;
    state.counters["bp"] = counts.bp;
    state.counters["x_realtime_mono"] = benchmark::Counter(60.0, benchmark::Counter::kIsIterationInvariantRate);
}

BENCHMARK(Scan<Literal::Detector>)->Name("scan/literal")->Arg(0)->Arg(3)->Arg(30)->Unit(benchmark::kMillisecond);
BENCHMARK(Scan<ClickDetector>)->Name("scan/shipped")->Arg(0)->Arg(3)->Arg(30)->Unit(benchmark::kMillisecond);

void Detect(benchmark::State& state) {
    const std::vector<float>& x = Minute(3);
    ClickDetector detector;
    constexpr int kBlock = 211514;
    for (auto _ : state) {
        detector.Begin(std::span(x).first(kBlock), kBlock - 3, 1, 2.75);
        detector.AdvanceTo(1);
    }
    state.counters["samples"] = benchmark::Counter(kBlock, benchmark::Counter::kIsIterationInvariantRate);
}
BENCHMARK(Detect)->Name("detector/shipped")->Unit(benchmark::kMicrosecond);

}  // namespace

BENCHMARK_MAIN();
