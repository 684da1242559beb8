#include "cleanup/filter/biquadfilter.h"

#include <cmath>
#include <numbers>

#include "foundation/assert.h"

namespace Orvane {

void ComputeBiQuad(BiQuadFilter& filter, int type, double db_gain, double frequency, double samplerate,
                   double bandwidth) {
    ORVANE_ASSERT(type >= kLowPass && type <= kHighShelf);
    if (!(samplerate > 0.0)) samplerate = 44100.0;
    const double A = std::pow(10.0, db_gain / 40.0);
    const double w = 2.0 * std::numbers::pi * frequency / samplerate;
    const double sn = std::sin(w), cs = std::cos(w);
    const double half_ln2 = 0.34657359027997264;
    const double alpha = sn * std::sinh(half_ln2 * bandwidth * w / sn);
    const double beta = std::sqrt(A + A);
    const double m = A - 1.0, p = A + 1.0;

    double b0 = 1.0, b1 = 0.0, b2 = 0.0;
    double a0 = 1.0 + alpha, a1 = -2.0 * cs, a2 = 1.0 - alpha;
    switch (type) {
        case kLowPass:
            b0 = b2 = (1.0 - cs) / 2.0;
            b1 = 1.0 - cs;
            break;
        case kHighPass:
            b0 = b2 = (1.0 + cs) / 2.0;
            b1 = -(1.0 + cs);
            break;
        case kBandPass:
            b0 = sn / 2.0;
            b1 = 0.0;
            b2 = -sn / 2.0;
            break;
        case kNotch:
            b0 = b2 = 1.0;
            b1 = -2.0 * cs;
            break;
        case kPeaking:
            b0 = 1.0 + alpha * A;
            b1 = -2.0 * cs;
            b2 = 1.0 - alpha * A;
            a0 = 1.0 + alpha / A;
            a2 = 1.0 - alpha / A;
            break;
        case kLowShelf:
            b0 = A * (p - m * cs + beta * sn);
            b1 = 2.0 * A * (m - p * cs);
            b2 = A * (p - m * cs - beta * sn);
            a0 = p + m * cs + beta * sn;
            a1 = -2.0 * (m + p * cs);
            a2 = p + m * cs - beta * sn;
            break;
        case kHighShelf:
            b0 = A * (p + m * cs + beta * sn);
            b1 = -2.0 * A * (m + p * cs);
            b2 = A * (p + m * cs - beta * sn);
            a0 = p - m * cs + beta * sn;
            a1 = 2.0 * (m - p * cs);
            a2 = p - m * cs - beta * sn;
            break;
    }
    filter.b0 = b0 / a0;
    filter.b1 = b1 / a0;
    filter.b2 = b2 / a0;
    filter.a1 = a1 / a0;
    filter.a2 = a2 / a0;
}

}  // namespace Orvane
