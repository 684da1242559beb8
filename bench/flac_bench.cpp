// Saving to FLAC against the flac tool at the same level: CPU time, user and system, of one thread.
#include <benchmark/benchmark.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>

#include <string>
#include <vector>

#include "audio_tools.h"
#include "temp_folder.h"
#include "tesslib/flacfile.h"
#include "tesslib/wavfile.h"

extern char** environ;

namespace Tesslib {
namespace {

constexpr int32_t kRate = 44100;
constexpr int32_t kSeconds = 22 * 60;  // one side of a record
constexpr int32_t kBlock = 0x4000;     // what a save job pulls at a time

double CpuSeconds(const rusage& usage) {
    const auto seconds = [](const timeval& t) {
        return static_cast<double>(t.tv_sec) + 1e-6 * static_cast<double>(t.tv_usec);
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

double CpuSecondsSoFar() {
    rusage usage;
    getrusage(RUSAGE_SELF, &usage);
    return CpuSeconds(usage);
}

// CPU time of a program run to its end; below 0 when it fails.
double Run(std::vector<std::string> words) {
    std::vector<char*> arguments;
    for (std::string& word : words) arguments.push_back(word.data());
    arguments.push_back(nullptr);
    pid_t child;
    if (posix_spawnp(&child, arguments[0], nullptr, nullptr, arguments.data(), environ) != 0) return -1;
    int status = 0;
    rusage usage;
    if (wait4(child, &status, 0, &usage) != child || status != 0) return -1;
    return CpuSeconds(usage);
}

// A side of music as a WAV file, made once.
class Side {
public:
    static const Side& Get() {
        static const Side side;
        return side;
    }
    const std::string& Path() const { return path; }
    const OrvaneTest::TempFolder& Folder() const { return folder; }

private:
    Side() : path(folder / "side.wav") {
        // Half a minute, over and over: neither encoder looks back that far.
        const std::vector<float> pairs = OrvaneTest::ToPairs(OrvaneTest::RingingInts(30, kRate, 2, 16), 2, 16);
        WAVFile file;
        file.SetSBC(kRate, 16, 2);
        file.Open(path, OM_CREATE);
        for (int32_t i = 0; i < kSeconds / 30; ++i) file.Write(pairs.data(), static_cast<int32_t>(pairs.size() / 2));
        file.Close();
    }
    OrvaneTest::TempFolder folder;
    std::string path;
};

void SaveByOrvane(benchmark::State& state) {
    const Side& side = Side::Get();
    std::vector<float> block(2 * kBlock);
    for (auto _ : state) {
        const double start = CpuSecondsSoFar();
        WAVFile in;
        FLACFile out;
        out.SetCompressionLevel(static_cast<int>(state.range(0)));
        out.SetSBC(kRate, 16, 2);
        bool ok = in.Open(side.Path(), OM_READ) == 0;
        ok = ok && out.Open(side.Folder() / "orvane.flac", OM_CREATE, 0, 0, in.GetTotalSamples(0)) == 0;
        for (int64_t position = 0; ok;) {
            const int32_t n = in.Read(position, block.data(), kBlock, 0);
            if (n <= 0) break;
            ok = out.Write(block.data(), n) >= 0;
            position += n;
        }
        if (!ok || !out.Close()) state.SkipWithError("cannot save");
        in.Close();
        state.SetIterationTime(CpuSecondsSoFar() - start);
    }
}

void SaveByTool(benchmark::State& state) {
    const Side& side = Side::Get();
    for (auto _ : state) {
        const double seconds = Run(
            {"flac", "-s", "-f", "-" + std::to_string(state.range(0)), "-o", side.Folder() / "tool.flac", side.Path()});
        if (seconds < 0) {
            state.SkipWithError("cannot run the flac tool");
            break;
        }
        state.SetIterationTime(seconds);
    }
}

#define AT_LEVELS \
    ->Arg(0)->Arg(5)->Arg(8)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(1)->Repetitions(3)
BENCHMARK(SaveByOrvane) AT_LEVELS;
BENCHMARK(SaveByTool) AT_LEVELS;
#undef AT_LEVELS

}  // namespace
}  // namespace Tesslib

BENCHMARK_MAIN();
