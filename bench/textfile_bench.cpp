// Reading a large collection's lines against reading its bytes, and writing them.
#include <benchmark/benchmark.h>

#include <cstdio>
#include <string>

#include "foundation/platform.h"
#include "foundation/textfile.h"
#include "temp_folder.h"

using namespace Foundation;

namespace Tesslib {
namespace {

constexpr int kLines = 60000;

std::string Line(int number) {
    return std::to_string(number) + std::string(245, 'x') + "\n";
}

std::string WriteCollection(const OrvaneTest::TempFolder& folder, Encoding encoding) {
    const std::string path = folder / "collection.mcf";
    const auto writer = CreateTextFile(path, encoding, TEXT_CREATE, LineEnds::LF);
    for (int i = 0; i < kLines; ++i) writer->Write(Line(i));
    writer->Close();
    return path;
}

void CountBytes(benchmark::State& state, const std::string& path) {
    FileInfo info;
    GetFileInfo(path, info);
    state.SetBytesProcessed(state.iterations() * info.size);
}

void ReadBytes(benchmark::State& state) {
    OrvaneTest::TempFolder folder;
    const std::string path = WriteCollection(folder, Encoding::UTF8);
    for (auto _ : state) {
        int error = 0;
        FILE* file = OpenFile(path, "rb", error);
        char buffer[16384];
        while (std::fread(buffer, 1, sizeof buffer, file) > 0) benchmark::DoNotOptimize(buffer);
        std::fclose(file);
    }
    CountBytes(state, path);
}
BENCHMARK(ReadBytes)->Unit(benchmark::kMillisecond);

void ReadLines(benchmark::State& state) {
    OrvaneTest::TempFolder folder;
    const std::string path = WriteCollection(folder, static_cast<Encoding>(state.range(0)));
    for (auto _ : state) {
        const auto reader = OpenTextFile(path);
        for (std::string line; reader->ReadLine(line);) benchmark::DoNotOptimize(line.data());
    }
    CountBytes(state, path);
}
BENCHMARK(ReadLines)
    ->ArgName("encoding")
    ->Arg(static_cast<int>(Encoding::UTF8))
    ->Arg(static_cast<int>(Encoding::UTF16LE))
    ->Unit(benchmark::kMillisecond);

void WriteLines(benchmark::State& state) {
    OrvaneTest::TempFolder folder;
    std::string path;
    for (auto _ : state) path = WriteCollection(folder, Encoding::UTF8);
    CountBytes(state, path);
}
BENCHMARK(WriteLines)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace Tesslib

BENCHMARK_MAIN();
