#include "cleanup/denoiseframe.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <random>

#include "audiosignals.h"
#include "plain_denoise.h"

namespace Orvane {
namespace {

using OrvaneTest::NormalNoise;

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
        const std::vector<float> frame = NormalNoise(block, 1, i);
        filter.Process(1, frame, {nullptr, &gains}, output);
        const std::vector<double> expected = plain.Process({frame.begin(), frame.end()});
        for (int k = 0; k < block / 2; k++) ASSERT_NEAR(output[k], expected[k], 2e-6) << i << ", " << k;
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
            std::vector<float> spectrum = NormalNoise(block + 2, frame % 3 ? 1 : 4, 100 + frame);
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

}  // namespace
}  // namespace Orvane
