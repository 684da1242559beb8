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
        }
    }
}

}  // namespace
}  // namespace Orvane
