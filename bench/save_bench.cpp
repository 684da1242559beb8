// Saving against the tools that do nothing else: FLAC against `flac` at the same level, WAV against `cp`. The CPU time
// counts every thread and child; the audio is a side of 22 minutes of plucked tones and noise.
#include <benchmark/benchmark.h>
#include <sys/resource.h>

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <random>

#include "collection/dataobjects.h"
#include "foundation/settings.h"
#include "save/save_albums.h"
#include "tesslib/wavfile.h"

using namespace Foundation;
using namespace Tesslib;

namespace Orvane {
namespace {

namespace fs = std::filesystem;

constexpr int kRate = 44100;
constexpr int kMinutes = 22;
constexpr int kTracks = 6;

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

// The side, made once for all benchmarks, and an album over it.
struct Side {
    Side() : folder(fs::temp_directory_path() / "orvane-save-bench") {
        fs::create_directories(folder / "config");
        ORVANE_ASSERT(OpenSettings((folder / "config").string()));
        path = (folder / "side.wav").string();
        std::mt19937 random(5);
        std::normal_distribution<float> noise(0.0f, 0.003f);
        WAVFile file;
        file.SetSBC(kRate, 16, 2);
        file.Open(path, OM_CREATE);
        std::vector<float> second(2 * kRate);
        for (int s = 0; s < kMinutes * 60; ++s) {
            for (int i = 0; i < kRate; ++i) {
                const double t = static_cast<double>(i) / kRate;
                const double tone = 0.3 * std::exp(-3 * t) * std::sin(2 * M_PI * (110 + 20 * (s % 12)) * t) +
                                    0.1 * std::exp(-8 * std::fmod(t, 0.25)) * std::sin(2 * M_PI * 1234 * t);
                for (int c = 0; c < 2; ++c)
                    second[2 * i + c] = static_cast<float>(tone * (1 - 0.3 * c)) + noise(random);
            }
            file.Write(second.data(), kRate);
        }
        file.Close();
        AlbumSide* side = album.GetSide(0, true);
        RefPtr<FileHistoryEntry> entry(new FileHistoryEntry(&album, side));
        entry->name.external_file = path;
        entry->name.extension = ".wav";
        side->AddRecording(entry);
        static_cast<void>(entry->Open(USER_PROBE));  // tells its length
        const int64_t length = int64_t{kRate} * 60 * kMinutes / kTracks;
        for (int i = 0; i < kTracks; ++i) {
            ALBUMTRACK track;
            track.title = "Track " + std::to_string(i + 1);
            track.start = i * length;
            track.end = track.start + length;
            album.tracks.push_back(track);
        }
    }
    ~Side() { fs::remove_all(folder); }

    fs::path folder;
    std::string path;
    AlbumInfo album;
};
Side& TheSide() {
    static Side side;
    return side;
}

template <class Work>
void Run(benchmark::State& state, Work work) {
    TheSide();
    double cpu = 0;
    for (auto _ : state) {
        const double before = CpuSeconds();
        work();
        cpu += CpuSeconds() - before;
    }
    state.counters["cpu_s"] = benchmark::Counter(cpu, benchmark::Counter::kAvgIterations);
}

void Save(benchmark::State& state, int format) {
    Run(state, [&] {
        SaveSettings settings;
        settings.options.file_format = format;
        settings.options.Row(FF_FLAC).level = 5;
        settings.output_folder = (TheSide().folder / "out").string();
        fs::remove_all(settings.output_folder);
        SaveAlbums({&TheSide().album}, settings, static_cast<int>(state.range(0)));
    });
}

void SaveFlac(benchmark::State& state) {
    Save(state, FF_FLAC);
}
BENCHMARK(SaveFlac)->Arg(1)->Arg(2)->ArgName("threads")->UseRealTime()->Unit(benchmark::kMillisecond);

void FlacTool(benchmark::State& state) {
    Run(state, [] {
        const std::string out = (TheSide().folder / "tool.flac").string();
        if (std::system(("flac -s -f -5 -o " + out + " " + TheSide().path).c_str()) != 0) std::abort();
    });
}
BENCHMARK(FlacTool)->UseRealTime()->Unit(benchmark::kMillisecond);

void SaveWav(benchmark::State& state) {
    Save(state, FF_WAV);
}
BENCHMARK(SaveWav)->Arg(1)->ArgName("threads")->UseRealTime()->Unit(benchmark::kMillisecond);

void Cp(benchmark::State& state) {
    Run(state, [] {
        const std::string out = (TheSide().folder / "copy.wav").string();
        if (std::system(("cp " + TheSide().path + " " + out).c_str()) != 0) std::abort();
    });
}
BENCHMARK(Cp)->UseRealTime()->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace Orvane

BENCHMARK_MAIN();
