#include "cleanup/declick/scankernels.h"

#include <cstdint>

#include "cleanup/filter/vectorised.h"

namespace Orvane {

ORVANE_VECTORISED bool AnyExceeds(const double* a, const double* b, double factor, int n) {
    int64_t any = 0;
    for (int k = 0; k < n; ++k) any |= a[k] > factor * b[k] ? -1 : 0;
    return any != 0;
}

ORVANE_VECTORISED void SplitPairs(const float* __restrict pairs, float* __restrict left, float* __restrict right,
                                  int n) {
    for (int k = 0; k < n; ++k) {
        left[k] = pairs[2 * k];
        right[k] = pairs[2 * k + 1];
    }
}

// A section waits for its own output of the sample before, and for the section in front of it. So the sections run
// askew, each in a lane of its own two samples behind the one before: all that a lane reads has then been ready for a
// step, and only the two products of its own outputs are waited for.
ORVANE_VECTORISED double EnergyThrough(const Cascade& sections, std::span<const double> data) {
    typedef double Lanes __attribute__((vector_size(sizeof(double) * std::tuple_size_v<Cascade>)));
    constexpr int kLast = std::tuple_size_v<Cascade> - 1, kSkew = 2 * kLast;
    Lanes b0, b1, b2, a1, a2, x1 = {}, x2 = {}, y1 = {}, y2 = {};
    for (int k = 0; k <= kLast; ++k) {
        const BiQuadFilter& section = sections[static_cast<size_t>(k)];
        b0[k] = section.b0, b1[k] = section.b1, b2[k] = section.b2, a1[k] = section.a1, a2[k] = section.a2;
    }
    const int n = static_cast<int>(data.size());
    double energy = 0.0;
    Lanes forward = {};  // what the inputs add to the next outputs
    for (int i = -1; i < n + kSkew; ++i) {
        const Lanes y = forward - a1 * y1 - a2 * y2;
        const double next = i + 1 < n ? data[static_cast<size_t>(i + 1)] : 0.0;
        const Lanes x = __builtin_shufflevector(Lanes{next}, y1, 0, 4, 5, 6);
        forward = b0 * x + b1 * x1 + b2 * x2;
        x2 = x1, x1 = x;
        y2 = y1, y1 = y;
        if (i >= kSkew) energy += y[kLast] * y[kLast];
    }
    return energy;
}

double SumOfSquares(std::span<const double> data) {
    constexpr size_t kParts = 4;
    double sums[kParts] = {};
    size_t i = 0;
    for (; i + kParts <= data.size(); i += kParts) {
        for (size_t k = 0; k < kParts; ++k) sums[k] += data[i + k] * data[i + k];
    }
    for (size_t k = 0; i + k < data.size(); ++k) sums[k] += data[i + k] * data[i + k];
    return (sums[0] + sums[1]) + (sums[2] + sums[3]);
}

}  // namespace Orvane
