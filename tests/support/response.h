// Measures what a filter does to single frequencies.
#pragma once

#include <cmath>
#include <complex>
#include <numbers>
#include <span>

namespace Orvane::Testing {

// The level at `frequency` of a filter whose response to a unit impulse is given, in dB.
template <typename T>
double ImpulseResponseDb(std::span<const T> impulse_response, double frequency, double samplerate) {
    std::complex<double> sum;
    std::complex<double> turn = 1.0;
    const std::complex<double> step = std::polar(1.0, -2 * std::numbers::pi * frequency / samplerate);
    for (const T x : impulse_response) {
        sum += double(x) * turn;
        turn *= step;
    }
    return 20 * std::log10(std::abs(sum));
}

}  // namespace Orvane::Testing
