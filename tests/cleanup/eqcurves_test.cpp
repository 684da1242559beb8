#include "cleanup/eqcurves.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>

#include "cleanup/recordeq.h"
#include "plain_denoise.h"

namespace Orvane {
namespace {

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
            const FFTCurve curve = CurveOf(points);
            const FFTCurve* curves[] = {&curve};
            CurveGains gains(samplerate, 4096);
            gains.SetCurves(curves, 0);
            const std::vector<double> expected = Oracle::PlainCurveDb(points, samplerate, 2048);
            for (int k = 0; k <= 2048; k++) {
                ASSERT_NEAR(Db(gains.GetGains()[k]), expected[k], 1e-4) << n_points << " points, bin " << k;
            }
        }
    }
}

TEST(CurveGains, OnePointGivesItsGainEverywhereAndTheLastOneHoldsToTheTop) {
    const FFTCurve one = CurveOf({{1000, -6}}), two = CurveOf({{100, 0}, {2000, 6}, {4000, 6}, {5000, 6}});
    const FFTCurve* curves[] = {&one};
    CurveGains gains(44100, 8192);
    gains.SetCurves(curves, 0);
    for (float gain : gains.GetGains()) EXPECT_NEAR(Db(gain), -6, 1e-5);
    curves[0] = &two;
    gains.SetCurves(curves, 0);
    EXPECT_NEAR(Db(gains.GetGains()[4096]), 6, 1e-5);
    EXPECT_EQ(gains.GetGains()[4096], gains.GetGains()[1000]);
}

TEST(CurveGains, CurvesAndLevelMultiply) {
    const FFTCurve a = CurveOf({{1000, -6}}), empty, b = CurveOf({{50, 2.5f}});
    const FFTCurve* curves[] = {&a, &empty, &b};
    CurveGains gains(44100, 4096);
    gains.SetCurves(curves, 15);
    for (float gain : gains.GetGains()) EXPECT_NEAR(Db(gain), -6 + 2.5 + 1.5, 1e-5);
    gains.SetCurves({}, 0);
    for (float gain : gains.GetGains()) EXPECT_EQ(gain, 1.f);
}

TEST(CurveGains, BinZeroOfASpectrumStays) {
    const FFTCurve curve = CurveOf({{1000, 20}});
    const FFTCurve* curves[] = {&curve};
    CurveGains gains(44100, 4096);
    gains.SetCurves(curves, 0);
    std::vector<float> spectrum(4098, 1.f);
    gains.ApplyGains(spectrum);
    EXPECT_EQ(spectrum[0], 1.f);
    EXPECT_EQ(spectrum[1], 1.f);
    for (size_t i = 2; i < spectrum.size(); i++) ASSERT_NEAR(spectrum[i], 10.f, 1e-4) << i;
}

TEST(RecordEq, RiaaIsThePublishedTable) {
    struct Case {
        double frequency, db;
    };
    const RecordEq riaa;
    const double at_1k = RecordEqDb(riaa, 1000);
    for (const Case& c : {Case{20, 19.274},
                          {50, 16.946},
                          {100, 13.088},
                          {500, 2.648},
                          {2122, -2.866},
                          {10000, -13.734},
                          {20000, -19.620}}) {
        EXPECT_NEAR(RecordEqDb(riaa, c.frequency) - at_1k, c.db, 0.01) << c.frequency;
    }
    RecordEq turnover_form;
    turnover_form.use_time_constants = 0;
    for (double f : {20.0, 50.0, 1000.0, 10000.0, 20000.0}) {
        EXPECT_NEAR(RecordEqDb(turnover_form, f), RecordEqDb(riaa, f), 0.05) << f;
    }
}

TEST(RecordEq, EachPartDoesWhatItsNumberSays) {
    RecordEq eq;
    eq.use_time_constants = 0;
    eq.shelf = 0, eq.turnover = 0;
    for (float rolloff : {-16.f, 16.f, -5.f}) {
        eq.rolloff = rolloff;
        EXPECT_NEAR(RecordEqDb(eq, 10000), -std::abs(rolloff), 1e-4);
    }
    eq.rolloff = 0;
    EXPECT_EQ(RecordEqDb(eq, 10000), 0.0);
    eq.turnover = 300;
    EXPECT_NEAR(RecordEqDb(eq, 300), 3.0103, 1e-4);
    EXPECT_NEAR(RecordEqDb(eq, 3), 40, 0.01);
    eq.shelf = 50;
    EXPECT_NEAR(RecordEqDb(eq, 0.1), 20 * std::log10(300.0 / 50.0), 0.01);
}

TEST(RecordEq, NegativeTurnoverIsTheInverse) {
    for (int use_time_constants : {0, 1}) {
        RecordEq eq, inverse;
        eq.use_time_constants = inverse.use_time_constants = use_time_constants;
        inverse.turnover = -eq.turnover;
        inverse.t2 = -eq.t2;
        for (float f : kCurveFrequencies) EXPECT_EQ(RecordEqDb(inverse, f), -RecordEqDb(eq, f)) << f;
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
    eq.fft_curve = std::make_unique<FFTCurve>(CurveOf({{100, 3}, {1000, -3}}));
    const auto drawn = BuildCurve(eq, 45, 78, SpeedMode::ToOverFrom);
    ASSERT_EQ(drawn->points.size(), 2u);
    EXPECT_FLOAT_EQ(drawn->points[0].gain, 5.5f);
    EXPECT_FLOAT_EQ(eq.fft_curve->points[0].gain, 3.f);
}

TEST(RecordEq, TimeConstantsAndFrequenciesConvertBothWays) {
    EXPECT_NEAR(TimeConstantToFrequency(75), 2122.07, 0.01);
    EXPECT_EQ(TimeConstantToFrequency(0), 0.0);
    EXPECT_EQ(FrequencyToTimeConstant(50), 3180);
    EXPECT_EQ(FrequencyToTimeConstant(500), 318);
    EXPECT_EQ(FrequencyToTimeConstant(2122), 75);
    EXPECT_EQ(FrequencyToTimeConstant(0), 0);
}

TEST(RecordEq, IsFoundByNameInEitherForm) {
    RecordEq eq;
    EXPECT_TRUE(FindRecordEq("RIAA", eq));
    EXPECT_TRUE(eq.SameAs([] {
        RecordEq riaa;
        riaa.name = "*RIAA equalisation (vinyl)";
        return riaa;
    }()));
    EXPECT_TRUE(FindRecordEq("columbia-78-1938", eq));
    EXPECT_EQ(eq.use_time_constants, 0);
    EXPECT_EQ(eq.turnover, 300);
    EXPECT_TRUE(FindRecordEq("flat", eq));
    EXPECT_EQ(RecordEqDb(eq, 10), 0.0);
    EXPECT_EQ(RecordEqDb(eq, 15000), 0.0);
    EXPECT_FALSE(FindRecordEq("riaa ", eq));
    EXPECT_FALSE(FindRecordEq("", eq));
}

}  // namespace
}  // namespace Orvane
