// The interpolator: fills a gap of a few samples up to some hundreds with what an autoregressive model of the audio
// around it predicts. One channel at 44100 Hz, full scale 1.0; knows nothing of streams and lists.
#pragma once

#include <span>
#include <vector>

#include "cleanup/repair/ar_max_entropy.h"
#include "cleanup/repair/repairresult.h"
#include "foundation/functionref.h"

namespace Orvane {

// The longest gap: the longest repair and the one sample more that is solved but not stored.
constexpr int kMaxGap = 413;

// Overwrites other clicks in the context before a model is made of it. `data` holds n values at a spacing of `step`
// samples; the values from gap_first to gap_last are the gap itself and stay.
using RemoveNeighboursRef =
    Foundation::FunctionRef<void(std::span<double> data, int gap_first, int gap_last, int n, int step)>;

// Holds its working memory between calls, grown as needed, so that a scan's thousands of repairs allocate nothing.
// One thread at a time.
class Interpolator {
public:
    // Solves the gap from click_start to click_end (both inside) of `signal` into `out`, whose first value belongs to
    // click_start rounded down to a multiple of the decimation; `out` has room for 3 values more than the gap.
    // A gap above 60 samples is solved at half the rate, one above 120 at a third, and then `cross_fade` samples (up to
    // 51) on each side of it fade into the real ones. `big_pop`: the audio around is nearly silent, take half the
    // order. The context must be the same on both sides, to within a few samples, and at least 3 gaps and 300 samples
    // long, at most 600 unless the gap is above 120: RepairContext gives it. Repaired, Overshoot or Singular.
    [[nodiscard]] RepairResult Interpolate(std::span<const float> signal, int click_start, int click_end,
                                           int cross_fade, bool big_pop, std::span<float> out,
                                           RemoveNeighboursRef remove_neighbours);

    // Gives the working memory back; the next call takes it anew.
    void Release();

private:
    // The gap in decimated samples.
    struct Gap {
        int decimation, first, last, fade;
        int Size() const { return last - first + 1; }
    };

    void Decimate(std::span<const float> signal, const Gap& gap);
    int EstimateModel(const Gap& gap, int order);
    RepairResult WriteDecimated(std::span<const float> signal, const Gap& gap, std::span<float> out);

    std::vector<double> context, solution, flanked, smoothed, curve;
    double model[kBurgMaxDegree];
    GapSolver solver;
};

}  // namespace Orvane
