// What the chain costs: a recording without corrections through it against the bare file, and with everything in force.
#include <benchmark/benchmark.h>

#include <filesystem>
#include <random>

#include "cleanup/chain/audiofilter.h"
#include "collection/dataobjects.h"
#include "tesslib/wavfile.h"

using namespace Foundation;
using namespace Tesslib;

namespace Orvane {
namespace {

constexpr int kRate = 44100;
constexpr int kSeconds = 60;
constexpr int kBlock = 16384;

// A recording of noise in a file, and its entry.
class Recording {
public:
    Recording() : path((std::filesystem::temp_directory_path() / "orvane-chain-bench.wav").string()) {
        std::mt19937 random(3);
        std::vector<float> pairs(2 * kRate * kSeconds);
        for (float& x : pairs) x = static_cast<float>(random() % 20000) / 40000.0f - 0.25f;
        WAVFile file;
        file.SetSBC(kRate, 16, 2);
        file.Open(path, OM_CREATE);
        file.Write(pairs.data(), kRate * kSeconds);
        file.Close();
        entry = new FileHistoryEntry(&album, nullptr);
        entry->name.external_file = path;
        entry->name.extension = ".wav";
        open = std::move(*entry->Open(USER_EDIT));
        static_cast<void>(entry->LoadCorrections());
    }
    ~Recording() {
        open.Close();
        std::filesystem::remove(path);
    }

    void AddEverything() {
        for (int channel = 0; channel < 2; ++channel) {
            for (int64_t at = 1000; at + 100 < kRate * kSeconds; at += 14700) {
                auto* repair = new ClickRepair(REPAIR_SCANNER, at, at + 30, 0);
                repair->SetSamples(std::make_unique<int16_t[]>(30));
                entry->click_repairs[channel].Append(repair);
            }
        }
        entry->decided.noise_stretch.end = 2 * kRate;
        auto* filter = new FilterSetting;
        filter->values.hum_mode = filter->values.rumble_mode = filter->values.hiss_mode = filter->values.eq_mode =
            FILTER_ON;
        filter->values.bands = {3, -2, 3, -2, 3, -2, 3, -2, 3, -2};
        entry->decided.filters.Append(filter);
        auto* curve = new FFTEq;
        curve->enable = CURVE_ON;
        curve->curve.points = {{20, 6}, {100, 2}, {1000, 0}, {10000, -6}, {20000, -9}};
        entry->decided.fft_eqs.Append(curve);
    }

    const std::string path;
    AlbumInfo album;
    RefPtr<FileHistoryEntry> entry;
    OpenRecording open;
};

void Pull(benchmark::State& state, PCMStream& stream) {
    std::vector<float> block(2 * kBlock);
    for (auto _ : state) {
        int64_t position = 0;
        while (int32_t n = stream.Read(position, block.data(), kBlock, 0)) position += n;
    }
    state.counters["times_real_time"] =
        benchmark::Counter(static_cast<double>(state.iterations()) * kSeconds, benchmark::Counter::kIsRate);
}

void BareFile(benchmark::State& state) {
    Recording recording;
    Pull(state, recording.open.File());
}
BENCHMARK(BareFile);

void ChainWithoutCorrections(benchmark::State& state) {
    Recording recording;
    PCMStack stack(recording.entry.get(), &recording.open.File(), 0, kRate);
    Pull(state, stack);
}
BENCHMARK(ChainWithoutCorrections);

// Repairs, ten hum and rumble sections, hiss, a curve, ten equaliser bands.
void ChainWithEverything(benchmark::State& state) {
    Recording recording;
    recording.AddEverything();
    PCMStack stack(recording.entry.get(), &recording.open.File(), 0, kRate);
    Pull(state, stack);
}
BENCHMARK(ChainWithEverything);

}  // namespace
}  // namespace Orvane

BENCHMARK_MAIN();
