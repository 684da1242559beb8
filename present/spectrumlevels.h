// Spectra for a drawing: how loud the audio, or the noise that the hiss filter takes away, is at each frequency.
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "cleanup/chain/audiofilter.h"
#include "foundation/outcome.h"

namespace Orvane {

inline constexpr double kSilence = -200.0;  // dB; nothing is shown below

// 20 log10 of a gain, kSilence at least.
double Decibels(double gain);

// dB against a tone of full scale, one value for each frequency.
struct SpectrumLevels {
    std::vector<double> left, right;
};

// Levels from the powers of the bins of a Hann-windowed transform, as NoiseSample has them. `frequencies` ascend. Each
// stands for the stretch half way to its neighbours, of which the loudest bin counts. Pure.
std::vector<double> LevelsOf(std::span<const float> power, int32_t samplerate, std::span<const double> frequencies);

// The noise with which the hiss filter of a chain works now: silence until the chain has been read with the filter on.
// Any thread.
SpectrumLevels NoiseSpectrum(const PCMStack& chain, std::span<const double> frequencies);

// The title of its window.
std::string NoiseSpectrumTitle(const FileHistoryEntry& entry);

// The audio about `position` as it comes out of a chain when it is read with `flags`. Any thread.
Foundation::Result<SpectrumLevels> AudioSpectrum(PCMStack& chain, int64_t position, uint32_t flags,
                                                 std::span<const double> frequencies);

}  // namespace Orvane
