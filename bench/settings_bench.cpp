// Reading a setting against a look-up in a map of the same keys, alone and while another thread writes the store.
#include <benchmark/benchmark.h>

#include <atomic>
#include <map>
#include <string>
#include <thread>

#include "foundation/assert.h"
#include "foundation/settings.h"
#include "temp_folder.h"

namespace {

using namespace Foundation;

constexpr int kKeys = 150;  // more than a user of many years has
constexpr const char* kKey = "Mains Frequency";

std::string KeyOf(int n) {
    return "Some Setting With a Usual Name #" + std::to_string(n);
}

class Store {
public:
    Store() {
        ORVANE_ASSERT(OpenSettings(folder.Path()));
        SettingChanges changes = {{kKey, 50}};
        for (int n = 1; n < kKeys; ++n) changes.emplace_back(KeyOf(n), n);
        ORVANE_ASSERT(WriteSettings(changes));
    }

private:
    OrvaneTest::TempFolder folder;
};

void MapFind(benchmark::State& state) {
    std::map<std::string, std::string, std::less<>> map = {{kKey, "50"}};
    for (int n = 1; n < kKeys; ++n) map[KeyOf(n)] = std::to_string(n);
    for (auto _ : state) benchmark::DoNotOptimize(std::stoi(map.find(std::string_view(kKey))->second));
}

void Get(benchmark::State& state) {
    const Store store;
    for (auto _ : state) benchmark::DoNotOptimize(GetSetting(kKey, 60));
}

void GetText(benchmark::State& state) {
    const Store store;
    for (auto _ : state) benchmark::DoNotOptimize(GetStringSetting(kKey));
}

void GetWhileWriting(benchmark::State& state) {
    const Store store;
    std::atomic<bool> stop{false};
    std::thread writer([&] {
        for (int n = 0; !stop; ++n) SetSetting("Other", n);
    });
    for (auto _ : state) benchmark::DoNotOptimize(GetSetting(kKey, 60));
    stop = true;
    writer.join();
}

BENCHMARK(MapFind);
BENCHMARK(Get);
BENCHMARK(GetText);
BENCHMARK(GetWhileWriting);

}  // namespace

BENCHMARK_MAIN();
