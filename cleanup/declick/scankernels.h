// The plain loops of a click scan over many samples.
#pragma once

#include <array>
#include <span>

#include "cleanup/filter/biquadfilter.h"

namespace Orvane {

// True if a[k] > factor * b[k] for any k below n.
bool AnyExceeds(const double* a, const double* b, double factor, int n);

// Parts `n` interleaved pairs. The three buffers do not overlap.
void SplitPairs(const float* pairs, float* left, float* right, int n);

// Four sections, one behind the other.
using Cascade = std::array<BiQuadFilter, 4>;

// The sum of the squares of what `sections` make of `data`, from silence: bit for bit that of BiQuadFilter::Process
// section by section.
double EnergyThrough(const Cascade& sections, std::span<const double> data);

// Summed in four interleaved parts.
double SumOfSquares(std::span<const double> data);

}  // namespace Orvane
