#include "cleanup/filter/hissfilter.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "cleanup/filter/spectrum.h"
#include "cleanup/filter/vectorised.h"
#include "foundation/assert.h"

namespace Orvane {
namespace {

constexpr float kLeastNoise = 1e-10f;

constexpr int kReach = 3;  // bins to each side that the smoothing over frequency takes in

float Weight(int distance) {
    return float(1.0 / std::sqrt(double(distance) + 1.0));
}

// The mean around bin `j` with the weights of the bins that exist.
float SmoothedAtEdge(std::span<const float> power, int j) {
    const int last = static_cast<int>(power.size()) - 1;
    float sum = 0.f, weights = 0.f;
    for (int k = std::max(1, j - kReach); k <= std::min(last, j + kReach); k++) {
        sum += Weight(std::abs(k - j)) * power[k];
        weights += Weight(std::abs(k - j));
    }
    return sum / weights;
}

ORVANE_VECTORISED void SmoothInside(const float* __restrict power, float* __restrict smoothed, int first, int last) {
    const float w1 = Weight(1), w2 = Weight(2), w3 = Weight(3);
    const float scale = 1.f / (1.f + 2.f * (w1 + w2 + w3));
    for (int j = first; j <= last; j++) {
        smoothed[j] = (power[j] + w1 * (power[j - 1] + power[j + 1]) + w2 * (power[j - 2] + power[j + 2]) +
                       w3 * (power[j - 3] + power[j + 3])) *
                      scale;
    }
}

// By whole numbers of the ratio; the last one stands for everything above.
constexpr int kRatios = 100;
struct OverSubtractionTable {
    std::array<float, kRatios + 1> factors;
    OverSubtractionTable() {
        factors[0] = 3.5f;
        for (int i = 1; i < kRatios; i++) factors[i] = float(std::min(3.5, 3.0 - std::log10(double(i))));
        factors[kRatios] = 1.f;
    }
};

const float* GetOverSubtraction() {
    static const OverSubtractionTable table;
    return table.factors.data();
}

// Held to the table's ends and rounded to nearest, halves to even: 1.5 * 2^23 leaves no room for a fraction.
inline int TableIndex(float ratio) {
    constexpr float kNoFraction = 12582912.f;
    ratio = ratio < float(kRatios) ? ratio : float(kRatios);
    ratio = ratio > 0.f ? ratio : 0.f;
    return static_cast<int>((ratio + kNoFraction) - kNoFraction);
}

struct Smoothing {
    float keep_gain, take_gain, keep_over, take_over;
};

// The gain's and the over-subtraction's signal-to-noise ratio of every bin, the second as a place in the table.
ORVANE_VECTORISED void ComputeRatios(const float* __restrict smoothed, const float* __restrict inverse_noise,
                                     const float* __restrict estimate, const Smoothing s, float* __restrict ratio,
                                     int32_t* __restrict index, int n_bins) {
    for (int k = 0; k < n_bins; k++) {
        const float above = smoothed[k] * inverse_noise[k] - 1.f;
        const float instant = above > 0.f ? above : 0.f;
        const float before = estimate[k] * inverse_noise[k];
        ratio[k] = s.take_gain * instant + s.keep_gain * before;
        index[k] = TableIndex(s.take_over * instant + s.keep_over * before);
    }
}

ORVANE_VECTORISED void ComputeGains(const float* __restrict ratio, const float* __restrict over,
                                    const float* __restrict power, const float* __restrict inverse_noise,
                                    float strength, float* __restrict estimate, float* __restrict gains, int n_bins) {
    for (int k = 0; k < n_bins; k++) {
        const float gain = 1.f - over[k] / (ratio[k] + 1.f);
        const float clean = power[k] * gain;
        estimate[k] = clean > 0.f ? clean : 0.f;
        float attenuation = strength * (1.f - gain);
        attenuation = attenuation > 0.f ? attenuation : 0.f;
        attenuation = attenuation < 1.f ? attenuation : 1.f;
        const float kept = 1.f - attenuation;
        gains[k] = inverse_noise[k] > 0.f ? kept : 1.f;
    }
}

}  // namespace

double OverSubtraction(double x) {
    return double(GetOverSubtraction()[TableIndex(float(x))]);
}

HissSettings MakeHissSettings(int reduction, int quality) {
    constexpr std::array<double, 9> kStrength = {0.17, 0.185, 0.2, 0.215, 0.23, 0.245, 0.26, 0.275, 0.29};
    constexpr std::array<double, 5> kSmoothing = {0.95, 0.9, 0.85, 0.75, 0.65};
    return {kStrength[std::clamp(reduction, 0, 8)] * 1.07, kSmoothing[std::clamp(quality, 0, 4)]};
}

HissFilter::HissFilter(int32_t block) {
    const auto n_bins = static_cast<size_t>(block / 2 + 1);
    ORVANE_ASSERT(n_bins > 2 * kReach);
    for (std::vector<float>* bins : {&inverse_noise, &estimate, &power, &smoothed, &ratio, &over, &gains}) {
        bins->assign(n_bins, 0.f);
    }
    index.assign(n_bins, 0);
}

void HissFilter::SetNoise(std::span<const float> new_noise) {
    ORVANE_ASSERT(new_noise.size() == inverse_noise.size());
    has_noise = false;
    for (size_t k = 1; k < inverse_noise.size(); k++) {
        const bool enough = new_noise[k] > kLeastNoise;
        inverse_noise[k] = enough ? 1.f / new_noise[k] : 0.f;
        has_noise = has_noise || enough;
    }
}

void HissFilter::Process(std::span<float> spectrum, const HissSettings& settings) {
    const int half = static_cast<int>(power.size()) - 1;
    PowerSpectrum(spectrum, power);
    for (int j = 1; j <= kReach; j++) {
        smoothed[j] = SmoothedAtEdge(power, j);
        smoothed[half + 1 - j] = SmoothedAtEdge(power, half + 1 - j);
    }
    SmoothInside(power.data(), smoothed.data(), 1 + kReach, half - kReach);

    const double a = has_estimate ? settings.smoothing : 0.0;
    const double b = has_estimate ? (settings.smoothing + 1.0) / 2.0 : 0.0;
    ComputeRatios(smoothed.data(), inverse_noise.data(), estimate.data(),
                  {float(a), float(1.0 - a), float(b), float(1.0 - b)}, ratio.data(), index.data(), half + 1);
    // A look-up has no vector form on every processor; alone it leaves the loops around it free to have one.
    const float* factors = GetOverSubtraction();
    for (int k = 1; k <= half; k++) over[k] = factors[index[k]];
    ComputeGains(ratio.data(), over.data(), power.data(), inverse_noise.data(), float(settings.strength),
                 estimate.data(), gains.data(), half + 1);
    has_estimate = true;
    MultiplyBins(spectrum, gains);
}

}  // namespace Orvane
