// Windows and spectra: the small operations around a Fourier transform, on spans in OrvaneFFT's layout.
#pragma once

#include <cstdint>
#include <span>

namespace Orvane {

enum class WindowType { Blackman = 0, Hann = 2 };

// The window of `size` samples, 0 at both ends; made once a process and kept. Any thread.
std::span<const float> GetWindow(WindowType type, int32_t size);

// out[i] = samples[i] * window[i].
void MultiplyWindow(std::span<const float> samples, std::span<const float> window, std::span<float> out);

// power[k] = re^2 + im^2 for bins 1 to N / 2, power[0] = 0. `power` has N / 2 + 1 elements.
void PowerSpectrum(std::span<const float> spectrum, std::span<float> power);

// Multiplies real and imaginary parts of bins 1 to N / 2 by their gains; bin 0 stays. `gains` has N / 2 + 1 elements.
void MultiplyBins(std::span<float> spectrum, std::span<const float> gains);

}  // namespace Orvane
