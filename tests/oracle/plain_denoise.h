// Gain table and hiss suppression written down step by step, in double precision and without a thought of speed.
#pragma once

#include <algorithm>
#include <cmath>
#include <complex>
#include <numbers>
#include <vector>

#include "cleanup/filter/orvanefft.h"
#include "collection/corrections.h"

namespace Orvane::Oracle {

// dB gains of bins 0 to half.
inline std::vector<double> PlainCurveDb(const std::vector<FFTCurve::Point>& points, int samplerate, int half) {
    const int n = int(points.size());
    std::vector<double> db(half + 1);
    const auto gain = [&](int i) { return double(points[i < 0 ? 0 : i >= n ? n - 1 : i].gain); };
    double before2 = gain(0), before1 = gain(0), here = gain(0), after1 = gain(0), after2 = gain(0);
    const auto smooth = [&] { return 0.1 * before2 + 0.2 * before1 + 0.4 * here + 0.2 * after1 + 0.1 * after2; };
    db[0] = smooth();
    int done = 0;
    for (int i = 0; i < n; i++) {
        const int end = std::min(int(double(points[i].freq) * half / (samplerate / 2)), half - 1);
        const int steps = end - done;
        const bool ahead = i < n - 2;
        if (steps > 0) {
            const double d2 = (gain(i - 2) - before2) / steps, d1 = (gain(i - 1) - before1) / steps;
            const double d0 = (gain(i) - here) / steps;
            const double e1 = ahead ? (gain(i + 1) - after1) / steps : 0,
                         e2 = ahead ? (gain(i + 2) - after2) / steps : 0;
            while (done < end) {
                before2 += d2, before1 += d1, here += d0, after1 += e1, after2 += e2;
                db[++done] = smooth();
            }
        }
        before2 = gain(i - 2), before1 = gain(i - 1), here = gain(i);
        if (ahead) after1 = gain(i + 1), after2 = gain(i + 2);
    }
    while (done < half) done++, db[done] = db[done - 1];
    return db;
}

// The hiss filter of one channel.
class PlainHiss {
public:
    PlainHiss(std::vector<double> mean_noise, double strength, double smoothing)
        : noise(std::move(mean_noise)), strength(strength), a(smoothing), estimate(noise.size()) {}

    void Process(std::vector<std::complex<double>>& spectrum) {
        const int half = int(noise.size()) - 1;
        std::vector<double> power(half + 1);
        for (int k = 1; k <= half; k++) power[k] = std::norm(spectrum[k]);
        power[half] = spectrum[half].real() * spectrum[half].real();
        const double b = (a + 1) / 2;
        for (int j = 1; j <= half; j++) {
            if (noise[j] <= 1e-10) continue;
            double sum = 0, weights = 0;
            for (int k = j - 3; k <= j + 3; k++) {
                if (k < 1 || k > half) continue;
                const double weight = 1 / std::sqrt(std::abs(k - j) + 1.0);
                sum += weight * power[k], weights += weight;
            }
            const double instant = std::max(0.0, sum / weights / noise[j] - 1);
            double snr_gain = instant, snr_over = instant;
            if (seen) {
                const double r = estimate[j] / noise[j];
                snr_gain = (1 - a) * instant + a * r;
                snr_over = (1 - b) * instant + b * r;
            }
            const double gain = 1 - Over(snr_over) / (snr_gain + 1);
            estimate[j] = std::max(0.0, power[j] * gain);
            const double cut = std::clamp(strength * (1 - gain), 0.0, 1.0);
            spectrum[j] = {spectrum[j].real() * (1 - cut), spectrum[j].imag() * (j < half ? 1 - cut : 1)};
        }
        seen = true;
    }

    static double Over(double x) {
        const long index = std::lrint(std::min(x, 1000.0));
        if (index >= 100) return 1.0;
        return index <= 0 ? 3.5 : std::min(3.5, 3.0 - std::log10(double(index)));
    }

private:
    std::vector<double> noise;
    double strength, a;
    std::vector<double> estimate;
    bool seen = false;
};

// Frames with a gain for every bin.
class PlainFrames {
public:
    explicit PlainFrames(std::vector<double> bin_gains) : gains(std::move(bin_gains)), tail(gains.size() - 1) {}

    std::vector<double> Process(std::vector<float> frame) {
        const int half = int(gains.size()) - 1, n = 2 * half;
        for (int i = 0; i < n; i++) frame[i] *= float(0.5 - 0.5 * std::cos(2 * std::numbers::pi * i / (n - 1)));
        const FFT_PLAN* plan = GetFFT().CreatePlan(n, kFFTBoth);
        std::vector<float> bins(n + 2);
        GetFFT().Transform(plan, FFTDirection::Forward, frame, bins);
        for (int k = 1; k <= half; k++) bins[2 * k] *= float(gains[k]), bins[2 * k + 1] *= float(gains[k]);
        GetFFT().Transform(plan, FFTDirection::Inverse, bins, frame);
        std::vector<double> work, output(half);
        for (const float sample : frame) work.push_back(double(sample) / n);
        const double first = work[0], last = work[n - 1], z = half - 1;
        for (int i = 0; i < half; i++) work[i] -= (z - i) / z * first;
        for (int i = half; i < n; i++) work[i] -= (i - z) / z * last;
        for (int i = 0; i < half; i++) {
            output[i] = work[i] + tail[i];
            tail[i] = work[half + i];
        }
        return output;
    }

private:
    std::vector<double> gains, tail;
};

}  // namespace Orvane::Oracle
