// Filters: ten sections side by side against one after the other and against the bound set by one section's
// recurrence. Items are stereo frames at 44100 Hz.
#include <benchmark/benchmark.h>

#include <random>
#include <vector>

#include "cleanup/filterchain.h"

namespace Orvane {
namespace {

constexpr int kFrames = 8192;

std::vector<float> Noise(size_t n, unsigned seed = 1) {
    std::mt19937 generator(seed);
    std::uniform_real_distribution<float> uniform(-0.5f, 0.5f);
    std::vector<float> noise(n);
    for (float& x : noise) x = uniform(generator);
    return noise;
}

// Hum with harmonics and rumble: the longest chain that settings give.
std::vector<BiQuadFilter> TenSections() {
    std::vector<BiQuadFilter> sections(10);
    for (int i = 0; i < 5; i++) ComputeBiQuad(sections[i], kNotch, 0, 60 * std::max(1, 2 * i - 2), 44100, 0.05);
    for (int i = 5; i < 10; i++) ComputeBiQuad(sections[i], kHighPass, 0, 16, 44100, 1.5);
    return sections;
}

void Count(benchmark::State& state, int64_t frames) {
    state.SetItemsProcessed(state.iterations() * frames);
    state.counters["x_real_time"] =
        benchmark::Counter(double(state.iterations() * frames) / 44100.0, benchmark::Counter::kIsRate);
}

void BM_FilterChain(benchmark::State& state) {
    const auto width = static_cast<VectorWidth>(state.range(0));
    if (width > BestVectorWidth()) return state.SkipWithError("this processor has no vectors of that width");
    FilterChain chain;
    for (const BiQuadFilter& section : TenSections()) chain.Append(section);
    std::vector<float> left = Noise(kFrames, 1), right = Noise(kFrames, 2);
    for (auto _ : state) chain.Process(left, right, width);
    Count(state, kFrames);
}
BENCHMARK(BM_FilterChain)->Arg(2)->Arg(4)->Arg(8);

void BM_PlainSections(benchmark::State& state) {
    std::vector<BiQuadFilter> sections[2] = {TenSections(), TenSections()};
    std::vector<float> channels[2] = {Noise(kFrames, 1), Noise(kFrames, 2)};
    for (auto _ : state) {
        for (int channel = 0; channel < 2; channel++) {
            for (float& sample : channels[channel]) {
                double x = sample;
                for (BiQuadFilter& section : sections[channel]) x = section.Process(x);
                sample = float(x);
            }
        }
    }
    Count(state, kFrames);
}
BENCHMARK(BM_PlainSections);

// The bound: one multiplication and two subtractions that wait for each other, once a frame.
void BM_RecurrenceAlone(benchmark::State& state) {
    const BiQuadFilter section = TenSections()[0];
    const std::vector<float> noise = Noise(kFrames);
    double y1 = 0, y2 = 0;
    for (auto _ : state) {
        for (const float sample : noise) {
            const double y = double(sample) - section.a1 * y1 - section.a2 * y2;
            y2 = y1, y1 = y;
        }
        benchmark::DoNotOptimize(y1);
    }
    Count(state, kFrames);
}
BENCHMARK(BM_RecurrenceAlone);

}  // namespace
}  // namespace Orvane

BENCHMARK_MAIN();
