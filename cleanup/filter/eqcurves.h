// Equalisation curves as gains for the bins of a Fourier transform.
#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "cleanup/filter/spectrum.h"
#include "collection/corrections.h"

namespace Orvane {

// The linear gain of every bin of a transform of `block` samples. Made anew whenever the curves in force change;
// one thread at a time.
class CurveGains {
public:
    // `block` is an even number, `samplerate` above 1.
    CurveGains(int32_t samplerate, int32_t block);

    // Multiplies the curves one behind the other into an overall level in tenths of a decibel. A curve is a line from
    // point to point over a linear frequency axis whose corners are rounded: the gain of a bin is a weighted mean
    // of what the points around it run through. Points stand in ascending frequency; a curve without points is
    // skipped. Below its first point a curve holds about the first gain, above its last point the last one. All gains
    // are finite whatever the curves.
    void SetCurves(std::span<const FFTCurve* const> curves, double level);

    // Multiplies bins 1 to block / 2 of a spectrum in OrvaneFFT's layout; bin 0 stays.
    void ApplyGains(std::span<float> spectrum) const { MultiplyBins(spectrum, gains); }

    std::span<const float> GetGains() const { return gains; }  // of bins 0 to block / 2

private:
    void MultiplyIn(const FFTCurve& curve);

    int32_t samplerate;
    std::vector<float> gains;
};

}  // namespace Orvane
