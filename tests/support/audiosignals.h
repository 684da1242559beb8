// Signals for tests and benchmarks of the audio code: the same on every machine, from a seed.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <vector>

namespace OrvaneTest {

// A small generator whose values are fixed by the seed, unlike those of the standard distributions.
class Noise {
public:
    explicit Noise(uint64_t seed) : state(seed * 0x9E3779B97F4A7C15u + 0x1234567u) {}

    uint64_t Bits() {
        state ^= state << 13;
        state ^= state >> 7;
        state ^= state << 17;
        return state;
    }
    // Evenly spread in 0 to 1.
    double Even() { return static_cast<double>(Bits() >> 11) / 9007199254740992.0; }
    // Close to normal, mean 0, variance 1.
    double Normal() {
        double sum = -6;
        for (int i = 0; i < 12; i++) sum += Even();
        return sum;
    }
    int Below(int n) { return static_cast<int>(Even() * n); }
    double Uniform(double low, double high) { return low + (high - low) * Even(); }
    int Integer(int low, int high) { return low + Below(high - low + 1); }

private:
    uint64_t state;
};

// `n` values of normal noise whose root mean square is `level`.
inline std::vector<float> NormalNoise(size_t n, double level, uint64_t seed) {
    Noise noise(seed);
    std::vector<float> values(n);
    for (float& value : values) value = static_cast<float>(level * noise.Normal());
    return values;
}

struct Resonance {
    double hertz, radius;
};

// White noise through resonances: an autoregressive signal of twice as many coefficients, scaled to `peak`.
inline std::vector<float> Resonant(uint64_t seed, int n, const std::vector<Resonance>& resonances, double peak = 0.5) {
    constexpr int kSettle = 2000;
    Noise noise(seed);
    std::vector<double> x(n + kSettle);
    for (double& v : x) v = noise.Normal();
    for (const Resonance& r : resonances) {
        const double a1 = -2 * r.radius * std::cos(2 * std::numbers::pi * r.hertz / 44100), a2 = r.radius * r.radius;
        for (size_t i = 2; i < x.size(); i++) x[i] -= a1 * x[i - 1] + a2 * x[i - 2];
    }
    x.erase(x.begin(), x.begin() + kSettle);
    double top = 1e-30;
    for (double v : x) top = std::max(top, std::abs(v));
    std::vector<float> out;
    for (double v : x) out.push_back(static_cast<float>(v * peak / top));
    return out;
}

// Something like music: notes of a few seconds' decay with harmonics, struck at random, over the noise of a record.
inline std::vector<float> Music(uint64_t seed, int n, double peak = 0.5, double noise_level = 3e-4) {
    Noise noise(seed);
    std::vector<double> x(n);
    for (int start = -44100; start < n; start += 3000 + noise.Below(9000)) {
        const double hertz = 55 * std::pow(2.0, noise.Below(48) / 12.0), level = 0.2 + noise.Even();
        for (int h = 1; h <= 12 && h * hertz < 16000; h++) {
            const double step = 2 * std::numbers::pi * hertz * h * (1 + 0.0003 * h * h) / 44100;
            const double phase = 6.28 * noise.Even(), decay = std::exp(-(0.7 + 0.6 * h) / 44100);
            double amplitude = level * (0.4 + noise.Even()) / std::pow(h, 1.2);
            const int end = std::min(n, start + 88200);
            for (int i = start; i < end; i++, amplitude *= decay) {
                if (i >= 0)
                    x[i] += amplitude * std::sin(phase + step * (i - start)) * std::min(1.0, (i - start) / 60.0);
            }
        }
    }
    double top = 1e-30;
    for (double v : x) top = std::max(top, std::abs(v));
    std::vector<float> out;
    for (double v : x) out.push_back(static_cast<float>(v * peak / top + noise.Normal() * noise_level));
    return out;
}

// 10 log10 of the energy of the wanted over that of its difference from the found; 200 if they are equal.
inline double SignalToErrorDb(const float* wanted, const float* found, int n) {
    double signal = 0, error = 0;
    for (int i = 0; i < n; i++) {
        signal += static_cast<double>(wanted[i]) * wanted[i];
        error += (static_cast<double>(wanted[i]) - found[i]) * (static_cast<double>(wanted[i]) - found[i]);
    }
    return error == 0 ? 200 : 10 * std::log10(signal / error);
}

}  // namespace OrvaneTest
