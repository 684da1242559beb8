#include "cleanup/repair/repairclick.h"

#include <algorithm>

#include "cleanup/repair/correctionslist.h"
#include "cleanup/repair/repairsamples.h"

using namespace Foundation;

namespace Orvane {
namespace {

constexpr int16_t kClippedScore = -99;

// At a low rate rounding can leave the record one sample more than there are: the last one then stands twice.
void StoreSamples(ClickRepair& repair, std::span<const int16_t> samples) {
    const auto length = static_cast<size_t>(repair.Length());
    auto stored = std::make_shared_for_overwrite<int16_t[]>(length);
    int16_t* const rest = std::copy_n(samples.begin(), std::min(samples.size(), length), stored.get());
    std::fill(rest, stored.get() + length, samples.back());
    repair.SetSamples(std::move(stored));
}

}  // namespace

// Leaves one sample more than the request asks for in `solved`, so that a higher rate finds its last samples too.
RepairResult ClickRepairer::Solve(const RepairSource& source, const RepairRequest& request) {
    const int n = static_cast<int>(request.end - request.start + 1);
    ORVANE_ASSERT(n > 0);
    const int ctx = RepairContext(n, request.big_pop);
    const int64_t seg_start = request.start - ctx;
    if (seg_start < source.buffer_start || request.end + ctx > source.buffer_end) return RepairResult::TooNearEdge;
    const int click_end = static_cast<int>(request.end - seg_start);
    const int siglen = ctx + click_end + 1;
    const std::span<const float> segment =
        source.signal.subspan(static_cast<size_t>(seg_start - source.first_position), static_cast<size_t>(siglen));

    solved.resize(static_cast<size_t>(n) + 4);
    auto remove_neighbours = [&](std::span<double> data, int gap_first, int gap_last, int, int step) {
        RemoveNeighbours(data, gap_first, gap_last, step, *source.detector,
                         static_cast<int>(seg_start - source.first_position));
    };
    const RepairResult result = interpolator.Interpolate(segment, ctx, click_end + 1, request.cross_fade,
                                                         request.big_pop, solved, remove_neighbours);
    solved.resize(static_cast<size_t>(n) + 1);
    return result;
}

// Makes the stored samples of what was solved for a record that begins at the request's start, rounded to its rate.
void ClickRepairer::Convert(int32_t samplerate) {
    std::span<const float> output = std::span<const float>(solved).first(solved.size() - 1);
    if (samplerate != kTicksPerSecond) {
        converted.resize(static_cast<size_t>(RepairStoredLength(static_cast<int>(output.size()), samplerate)));
        if (samplerate > kTicksPerSecond) {
            ConvertRepairUp(solved, samplerate, converted);
        } else {
            ConvertRepairDown(solved, samplerate, converted);
        }
        output = converted;
    }
    samples.resize(output.size());
    RepairTo16Bit(output, samples);
}

RepairResult ClickRepairer::RepairClick(const RepairSource& source, const RepairRequest& wanted, ClickRepairList& list,
                                        ClickRepair*& slot) {
    RepairRequest request = wanted;
    request.end = std::min(request.end, request.start + kMaxRepair - 1);
    const int n = static_cast<int>(request.end - request.start + 1);
    const int ctx = RepairContext(n, request.big_pop);
    if (request.start - ctx < source.buffer_start || request.end + ctx > source.buffer_end)
        return RepairResult::TooNearEdge;

    auto repair = std::make_unique<ClickRepair>(request.type, request.start, request.end + 1,
                                                static_cast<int16_t>(request.cross_fade), list.samplerate);
    const int64_t start = repair->absolute_start_time;
    const AddOutcome outcome = AddRepair(list, repair, slot, ADD_SCANNED).outcome;
    if (outcome == AddOutcome::Refused) return RepairResult::Repaired;

    const RepairResult result = Solve(source, request);
    const bool made = result == RepairResult::Repaired || result == RepairResult::Overshoot;
    if (made) Convert(list.samplerate);
    if (outcome == AddOutcome::Inside) {
        if (!made) return result;
        // Only its own stretch of the existing repair changes.
        const size_t n_given = std::min(samples.size(), static_cast<size_t>(repair->Length()));
        slot->WriteInside(start, std::span(samples).first(n_given));
        list.dirty = true;
        return result;
    }
    if (!made) {
        list.Delete(slot);
        slot = nullptr;
        return result;
    }
    slot->wiggles = result == RepairResult::Overshoot ? kClippedScore : static_cast<int16_t>(request.score);
    StoreSamples(*slot, samples);
    return result;
}

RepairResult ClickRepairer::Recompute(const RepairSource& source, const RepairRequest& request, ClickRepair& repair,
                                      int32_t samplerate) {
    const RepairResult result = Solve(source, request);
    if (result != RepairResult::Repaired && result != RepairResult::Overshoot) return result;
    if (result == RepairResult::Overshoot) repair.wiggles = kClippedScore;
    if (samplerate > kTicksPerSecond) {
        converted.resize(static_cast<size_t>(repair.Length()));
        PlaceRepair(solved, request.start, samplerate, repair.absolute_start_time, converted);
        samples.resize(converted.size());
        RepairTo16Bit(converted, samples);
    } else {
        Convert(samplerate);
    }
    StoreSamples(repair, samples);
    return result;
}

void ClickRepairer::Release() {
    interpolator.Release();
    solved = {};
    converted = {};
    samples = {};
}

}  // namespace Orvane
