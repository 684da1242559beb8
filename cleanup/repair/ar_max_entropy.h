// Autoregressive models by the maximum-entropy method of Burg, and the linear system that fills a gap with one.
// A model of order m is a[1] to a[m] with x[t] + sum of a[j] x[t - j] = error; place 0 of an array holds a[1].
// Pure functions, any thread; the sums are taken in a fixed order, so the results do not depend on the processor.
#pragma once

#include <span>
#include <vector>

namespace Orvane {

constexpr int kBurgMaxLength = 600;
constexpr int kBurgMaxDegree = 240;

// The model of order coefficients.size() of `data`: 1 to 240 coefficients of at most 600 values, more values than
// coefficients. Silence gives zeros. `reflections`, if not empty, has the same size and gets the reflection
// coefficients: the first m of them make the model of order m. Allocates nothing.
void BurgDouble(std::span<const double> data, std::span<double> coefficients, std::span<double> reflections = {});

// The same over float data of any length and for any order below it, computed in double precision. Allocates.
void BurgFloat(std::span<const float> data, std::span<float> coefficients);

// The model of order coefficients.size() from as many reflection coefficients, at most 240.
void ModelFromReflections(std::span<const double> reflections, std::span<double> coefficients);

// Computes gaps from models. Holds its working memory between calls, so that calls of sizes seen before allocate
// nothing; one thread at a time.
class GapSolver {
public:
    // The values for x[first] to x[first + gap.size() - 1] that make the model's prediction errors over and around the
    // gap least in the sum of squares. x is 0 in the gap and holds at least the model's order of values on each side
    // of it. False, and no values, if the normal matrix is not positive definite to working precision.
    [[nodiscard]] bool Solve(std::span<const double> x, int first, std::span<const double> model,
                             std::span<double> gap);

    // Solves T u = right_side for the symmetric positive definite Toeplitz matrix of the given first row, of the same
    // size as right_side, in place. False as above.
    [[nodiscard]] bool SolveToeplitz(std::span<const double> first_row, std::span<double> right_side);

    void Release();

private:
    bool SolvePadded(int n);

    std::vector<double> filter, lags, context, row, solution, columns, inverses;
};

}  // namespace Orvane
