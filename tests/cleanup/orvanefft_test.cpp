#include "cleanup/orvanefft.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <numbers>
#include <vector>

#include "audiosignals.h"

namespace Orvane {
namespace {

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

}  // namespace
}  // namespace Orvane
