#include "cleanup/filter/filterchain.h"

#include <algorithm>
#include <complex>
#include <cstddef>
#include <numbers>

#include "cleanup/filter/flushtozero.h"
#include "foundation/assert.h"

// A section's output needs its output before, so one section alone is bound by the latency of a multiplication and
// two subtractions a sample, and the processor idles. The sections of a cascade are therefore run askew: in step t
// section k works on sample t - k, whose input section k - 1 has made in the step before. All sections of a step
// are independent of each other and lie, with both channels, side by side in vector lanes.

namespace Orvane {
namespace {

using Section = FilterChain::Section;

#define ORVANE_INLINE __attribute__((always_inline)) inline

template <int kLanes>
struct Lanes {
    typedef double Vector __attribute__((vector_size(kLanes * sizeof(double))));
};

// The lanes of `low` followed by those of `high`, from the last pair of `low` on: everything moves up one section.
template <int kLanes, typename Vector>
ORVANE_INLINE void MoveUp(const Vector& low, const Vector& high, Vector& result) {
    if constexpr (kLanes == 2) {
        result = low;
    } else if constexpr (kLanes == 4) {
        result = __builtin_shufflevector(low, high, 2, 3, 4, 5);
    } else {
        result = __builtin_shufflevector(low, high, 6, 7, 8, 9, 10, 11, 12, 13);
    }
}

// The steps in which all `kSections` work: sample `i` enters and sample i - (kSections - 1) leaves.
template <int kLanes, int kSections>
ORVANE_INLINE void RunAllSections(Section* sections, float* left, float* right, size_t begin, size_t end) {
    using Vector = typename Lanes<kLanes>::Vector;
    constexpr int kAcross = kLanes / 2;  // sections in a vector
    constexpr int kVectors = (kSections + kAcross - 1) / kAcross;
    constexpr int kLast = 2 * ((kSections - 1) % kAcross);
    struct State {
        Vector x1, x2, y1, y2;
    };
    Vector b0[kVectors] = {}, b1[kVectors] = {}, b2[kVectors] = {}, a1[kVectors] = {}, a2[kVectors] = {};
    State state[kVectors] = {};
    for (int k = 0; k < kSections; k++) {
        const Section& s = sections[k];
        for (int channel = 0; channel < 2; channel++) {
            const int v = k / kAcross, lane = 2 * (k % kAcross) + channel;
            b0[v][lane] = s.b0, b1[v][lane] = s.b1, b2[v][lane] = s.b2, a1[v][lane] = s.a1, a2[v][lane] = s.a2;
            state[v].x1[lane] = s.x1[channel], state[v].x2[lane] = s.x2[channel];
            state[v].y1[lane] = s.y1[channel], state[v].y2[lane] = s.y2[channel];
        }
    }
    for (size_t i = begin; i < end; i++) {
        Vector in = {}, x[kVectors];
        in[kLanes - 2] = double(left[i]);
        in[kLanes - 1] = double(right[i]);
#pragma GCC unroll 10
        for (int v = 0; v < kVectors; v++) MoveUp<kLanes>(v == 0 ? in : state[v - 1].y1, state[v].y1, x[v]);
#pragma GCC unroll 10
        for (int v = 0; v < kVectors; v++) {
            State& s = state[v];
            const Vector y = b0[v] * x[v] + b1[v] * s.x1 + b2[v] * s.x2 - a1[v] * s.y1 - a2[v] * s.y2;
            s.x2 = s.x1, s.x1 = x[v];
            s.y2 = s.y1, s.y1 = y;
        }
        left[i - (kSections - 1)] = float(state[kVectors - 1].y1[kLast]);
        right[i - (kSections - 1)] = float(state[kVectors - 1].y1[kLast + 1]);
    }
    for (int k = 0; k < kSections; k++) {
        Section& s = sections[k];
        for (int channel = 0; channel < 2; channel++) {
            const int v = k / kAcross, lane = 2 * (k % kAcross) + channel;
            s.x1[channel] = state[v].x1[lane], s.x2[channel] = state[v].x2[lane];
            s.y1[channel] = state[v].y1[lane], s.y2[channel] = state[v].y2[lane];
        }
    }
}

template <int kLanes, int kSections = FilterChain::kMostSections>
ORVANE_INLINE void RunCount(Section* sections, int n_sections, float* left, float* right, size_t begin, size_t end) {
    if (n_sections == kSections) {
        RunAllSections<kLanes, kSections>(sections, left, right, begin, end);
    } else if constexpr (kSections > 1) {
        RunCount<kLanes, kSections - 1>(sections, n_sections, left, right, begin, end);
    }
}

using RunFunction = void(Section* sections, int n_sections, float* left, float* right, size_t begin, size_t end);

void RunBaseline(Section* sections, int n_sections, float* left, float* right, size_t begin, size_t end) {
    RunCount<2>(sections, n_sections, left, right, begin, end);
}

#if defined(__x86_64__)
__attribute__((target("avx2"))) void RunAvx2(Section* sections, int n_sections, float* left, float* right, size_t begin,
                                             size_t end) {
    RunCount<4>(sections, n_sections, left, right, begin, end);
}

__attribute__((target("avx512f"))) void RunAvx512(Section* sections, int n_sections, float* left, float* right,
                                                  size_t begin, size_t end) {
    RunCount<8>(sections, n_sections, left, right, begin, end);
}
#endif

RunFunction* RunOfWidth([[maybe_unused]] VectorWidth width) {
#if defined(__x86_64__)
    if (width == VectorWidth::Eight) return RunAvx512;
    if (width == VectorWidth::Four) return RunAvx2;
#endif
    return RunBaseline;
}

// A step at either end of a call, in which only sections `first` to `last` have a sample to work on. From the last
// section down, so that each finds its predecessor's output of the step before.
void RunSomeSections(Section* sections, int first, int last, const double in[2]) {
    for (int k = last; k >= first; k--) {
        Section& s = sections[k];
        for (int channel = 0; channel < 2; channel++) {
            const double x = k == 0 ? in[channel] : sections[k - 1].y1[channel];
            const double y =
                s.b0 * x + s.b1 * s.x1[channel] + s.b2 * s.x2[channel] - s.a1 * s.y1[channel] - s.a2 * s.y2[channel];
            s.x2[channel] = s.x1[channel], s.x1[channel] = x;
            s.y2[channel] = s.y1[channel], s.y1[channel] = y;
        }
    }
}

}  // namespace

VectorWidth BestVectorWidth() {
#if defined(__x86_64__)
    static const VectorWidth best = __builtin_cpu_supports("avx512f") ? VectorWidth::Eight
                                    : __builtin_cpu_supports("avx2")  ? VectorWidth::Four
                                                                      : VectorWidth::Two;
    return best;
#else
    return VectorWidth::Two;
#endif
}

void FilterChain::Append(const BiQuadFilter& section) {
    ORVANE_ASSERT(n_sections < kMostSections);
    sections[n_sections++] = {section.b0, section.b1, section.b2, section.a1, section.a2, {}, {}, {}, {}};
}

double FilterChain::GainAt(double frequency, double samplerate) const {
    const std::complex<double> z1 = std::polar(1.0, -2.0 * std::numbers::pi * frequency / samplerate), z2 = z1 * z1;
    double gain = 1.0;
    for (const Section& s : std::span(sections).first(static_cast<size_t>(n_sections))) {
        gain *= std::abs((s.b0 + s.b1 * z1 + s.b2 * z2) / (1.0 + s.a1 * z1 + s.a2 * z2));
    }
    return gain;
}

bool FilterChain::HasCoefficientsOf(const FilterChain& other) const {
    const auto same = [](const Section& a, const Section& b) {
        return a.b0 == b.b0 && a.b1 == b.b1 && a.b2 == b.b2 && a.a1 == b.a1 && a.a2 == b.a2;
    };
    return std::equal(sections.begin(), sections.begin() + n_sections, other.sections.begin(),
                      other.sections.begin() + other.n_sections, same);
}

void FilterChain::Process(std::span<float> left, std::span<float> right, VectorWidth width) {
    ORVANE_ASSERT(left.size() == right.size());
    if (n_sections == 0) return;
    const FlushToZero guard;
    const auto n_samples = static_cast<ptrdiff_t>(left.size());
    const ptrdiff_t delay = n_sections - 1;
    for (ptrdiff_t step = 0; step < n_samples + delay; step++) {
        if (step == delay && n_samples > delay) {
            RunOfWidth(width)(sections.data(), n_sections, left.data(), right.data(), static_cast<size_t>(step),
                              static_cast<size_t>(n_samples));
            step = n_samples;
            if (step == n_samples + delay) break;
        }
        double in[2] = {};
        if (step < n_samples) in[0] = double(left[step]), in[1] = double(right[step]);
        const auto first = static_cast<int>(std::max<ptrdiff_t>(0, step - n_samples + 1));
        const auto last = static_cast<int>(std::min<ptrdiff_t>(delay, step));
        RunSomeSections(sections.data(), first, last, in);
        if (step >= delay) {
            left[step - delay] = float(sections[delay].y1[0]);
            right[step - delay] = float(sections[delay].y1[1]);
        }
    }
}

}  // namespace Orvane
