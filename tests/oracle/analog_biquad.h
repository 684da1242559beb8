// The response of a second-order section, from the analogue prototype that it is the bilinear transform of, and that of
// any filter, measured.
#pragma once

#include <cmath>
#include <complex>
#include <numbers>
#include <span>

#include "cleanup/filter/biquadfilter.h"

namespace Orvane::Oracle {

inline double AnalogBiQuadDb(int type, double db_gain, double frequency, double samplerate, double bandwidth,
                             double at_frequency) {
    const double pi = std::numbers::pi;
    const double w0 = 2 * pi * frequency / samplerate;
    const std::complex<double> s{0.0, std::tan(pi * at_frequency / samplerate) / std::tan(w0 / 2)};
    const double one_over_q = 2 * std::sinh(std::numbers::ln2 / 2 * bandwidth * w0 / std::sin(w0));
    const double A = std::pow(10.0, db_gain / 40);
    const double shelf = std::sqrt(2 * A);  // a shelf slope of 1
    const std::complex<double> plain = s * s + s * one_over_q + 1.0;
    std::complex<double> h;
    switch (type) {
        case kLowPass:
            h = 1.0 / plain;
            break;
        case kHighPass:
            h = s * s / plain;
            break;
        case kBandPass:
            h = s / plain;
            break;
        case kNotch:
            h = (s * s + 1.0) / plain;
            break;
        case kPeaking:
            h = (s * s + s * (A * one_over_q) + 1.0) / (s * s + s * (one_over_q / A) + 1.0);
            break;
        case kLowShelf:
            h = A * (s * s + shelf * s + A) / (A * s * s + shelf * s + 1.0);
            break;
        case kHighShelf:
            h = A * (A * s * s + shelf * s + 1.0) / (s * s + shelf * s + A);
            break;
    }
    return 20 * std::log10(std::abs(h));
}

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

}  // namespace Orvane::Oracle
