// Filters: ten sections side by side against one after the other and against the bound set by one section's
// recurrence; frames of the hiss filter and a curve against their bare transforms. Items are stereo pairs of
// samples at 44100 Hz.
#include <benchmark/benchmark.h>

#include <random>
#include <vector>

#include "cleanup/filter/denoiseframe.h"
#include "cleanup/filter/filterchain.h"
#include "cleanup/filter/recordeq.h"

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

constexpr int kBlock = 8192;

// Both channels of one frame: its two transforms each.
void BM_BareTransforms(benchmark::State& state) {
    const FFT_PLAN* plan = GetFFT().CreatePlan(kBlock, kFFTBoth);
    std::vector<float> samples = Noise(kBlock), spectrum(kBlock + 2);
    for (auto _ : state) {
        for (int channel = 0; channel < 2; channel++) {
            GetFFT().Transform(plan, FFTDirection::Forward, samples, spectrum);
            GetFFT().Transform(plan, FFTDirection::Inverse, spectrum, samples);
        }
        // A round trip multiplies by N: scaled back now and then, far below the cost of a transform.
        for (float& x : samples) x *= 1.f / (float(kBlock) * float(kBlock));
    }
    Count(state, kBlock / 2);
}
BENCHMARK(BM_BareTransforms);

void BM_DenoiseFrame(benchmark::State& state) {
    const bool with_hiss = state.range(0) & 1, with_curve = state.range(0) & 2;
    const std::vector<float> frame = Noise(kBlock), noise(kBlock / 2 + 1, 30.f);
    std::vector<float> output(kBlock / 2);
    DenoiseFrame filter(kBlock);
    for (int channel = 0; channel < 2; channel++) filter.SetNoise(channel, noise);
    const HissSettings settings = MakeHissSettings(4, 2);
    CurveGains gains(44100, kBlock);
    const auto curve = BuildCurve(RecordEq(), 33, 33, SpeedMode::Same);
    const FFTCurve* curves[] = {curve.get()};
    gains.SetCurves(curves, 0);
    const FrameWork work{with_hiss ? &settings : nullptr, with_curve ? &gains : nullptr};
    for (auto _ : state) {
        for (int channel = 0; channel < 2; channel++) filter.Process(channel, frame, work, output);
    }
    Count(state, kBlock / 2);
}
BENCHMARK(BM_DenoiseFrame)->Arg(1)->Arg(2)->Arg(3);

}  // namespace
}  // namespace Orvane

BENCHMARK_MAIN();
