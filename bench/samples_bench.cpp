// The sample converters against memcpy of the same bytes, both with everything in the cache (a block as the program
// converts it) and through memory. The copy moves as many bytes as the converter reads and writes together.
#include <benchmark/benchmark.h>

#include <cstring>
#include <random>
#include <vector>

#include "tesslib/samples.h"

using namespace Tesslib;

namespace {

constexpr int kBlockValues = 2 * 0x4000;
constexpr int kLongValues = 8 << 20;

std::vector<float> Noise(int n) {
    std::mt19937 random(1);
    std::uniform_real_distribution<float> range(-1.1f, 1.1f);
    std::vector<float> values(n);
    for (float& value : values) value = range(random);
    return values;
}

void Copy(benchmark::State& state) {
    size_t bytes = static_cast<size_t>(state.range(0)) * (4 + state.range(1) / 8) / 2;
    std::vector<uint8_t> from(bytes, 1), to(bytes);
    for (auto _ : state) {
        std::memcpy(to.data(), from.data(), bytes);
        benchmark::DoNotOptimize(to.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * state.range(0));
}

void Encode(benchmark::State& state) {
    int n = static_cast<int>(state.range(0));
    std::vector<float> in = Noise(n);
    std::vector<uint8_t> out(static_cast<size_t>(n) * 4);
    SampleEncoder encoder(static_cast<int>(state.range(1)), false, state.range(2) != 0, state.range(3) != 0);
    for (auto _ : state) benchmark::DoNotOptimize(encoder.Encode(in.data(), n, out.data()));
    state.SetItemsProcessed(state.iterations() * n);
}

void Decode(benchmark::State& state) {
    int n = static_cast<int>(state.range(0));
    std::vector<float> out = Noise(n);
    std::vector<uint8_t> in(static_cast<size_t>(n) * 4);
    int depth = static_cast<int>(state.range(1));
    SampleEncoder(depth, false, state.range(2) != 0, state.range(3) != 0).Encode(out.data(), n, in.data());
    SampleDecoder decoder(depth, state.range(2) != 0, state.range(3) != 0);
    for (auto _ : state) {
        decoder.Decode(in.data(), n, out.data());
        benchmark::ClobberMemory();
    }
    state.SetItemsProcessed(state.iterations() * n);
}

void Formats(benchmark::internal::Benchmark* bench) {
    bench->ArgNames({"values", "bits", "big_endian", "int32"});
    for (int n : {kBlockValues, kLongValues}) {
        for (int bits : {16, 24, 32}) {
            for (int big_endian : {0, 1}) {
                bench->Args({n, bits, big_endian, 0});
                if (bits == 32) bench->Args({n, bits, big_endian, 1});
            }
        }
    }
}

BENCHMARK(Copy)->ArgNames({"values", "bits"})->ArgsProduct({{kBlockValues, kLongValues}, {16, 24, 32}});
BENCHMARK(Encode)->Apply(Formats);
BENCHMARK(Decode)->Apply(Formats);

}  // namespace

BENCHMARK_MAIN();
