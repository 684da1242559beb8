// The change of sample rate at the speed of one processor, beside two well-known libraries where they are installed.
// items_per_second counts input pairs; compare within one run.
#include <benchmark/benchmark.h>

#include <cstdint>
#include <random>
#include <vector>

#include "memorystream.h"
#include "tesslib/josconvert.h"
#ifdef ORVANE_WITH_SAMPLERATE
#include <samplerate.h>
#endif
#ifdef ORVANE_WITH_SOXR
#include <soxr.h>
#endif

using namespace Tesslib;

namespace {

constexpr int kSeconds = 10;
constexpr int32_t kReadSize = 16384;

std::vector<float> Noise(int64_t samplerate) {
    std::mt19937 random(7);
    std::uniform_real_distribution<float> level(-0.5f, 0.5f);
    std::vector<float> pairs(2 * samplerate * kSeconds);
    for (float& value : pairs) value = level(random);
    return pairs;
}

void Convert(benchmark::State& state, uint32_t flags) {
    const auto input_rate = static_cast<int32_t>(state.range(0));
    Testing::MemoryStream source(input_rate, Noise(input_rate));
    JOSConvert convert(&source, static_cast<int32_t>(state.range(1)), flags);
    std::vector<float> block(2 * kReadSize);
    for (auto _ : state) {
        int64_t position = 0;
        while (const int32_t n = convert.Read(position, block.data(), kReadSize, flags)) position += n;
        benchmark::DoNotOptimize(block.data());
    }
    state.SetItemsProcessed(state.iterations() * source.GetTotalSamples(flags));
}

void JOSConvertSaving(benchmark::State& state) {
    Convert(state, PCM_BEST_QUALITY);
}
void JOSConvertPlaying(benchmark::State& state) {
    Convert(state, 0);
}

#ifdef ORVANE_WITH_SAMPLERATE
void SamplerateBestSinc(benchmark::State& state) {
    const std::vector<float> input = Noise(state.range(0));
    std::vector<float> output(2 * (state.range(1) * kSeconds + kReadSize));
    for (auto _ : state) {
        SRC_DATA data = {};
        data.data_in = input.data();
        data.data_out = output.data();
        data.input_frames = static_cast<long>(input.size() / 2);
        data.output_frames = static_cast<long>(output.size() / 2);
        data.src_ratio = static_cast<double>(state.range(1)) / static_cast<double>(state.range(0));
        if (src_simple(&data, SRC_SINC_BEST_QUALITY, 2) != 0) state.SkipWithError("src_simple failed");
        benchmark::DoNotOptimize(output.data());
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(input.size() / 2));
}
#endif

#ifdef ORVANE_WITH_SOXR
void SoxrHQ(benchmark::State& state) {
    const std::vector<float> input = Noise(state.range(0));
    std::vector<float> output(2 * (state.range(1) * kSeconds + kReadSize));
    const soxr_io_spec_t io = soxr_io_spec(SOXR_FLOAT32_I, SOXR_FLOAT32_I);
    const soxr_quality_spec_t quality = soxr_quality_spec(SOXR_HQ, 0);
    const soxr_runtime_spec_t runtime = soxr_runtime_spec(1);
    for (auto _ : state) {
        size_t used = 0, made = 0;
        if (soxr_oneshot(static_cast<double>(state.range(0)), static_cast<double>(state.range(1)), 2, input.data(),
                         input.size() / 2, &used, output.data(), output.size() / 2, &made, &io, &quality, &runtime)) {
            state.SkipWithError("soxr_oneshot failed");
        }
        benchmark::DoNotOptimize(output.data());
    }
    state.SetItemsProcessed(state.iterations() * static_cast<int64_t>(input.size() / 2));
}
#endif

void Rates(benchmark::internal::Benchmark* bench) {
    bench->Args({44100, 48000})
        ->Args({48000, 44100})
        ->Args({96000, 44100})
        ->Args({88200, 44100})
        ->Args({44100, 192000});
    bench->Unit(benchmark::kMillisecond);
}

BENCHMARK(JOSConvertSaving)->Apply(Rates);
BENCHMARK(JOSConvertPlaying)->Apply(Rates);
#ifdef ORVANE_WITH_SAMPLERATE
BENCHMARK(SamplerateBestSinc)->Apply(Rates);
#endif
#ifdef ORVANE_WITH_SOXR
BENCHMARK(SoxrHQ)->Apply(Rates);
#endif

}  // namespace

BENCHMARK_MAIN();
