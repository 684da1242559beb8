#include "cleanup/denoiseframe.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <numbers>
#include <random>

#include "cleanup/recordeq.h"
#include "plain_denoise.h"

namespace Orvane {
namespace {

std::vector<float> Noise(size_t n, float level, unsigned seed) {
    std::mt19937 generator(seed);
    std::normal_distribution<float> normal(0.f, level);
    std::vector<float> noise(n);
    for (float& x : noise) x = normal(generator);
    return noise;
}

// Feeds a whole signal frame by frame; the output belongs to the same places as the input.
std::vector<float> FilterAll(DenoiseFrame& filter, const FrameWork& work, const std::vector<float>& signal) {
    const size_t block = filter.Block(), hop = filter.Hop();
    std::vector<float> padded(hop), output(signal.size() + 2 * block);
    padded.insert(padded.end(), signal.begin(), signal.end());
    padded.resize(padded.size() + 2 * block);
    for (size_t i = 0; i + block <= padded.size(); i += hop) {
        filter.Process(0, std::span(padded).subspan(i, block), work, std::span(output).subspan(i, hop));
    }
    return {output.begin() + hop, output.begin() + hop + signal.size()};
}

double Rms(std::span<const float> x) {
    double sum = 0;
    for (float v : x) sum += double(v) * v;
    return std::sqrt(sum / double(x.size()));
}

TEST(DenoiseFrame, WithoutWorkTheFramesAddUpToTheSignal) {
    DenoiseFrame filter(4096);
    const std::vector<float> signal = Noise(40000, 0.2f, 1), output = FilterAll(filter, {}, signal);
    for (size_t i = 0; i < signal.size(); i++) ASSERT_NEAR(output[i], signal[i], 0.0005) << i;
}

TEST(DenoiseFrame, FollowsThePlainModel) {
    const int block = 64;
    FFTCurve curve;
    curve.points = {{100, 0}, {400, 12}, {2000, -20}, {3000, 10}};
    const FFTCurve* curves[] = {&curve};
    CurveGains gains(8000, block);
    gains.SetCurves(curves, 0);
    DenoiseFrame filter(block);
    Oracle::PlainFrames plain({gains.GetGains().begin(), gains.GetGains().end()});
    std::vector<float> output(block / 2);
    for (unsigned i = 0; i < 5; i++) {
        const std::vector<float> frame = Noise(block, 1.f, i);
        filter.Process(1, frame, {nullptr, &gains}, output);
        const std::vector<double> expected = plain.Process({frame.begin(), frame.end()});
        for (int k = 0; k < block / 2; k++) ASSERT_NEAR(output[k], expected[k], 2e-6) << i << ", " << k;
    }
}

TEST(DenoiseFrame, AToneComesOutWithTheGainOfItsBin) {
    const int rate = 44100, block = 8192;
    CurveGains gains(rate, block);
    const auto riaa = BuildCurve(RecordEq(), 33, 33, SpeedMode::Same);
    const FFTCurve* curves[] = {riaa.get()};
    gains.SetCurves(curves, 0);
    DenoiseFrame filter(block);
    for (int bin : {10, 20, 60, 186, 500, 1000, 2000, 3500}) {
        std::vector<float> tone(10 * block);
        for (size_t i = 0; i < tone.size(); i++) {
            tone[i] = 0.1f * float(std::sin(2 * std::numbers::pi * bin * double(i) / block));
        }
        filter.Reset();
        const std::vector<float> output = FilterAll(filter, {nullptr, &gains}, tone);
        const size_t inside = 2 * block, n = 6 * block;
        const double db =
            20 * std::log10(Rms(std::span(output).subspan(inside, n)) / Rms(std::span(tone).subspan(inside, n)));
        EXPECT_NEAR(db, 20 * std::log10(gains.GetGains()[bin]), 0.05) << "bin " << bin;
    }
}

TEST(HissFilter, FollowsThePlainModelFrameAfterFrame) {
    const int block = 4096, half = block / 2;
    std::vector<float> noise(half + 1);
    std::vector<double> exact_noise(half + 1);
    std::mt19937 generator(3);
    std::uniform_real_distribution<float> level(0.5f, 3.f);
    for (int k = 1; k <= half; k++) noise[k] = k % 100 == 7 ? 1e-11f : level(generator);
    for (int k = 0; k <= half; k++) exact_noise[k] = noise[k];
    for (int quality : {0, 4}) {
        const HissSettings settings = MakeHissSettings(8, quality);
        HissFilter filter(block);
        filter.SetNoise(noise);
        Oracle::PlainHiss plain(exact_noise, settings.strength, settings.smoothing);
        int n_off = 0;
        for (int frame = 0; frame < 20; frame++) {
            std::vector<float> spectrum = Noise(block + 2, frame % 3 ? 1.f : 4.f, 100 + frame);
            for (int i = 0; i < block; i += 40) spectrum[i] *= 20.f;
            spectrum.back() = 0.f;  // as in every real signal's
            std::vector<std::complex<double>> bins(half + 1);
            for (int k = 0; k <= half; k++) bins[k] = {spectrum[2 * k], spectrum[2 * k + 1]};
            filter.Process(spectrum, settings);
            plain.Process(bins);
            for (int k = 0; k <= half; k++) {
                const double tolerance = 1e-5 * (1 + std::abs(bins[k]));
                // A ratio on the edge between two table entries may fall to either side.
                if (std::abs(spectrum[2 * k] - bins[k].real()) > tolerance) n_off++;
                if (std::abs(spectrum[2 * k + 1] - bins[k].imag()) > tolerance) n_off++;
            }
        }
        EXPECT_LE(n_off, 8) << "of " << 20 * block;
    }
}

TEST(HissFilter, LeavesBinsWithoutNoiseAlone) {
    HissFilter filter(4096);
    const std::vector<float> spectrum = Noise(4098, 1.f, 9);
    filter.SetNoise(std::vector<float>(2049, 1e-10f));
    EXPECT_FALSE(filter.HasNoise());
    std::vector<float> processed = spectrum;
    filter.Process(processed, MakeHissSettings(8, 0));
    EXPECT_EQ(processed, spectrum);
}

TEST(HissFilter, LowersAKnownNoiseByTheStrengthOfItsLevel) {
    const int block = 4096;
    const float level = 0.01f;
    double down_before = 0;
    for (int reduction : {0, 4, 8}) {
        DenoiseFrame filter(block);
        // White noise of that level has N * level^2 * 3 / 8 in every bin of a Hann-windowed frame.
        filter.SetNoise(0, std::vector<float>(block / 2 + 1, 3.f / 8.f * block * level * level));
        const HissSettings settings = MakeHissSettings(reduction, 0);
        const std::vector<float> signal = Noise(400000, level, 5),
                                 output = FilterAll(filter, {&settings, nullptr}, signal);
        const double down =
            -20 * std::log10(Rms(std::span(output).subspan(50000)) / Rms(std::span(signal).subspan(50000)));
        // Nearly all of the noise lies at a gain far below 0, where the hold of the cut is what limits it.
        EXPECT_GT(down, down_before + 0.5) << reduction;
        down_before = down;
    }
    EXPECT_GT(down_before, 8.0);
}

TEST(HissFilter, KeepsASignalFarAboveTheNoise) {
    const int block = 4096;
    std::vector<float> tone(100000);
    for (size_t i = 0; i < tone.size(); i++) tone[i] = 0.3f * float(std::sin(0.1 * double(i)));
    DenoiseFrame filter(block);
    filter.SetNoise(0, std::vector<float>(block / 2 + 1, 3.f / 8.f * block * 1e-6f));
    const HissSettings settings = MakeHissSettings(8, 2);
    const std::vector<float> output = FilterAll(filter, {&settings, nullptr}, tone);
    const std::span<const float> inside = std::span(output).subspan(10000, 80000);
    EXPECT_NEAR(20 * std::log10(Rms(inside) / Rms(std::span(tone).subspan(10000, 80000))), 0, 0.02);
}

TEST(OverSubtraction, FallsFromThreeAndAHalfToOne) {
    struct Case {
        double x, expected;
    };
    for (const Case& c : {Case{-5, 3.5},
                          {0, 3.5},
                          {0.5, 3.5},
                          {0.51, 3.0},
                          {1, 3.0},
                          {1.5, 3.0 - std::log10(2.0)},
                          {10, 2.0},
                          {99.4, 3.0 - std::log10(99.0)},
                          {100, 1.0},
                          {1e30, 1.0}}) {
        EXPECT_NEAR(OverSubtraction(c.x), c.expected, 1e-6) << c.x;
    }
    EXPECT_EQ(OverSubtraction(std::nan("")), 1.0);
}

}  // namespace
}  // namespace Orvane
