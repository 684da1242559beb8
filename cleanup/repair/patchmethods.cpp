#include "cleanup/repair/patchmethods.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <vector>

#include "cleanup/filter/orvanefft.h"
#include "cleanup/repair/ar_max_entropy.h"
#include "cleanup/repair/interpolatecurve.h"
#include "foundation/assert.h"

namespace Orvane {
namespace {

float Held(double value) {
    return static_cast<float>(std::clamp(value, -1.0, 1.0));
}

double MeanPower(std::span<const float> samples) {
    double sum = 0;
    for (float v : samples) sum += static_cast<double>(v) * v;
    return samples.empty() ? 0 : sum / static_cast<double>(samples.size());
}

// True if the stretch was so short that it is done.
bool PatchTrivial(std::span<float> signal, int first, int last) {
    const int total = static_cast<int>(signal.size());
    if (last < first) return true;
    ORVANE_ASSERT(first >= 0 && last < total);
    if (first != last) return false;
    const float before = signal[first > 0 ? first - 1 : std::min(first + 1, total - 1)];
    const float after = signal[last + 1 < total ? last + 1 : std::max(last - 1, 0)];
    signal[first] = Held((static_cast<double>(before) + after) / 2);
    return true;
}

// ---- AR ----

struct Prediction {
    std::vector<float> samples;
    bool in_scale = true;
};

// The model's prediction of `n` samples behind `before`, each multiplied by `factor`. Samples may lie beyond full
// scale, to which the finished patch is held: held here they would lead all that follow astray.
Prediction Predict(std::span<const float> before, std::span<const float> model, int n, double factor) {
    constexpr double kFarOut = 16;  // no audio goes there, but a gain may
    const int order = static_cast<int>(model.size());
    std::vector<float> run(before.end() - order, before.end());
    run.reserve(run.size() + static_cast<size_t>(n));
    Prediction prediction;
    for (int i = 0; i < n; i++) {
        double sum = 0;
        for (int k = 0; k < order; k++) sum -= static_cast<double>(model[k]) * run[order + i - 1 - k];
        sum *= factor;
        prediction.in_scale &= std::abs(sum) <= 1;
        run.push_back(static_cast<float>(std::clamp(sum, -kFarOut, kFarOut)));
    }
    prediction.samples.assign(run.begin() + order, run.end());
    return prediction;
}

// Continues `before` by n_wanted samples, the first of which take the place of `original`. A model loses strength with
// the distance: where the result is weaker than the original it is tried again with a gain at each sample, and the gain
// is taken back if it drives the result out of full scale or above the level wanted.
//
// A gain that only full scale ends, or one that follows from a first-order model of the gap's samples instead of from
// the levels, turns short patches into shrieks: docs/patching.md has the figures.
std::vector<float> Extrapolate(std::span<const float> before, std::span<const float> original, int autolen,
                               int n_wanted) {
    constexpr int kRounds = 3;
    // Fewer samples say nothing about a level.
    constexpr size_t kLevelLength = 64;
    // A start or end of the recording leaves fewer samples than the model's length asks for.
    const int order = std::min(autolen, static_cast<int>(before.size()) / 2);
    if (order < 1) return {};
    std::vector<float> model(static_cast<size_t>(order));
    BurgFloat(before, model);

    std::vector<float> result = Predict(before, model, n_wanted, 1).samples;
    if (original.size() >= kLevelLength) {
        // The damage itself makes the original louder than the audio was; the samples before it do not know of it.
        const auto nearby = before.last(std::min(before.size(), original.size()));
        const double wanted = std::min(MeanPower(original), MeanPower(nearby));
        const auto gain = [&](const std::vector<float>& samples) { return std::sqrt(MeanPower(samples) / wanted); };
        const double g = gain(result);
        if (g < 1) {
            const double step = std::max(0.75 / g - 0.75, 0.02);
            for (int round = 1; round < kRounds; round++) {
                Prediction louder = Predict(before, model, n_wanted, 1 + step / round);
                if (!louder.in_scale || gain(louder.samples) > 1) continue;
                result = std::move(louder.samples);
                break;
            }
        }
    }
    return result;
}

// n points at `steps` samples each, drawn as a curve. `points` holds kCurveMargin more on each side.
constexpr int kCurveMargin = 3;

std::vector<float> Upsampled(std::span<const float> points, int steps) {
    if (steps == 1) return {points.begin() + kCurveMargin, points.end() - kCurveMargin};
    std::vector<float> curve((points.size() - 1) * static_cast<size_t>(steps));
    InterpolateCurve<float>(points, steps, curve);
    const auto first = curve.begin() + kCurveMargin * steps;
    return {first, first + (std::ssize(points) - 2 * kCurveMargin) * steps};
}

// `before` with its continuation, at full rate, from the first sample of the gap on; empty if nothing can be told.
std::vector<float> ContinuedCurve(std::span<const float> before, std::span<const float> gap, int autolen, int steps,
                                  bool backward) {
    const int n = static_cast<int>(gap.size());
    const std::vector<float> continued = Extrapolate(before, gap, autolen, n + kCurveMargin);
    if (continued.empty()) return {};
    std::vector<float> points;
    for (int i = kCurveMargin; i > 0; i--) {
        points.push_back(i <= static_cast<int>(before.size()) ? before[before.size() - i] : before.front());
    }
    points.insert(points.end(), continued.begin(), continued.end());
    // Drawn in the direction of time, so that both curves belong to the same places.
    if (backward) std::reverse(points.begin(), points.end());
    return Upsampled(points, steps);
}

// ---- FFT and APA ----

constexpr int kMinTransform = 64;

int TransformSize(int n) {
    return std::max(kMinTransform, static_cast<int>(std::bit_ceil(static_cast<unsigned>(n))));
}

// The spectrum of `size` samples from `start`, moved to lie inside the signal; what it does not fill is zero.
std::vector<float> Spectrum(std::span<const float> signal, int start, int size) {
    const int total = static_cast<int>(signal.size());
    start = std::max(std::min(start, total - size), 0);
    std::vector<float> window(static_cast<size_t>(size)), spectrum(window.size() + 2);
    std::copy_n(signal.begin() + start, std::min(size, total - start), window.begin());
    OrvaneFFT& fft = GetFFT();
    fft.Transform(fft.CreatePlan(size, kFFTBoth), FFTDirection::Forward, window, spectrum);
    return spectrum;
}

// 1 in the middle, from 0 over the first tenth and to 0 over the last.
double Fade(int i, int n) {
    const int slope = n / 10;
    const int from_end = std::min(i, n - 1 - i);
    return from_end < slope ? static_cast<double>(from_end) / slope : 1;
}

// The partials of one side. Place 0 is unused; `mean` stands for it.
struct Partials {
    double mean;
    std::vector<float> amplitude, phase;
};

Partials PartialsOf(std::span<const float> spectrum) {
    const size_t half = spectrum.size() / 2 - 1;
    const float scale = 1.0f / static_cast<float>(half);  // 2 / size
    Partials partials{spectrum[0] * scale / 2, std::vector<float>(half + 1), std::vector<float>(half + 1)};
    for (size_t k = 1; k <= half; k++) {
        const float re = spectrum[2 * k] * scale, im = spectrum[2 * k + 1] * scale;
        partials.amplitude[k] = std::sqrt(re * re + im * im);
        partials.phase[k] = k < half ? std::atan2(im, re) : 0;
    }
    return partials;
}

constexpr int kStepsPerRadian = 16;

// cos of an angle of -2 pi or above, from a table.
float TableCosine(double angle) {
    static const std::array<float, 512> table = [] {
        std::array<float, 512> made;
        for (size_t i = 0; i < made.size(); i++) {
            made[i] = static_cast<float>(std::cos(static_cast<double>(i) / kStepsPerRadian));
        }
        return made;
    }();
    constexpr double kTurn = 2 * std::numbers::pi;
    const double turns = angle / kTurn + 1;
    angle = (turns - static_cast<double>(static_cast<int64_t>(turns))) * (kTurn * kStepsPerRadian);
    const int place = static_cast<int>(angle);
    const float rest = static_cast<float>(angle - place);
    return table[place] + rest * (table[place + 1] - table[place]);
}

double SumOfPartials(const Partials& before, const Partials& after, double t) {
    double sum = (1 - t) * before.mean + t * after.mean;
    for (size_t k = 1; k < before.amplitude.size(); k++) {
        const double amplitude = (1 - t) * before.amplitude[k] + t * after.amplitude[k];
        const double phase = (1 - t) * before.phase[k] + t * after.phase[k];
        sum += amplitude * TableCosine(2 * std::numbers::pi * static_cast<double>(k) * t + phase);
    }
    return sum;
}

// ---- choosing ----

// The power of what `model` fails to predict of the samples from `first` to `last`, per sample.
double ResidualPower(std::span<const float> signal, std::span<const float> model, int first, int last) {
    const int order = static_cast<int>(model.size());
    first = std::max(first, order);
    double sum = 0;
    for (int i = first; i <= last; i++) {
        double error = signal[i];
        for (int k = 0; k < order; k++) error += static_cast<double>(model[k]) * signal[i - 1 - k];
        sum += error * error;
    }
    return last < first ? 0 : sum / (last - first + 1);
}

double Decibels(double power, double reference) {
    constexpr double kFloor = 1e-12;
    return 10 * std::log10((power + kFloor) / (reference + kFloor));
}

}  // namespace

int PatchContext(int n) {
    return std::max(4096, TransformSize(n));
}

void PatchAR(std::span<float> signal, int first, int last) {
    if (PatchTrivial(signal, first, last)) return;
    const int n = last - first + 1;
    const int decimation = n <= 60 ? 1 : n <= 120 ? 2 : 3;

    // Every d-th sample, one of them the first of the gap.
    std::vector<float> decimated;
    for (size_t i = static_cast<size_t>(first % decimation); i < signal.size(); i += static_cast<size_t>(decimation)) {
        decimated.push_back(signal[i]);
    }
    const int gap_first = first / decimation, gap_n = (n + decimation - 1) / decimation;
    const int total = static_cast<int>(decimated.size()), gap_end = std::min(gap_first + gap_n, total);
    const int autolen = std::min((total - gap_n) / 4, 4096);
    ORVANE_ASSERT(autolen > 0);

    const std::span<const float> all = decimated;
    std::vector<float> gap(all.begin() + gap_first, all.begin() + gap_end);
    gap.resize(static_cast<size_t>(gap_n));
    const std::vector<float> forward = ContinuedCurve(all.first(gap_first), gap, autolen, decimation, false);
    std::vector<float> reversed(all.rbegin(), all.rend() - gap_end);
    std::reverse(gap.begin(), gap.end());
    const std::vector<float> backward = ContinuedCurve(reversed, gap, autolen, decimation, true);

    const double m = static_cast<double>(gap_n * decimation);
    for (int i = 0; i < n; i++) {
        const double share = forward.empty() ? 1 : backward.empty() ? 0 : i / m;
        const double value =
            (forward.empty() ? 0 : (1 - share) * forward[i]) + (backward.empty() ? 0 : share * backward[i]);
        signal[first + i] = Held(value);
    }
}

void PatchFFT(std::span<float> signal, int first, int last) {
    if (PatchTrivial(signal, first, last)) return;
    const int n = last - first + 1, size = TransformSize(n);
    std::vector<float> spectrum = Spectrum(signal, first - size, size);
    const std::vector<float> after = Spectrum(signal, last + 1, size);
    std::transform(spectrum.begin(), spectrum.end(), after.begin(), spectrum.begin(),
                   [](float a, float b) { return (a + b) / 2; });
    std::vector<float> output(static_cast<size_t>(size));
    OrvaneFFT& fft = GetFFT();
    fft.Transform(fft.CreatePlan(size, kFFTBoth), FFTDirection::Inverse, spectrum, output);
    for (int i = 0; i < n; i++) {
        const double w = Fade(i, n);
        signal[first + i] = Held((1 - w) * signal[first + i] + w * output[(size - n) / 2 + i] / size);
    }
}

void PatchAPA(std::span<float> signal, int first, int last) {
    if (PatchTrivial(signal, first, last)) return;
    const int n = last - first + 1, size = TransformSize(n);
    const Partials before = PartialsOf(Spectrum(signal, first - size, size));
    const Partials after = PartialsOf(Spectrum(signal, last + 1, size));
    // The sum is slow: behind the first samples every second one stands for two.
    constexpr int kEverySample = 10;
    for (int i = 0; i < n; i++) {
        const bool repeats = i > kEverySample && (i - kEverySample) % 2 == 1 && i < n - 1;
        signal[first + i] =
            repeats ? signal[first + i - 1] : Held(SumOfPartials(before, after, static_cast<double>(i) / (n - 1)));
    }
}

void Patch(PatchMethod method, std::span<float> signal, int first, int last) {
    switch (method) {
        case PatchMethod::APA:
            return PatchAPA(signal, first, last);
        case PatchMethod::AR:
            return PatchAR(signal, first, last);
        case PatchMethod::FFT:
            return PatchFFT(signal, first, last);
    }
}

double PatchMismatch(std::span<const float> signal, int first, int last) {
    constexpr int kOrder = 32, kContext = 2048;
    const int total = static_cast<int>(signal.size());
    const auto before = signal.subspan(std::max(first - kContext, 0), std::min(first, kContext));
    const auto after = signal.subspan(last + 1, std::min(total - last - 1, kContext));
    double level = 0, residual = 0, patch_residual = 0;
    int sides = 0;
    for (const auto& side : {before, after}) {
        if (std::ssize(side) <= 2 * kOrder) continue;
        std::vector<float> model(kOrder);
        BurgFloat(side, model);
        sides++;
        level += MeanPower(side);
        residual += ResidualPower(side, model, kOrder, static_cast<int>(side.size()) - 1);
        patch_residual += ResidualPower(signal, model, first, std::min(last + kOrder, total - 1));
    }
    if (sides == 0) return 0;
    const double patch_level = MeanPower(signal.subspan(first, last - first + 1));
    return std::abs(Decibels(patch_residual, residual)) + std::abs(Decibels(patch_level, level / sides));
}

PatchMethod PatchBest(std::span<float> signal, int first, int last) {
    PatchMethod best = PatchMethod::AR;
    if (PatchTrivial(signal, first, last)) return best;
    const auto begin = signal.begin() + first, end = signal.begin() + last + 1;
    const std::vector<float> original(begin, end);
    std::vector<float> kept;
    double least = 0;
    for (PatchMethod method : {PatchMethod::AR, PatchMethod::FFT, PatchMethod::APA}) {
        std::copy(original.begin(), original.end(), begin);
        Patch(method, signal, first, last);
        const double mismatch = PatchMismatch(signal, first, last);
        if (!kept.empty() && mismatch >= least) continue;
        least = mismatch;
        best = method;
        kept.assign(begin, end);
    }
    std::copy(kept.begin(), kept.end(), begin);
    return best;
}

}  // namespace Orvane
