#include "cleanup/ar_max_entropy.h"

#include <gtest/gtest.h>

#include <cstring>

#include "audiosignals.h"
#include "cleanup/ar_kernels.h"
#include "interpolator_literal.h"

namespace Orvane {
namespace {

using OrvaneTest::Noise;
using OrvaneTest::Resonant;

std::vector<double> Wide(const std::vector<float>& v) {
    return {v.begin(), v.end()};
}

TEST(Burg, AgreesWithTheLiteralFormForEverySizeOfBlock) {
    for (auto [length, degree] :
         {std::pair{2, 1}, {5, 4}, {17, 1}, {33, 16}, {150, 31}, {300, 75}, {599, 240}, {600, 240}}) {
        const auto data = Wide(Resonant(length, length, {{300, 0.99}, {3000, 0.9}}));
        const auto expected = OrvaneOracle::Burg(data.data(), length, degree);
        std::vector<double> model(degree), reflections(degree), lower((degree + 1) / 2), same(lower.size());
        BurgDouble(data, model, reflections);
        for (int i = 0; i < degree; i++)
            ASSERT_NEAR(model[i], expected[i + 1], 1e-9) << length << " " << degree << " " << i;
        ModelFromReflections(reflections, lower);
        BurgDouble(data, same);
        EXPECT_EQ(lower, same);
    }
    std::vector<double> model(60);
    BurgDouble(std::vector<double>(300), model);
    EXPECT_EQ(model, std::vector<double>(60)) << "silence";
}

// Audio repaired on one processor must be that of every other.
TEST(ArKernels, AllFormsGiveTheSameBits) {
    Noise noise(5);
    for (int round = 0; round < 40; round++) {
        const int length = 3 + noise.Below(600), degree = 1 + noise.Below(std::min(240, length - 2)),
                  n = 1 + noise.Below(137);
        const auto data = Wide(Resonant(round, length, {{400, 0.999}, {4000, 0.95}}));
        std::vector<std::vector<double>> results;
        for (const ArKernels* kernels : AllArKernels()) {
            std::vector<double> forward = data, steps(degree), model(degree + 2 * kArPadding), scratch(model.size());
            forward.resize(length + kArPadding);
            std::vector<double> backward = forward;
            double* a = model.data() + kArPadding;
            kernels->burg(forward.data(), backward.data(), length, degree, steps.data(), a,
                          scratch.data() + kArPadding);

            std::vector<double> filter = {1.0};
            filter.insert(filter.end(), a, a + degree);
            filter.resize(degree + 1 + n + 2 * kArPadding);
            const int n_lags = std::max(n, degree + 1);
            std::vector<double> lags(n_lags + kArPadding), context(n + 2 * degree + kArPadding), u(n + kArPadding);
            kernels->autocorrelation(filter.data(), degree + 1, lags.data(), n_lags);
            for (size_t i = 0; i < context.size(); i++) context[i] = data[i % length];
            kernels->both_sides(context.data() + degree, lags.data(), degree, u.data(), n);

            std::vector<double> row(lags.begin(), lags.begin() + n), columns(n * (n + kArPadding)), inverses(n);
            row.resize(n + kArPadding);
            u.resize(n);
            u.resize(n + kArPadding);
            EXPECT_TRUE(kernels->solve_toeplitz(row.data(), u.data(), n, columns.data(), inverses.data()));

            std::vector<double> all = steps;
            all.insert(all.end(), a, a + degree);
            all.insert(all.end(), lags.begin(), lags.begin() + n_lags);
            all.insert(all.end(), u.begin(), u.begin() + n);
            results.push_back(all);
        }
        for (size_t form = 1; form < results.size(); form++) {
            ASSERT_EQ(std::memcmp(results[0].data(), results[form].data(), results[0].size() * sizeof(double)), 0)
                << AllArKernels()[form]->name << " length " << length << " degree " << degree << " n " << n;
        }
    }
}

}  // namespace
}  // namespace Orvane
