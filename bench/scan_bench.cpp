// The whole click scan of a stereo side: the shipped job, the plain form step by step as a model would be written, and
// ffmpeg's adeclick on one thread, all on the same five minutes. CPU time counts every thread and child; the ratios
// are what matters.
#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <cstdlib>
#include <filesystem>
#include <map>

#include "cleanup/chain/audiofilter.h"
#include "cleanup/declick/scanblocks.h"
#include "cleanup/declick/scanforclicks.h"
#include "cleanup/declick/scanreader.h"
#include "collection/dataobjects.h"
#include "declick_signals.h"
#include "interpolator_literal.h"
#include "literal_declick.h"
#include "tesslib/wavfile.h"

using namespace Foundation;
using namespace Tesslib;

namespace Orvane {
namespace {

namespace fs = std::filesystem;

constexpr int kRate = 44100;
constexpr int kSeconds = 300;

double CpuSeconds() {
    double seconds = 0;
    for (int who : {RUSAGE_SELF, RUSAGE_CHILDREN}) {
        rusage usage{};
        getrusage(who, &usage);
        for (const timeval& t : {usage.ru_utime, usage.ru_stime}) {
            seconds += static_cast<double>(t.tv_sec) + static_cast<double>(t.tv_usec) * 1e-6;
        }
    }
    return seconds;
}

// A side with so many clicks a second, as a file; made on first use.
std::string SideWith(int clicks_per_second) {
    static std::map<int, std::string> made;
    std::string& path = made[clicks_per_second];
    if (!path.empty()) return path;
    path = (fs::temp_directory_path() / ("orvane-scan-bench-" + std::to_string(clicks_per_second) + ".wav")).string();
    std::vector<float> channels[2];
    std::vector<float> pairs(2 * kRate * kSeconds);
    for (uint32_t c = 0; c < 2; ++c) {
        channels[c] = Signals::Music(kRate * kSeconds, c + 1);
        Signals::AddClicks(channels[c], clicks_per_second / 2.0, 0.6, c + 3);
        for (size_t i = 0; i < channels[c].size(); ++i) pairs[2 * i + c] = channels[c][i];
    }
    WAVFile file;
    file.SetSBC(kRate, 16, 2);
    file.Open(path, OM_CREATE);
    file.Write(pairs.data(), kRate * kSeconds);
    file.Close();
    return path;
}

// An entry for the side, without repairs.
RefPtr<FileHistoryEntry> Entry(AlbumInfo& album, const std::string& path) {
    fs::remove(path + ".crd");
    RefPtr<FileHistoryEntry> entry(new FileHistoryEntry(&album, nullptr));
    entry->name.external_file = path;
    entry->name.extension = ".wav";
    return entry;
}

template <class Work>
void Run(benchmark::State& state, Work work) {
    SideWith(static_cast<int>(state.range(0)));
    double cpu = 0;
    for (auto _ : state) {
        const double before = CpuSeconds();
        work();
        cpu += CpuSeconds() - before;
    }
    state.counters["cpu_s"] = benchmark::Counter(cpu, benchmark::Counter::kAvgIterations);
    state.counters["times_real_time_per_core"] = kSeconds * static_cast<double>(state.iterations()) / cpu;
}

void Shipped(benchmark::State& state) {
    const std::string path = SideWith(static_cast<int>(state.range(0)));
    ScanStats stats;
    Run(state, [&] {
        ClearUndo();
        AlbumInfo album;
        RefPtr<FileHistoryEntry> entry = Entry(album, path);
        stats = ScanForClicks(*entry, {}).stats;
    });
    state.counters["repaired"] = stats.repaired;
}

// Repairs by the plain interpolator; nothing is kept.
class LiteralSink : public ClickSink {
public:
    RepairResult Repair(int64_t start, int64_t end, int pad, int, bool big_pop) override {
        const int n = static_cast<int>(end - start + 1);
        const int ctx = std::max(std::clamp(n * (big_pop ? 6 : 12), 300, 600), 3 * n);
        const int64_t from = start - ctx - first_position;
        if (start - ctx < blocks->read_start() || end + ctx > blocks->read_end()) return RepairResult::TooNearEdge;
        const std::vector<float> signal(recording.begin() + from, recording.begin() + from + n + 2 * ctx);
        std::vector<float> out(static_cast<size_t>(n) + 8);
        auto clean = [&](std::vector<double>& data, int gap_first, int gap_last, int, int step) {
            Literal::RemoveNeighbours(data, gap_first, gap_last, step, *detector, static_cast<int>(from));
        };
        ++repaired;
        return static_cast<RepairResult>(OrvaneOracle::Interpolate(signal, ctx, ctx + n, pad, big_pop, out, clean));
    }
    bool Marker(int, int64_t, int64_t, int) override { return true; }
    bool Tick(int64_t) override { return true; }

    const ScanBlocks* blocks = nullptr;
    std::span<const float> recording;
    int64_t first_position = 0;
    const Literal::Detector* detector = nullptr;
    int repaired = 0;
};

void PlainForm(benchmark::State& state) {
    const std::string path = SideWith(static_cast<int>(state.range(0)));
    const DetectorTables tables{DetectorSettings{}};
    int repaired = 0;
    Run(state, [&] {
        AlbumInfo album;
        RefPtr<FileHistoryEntry> entry = Entry(album, path);
        const RefPtr<FileToPCM> chain = *GetFileToPCM(*entry);
        ScanReader reader(chain.get());
        const int64_t total = reader.TotalSamples();
        ScanBlocks blocks(0, total, total, Equalisation::None);
        Literal::Detector detector;
        ScanCounts counts;
        LiteralSink sink;
        sink.blocks = &blocks;
        sink.detector = &detector;
        while (blocks.Next([&](int64_t a, int64_t b, float* l, float* r) { return reader.ReadSamples(a, b, l, r); }) >
               0) {
            for (int channel = 0; channel < 2; ++channel) {
                sink.recording = blocks.Recording(channel);
                sink.first_position = blocks.read_start() - blocks.offset0();
                ScanChannel(blocks.Channel(channel), tables, detector, sink, counts);
            }
        }
        repaired = sink.repaired;
    });
    state.counters["repaired"] = repaired;
}

void Adeclick(benchmark::State& state) {
    const std::string path = SideWith(static_cast<int>(state.range(0)));
    Run(state, [&] {
        const std::string command =
            "ffmpeg -v error -threads 1 -filter_threads 1 -i " + path + " -af adeclick -f null -";
        if (std::system(command.c_str()) != 0) std::abort();
    });
}

#define SCAN(form) \
    BENCHMARK(form)->Arg(3)->Arg(30)->ArgName("clicks_per_second")->Unit(benchmark::kMillisecond)->UseRealTime()
SCAN(Shipped);
SCAN(PlainForm);
SCAN(Adeclick)->Iterations(1);

}  // namespace
}  // namespace Orvane

BENCHMARK_MAIN();
