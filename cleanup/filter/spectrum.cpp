#include "cleanup/filter/spectrum.h"

#include <cmath>
#include <map>
#include <mutex>
#include <numbers>
#include <utility>
#include <vector>

#include "cleanup/filter/vectorised.h"
#include "foundation/assert.h"

namespace Orvane {
namespace {

ORVANE_VECTORISED void Multiply(const float* __restrict a, const float* __restrict b, float* __restrict out, int n) {
    for (int i = 0; i < n; i++) out[i] = a[i] * b[i];
}

ORVANE_VECTORISED void ComputePower(const float* __restrict spectrum, float* __restrict power, int n_bins) {
    for (int k = 0; k < n_bins; k++) {
        power[k] = spectrum[2 * k] * spectrum[2 * k] + spectrum[2 * k + 1] * spectrum[2 * k + 1];
    }
}

ORVANE_VECTORISED void MultiplyPairs(float* __restrict spectrum, const float* __restrict gains, int n_bins) {
    for (int k = 0; k < n_bins; k++) {
        spectrum[2 * k] *= gains[k];
        spectrum[2 * k + 1] *= gains[k];
    }
}

}  // namespace

std::span<const float> GetWindow(WindowType type, int32_t size) {
    static std::mutex lock;
    static auto& windows = *new std::map<std::pair<WindowType, int32_t>, std::vector<float>>;
    const std::lock_guard guard(lock);
    std::vector<float>& window = windows[{type, size}];
    if (window.empty()) {
        window.resize(size);
        for (int32_t i = 0; i < size; i++) {
            const double turn = 2.0 * std::numbers::pi * i / (size - 1);
            window[i] = float(type == WindowType::Hann ? 0.5 - 0.5 * std::cos(turn)
                                                       : 0.42 - 0.5 * std::cos(turn) + 0.08 * std::cos(2.0 * turn));
        }
    }
    return window;
}

void MultiplyWindow(std::span<const float> samples, std::span<const float> window, std::span<float> out) {
    ORVANE_ASSERT(samples.size() == window.size() && out.size() >= window.size());
    Multiply(samples.data(), window.data(), out.data(), static_cast<int>(window.size()));
}

void PowerSpectrum(std::span<const float> spectrum, std::span<float> power) {
    ORVANE_ASSERT(spectrum.size() >= 2 * power.size());
    ComputePower(spectrum.data(), power.data(), static_cast<int>(power.size()));
    power[0] = 0.f;
}

void MultiplyBins(std::span<float> spectrum, std::span<const float> gains) {
    ORVANE_ASSERT(spectrum.size() >= 2 * gains.size());
    MultiplyPairs(spectrum.data() + 2, gains.data() + 1, static_cast<int>(gains.size()) - 1);
}

}  // namespace Orvane
