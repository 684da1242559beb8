// What tells a click from music: questions about the samples around one candidate. Pure functions over one
// channel at 44100 Hz; `start` and `end` are the candidate's first and last index in `samples`.
#pragma once

#include <span>

#include "cleanup/declick/clickdetector.h"
#include "cleanup/declick/scankernels.h"

namespace Orvane {

// How many fast reversals of a large swing lie around the candidate: many in a drum beat, few around a click.
// `factor` is the part of the candidate's own swing that counts as a reversal; a count above 2 * `limit` may
// be returned without looking closer.
int CountSwings(std::span<const float> samples, int start, int end, int limit, double factor);

// Energy of the low band after the candidate over that before it, each for one sample, times 60 / `limit`.
// A drum stroke raises the low band and keeps it up, a click does not. 0 if there is next to nothing after it.
// Needs 1402 samples on each side of the candidate, and a detector that has run over `samples`.
class LowBandEnergy {
public:
    LowBandEnergy();
    int EnergyRatio(std::span<const float> samples, int start, int end, int limit, const ClickDetector& detector) const;

private:
    double EnergyOf(std::span<double> data, int first_sample, double least, const ClickDetector& detector) const;
    Cascade sections;
};

// True for a large pop before a near-silent stretch; `end` then moves on by 50 samples, within `samples`.
bool BigPop(std::span<const float> samples, int start, int& end);

}  // namespace Orvane
