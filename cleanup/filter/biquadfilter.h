// Second-order recursive filter sections, the building block of hum, rumble and equaliser filters.
// Plain values without locks: one section serves one channel on one thread at a time.
#pragma once

namespace Orvane {

// y = b0 x + b1 x1 + b2 x2 - a1 y1 - a2 y2, with the coefficients already divided by a0.
// A new section passes audio through. A copy takes over the coefficients and starts from silence, so that
// one computed section can be given to each channel.
struct BiQuadFilter {
    double b0 = 1.0, b1 = 0.0, b2 = 0.0, a1 = 0.0, a2 = 0.0;
    double x1 = 0.0, x2 = 0.0, y1 = 0.0, y2 = 0.0;

    BiQuadFilter() = default;
    BiQuadFilter(const BiQuadFilter& other) : b0(other.b0), b1(other.b1), b2(other.b2), a1(other.a1), a2(other.a2) {}
    BiQuadFilter& operator=(const BiQuadFilter& other) {
        b0 = other.b0, b1 = other.b1, b2 = other.b2, a1 = other.a1, a2 = other.a2;
        Reset();
        return *this;
    }

    void Reset() { x1 = x2 = y1 = y2 = 0.0; }

    double Process(double x) {
        const double y = b0 * x + b1 * x1 + b2 * x2 - a1 * y1 - a2 * y2;
        x2 = x1, x1 = x;
        y2 = y1, y1 = y;
        return y;
    }
};

enum BiQuadType : int { kLowPass, kHighPass, kBandPass, kNotch, kPeaking, kLowShelf, kHighShelf };

// Sets the coefficients of `filter` and leaves its state alone. `frequency` in hertz, `bandwidth` in octaves,
// `db_gain` used by the peaking and shelf types alone. A samplerate that is not above 0 counts as 44100; a
// type that is none of BiQuadType fails an assertion. The formulas are those of R. Bristow-Johnson's
// "Audio EQ Cookbook" in the form with a bandwidth.
void ComputeBiQuad(BiQuadFilter& filter, int type, double db_gain, double frequency, double samplerate,
                   double bandwidth);

}  // namespace Orvane
