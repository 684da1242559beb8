#include "cleanup/repair/repairsurroundings.h"

#include <algorithm>

using namespace Foundation;

namespace Orvane {
namespace {

constexpr int kWing = 6269;  // samples at 44100 Hz read on each side: the context's, and the detector's run-up
constexpr int64_t kDetectorNeeds = 3;  // samples from the repair's start on

}  // namespace

Result<RepairResult> MakeRepair(ScanReader& reader, ClickRepairer& repairer, int channel, int32_t samplerate,
                                ClickRepair& repair) {
    RepairRequest request;
    request.start = to_ticks(samplerate, repair.absolute_start_time);
    request.end = std::max(request.start, to_ticks(samplerate, repair.absolute_end_time) - 1);
    if (samplerate > kTicksPerSecond) {
        // All samples between which the record's frames lie.
        request.start = repair.absolute_start_time * kTicksPerSecond / samplerate;
        request.end = ((repair.absolute_end_time - 1) * kTicksPerSecond + samplerate - 1) / samplerate;
    }
    request.cross_fade = RepairPad(request.end - request.start + 1);

    const int64_t from = std::max<int64_t>(0, request.start - kWing);
    const int64_t to = std::min(reader.TotalSamples() - 1, request.end + kWing);
    if (to < from) return RepairResult::TooNearEdge;
    std::vector<float> audio[2];
    for (auto& buffer : audio) buffer.resize(static_cast<size_t>(to - from + 1));
    const int n = reader.ReadSamples(from, to, audio[0].data(), audio[1].data());
    if (n < 0) return Outcome::OfLastError(n);
    if (n < request.start - from + kDetectorNeeds) return RepairResult::TooNearEdge;
    const std::span<const float> signal(audio[channel].data(), static_cast<size_t>(n));
    ClickDetector detector;
    PrimeDetector(detector, signal, static_cast<int>(request.start - from));
    return repairer.Recompute({signal, from, from, from + n - 1, &detector}, request, repair, samplerate);
}

}  // namespace Orvane
