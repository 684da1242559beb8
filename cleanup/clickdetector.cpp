#include "cleanup/clickdetector.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "foundation/assert.h"
#if defined(__SSE2__)
#include <emmintrin.h>
#endif

namespace Orvane {
namespace {

constexpr int kDiffWindow = 13;
constexpr double kMeanScale = 0.0006662225183211193;
// Steps made in one go: short enough for the first cache level, a whole number of groups.
constexpr int kTile = 1024;
static_assert(kTile % ClickDetector::kGroup == 0);

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

// True if a[k] > factor * b[k] for any k below n.
inline bool AnyExceeds(const double* a, const double* b, double factor, int n) {
    int k = 0;
    bool any = false;
#if defined(__SSE2__)
    __m128d above = _mm_setzero_pd();
    for (; k + 2 <= n; k += 2) {
        __m128d limit = _mm_mul_pd(_mm_set1_pd(factor), _mm_loadu_pd(b + k));
        above = _mm_or_pd(above, _mm_cmpgt_pd(_mm_loadu_pd(a + k), limit));
    }
    any = _mm_movemask_pd(above) != 0;
#endif
    for (; k < n; ++k) any |= a[k] > factor * b[k];
    return any;
}

}  // namespace

// `diff_sq` holds the squares of the steps `to` and up: this tile's, and above them the last 13 of the tile before.
void ClickDetector::RunTile(const float* samples, int from, int to, double* diff_sq, Sums& sums) {
    double* rough = roughness_at.data();
    double* mean = mean_at.data();
    double* square = diff_sq - to;
    double diff_sum = sums.diff_sum, roughness_sum = sums.roughness_sum;

    int i = from;
    if ((from - to) % 2 == 0) {
        square[i] = SquaredDifference(samples, i);
        diff_sum -= square[i + kDiffWindow];
        diff_sum += square[i];
        rough[i] = RoughnessOfSum(diff_sum);
        roughness_sum += rough[i] - rough[i + kMeanWindow];
        mean[i] = roughness_sum * kMeanScale;
        --i;
    }
    for (; i > to; i -= 2) {
        square[i] = SquaredDifference(samples, i);
        square[i - 1] = SquaredDifference(samples, i - 1);
        Pair sum;
        sum.high = diff_sum - square[i + kDiffWindow] + square[i];
        sum.low = sum.high - square[i - 1 + kDiffWindow] + square[i - 1];
        diff_sum = sum.low;
        Pair e = RoughnessOfSums(sum);
        rough[i] = e.high;
        rough[i - 1] = e.low;
        double sum_high = roughness_sum + (e.high - rough[i + kMeanWindow]);
        roughness_sum = sum_high + (e.low - rough[i - 1 + kMeanWindow]);
        mean[i] = sum_high * kMeanScale;
        mean[i - 1] = roughness_sum * kMeanScale;
    }
    sums = {diff_sum, roughness_sum};
}

void ClickDetector::MarkGroups(int from, int to, double level) {
    for (int low = to; low <= from;) {
        int end = std::min((low / kGroup + 1) * kGroup, from + 1);
        const double* mean = mean_at.data() + low;
        const double* rough = roughness_at.data() + low;
        auto group = static_cast<size_t>(low / kGroup);
        above_groups[group] |= AnyExceeds(rough + (kRoughnessLag - kMeanLag), mean, level, end - low);
        pulse_groups[group] |= AnyExceeds(rough, mean, kPulseLevel, end - low);
        low = end;
    }
}

void ClickDetector::Run(std::span<const float> samples, int from, int to, double release) {
    ORVANE_ASSERT(to >= 1 && to <= from && static_cast<size_t>(from) + 2 <= samples.size());
    auto n = static_cast<size_t>(from) + 1;
    roughness_at.resize(std::max(roughness_at.size(), n + kMeanWindow));
    mean_at.resize(roughness_at.size());
    std::fill_n(roughness_at.begin() + static_cast<ptrdiff_t>(n), kMeanWindow, 0.0);
    above_groups.assign(n / kGroup + 1, 0);
    pulse_groups.assign(n / kGroup + 1, 0);
    lowest = to;
    highest = from;

    std::array<double, kTile + kDiffWindow> diff_sq{};
    Sums sums;
    for (int high = from; high >= to;) {
        int low = std::max(high / kTile * kTile, to);
        RunTile(samples.data(), high, low, diff_sq.data(), sums);
        MarkGroups(high, low, std::min(release, kNeighbourLevel));
        high = low - 1;
        // The next tile's lowest step is at the array's start again.
        int next_low = std::max(high / kTile * kTile, to);
        std::copy_backward(diff_sq.begin(), diff_sq.begin() + kDiffWindow,
                           diff_sq.begin() + kDiffWindow + (low - next_low));
    }
}

void PrimeDetector(ClickDetector& detector, std::span<const float> samples, int first) {
    detector.Run(samples, static_cast<int>(samples.size()) - 2, std::max(first - EXTRA_DATA_WING + 1, 0) + 1,
                 ClickDetector::kNeighbourLevel);
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
