// The response and spectra that are drawn, against what comes out of the chain.
#include "present/response.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <complex>
#include <numbers>

#include "cleanup/filter/noisesample.h"
#include "cleanup/filter/recordeq.h"
#include "filtered_recording.h"
#include "present/spectrumlevels.h"

using namespace Tesslib;

namespace Orvane {
namespace {

using Orvane::Testing::FilteredRecording;

constexpr double kTone = 0.02;

// Tones that are far enough apart for each to be measured beside the others, the same in both channels.
std::vector<float> Tones(int rate, int n, const std::vector<double>& frequencies) {
    std::vector<double> sum(static_cast<size_t>(n));
    for (const double f : frequencies) {
        std::complex<double> turn = std::polar(kTone, f);
        const std::complex<double> step = std::polar(1.0, 2 * std::numbers::pi * f / rate);
        for (double& sample : sum) sample += turn.imag(), turn *= step;
    }
    std::vector<float> pairs;
    for (const double sample : sum) pairs.insert(pairs.end(), 2, static_cast<float>(sample));
    return pairs;
}

// The sizes of a tone in the left and the right channel.
std::array<double, 2> Measure(const std::vector<float>& pairs, double frequency, int rate) {
    const double n = static_cast<double>(pairs.size() / 2);
    std::complex<double> left = 0, right = 0, turn = 1;
    std::complex<double> window_turn = std::polar(1.0, std::numbers::pi / n);
    const std::complex<double> step = std::polar(1.0, -2 * std::numbers::pi * frequency / rate);
    const std::complex<double> window_step = std::polar(1.0, 2 * std::numbers::pi / n);
    for (size_t i = 0; i < pairs.size(); i += 2, turn *= step, window_turn *= window_step) {
        const std::complex<double> weighted = (1 - window_turn.real()) * turn;
        left += weighted * static_cast<double>(pairs[i]);
        right += weighted * static_cast<double>(pairs[i + 1]);
    }
    return {2 * std::abs(left) / n, 2 * std::abs(right) / n};
}

TEST(Response, IsWhatTheChainDoesToTones) {
    const std::vector<double> frequencies = {21.3, 33, 47.5, 56, 97, 118, 233, 370, 611, 1009, 2503, 5021, 9973, 15013};
    const auto hum = [](FilteredRecording& r) {
        r.AddFilter().hum_mode = FILTER_ON;
        r.entry.decided.filters.First()->values.mains_frequency = 50;
        r.entry.decided.filters.First()->values.filter_harmonics = 1;
    };
    const auto rumble = [](FilteredRecording& r) { r.AddFilter().rumble_mode = FILTER_ON; };
    const auto bands = [](FilteredRecording& r) {
        FilterValues& values = r.AddFilter();
        values.eq_mode = FILTER_ON;
        values.bands = {6, -3, 0, 12, 0, 0, -12, 4, 0, -7};
        values.preamp_left = 35;
        values.preamp_right = -60;
    };
    const auto curves = [](FilteredRecording& r) {
        r.AddCurve(BuildCurve(RecordEq(), 33, 33, SpeedMode::Same)->points).gain = 48;
        r.AddCurve({{100, -6}, {1000, 0}, {3000, 9}}, 0, 0, CURVE_ADD);
    };
    using Settings = std::vector<void (*)(FilteredRecording&)>;
    for (const Settings& settings : {Settings{}, {hum}, {rumble}, {bands}, {curves}, {hum, rumble, bands, curves}}) {
        for (const int rate : {44100, 96000}) {
            FilteredRecording recording(Tones(rate, 5 * rate, frequencies), rate);
            for (const auto& add : settings) add(recording);
            const FilterResponse response = ResponseAt(recording.entry, 3 * rate, frequencies);
            const std::vector<float> pairs = recording.Read(3 * rate, 2 * rate);
            for (size_t i = 0; i < frequencies.size(); ++i) {
                const std::array<double, 2> sizes = Measure(pairs, frequencies[i], rate);
                for (const size_t channel : {0, 1}) {
                    const double measured = Decibels(sizes[channel] / kTone);
                    EXPECT_NEAR(response.sum[channel][i], measured, 0.03 + 0.005 * std::abs(measured))
                        << frequencies[i] << " Hz at " << rate << " with " << settings.size();
                }
            }
            if (settings.size() < 4) continue;
            const double parts = response.rumble[0] + response.hum[0] + response.curves[0] + response.equaliser[0];
            EXPECT_NEAR(parts + 3.5, response.sum[0][0], 1e-9);
        }
    }
}

TEST(Spectrum, LevelsAreThoseOfTonesAndOfTheNoiseThatIsTakenAway) {
    const std::vector<double> frequencies = ShownFrequencies(44100, 200);
    EXPECT_NEAR(frequencies.front(), 20, 1e-9);
    EXPECT_NEAR(frequencies.back(), 20000, 1e-6);
    const std::vector<double> tone = {1001.0};
    std::vector<float> pairs = Tones(44100, 100000, tone);
    for (size_t i = 1; i < pairs.size(); i += 2) pairs[i] *= 0.1f;
    FilteredRecording recording(pairs);
    const auto spectrum = AudioSpectrum(recording.stack, 50000, 0, frequencies);
    ASSERT_TRUE(spectrum.Ok());
    const auto loudest = std::max_element(spectrum->left.begin(), spectrum->left.end());
    EXPECT_NEAR(frequencies[static_cast<size_t>(loudest - spectrum->left.begin())], 1001, 40);
    EXPECT_NEAR(*loudest, Decibels(kTone), 1.5);  // between two bins
    EXPECT_NEAR(*std::max_element(spectrum->right.begin(), spectrum->right.end()), *loudest - 20, 0.1);
    EXPECT_LT(spectrum->left.front(), -100);
    EXPECT_TRUE(AudioSpectrum(recording.stack, 0, 0, frequencies).Ok()) << "the start is half a block behind silence";

    EXPECT_EQ(NoiseSpectrum(recording.stack, frequencies).left[0], kSilence) << "nothing has been read with the filter";
    recording.AddFilter().hiss_mode = FILTER_ON;
    recording.entry.decided.noise_stretch.end = 60000;
    recording.Read(70000, 100);
    const SpectrumLevels noise = NoiseSpectrum(recording.stack, frequencies);
    EXPECT_NEAR(*std::max_element(noise.left.begin(), noise.left.end()), *loudest, 0.1);
}

}  // namespace
}  // namespace Orvane
