// What an edit of the repairs of a recording costs that has 120,000 of them, its record of undo included, and what the
// record of a scan takes.
#include <benchmark/benchmark.h>

#include "cleanup/edit/editaccess.h"
#include "cleanup/edit/editrepairs.h"
#include "cleanup/edit/undo_corrections.h"
#include "recorded_side.h"

namespace Orvane {
namespace {

constexpr int kRepairs = 60000;  // in each channel
constexpr int kStep = 200;       // frames from one to the next
constexpr int kFrames = kRepairs * kStep;
constexpr int64_t kAt = kFrames / 2 + 100;  // where no end of the list is near

struct Crowded {
    Crowded() {
        for (int channel = 0; channel < 2; ++channel) {
            for (int64_t i = 0; i < kRepairs; ++i) {
                auto* repair = new ClickRepair(REPAIR_SCANNER, i * kStep, i * kStep + 30, 0);
                repair->SetSamples(std::make_shared<int16_t[]>(30));
                entry.click_repairs[channel].Append(repair);
            }
        }
    }

    OrvaneTest::RecordedSide side{std::vector<float>(2 * kFrames)};
    FileHistoryEntry& entry = *side.entry;
    const EditAccess open{entry};
};

// Times `edit`, which is taken back each time.
template <class Edit>
void Run(benchmark::State& state, Edit edit) {
    Crowded crowded;
    for (auto _ : state) {
        if (!edit(crowded.entry)) std::abort();
        state.PauseTiming();
        if (!Undo()) std::abort();
        state.ResumeTiming();
    }
}

void Insert(benchmark::State& state) {
    Run(state, [](FileHistoryEntry& entry) { return InsertRepair(entry, CHANNEL_LEFT, kAt, kAt + 20); });
}
BENCHMARK(Insert)->Unit(benchmark::kMicrosecond);

void Adjust(benchmark::State& state) {
    Run(state, [](FileHistoryEntry& entry) {
        return AdjustRepair(entry, {0, kAt - 100, kAt - 70}, kAt - 110, kAt - 70);
    });
}
BENCHMARK(Adjust)->Unit(benchmark::kMicrosecond);

void Delete(benchmark::State& state) {
    Run(state, [](FileHistoryEntry& entry) { return DeleteRepairs(entry, CHANNELS_BOTH, kAt - 100, kAt - 90); });
}
BENCHMARK(Delete)->Unit(benchmark::kMicrosecond);

void UndoAndRedo(benchmark::State& state) {
    Crowded crowded;
    if (!DeleteRepairs(crowded.entry, CHANNELS_BOTH, kAt - 100, kAt - 90)) std::abort();
    for (auto _ : state) {
        if (!Undo() || !Redo()) std::abort();
    }
}
BENCHMARK(UndoAndRedo)->Unit(benchmark::kMicrosecond);

// All repairs are noted, as before a scan that keeps them.
void NoteForAScan(benchmark::State& state) {
    Crowded crowded;
    int32_t bytes = 0;
    for (auto _ : state) {
        const UndoUpdateCorrections record(crowded.entry, CHANNELS_BOTH, 0, INT64_MAX, "Scan for clicks");
        bytes = record.Bytes();
    }
    state.counters["bytes"] = bytes;
}
BENCHMARK(NoteForAScan)->Unit(benchmark::kMicrosecond);

}  // namespace
}  // namespace Orvane

BENCHMARK_MAIN();
