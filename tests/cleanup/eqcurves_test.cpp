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
    struct Case {
        double frequency, db;
    };
    const RecordEq riaa;
    const double at_1k = RecordEqDb(riaa, 1000);
    for (const Case& c : {Case{20, 19.274}, {100, 13.088}, {500, 2.648}, {10000, -13.734}, {20000, -19.620}}) {
        EXPECT_NEAR(RecordEqDb(riaa, c.frequency) - at_1k, c.db, 0.01) << c.frequency;
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
