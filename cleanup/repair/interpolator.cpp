#include "cleanup/repair/interpolator.h"

#include <algorithm>
#include <cmath>

#include "cleanup/repair/interpolatecurve.h"
#include "foundation/assert.h"

namespace Orvane {
namespace {

// Real decimated samples put on each side of the solved ones before the curve is drawn, and how many of them the
// five-tap smoothing uses up.
constexpr int kFlank = 20;
constexpr int kSmoothing = 2;

int ModelOrder(int n, int len, int decimation, bool big_pop) {
    int order = std::max(big_pop ? 3 * n : 6 * n, 75);
    order = std::min(order, 240 / decimation);
    order = std::max(order, 3 * n / 2);
    order = std::min(order, (len - n) / 4);
    return std::min(order, kBurgMaxDegree);
}

// Holds `value` to full scale; true if it had to.
bool Hold(double& value) {
    const double held = std::clamp(value, -1.0, 1.0);
    const bool changed = held != value;
    value = held;
    return changed;
}

void Grow(std::vector<double>& v, int size) {
    if (v.size() < static_cast<size_t>(size)) v.resize(static_cast<size_t>(size));
}

}  // namespace

void Interpolator::Decimate(std::span<const float> signal, const Gap& gap) {
    const int len = static_cast<int>(context.size());
    for (int i = 0; i < gap.first; i++) context[i] = signal[gap.decimation - 1 + i * gap.decimation];
    std::fill(context.begin() + gap.first, context.begin() + gap.last + 1, 0.0);
    for (int i = gap.last + 1; i < len; i++) context[i] = signal[gap.decimation * i];
}

// Fills `model` with that of the audio after the gap, or before it; the result is its order.
int Interpolator::EstimateModel(const Gap& gap, int order) {
    const std::span<const double> data = context;
    const auto after = data.subspan(gap.last + 1), before = data.first(gap.first);
    const int k = std::min(order, 20);
    const double almost_white = 0.3 * k, unstable = 10.0 * k;
    double reflections[kBurgMaxDegree];
    const auto estimate = [&](std::span<const double> part) {
        BurgDouble(part, {model, static_cast<size_t>(order)}, {reflections, static_cast<size_t>(order)});
        double sum = 0;
        for (int i = 0; i < k; i++) sum += std::abs(model[i]);
        return sum;
    };

    double sum = estimate(after);
    if (sum >= unstable) sum = estimate(before);
    const int n = gap.Size();
    if (sum < almost_white && n < order) {
        // A long model of something close to white is pointless. The short one is a stage of the same recursion.
        order = n;
        ModelFromReflections(reflections, {model, static_cast<size_t>(order)});
    }
    return order;
}

RepairResult Interpolator::Interpolate(std::span<const float> signal, int click_start, int click_end, int cross_fade,
                                       bool big_pop, std::span<float> out, RemoveNeighboursRef remove_neighbours) {
    const int siglen = static_cast<int>(signal.size());
    const int n_bad = click_end - click_start + 1;
    ORVANE_ASSERT(n_bad > 0);
    ORVANE_ASSERT(click_start >= 0 && click_end <= siglen);
    ORVANE_ASSERT(static_cast<int>(out.size()) >= n_bad + 3);

    // A wide gap is solved at a lower rate, which keeps the matrix small.
    Gap gap;
    gap.decimation = n_bad <= 60 ? 1 : n_bad <= 120 ? 2 : 3;
    gap.first = click_start / gap.decimation;
    gap.last = (click_end + 1) / gap.decimation - 1;
    gap.fade = cross_fade / gap.decimation;
    if (gap.decimation > 1) {
        gap.first += gap.fade;
        gap.last -= gap.fade;
    }
    const int n = gap.Size();
    const int len = siglen / gap.decimation;
    ORVANE_ASSERT(n > 0);

    context.resize(static_cast<size_t>(len));
    Decimate(signal, gap);
    remove_neighbours(context, gap.first, gap.last, len, gap.decimation);

    int order = ModelOrder(n, len, gap.decimation, big_pop);
    ORVANE_ASSERT(order > 0);
    order = EstimateModel(gap, order);

    Grow(solution, n);
    const std::span<double> solved = std::span(solution).first(n);
    if (!solver.Solve(context, gap.first, {model, static_cast<size_t>(order)}, solved)) return RepairResult::Singular;

    bool overshot = false;
    for (double& u : solved) overshot |= Hold(u);
    if (gap.decimation > 1) return WriteDecimated(signal, gap, out);
    std::transform(solved.begin(), solved.end(), out.begin(), [](double u) { return static_cast<float>(u); });
    return overshot ? RepairResult::Overshoot : RepairResult::Repaired;
}

// The solved samples back at full rate, drawn as a curve through them and the real ones beside them.
RepairResult Interpolator::WriteDecimated(std::span<const float> signal, const Gap& gap, std::span<float> out) {
    const int dec = gap.decimation, n = gap.Size(), fade = gap.fade * dec;
    ORVANE_ASSERT(gap.fade < kFlank - kSmoothing);

    Grow(flanked, n + 2 * kFlank);
    const int first_flank = gap.first - kFlank;
    for (int i = 0; i < n + 2 * kFlank; i++) {
        const bool is_solved = i >= kFlank && i < kFlank + n;
        flanked[i] = is_solved ? solution[i - kFlank] : signal[(first_flank + i) * dec];
    }
    const int n_points = n + 2 * (kFlank - kSmoothing);
    Grow(smoothed, n_points);
    for (int i = 0; i < n_points; i++) {
        const double* centre = flanked.data() + i + kSmoothing;
        const bool is_solved = i >= kFlank - kSmoothing && i < kFlank - kSmoothing + n;
        smoothed[i] = is_solved
                          ? *centre
                          : 0.1 * centre[-2] + 0.2 * centre[-1] + 0.4 * centre[0] + 0.2 * centre[1] + 0.1 * centre[2];
    }
    Grow(curve, (n_points - 1) * dec);
    InterpolateCurve<double>({smoothed.data(), static_cast<size_t>(n_points)}, dec, curve);

    const double* drawn = curve.data() + (kFlank - kSmoothing - gap.fade) * dec;
    const float* real = signal.data() + (gap.first - gap.fade) * dec;
    float* place = out.data();
    const double fade_step = fade > 0 ? 1.0 / fade : 0;
    double weight = 1;
    bool overshot = false;
    const auto put = [&](double value) {
        const bool held = Hold(value);
        *place++ = static_cast<float>(value);
        return held;
    };
    for (int i = 0; i < fade; i++, weight -= fade_step) put((1 - weight) * *drawn++ + weight * *real++);
    for (int i = 0; i < n * dec; i++) overshot |= put(*drawn++);
    real += n * dec;
    if (fade == 0) weight = 0;
    for (int i = 0; i < fade; i++, weight += fade_step) overshot |= put((1 - weight) * *drawn++ + weight * *real++);
    std::copy_n(real, dec, place);
    return overshot ? RepairResult::Overshoot : RepairResult::Repaired;
}

void Interpolator::Release() {
    *this = Interpolator();
}

}  // namespace Orvane
