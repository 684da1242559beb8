#include "cleanup/declick/clickdetector.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "cleanup/declick/scankernels.h"
#include "foundation/assert.h"
#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace Orvane {
namespace {

constexpr double kMeanScale = 0.0006662225183211193;

// Extended precision: between float samples this difference is then exact, and its square is rounded twice,
// which vector units cannot do; the x87 unit keeps up with the rolling sums.
inline double SquaredDifference(const float* x, int i) {
    long double d = static_cast<long double>(x[i - 1]) - 2.0L * x[i] + x[i + 1];
    return static_cast<double>(d * d);
}

// The divisor is 11 although the sum has thirteen terms: every threshold is set for that.
inline double RoughnessOfSum(double diff_sum) {
    return diff_sum > 0.0 ? std::sqrt(diff_sum / 11.0) : 0.0;
}

// Two neighbouring values, the lower index in lane 0. Division and root round alike in every width.
struct Pair {
    double low, high;
};

inline Pair RoughnessOfSums(Pair sums) {
#if defined(__SSE2__)
    __m128d sum = _mm_max_pd(_mm_set_pd(sums.high, sums.low), _mm_setzero_pd());
    __m128d root = _mm_sqrt_pd(_mm_div_pd(sum, _mm_set1_pd(11.0)));
    return {_mm_cvtsd_f64(root), _mm_cvtsd_f64(_mm_unpackhi_pd(root, root))};
#else
    return {RoughnessOfSum(sums.low), RoughnessOfSum(sums.high)};
#endif
}

}  // namespace

void ClickDetector::Begin(std::span<const float> audio, int from, int to, double release) {
    ORVANE_ASSERT(to >= 1 && to <= from && static_cast<size_t>(from) + 2 <= audio.size());
    samples = audio;
    level = std::min(release, kNeighbourLevel);
    lowest = to;
    highest = next = from;
    diff_sum = roughness_sum = 0.0;
    diff_sq.fill(0.0);
    std::ranges::fill(roughness_at, 0.0);
    const auto n_groups = static_cast<size_t>(from / kGroup + 1);
    above_groups.assign(n_groups, 0);
    pulse_groups.assign(n_groups, 0);
}

void ClickDetector::AdvanceTo(int step) {
    ORVANE_ASSERT(step >= lowest);
    while (next >= step) {
        const int low = std::max(next / kTile * kTile, lowest);
        RunTile(next, low);
        MarkGroups(next, low);
        next = low - 1;
        // The next tile's lowest step is at the array's start again.
        const int next_low = std::max(next / kTile * kTile, lowest);
        std::copy_backward(diff_sq.begin(), diff_sq.begin() + kDiffWindow,
                           diff_sq.begin() + kDiffWindow + (low - next_low));
    }
}

void ClickDetector::RunTile(int from, int to) {
    const float* x = samples.data() + to;
    double* square = diff_sq.data();
    double* rough = &roughness_at[Index(to)];
    double* mean = &mean_at[Index(to)];
    double differences = diff_sum, sum = roughness_sum;

    int i = from - to;
    if (i % 2 == 0) {
        square[i] = SquaredDifference(x, i);
        differences -= square[i + kDiffWindow];
        differences += square[i];
        rough[i] = RoughnessOfSum(differences);
        sum += rough[i] - rough[i + kMeanWindow];
        mean[i] = sum * kMeanScale;
        --i;
    }
    for (; i > 0; i -= 2) {
        square[i] = SquaredDifference(x, i);
        square[i - 1] = SquaredDifference(x, i - 1);
        Pair pair;
        pair.high = differences - square[i + kDiffWindow] + square[i];
        pair.low = pair.high - square[i - 1 + kDiffWindow] + square[i - 1];
        differences = pair.low;
        Pair e = RoughnessOfSums(pair);
        rough[i] = e.high;
        rough[i - 1] = e.low;
        double sum_high = sum + (e.high - rough[i + kMeanWindow]);
        sum = sum_high + (e.low - rough[i - 1 + kMeanWindow]);
        mean[i] = sum_high * kMeanScale;
        mean[i - 1] = sum * kMeanScale;
    }
    diff_sum = differences;
    roughness_sum = sum;
    if (Index(to) < kOverlap) std::copy_n(rough, from - to + 1, rough + kRing);
}

void ClickDetector::MarkGroups(int from, int to) {
    for (int low = to; low <= from;) {
        int end = std::min((low / kGroup + 1) * kGroup, from + 1);
        const double* mean = &mean_at[Index(low)];
        const double* rough = &roughness_at[Index(low)];
        auto group = static_cast<size_t>(low / kGroup);
        above_groups[group] |= AnyExceeds(rough + (kRoughnessLag - kMeanLag), mean, level, end - low);
        pulse_groups[group] |= AnyExceeds(rough, mean, kPulseLevel, end - low);
        low = end;
    }
}

void PrimeDetector(ClickDetector& detector, std::span<const float> samples, int first) {
    const int lowest = std::max(first - EXTRA_DATA_WING + 1, 0) + 1;
    detector.Begin(samples, static_cast<int>(samples.size()) - 2, lowest, ClickDetector::kNeighbourLevel);
    detector.AdvanceTo(lowest);
}

void RemoveNeighbours(std::span<double> data, int gap_first, int gap_last, int step, const ClickDetector& detector,
                      int first_sample) {
    constexpr int kGapMargin = 3, kMeanOffset = EXTRA_DATA_WING - kMeanLag;
    const int gap_start = gap_first * step - kGapMargin, gap_end = gap_last * step + kGapMargin;
    int run_end = -1, bad_end = -1;
    for (int i = static_cast<int>(data.size()) * step - 1; i >= 0; --i) {
        const int mean_step = first_sample + i - kMeanOffset;
        if (run_end < 0 && !detector.AnyAbove(mean_step)) {
            i -= std::max(mean_step, 0) % ClickDetector::kGroup;
            continue;
        }
        if (i < gap_start || i >= gap_end) {
            auto [e, mean] = detector.LevelOf(first_sample + i);
            if (e > ClickDetector::kNeighbourLevel * mean) {
                run_end = std::max(run_end, i);
                if (e > 10.0 * mean) bad_end = run_end;
                continue;
            }
        }
        if (bad_end >= 0) {
            auto low = static_cast<size_t>(i / step), high = static_cast<size_t>(bad_end / step);
            double from = data[low], rise = data[high] - from, width = static_cast<double>(high - low);
            for (size_t k = low + 1; k < high; ++k) data[k] = from + rise * static_cast<double>(k - low) / width;
        }
        run_end = bad_end = -1;
    }
}

}  // namespace Orvane
