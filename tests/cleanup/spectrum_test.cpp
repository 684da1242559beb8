// What happens between the two transforms of Denoise: curves and hiss suppression.
#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <numbers>
#include <random>
#include <vector>

#include "audiosignals.h"
#include "cleanup/filter/denoiseframe.h"
#include "cleanup/filter/eqcurves.h"
#include "cleanup/filter/orvanefft.h"
#include "cleanup/filter/recordeq.h"
#include "plain_denoise.h"

namespace Orvane {
namespace {

using OrvaneTest::NormalNoise;

TEST(OrvaneFFT, IsTheDiscreteFourierTransformAndBackAtEverySizeAndAlignment) {
    for (int n = 64; n <= 65536; n *= 2) {
        const FFT_PLAN* plan = GetFFT().CreatePlan(n, kFFTBoth);
        const std::vector<float> source = NormalNoise(n, 0.5, 7);
        std::vector<float> first;
        for (int offset : {0, 1, 2, 3}) {
            std::vector<float> in(n + 4), spectrum(n + 8, 99.f), out(n + 5, 99.f);
            std::copy(source.begin(), source.end(), in.begin() + offset);
            const std::span bins = std::span(spectrum).subspan(offset, n + 2), back = std::span(out).subspan(offset, n);
            GetFFT().Transform(plan, FFTDirection::Forward, std::span(in).subspan(offset, n), bins);
            if (first.empty()) first.assign(bins.begin(), bins.end());
            EXPECT_TRUE(std::equal(first.begin(), first.end(), bins.begin())) << "alignment changes bits at size " << n;
            GetFFT().Transform(plan, FFTDirection::Inverse, bins, back);
            for (int i = 0; i < n; i++) ASSERT_NEAR(back[i] / float(n), source[i], 2e-6) << n << " at " << i;
            EXPECT_TRUE(spectrum[offset + n + 2] == 99.f && out[offset + n] == 99.f) << "written beyond the end";
        }
        for (int k : {0, 1, 5, n / 4 + 1, n / 2 - 1, n / 2}) {
            std::complex<double> bin;
            for (int64_t i = 0; i < n; i++)
                bin += double(source[i]) * std::polar(1.0, -2 * std::numbers::pi * double(k * i % n) / n);
            EXPECT_NEAR(first[2 * k], bin.real(), 2e-6 * std::sqrt(n)) << k << " of " << n;
            EXPECT_NEAR(first[2 * k + 1], bin.imag(), 2e-6 * std::sqrt(n)) << k << " of " << n;
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

FFTCurve CurveOf(std::vector<FFTCurve::Point> points) {
    FFTCurve curve;
    curve.points = std::move(points);
    return curve;
}

double Db(float gain) {
    return 20 * std::log10(double(gain));
}

TEST(CurveGains, FollowThePlainModelForAnyCurve) {
    std::mt19937 generator(5);
    std::uniform_real_distribution<float> gain(-30, 30), exponent(1, 5);
    for (int n_points : {1, 2, 3, 4, 7, 34, 200}) {
        for (int samplerate : {22050, 44100, 96000}) {
            std::vector<FFTCurve::Point> points;
            for (int i = 0; i < n_points; i++) points.push_back({std::pow(10.f, exponent(generator)), gain(generator)});
            std::sort(points.begin(), points.end(), [](const auto& a, const auto& b) { return a.freq < b.freq; });
            const FFTCurve curve = CurveOf(points), flat = CurveOf({{50, 2.5f}}), empty;
            const FFTCurve* curves[] = {&curve, &empty, &flat};
            CurveGains gains(samplerate, 4096);
            gains.SetCurves(curves, 15);
            const std::vector<double> expected = Oracle::PlainCurveDb(points, samplerate, 2048);
            for (int k = 0; k <= 2048; k++) {
                ASSERT_NEAR(Db(gains.GetGains()[k]), expected[k] + 2.5 + 1.5, 1e-4) << n_points << " points, bin " << k;
            }
        }
    }
}

TEST(CurveGains, StayFiniteForCurvesOutOfDamagedFiles) {
    const FFTCurve up = CurveOf({{-5, 3e38f}, {3e38f, 1e9f}}), down = CurveOf({{100, -1e9f}, {50, 1e9f}});
    const FFTCurve* curves[] = {&up, &up, &down, &up};
    CurveGains gains(44100, 4096);
    gains.SetCurves(curves, 1e9);
    for (const float gain : gains.GetGains()) ASSERT_TRUE(std::isfinite(gain) && gain >= 0);
}

TEST(RecordEq, RiaaIsThePublishedTable) {
    const RecordEq riaa;
    const double at_1k = RecordEqDb(riaa, 1000);
    for (const auto& [frequency, db] :
         {std::pair{20.0, 19.274}, {100.0, 13.088}, {500.0, 2.648}, {10000.0, -13.734}, {20000.0, -19.620}}) {
        EXPECT_NEAR(RecordEqDb(riaa, frequency) - at_1k, db, 0.01) << frequency;
    }
    RecordEq turnover_form;
    turnover_form.use_time_constants = 0;
    for (double f : {20.0, 50.0, 1000.0, 10000.0, 20000.0}) {
        EXPECT_NEAR(RecordEqDb(turnover_form, f), RecordEqDb(riaa, f), 0.05) << f;
    }
}

TEST(RecordEq, CurveShiftsWithSpeedAndTakesThePreamp) {
    RecordEq eq;
    eq.level_a = 25;
    for (SpeedMode mode : {SpeedMode::Same, SpeedMode::ToOverFrom, SpeedMode::FromOverTo}) {
        const double factor = mode == SpeedMode::Same ? 1.0 : mode == SpeedMode::ToOverFrom ? 78.0 / 45 : 45.0 / 78;
        const auto curve = BuildCurve(eq, 45, 78, mode);
        ASSERT_EQ(curve->points.size(), 34u);
        for (const FFTCurve::Point& p : curve->points) {
            EXPECT_NEAR(p.gain, RecordEqDb(eq, p.freq * factor) + 2.5, 1e-5) << p.freq;
        }
    }
}

}  // namespace
}  // namespace Orvane
