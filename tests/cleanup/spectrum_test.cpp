// What happens between the two transforms of Denoise: curves and hiss suppression.
#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <numbers>
#include <random>
#include <vector>

#include "audiosignals.h"
#include "cleanup/denoiseframe.h"
#include "cleanup/eqcurves.h"
#include "cleanup/orvanefft.h"
#include "plain_denoise.h"

namespace Orvane {
namespace {

using OrvaneTest::NormalNoise;

TEST(OrvaneFFT, ForwardIsTheDiscreteFourierTransformWithNyquistAtIndexN) {
    const int n = 64;
    const std::vector<float> in = OrvaneTest::NormalNoise(n, 0.5, 7);
    std::vector<float> out(n + 2);
    GetFFT().Transform(GetFFT().CreatePlan(n, kFFTForward), FFTDirection::Forward, in, out);
    for (int k = 0; k <= n / 2; k++) {
        std::complex<double> bin;
        for (int i = 0; i < n; i++) bin += double(in[i]) * std::polar(1.0, -2 * std::numbers::pi * k * i / n);
        EXPECT_NEAR(out[2 * k], bin.real(), 1e-5) << k;
        EXPECT_NEAR(out[2 * k + 1], bin.imag(), 1e-5) << k;
    }
}

TEST(OrvaneFFT, InverseUndoesForwardTimesNAtEverySizeAndAlignment) {
    for (int n = 64; n <= 65536; n *= 2) {
        const FFT_PLAN* plan = GetFFT().CreatePlan(n, kFFTBoth);
        const std::vector<float> source = OrvaneTest::NormalNoise(n, 0.5, 7);
        std::vector<float> first_spectrum;
        for (int offset : {0, 1, 2, 3}) {
            std::vector<float> in(n + 4), spectrum(n + 8, 99.f), out(n + 5, 99.f);
            std::copy(source.begin(), source.end(), in.begin() + offset);
            const std::span bins = std::span(spectrum).subspan(offset, n + 2), back = std::span(out).subspan(offset, n);
            GetFFT().Transform(plan, FFTDirection::Forward, std::span(in).subspan(offset, n), bins);
            const std::vector<float> kept(bins.begin(), bins.end());
            GetFFT().Transform(plan, FFTDirection::Inverse, bins, back);
            for (int i = 0; i < n; i++) ASSERT_NEAR(back[i] / float(n), source[i], 2e-6) << n << " at " << i;
            EXPECT_TRUE(std::equal(kept.begin(), kept.end(), bins.begin())) << "the inverse changed its input, " << n;
            EXPECT_EQ(spectrum[offset + n + 2], 99.f);
            EXPECT_EQ(out[offset + n], 99.f);
            if (first_spectrum.empty()) first_spectrum = kept;
            EXPECT_EQ(kept, first_spectrum) << "alignment changes bits at size " << n;
        }
    }
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
        const std::vector<float> frame = NormalNoise(block, 1, i);
        filter.Process(1, frame, {nullptr, &gains}, output);
        const std::vector<double> expected = plain.Process(frame);
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
