#include "present/spectrumlevels.h"

#include <algorithm>
#include <cmath>

#include "cleanup/filter/noisesample.h"
#include "cleanup/filter/orvanefft.h"
#include "cleanup/filter/spectrum.h"
#include "collection/dataobjects.h"
#include "foundation/messages.h"

using namespace Foundation;

namespace Orvane {

double Decibels(double gain) {
    return gain > 0 ? std::max(kSilence, 20 * std::log10(gain)) : kSilence;
}

std::vector<double> LevelsOf(std::span<const float> power, int32_t samplerate, std::span<const double> frequencies) {
    const auto half = static_cast<int64_t>(power.size()) - 1;
    const double full_scale = static_cast<double>(half) / 2;  // the magnitude of a tone of 1.0 under a Hann window
    const auto bin_of = [&](double frequency) {
        return std::clamp<int64_t>(std::llround(frequency * 2 * static_cast<double>(half) / samplerate), 1, half);
    };
    std::vector<double> levels;
    for (size_t i = 0; i < frequencies.size(); ++i) {
        const double below = i > 0 ? std::sqrt(frequencies[i - 1] * frequencies[i]) : frequencies[i];
        const double above =
            i + 1 < frequencies.size() ? std::sqrt(frequencies[i] * frequencies[i + 1]) : frequencies[i];
        const float loudest = *std::max_element(power.begin() + bin_of(below), power.begin() + bin_of(above) + 1);
        levels.push_back(Decibels(std::sqrt(static_cast<double>(loudest)) / full_scale));
    }
    return levels;
}

SpectrumLevels NoiseSpectrum(const PCMStack& chain, std::span<const double> frequencies) {
    const NoiseSample noise = chain.GetNoiseSpectrum();
    return {LevelsOf(noise.power[0], noise.samplerate, frequencies),
            LevelsOf(noise.power[1], noise.samplerate, frequencies)};
}

std::string NoiseSpectrumTitle(const FileHistoryEntry& entry) {
    return FormatMsg(Msg::NoiseSpectrumTitle, entry.album->artist, entry.album->title);
}

Result<SpectrumLevels> AudioSpectrum(PCMStack& chain, int64_t position, uint32_t flags,
                                     std::span<const double> frequencies) {
    const int32_t rate = chain.GetSampleRate(flags), block = FFTBlockSize(rate);
    std::vector<float> pairs(2 * static_cast<size_t>(block)), samples(pairs.size() / 2), windowed(samples.size());
    const int64_t first = position - block / 2, start = std::max<int64_t>(first, 0);
    const int32_t n =
        chain.Read(start, pairs.data() + 2 * (start - first), static_cast<int32_t>(first + block - start), flags);
    if (n < 0) return Outcome::OfLastError(n);
    std::vector<float> spectrum(samples.size() + 2), power(samples.size() / 2 + 1);
    const auto levels = [&](size_t offset) {
        for (size_t i = 0; i < samples.size(); ++i) samples[i] = pairs[2 * i + offset];
        MultiplyWindow(samples, GetWindow(WindowType::Hann, block), windowed);
        GetFFT().Transform(GetFFT().CreatePlan(block, kFFTForward), FFTDirection::Forward, windowed, spectrum);
        PowerSpectrum(spectrum, power);
        return LevelsOf(power, rate, frequencies);
    };
    SpectrumLevels result;
    result.left = levels(0);
    result.right = levels(1);
    return result;
}

}  // namespace Orvane
