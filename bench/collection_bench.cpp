// Opening and saving a large collection: 5000 albums of 12 tracks, with the recordings and corrections of albums that
// were worked on. `MB` is the memory that the collection takes.
#include <benchmark/benchmark.h>
#include <malloc.h>

#include <algorithm>

#include "collection/steering_file.h"
#include "collections.h"
#include "foundation/settings.h"
#include "temp_folder.h"

using namespace Foundation;

namespace {

using namespace Orvane;

constexpr int kAlbums = 5000;
constexpr int kTracks = 12;

double AllocatedMegabytes() {
    const struct mallinfo2 info = mallinfo2();
    return static_cast<double>(info.uordblks + info.hblkhd) / 1e6;
}

struct Files {
    Files() : path(folder / "Large.mcf") {
        ORVANE_ASSERT(OpenSettings(folder / "config"));
        AlbumSet set(path);
        OrvaneTest::CollectionMaker(1).AddAlbums(set, kAlbums, kTracks);
        static_cast<void>(SaveCopy(path, set));
    }
    OrvaneTest::TempFolder folder;
    std::string path;
};

Files& TheFiles() {
    static Files files;
    return files;
}

void ReadLargeCollection(benchmark::State& state) {
    const std::string& path = TheFiles().path;
    double megabytes = 0;
    for (auto _ : state) {
        const double before = AllocatedMegabytes();
        std::unique_ptr<AlbumSet> set;
        benchmark::DoNotOptimize(OpenCollection(path, &set).Ok());
        megabytes = std::max(megabytes, AllocatedMegabytes() - before);
        if (!set || set->albums.size() != kAlbums) state.SkipWithError("not read");
    }
    state.counters["MB"] = megabytes;
    state.counters["file_MB"] = static_cast<double>(std::filesystem::file_size(path)) / 1e6;
}
BENCHMARK(ReadLargeCollection)->Unit(benchmark::kMillisecond);

// With the look at every recording's file that the live collection gets.
void OpenLargeCollection(benchmark::State& state) {
    const std::string& path = TheFiles().path;
    for (auto _ : state) {
        if (!OpenCollection(path)) state.SkipWithError("not opened");
        state.PauseTiming();
        static_cast<void>(CloseCollection());
        state.ResumeTiming();
    }
}
BENCHMARK(OpenLargeCollection)->Unit(benchmark::kMillisecond);

void SaveLargeCollection(benchmark::State& state) {
    std::unique_ptr<AlbumSet> set;
    static_cast<void>(OpenCollection(TheFiles().path, &set));
    for (auto _ : state) {
        if (!set || !SaveCopy(TheFiles().folder / "Copy.mcf", *set)) state.SkipWithError("not saved");
    }
}
BENCHMARK(SaveLargeCollection)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
