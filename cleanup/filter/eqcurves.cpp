#include "cleanup/filter/eqcurves.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "foundation/assert.h"

namespace Orvane {
namespace {

// The points two before, one before, at, one after and two after the end of a stretch.
constexpr int kAround = 5, kFirstAfter = 3;
constexpr std::array<double, kAround> kSmoothing = {0.1, 0.2, 0.4, 0.2, 0.1};

// No curve that is meant comes near these. They keep every sample finite whatever stands in a damaged file.
constexpr double kMostExponent = 10.0, kMostGain = 1e10;

double PowerOfTen(double exponent) {
    return std::pow(10.0, std::clamp(exponent, -kMostExponent, kMostExponent));
}

}  // namespace

CurveGains::CurveGains(int32_t rate, int32_t block) : samplerate(rate), gains(static_cast<size_t>(block / 2 + 1), 1.f) {
    ORVANE_ASSERT(rate > 1 && block > 1);
}

void CurveGains::SetCurves(std::span<const FFTCurve* const> curves, double level) {
    std::fill(gains.begin(), gains.end(), float(PowerOfTen(level * 0.1 * 0.05)));
    for (const FFTCurve* curve : curves) MultiplyIn(*curve);
}

void CurveGains::MultiplyIn(const FFTCurve& curve) {
    if (curve.points.empty()) return;
    const int half = static_cast<int>(gains.size()) - 1;
    const int n_points = static_cast<int>(curve.points.size());
    const auto point_gain = [&](int i) { return double(curve.points[std::clamp(i, 0, n_points - 1)].gain); };

    std::array<double, kAround> running;
    running.fill(point_gain(0));
    double factor = 1.0;
    const auto multiply_bin = [&](int bin) {
        double db = 0.0;
        for (int i = 0; i < kAround; i++) db += kSmoothing[i] * running[i];
        factor = PowerOfTen(db / 20.0);
        gains[bin] = float(std::min(gains[bin] * factor, kMostGain));
    };

    multiply_bin(0);
    int bin = 0;  // the last one done
    for (int point = 0; point < n_points; point++) {
        const double exact = double(curve.points[point].freq) * half / (samplerate / 2);
        const int end = static_cast<int>(std::clamp(exact, double(bin), std::max<double>(bin, half - 1)));
        std::array<double, kAround> arrival = running;
        for (int i = 0; i < kAround; i++) {
            // From the last point but one on, the two that look ahead rest.
            if (i < kFirstAfter || point < n_points - 2) arrival[i] = point_gain(point + i - 2);
        }
        const std::array<double, kAround> departure = running;
        const int n_steps = end - bin;
        for (int step = 1; step <= n_steps; step++) {
            for (int i = 0; i < kAround; i++) running[i] = departure[i] + (arrival[i] - departure[i]) * step / n_steps;
            multiply_bin(++bin);
        }
        running = arrival;
    }
    while (bin < half) {
        bin++;
        gains[bin] = float(std::min(gains[bin] * factor, kMostGain));
    }
}

}  // namespace Orvane
