// Patches: three ways to synthesise audio for a stretch too long for a click repair, up to a quarter of a second.
// Pure but for the memory they take; any thread.
//
// `signal` is one channel, full scale 1.0, with context on both sides of the stretch from `first` to `last` (both
// inside); PatchContext says how much is wanted. A recording's start or end may leave less. Each method overwrites the
// stretch in place with samples held to full scale. A stretch of no sample is left alone, one of a single sample
// becomes the mean of its neighbours. At least 4 samples of context are needed in all.
#pragma once

#include <span>

namespace Orvane {

enum class PatchMethod { APA, AR, FFT };

// Samples of context wanted on each side of a stretch of n samples.
int PatchContext(int n);

// Extrapolates autoregressive models of each side across the stretch and fades from one to the other. Above 60
// samples it works at half the rate, above 120 at a third.
void PatchAR(std::span<float> signal, int first, int last);

// The mean of the two sides' spectra, transformed back; fades into the old samples over a tenth at each end.
void PatchFFT(std::span<float> signal, int first, int last);

// Amplitude and phase of each partial go from those of the one side to those of the other.
void PatchAPA(std::span<float> signal, int first, int last);

void Patch(PatchMethod method, std::span<float> signal, int first, int last);

// How badly the stretch fits between its surroundings, in dB; 0 is a stretch that could belong there. A short model of
// both sides is run over the stretch and its joins: what it fails to predict tells of steps, noise and a wrong sound
// when it is more than in the surroundings, and of dullness when it is less. A difference in level adds to it.
double PatchMismatch(std::span<const float> signal, int first, int last);

// Tries all three and leaves the one that fits best; the result tells which.
PatchMethod PatchBest(std::span<float> signal, int first, int last);

}  // namespace Orvane
