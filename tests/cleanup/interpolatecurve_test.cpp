#include "cleanup/interpolatecurve.h"

#include <gtest/gtest.h>

#include "audiosignals.h"
#include "interpolator_literal.h"

namespace Orvane {
namespace {

TEST(InterpolateCurve, FollowsTheLiteralFormulaInBothPrecisions) {
    for (int n : {6, 7, 8, 9, 40, 461}) {
        for (int steps : {1, 2, 3, 16}) {
            OrvaneTest::Noise noise(n + steps);
            std::vector<double> points(n), out((n - 1) * steps);
            for (double& p : points) p = noise.Even() - 0.5;
            const auto expected = OrvaneOracle::Curve(points, steps);
            InterpolateCurve<double>(points, steps, out);
            const std::vector<float> narrow(points.begin(), points.end());
            std::vector<float> narrow_out(out.size());
            InterpolateCurve<float>(narrow, steps, narrow_out);
            for (size_t i = 0; i < out.size(); i++) {
                ASSERT_NEAR(out[i], expected[i], 1e-14) << n << " " << steps << " " << i;
                ASSERT_NEAR(narrow_out[i], expected[i], 1e-5) << n << " " << steps << " " << i;
            }
            for (int i = 0; i < n - 1; i++) EXPECT_EQ(out[i * steps], points[i]) << "it goes through its points";
        }
    }
}

TEST(InterpolateCurve, KeepsStraightLinesAndSmoothWaves) {
    std::vector<double> line, wave, out(49 * 4);
    for (int i = 0; i < 50; i++) {
        line.push_back(0.01 * i - 0.2);
        wave.push_back(std::sin(0.2 * i));
    }
    InterpolateCurve<double>(line, 4, out);
    for (size_t i = 0; i < out.size(); i++) ASSERT_NEAR(out[i], 0.0025 * static_cast<double>(i) - 0.2, 1e-4);
    InterpolateCurve<double>(wave, 4, out);
    for (size_t i = 12; i < out.size() - 12; i++) ASSERT_NEAR(out[i], std::sin(0.05 * static_cast<double>(i)), 6e-3);
}

}  // namespace
}  // namespace Orvane
