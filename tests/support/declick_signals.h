// Signals for the tests and benchmarks of the click scan: one channel at 44100 Hz, the same on every machine.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <vector>

#include "audiosignals.h"

namespace Orvane::Signals {

using Random = OrvaneTest::Noise;

inline std::vector<float> Noise(int n, double level, uint32_t seed) {
    Random random(seed);
    std::vector<float> x(static_cast<size_t>(n));
    for (float& v : x) v = static_cast<float>(level * random.Uniform(-1.0, 1.0));
    return x;
}

inline void AddTone(std::vector<float>& x, double frequency, double level) {
    for (size_t i = 0; i < x.size(); ++i) {
        x[i] +=
            static_cast<float>(level * std::sin(2.0 * std::numbers::pi * frequency / 44100.0 * static_cast<double>(i)));
    }
}

// A decaying burst of `width` samples or so, as a scratch leaves it.
inline void AddClick(std::vector<float>& x, int at, int width, double level) {
    for (int k = 0; k < 3 * width && at + k < static_cast<int>(x.size()); ++k) {
        x[static_cast<size_t>(at + k)] +=
            static_cast<float>(level * std::exp(-2.0 * k / width) * std::cos(std::numbers::pi * k / 2.0));
    }
}

inline void AddClicks(std::vector<float>& x, double per_second, double largest, uint32_t seed) {
    Random random(seed);
    int n_clicks = static_cast<int>(per_second * static_cast<double>(x.size()) / 44100.0);
    for (int k = 0; k < n_clicks; ++k) {
        int at = random.Integer(0, static_cast<int>(x.size()) - 1);
        int width = random.Integer(1, 12) * random.Integer(1, 8);
        AddClick(x, at, width, random.Uniform(-largest, largest));
    }
}

// A drum: a low tone that sets in at once and dies away, with a noisy beat.
inline void AddDrum(std::vector<float>& x, int at, double level, uint32_t seed) {
    Random random(seed);
    for (int k = 0; k < 12000 && at + k < static_cast<int>(x.size()); ++k) {
        double beat = 0.6 * std::exp(-k / 80.0) * random.Uniform(-1.0, 1.0);
        double skin = std::exp(-k / 3000.0) * std::sin(2.0 * std::numbers::pi * 90.0 / 44100.0 * k);
        x[static_cast<size_t>(at + k)] += static_cast<float>(level * (beat + skin));
    }
}

// Music with drums and hiss, and with rests of digital silence.
inline std::vector<float> Music(int n, uint32_t seed) {
    Random random(seed);
    std::vector<float> x = OrvaneTest::Music(seed, n);
    for (int at = 11025; at < n; at += random.Integer(8000, 30000)) {
        AddDrum(x, at, random.Uniform(0.05, 0.5), static_cast<uint32_t>(at));
    }
    for (int at = 60000; at < n; at += 150000) {
        std::fill(x.begin() + at, x.begin() + std::min(at + random.Integer(100, 9000), n), 0.0F);
    }
    return x;
}

// As a 16-bit file gives it back.
inline void Quantise(std::vector<float>& x) {
    for (float& v : x) {
        v = static_cast<float>(std::nearbyint(std::clamp(v, -1.0F, 1.0F) * 32767.0F)) / 32767.0F;
    }
}

}  // namespace Orvane::Signals
