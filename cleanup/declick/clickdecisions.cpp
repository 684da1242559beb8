#include "cleanup/declick/clickdecisions.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace Orvane {
namespace {

constexpr double kSampleRate = 44100.0;

float At(std::span<const float> samples, int i) {
    return samples[static_cast<size_t>(i)];
}

double Swing(std::span<const float> samples, int start, int n) {
    auto stretch = samples.subspan(static_cast<size_t>(start), static_cast<size_t>(n));
    auto [low, high] = std::minmax_element(stretch.begin(), stretch.end());
    return static_cast<double>(*high) - static_cast<double>(*low);
}

// Turns up or down by more than `delta` that follow the last turn within 17 samples.
int CountTurns(std::span<const float> samples, int start, int last, double delta) {
    constexpr int kBefore = 50, kFast = 17;
    int direction = 0, last_turn = -kBefore, count = 0;
    double high = 2.0, low = -2.0;
    auto turn = [&](int to, int offset) {
        if (offset - last_turn < kFast) ++count;
        high = -2.0;
        low = 2.0;
        direction = to;
        last_turn = offset;
    };
    for (int i = std::max(start - kBefore, 0); i <= last; ++i) {
        double v = static_cast<double>(At(samples, i));
        if (direction < 1 && v > low + delta) turn(1, i - start);
        if (direction >= 0 && v < high - delta) turn(-1, i - start);
        high = std::max(high, v);
        low = std::min(low, v);
    }
    return count;
}

// From `i` in steps of `direction` past samples that are still loud, 200 at most.
int SkipLoud(std::span<const float> samples, int i, int direction) {
    constexpr int kFurthest = 200;
    constexpr double kLoud = 0.01;
    for (int k = 0; k < kFurthest && std::fabs(static_cast<double>(At(samples, i))) > kLoud; ++k) i += direction;
    return i;
}

}  // namespace

int CountSwings(std::span<const float> samples, int start, int end, int limit, double factor) {
    constexpr int kMostSamples = 70, kShort = 35, kAfter = 100;
    constexpr double kFaintest = 0.02, kFaint = 0.05;
    const int width = end - start + 1, capped = std::min(width, kMostSamples);
    const int last = std::min(end + kAfter, static_cast<int>(samples.size()) - 1);
    const double swing = Swing(samples, start, capped);
    auto turns = [&](double least) {
        double delta = 2.0 * std::max(swing, least) * factor;
        if (width > kShort) delta = delta * kShort / capped;
        return CountTurns(samples, start, last, delta);
    };
    int count = turns(kFaintest);
    if (count > 2 * limit || swing >= kFaint) return count;
    return turns(kFaint);
}

LowBandEnergy::LowBandEnergy() {
    ComputeBiQuad(sections[0], kLowPass, 0.0, 250.0, kSampleRate, 2.0);
    ComputeBiQuad(sections[1], kHighPass, 0.0, 32.0, kSampleRate, 2.0);
    sections[2] = sections[3] = sections[1];
}

// 0 if it is below `least` for certain: none of the sections amplifies any frequency, so that the output's energy
// is at most the input's. (The margin is for rounding.)
double LowBandEnergy::EnergyOf(std::span<double> data, int first_sample, double least,
                               const ClickDetector& detector) const {
    const int no_gap = static_cast<int>(data.size()) + 3;
    RemoveNeighbours(data, no_gap, no_gap, 1, detector, first_sample);
    if (SumOfSquares(data) * 1.001 < least) return 0.0;
    return EnergyThrough(sections, data);
}

int LowBandEnergy::EnergyRatio(std::span<const float> samples, int start, int end, int limit,
                               const ClickDetector& detector) const {
    constexpr int kAfter = 1200, kBefore = 500;
    constexpr double kLargest = 1e9;
    auto copy = [&](int first, std::span<double> data) {
        std::copy_n(samples.begin() + first, data.size(), data.begin());
    };
    std::array<double, kAfter> after;
    const int after_first = SkipLoud(samples, end + 1, 1);
    copy(after_first, after);
    const double a = EnergyOf(after, after_first, limit / 5.0, detector);
    if (limit * 3 > a * 15.0) return 0;

    std::array<double, kBefore> before;
    const int before_first = SkipLoud(samples, start - kBefore, -1);
    copy(before_first, before);
    const double b = EnergyOf(before, before_first, 0.0, detector);
    // Silence before the candidate divides by zero, and music that sets in out of nothing is a stroke too.
    const double ratio = a * kBefore * 60.0 / (b * kAfter * limit);
    return ratio < kLargest ? static_cast<int>(ratio) : static_cast<int>(kLargest);
}

bool BigPop(std::span<const float> samples, int start, int& end) {
    constexpr double kLeastSwing = 0.5, kQuiet = 0.05;
    constexpr int kAfter = 2000, kWiden = 50;
    const int last = static_cast<int>(samples.size()) - 1;
    if (Swing(samples, start, std::min(end, last) - start + 1) < kLeastSwing) return false;
    double sum = 0.0;
    int count = 0;
    for (int i = end + 1; i <= last && count < kAfter; ++i, ++count)
        sum += std::fabs(static_cast<double>(At(samples, i)));
    if (sum > kQuiet * count) return false;
    end = std::min(end + kWiden, last);
    return true;
}

}  // namespace Orvane
