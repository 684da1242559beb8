// Waveform files: made from a WAV side of 22 minutes, beside the plain read of the same file, and the drawing of a side
// of an hour for a window of 4000 pixels at every kind of zoom. CPU time is that of the one thread at work; what counts
// is times_real_time, and the milliseconds of a drawing.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <filesystem>

#include "audiosignals.h"
#include "collection/dataobjects.h"
#include "foundation/mainloop.h"
#include "temp_folder.h"
#include "tesslib/wavfile.h"
#include "waveform/generatewaveform.h"
#include "waveform/waveformreader.h"

using namespace Foundation;
using namespace Tesslib;

namespace Orvane {
namespace {

constexpr int kRate = 44100;

const OrvaneTest::TempFolder& Folder() {
    static const OrvaneTest::TempFolder folder;
    return folder;
}

// A side of noise at changing levels; made on first use.
std::string SideOf(int minutes) {
    const std::string path = Folder() / std::to_string(minutes) + ".wav";
    if (std::filesystem::exists(path)) return path;
    OrvaneTest::Noise noise(1);
    std::vector<float> pairs(2 * kRate);
    WAVFile file;
    file.SetSBC(kRate, 16, 2);
    file.Open(path, OM_CREATE);
    for (int second = 0; second < 60 * minutes; ++second) {
        const double level = 0.05 + 0.4 * noise.Even();
        for (float& sample : pairs) sample = static_cast<float>(level * (2 * noise.Even() - 1));
        file.Write(pairs.data(), kRate);
    }
    file.Close();
    return path;
}

void CountRealTime(benchmark::State& state, int minutes) {
    state.counters["times_real_time"] =
        benchmark::Counter(60.0 * minutes, benchmark::Counter::kIsIterationInvariantRate);
}

template <class Use>
void ReadWhole(PCMStream& file, const Use& use) {
    const int32_t chunk = OverviewBlock(kRate);
    std::vector<float> pairs(2 * static_cast<size_t>(chunk));
    int64_t position = 0;
    for (int32_t n; (n = file.Read(position, pairs.data(), chunk, kWaveformFlags)) > 0; position += n)
        use(pairs.data(), n);
}

void PlainRead(benchmark::State& state) {
    const std::string path = SideOf(22);
    for (auto _ : state) {
        WAVFile file;
        file.Open(path, OM_READ);
        ReadWhole(file, [](float* pairs, int32_t) { benchmark::DoNotOptimize(pairs); });
        file.Close();
    }
    CountRealTime(state, 22);
}
BENCHMARK(PlainRead)->Unit(benchmark::kMillisecond);

void Generation(benchmark::State& state) {
    const std::string path = SideOf(22);
    for (auto _ : state) {
        WAVFile file;
        file.Open(path, OM_READ);
        WaveformWriter writer(kRate);
        if (!writer.Open(path)) std::abort();
        ReadWhole(file, [&](float* pairs, int32_t n) { (void)writer.Write(pairs, n); });
        if (!writer.Close(true, file.Time())) std::abort();
        file.Close();
    }
    CountRealTime(state, 22);
}
BENCHMARK(Generation)->Unit(benchmark::kMillisecond);

// A side of an hour with its waveform, thirty cuts and ten thousand repairs a channel.
FileHistoryEntry& HourOfMusic() {
    static AlbumInfo album;
    static RefPtr<FileHistoryEntry> entry;
    if (entry) return *entry;
    entry = MakeRef<FileHistoryEntry>(&album, nullptr);
    entry->name.external_file = SideOf(60);
    entry->name.extension = ".wav";
    entry->corrections_file.SetLoaded(true);
    if (!RequestWaveformData(*entry)) std::abort();
    while (entry->waveform.generating) GetMainLoop().RunOne(100);
    for (int64_t minute = 1; minute <= 30; ++minute) {
        entry->decided.cuts.Add(minute * 60 * kRate, minute * 60 * kRate + 3 * kRate, 220, kRate);
    }
    for (ClickRepairList& list : entry->click_repairs) {
        for (int64_t i = 0; i < 10000; ++i) {
            auto* repair = new ClickRepair(REPAIR_SCANNER, i * 15000, i * 15000 + 30, 6);
            repair->SetSamples(std::make_unique<int16_t[]>(30));
            list.Append(repair);
        }
    }
    return *entry;
}

void Columns(benchmark::State& state) {
    WaveformReader reader(HourOfMusic());
    if (!reader.Open()) std::abort();
    WaveformView view;
    view.width = 4000;
    view.frames_per_column = static_cast<double>(state.range(0));
    view.audio = state.range(1) ? WaveformAudio::Corrected : WaveformAudio::Uncorrected;
    const int64_t n_columns = 57 * 60 * kRate / state.range(0);
    WaveformPicture picture;
    for (auto _ : state) {
        // A window that scrolls.
        view.first_column = (view.first_column + view.width / 3) % std::max<int64_t>(1, n_columns - view.width);
        if (!reader.Read(view, picture) || picture.n_known < view.width) state.SkipWithError("not drawn");
        benchmark::DoNotOptimize(picture.columns.data());
    }
}
BENCHMARK(Columns)
    ->ArgNames({"frames_per_pixel", "corrected"})
    ->ArgsProduct({{1, 63, 64, 2047, 2048, 16383, 16384, 37000}, {0, 1}})
    ->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace Orvane

BENCHMARK_MAIN();
